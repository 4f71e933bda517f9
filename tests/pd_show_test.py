#!/usr/bin/env python3
"""pd-show as a user types it.

  pd_show_test.py PD_SHOW FAULTY_DRIVER FOREIGN_DRIVER
"""

import ast
import functools
import ipaddress
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

pd_show, faulty_driver, foreign_driver = sys.argv[1:4]
faulty, foreign = ("--driver", faulty_driver), ("--driver", foreign_driver, "--session", "7")
abi = pathlib.Path(__file__).parent.parent / "abi"
totals = dict(line.split("\t") for line in (abi / "totals.txt").read_text("ascii").splitlines())

# Of both families, in tables of all kinds.
routes = "\n".join(("# two families", "10.1.0.0/16 1", "10.0.0.0/8 2", "192.0.2.1 1", "192.0.2.2 2", "192.0.2.3 2",
                    "2001:db8::/32 3", "2001:db8:0:1::/64 3", "2001:db8::1:0:0:1 4", "::ffff:10.0.0.1 4",
                    "2001:db8:1:2:3::/80 4", "::/0 1", ""))
# Enough of them for damage of all kinds.
many_routes = routes + "".join(f"10.{i}.{i}.1 {i % 4 + 1}\n10.{i}.{i}.0/24 1\n2001:db8:{i:x}::/48 2\n"
                               f"2001:db8:{i:x}:1:2:3::/96 3\n2001:db8:{i:x}::7 4\n" for i in range(2, 100))
hosts = "".join(f"192.0.2.{i} {i}\n" for i in range(200))


def run(*arguments, stdin=routes, stdout=subprocess.PIPE, **environment):
    return subprocess.run([pd_show, *arguments], input=stdin, stdout=stdout, stderr=subprocess.PIPE, text=True,
                          check=False, env=os.environ | environment)


def by_table(text):
    """The lines below each table's heading, by the first word of the heading."""
    parts = re.findall(r"^(\w+).*\n((?: .*\n)*)", text, re.M)
    return {table: [line.strip() for line in lines.splitlines()] for table, lines in parts}


def numbers(value):
    """The numbers in a value string that a JSON value shows."""
    if isinstance(value, int):
        return [value]
    if re.fullmatch(r"[0-9a-f]{4}(\.[0-9a-f]{4}){2}", value):
        digits = value.replace(".", "")
        return [int(digits[:6], 16), int(digits[6:], 16)]
    address = ipaddress.ip_address(value)
    # How Python writes this one depends on its version.
    assert str(address) == value or value == "::ffff:a00:1", value
    return [int(address)]


def columns(fields):
    """The numbers of a JSON object as a value string has them, where a mask or length follows each value."""
    flat = []
    for value in fields.values():
        parts = list(value.values()) if isinstance(value, dict) else [value]
        flat += [number for group in zip(*map(numbers, parts)) for number in group]
    return tuple(flat)


class Shown(unittest.TestCase):
    def shown(self, *arguments, stdin=routes):
        """The output of a run that shows everything and complains of nothing."""
        done = run(*arguments, stdin=stdin)
        self.assertEqual((done.returncode, done.stderr), (0, ""), arguments)
        return done.stdout

    def test_help(self):
        text = self.shown("--help")
        commands = re.findall(r"^  ([a-z]+)( NAME| \[NAME\])?  ", text, re.M)
        with_words = re.findall(r"^  ([a-z]+) \[?[A-Z]+ \[.*\]", text, re.M)
        known = re.search("; there are (.+); see pd-show", run("show").stderr)[1]
        self.assertCountEqual([command for command, _ in commands] + with_words, known.split(", "))
        for command, name in commands:
            if command == "serve":  # needs an agent
                continue
            alone, named = run(command), run(command, "nobody")
            self.assertEqual((alone.returncode, named.returncode), (2 if name == " NAME" else 0, 2), command)
            self.assertIn("there is no" if name else "after", named.stderr)
        options = re.findall(r"^  (?:-h, )?(--[a-z]+)( [A-Z]+)?  ", text, re.M)
        self.assertEqual(len(options), 13)
        for option, value in options:
            wrong = run(option if value else option + "=1").stderr
            self.assertIn(f"{option} needs a value;" if value else f"{option} takes no value;", wrong)
        self.assertEqual(self.shown("-h"), text)
        self.assertRegex(self.shown("--version"), r"\Apd-show \d+\.\d+\.\d+\n\Z")

    def test_tables_stand_in_pipeline_order(self):
        text = self.shown("--demo", "tables")
        rows = re.findall(r"^(\w+)\t0x(1[0-9a-f]{6}), key", (abi / "rows.txt").read_text("ascii"), re.M)
        in_order = sorted((int(handle, 16), table) for table, handle in rows)
        self.assertEqual(re.findall(r"^(0x\w+)  (\w+)$", text, re.M),
                         [(f"{handle:#x}", table) for handle, table in in_order])
        self.assertIn("  ipv4Host\n"
                      "    key       vrfId, dip\n"
                      "    actions   onMiss, setEcmp, setNextHop, setNextHop2, setNextHop3\n"
                      "    entries   3\n", text)
        self.assertRegex(text, r"dmac/mask\n    actions .*\n( {14}.*\n)*    counter   l2DmacClassifyCount\n")
        self.assertIn("    counter   pdpClassCount (cells by index)\n", text)
        self.assertIn("    entries   only a default entry\n", text)
        self.assertLess(max(map(len, text.splitlines())), 112)

    def test_page_of_a_table(self):
        for table, *expected in (
                ("ipv4ShortMaskLpm", r"\n    dip +ingIpv4_dip +32 +prefix +v4addr +0xfff00000\n",
                 r"\n    vrfId +l3Info_vrfId +8 +exact +hex +all\n", r"\n    setNextHop +nextHop +32 +hex\n",
                 "\nEntries   0\n"),
                ("ecmpGroup", r"profile ecmpMemberActionProfile.*\n.*\n    NoAction\n"),
                ("queueCounters", "No key"),
                ("trapToCpu", r"Key, with a priority\n(.*\n)*Counter   trapToCpuCount\n")):
            for each in expected:
                self.assertRegex(self.shown("table", table), each)

    def test_entries_as_text(self):
        tables = by_table(self.shown("--demo", "--routes", "-", "entries"))
        self.assertEqual(len(tables), int(totals["tables"]))
        self.assertEqual(tables["ipv4ShortMaskLpm"],
                         ["#1 vrfId=0x1 dip=0.0.0.0/0 -> setEcmp ecmpGroup=0xc8",
                          "#2 vrfId=0x2 dip=10.0.0.0/8 -> setEcmp ecmpGroup=0xca",
                          "default -> ipv4ShortMaskLpmMiss"])
        for address in ("2001:db8::1:0:0:1", "::ffff:a00:1"):
            self.assertRegex(" ".join(tables["ipv6Host"]), rf"#\d vrfId=0x2 dip={address} -> setEcmp ecmpGroup=0xcc ")
        self.assertIn("#1 smac=0200.0000.0011 ingL2Domain=0xa ingL2Aintf=0x1 -> noOp", tables["l2LearningLookup"])
        # A mask can be that of a whole field, of a part of the field, or zero.
        self.assertIn("#1 ingressPort=0x1 dmac=ffff.ffff.ffff priority 1 -> l2LookupBcastHit", tables["l2LookupMiss"])
        self.assertRegex(" ".join(tables["lagGroup"]),
                         r"#1 egrL2AintfUnresolved=0x20001 priority 1 -> group 0x\w+ "
                         r"#2 egrL2AintfUnresolved=0x0/0xf0000 priority 1 -> member 0x\w+")
        self.assertEqual(tables["queueCounters"], ["default -> countEgressQueue"])

    def test_formats_say_the_same(self):
        arguments = ("--demo", "--routes", "-", "entries")
        document = json.loads(self.shown(*arguments, "--format", "json"))
        text = sum(by_table(self.shown(*arguments)).values(), [])
        values = [(table, ast.literal_eval(line)) for table, lines in
                  re.findall(r"^# (.*)\n((?:\(.*\n)*)", self.shown(*arguments, "--format=value"), re.M)
                  for line in lines.splitlines()]
        self.assertEqual((len(values), len(text)), (len(document), len(document)))
        handles = {"member": "setMbrHdl", "group": "setGrpHdl"}
        targets = set()
        for entry, (table, value), line in zip(document, values, text):
            target = next(name for name in ("action", *handles) if name in entry)
            targets.add(target)
            action = ((entry["action"], columns(entry["params"])) if target == "action"
                      else (handles[target], (entry[target],)))
            priority = value[1][0] if entry["default"] else entry.get("priority", 0)
            self.assertEqual((table, value),
                             (entry["table"], ((columns(entry.get("key", {})), action), (priority, True))))
            self.assertNotEqual(entry.get("key"), {})
            name = "default" if entry["default"] else f"#{entry['handle']}"
            self.assertRegex(line, rf"\A{name} (.* )?-> {entry.get('action', target)}\b")
        self.assertEqual(targets, {"action", *handles})

    def test_routes_stand_beside_the_leaf_switch(self):
        # Hosts have more next hops than there are numbers below those of the leaf switch.
        beside = "0.0.0.0/0 0\n10.0.10.11 199\n" + "".join(hosts.splitlines(True)[1:]) + "10.0.20.21 200\n"
        tables = by_table(self.shown("--demo", "--routes", "-", "entries", stdin=beside))
        leaf = by_table(self.shown("--demo", "entries"))
        for table, lines in leaf.items():
            self.assertLessEqual(set(lines), set(tables[table]))
        self.assertRegex(" ".join(tables["ipv4Host"]), r"#\d+ vrfId=0x2 dip=10\.0\.10\.11 -> setEcmp ecmpGroup=0xca ")
        self.assertEqual(len(tables["ecmpGroup"]), len(leaf["ecmpGroup"]) + 201)
        # Packets of either agent meet none of the other's groups.
        for vrf, end in (("1", r"Route from ipv4Host: next hop 0x65\n +ecmpGroup +no entry: .*\n"
                               r" +routerNextHop0 .*\n +nextHop0 .* dmac=0200\.0000\.0011 "),
                         ("2", r"Route from ipv4Host: ECMP group 0xca\n +ecmpGroup .* group 0x\w+\n"
                               r"( +member 0x\w+ -> setEcmpNextHop nextHopTable=0x\d nextHop=0xc7\n)+\Z")):
            self.assertRegex(self.shown("--demo", "--routes", "-", "route", "10.0.10.11", vrf, stdin=beside), end)

    def test_large_tables_are_shown_whole(self):
        many = [f"10.{i // 250}.{i % 250}.1" for i in range(6000)]
        text = self.shown("--routes", "-", "entries", "ipv4Host", stdin="".join(host + " 1\n" for host in many))
        self.assertEqual(re.findall(r"^  #\d+ vrfId=0x1 dip=(\S+) -> setEcmp ecmpGroup=0x1$", text, re.M), many)

    def test_counters(self):
        text = self.shown("--demo", "counters")
        self.assertRegex(text, r"trapToCpuCount, of the entries of trapToCpu\n +count_a +count_b  entry\n"
                               r" +\d+ +\d+  #1\n +\d+ +\d+  #2  dstPort 0x00b3 L3DmacValid dip 10.0.10.1/32 TCP\n"
                               r" +\d+ +\d+  default\n")
        self.assertIn("65536 of the first 65536 cells are at 0", text)
        self.assertEqual(text.count("count_a"), int(totals["counters"]))
        of_table = self.shown("counters", "haloCounters")
        self.assertTrue(of_table.startswith("haloCount, of the entries of haloCounters\n"))
        self.assertEqual(self.shown("counters", "haloCount"), of_table)
        self.assertRegex(self.shown(*faulty, "counters", "egressPortQueueCount"),
                         r"index\n +3 +192  7\n  9 of 10 cells are at 0\n$")

    def test_entries_that_cannot_be_counted(self):
        done = run(*faulty, "tables")
        self.assertEqual(done.stdout.count("    entries   unknown\n"), 1)
        self.assertRegex(done.stderr, r"l2Lookup: counting the entries was refused with status 99")

    def test_times_go_to_stderr(self):
        done = run("--demo", "--time", "entries")
        self.assertEqual((done.returncode, done.stdout), (0, self.shown("--demo", "entries")))
        self.assertEqual(len(re.findall(r"^ +[\d.]+ s +[\d.]+ %  \w", done.stderr, re.M)), 4, done.stderr)


# What verify says about an entry, by the part that was damaged.
messages = {"lost": r"p4_pd_velmar_switch_\w+_get_entry failed", "key": r"mspec \w+ differs.*",
            "mask": r"mspec \w+_mask differs.*", "action data": r"aspec action_\w+ differs 0x\w+ vs 0x\w+",
            "member's handle": r"mbr_hdl differs: mbr_hdl_pd=0x\w+, mbr_hdl_hw=0x\w+"}
# The driver doesn't match the first key field of these tables: it selects the partition.
partitioned = ("ipv4FinalResolve0", "ipv6FinalResolve", "ipv6LgMaskFinalResolve0")


@functools.cache
def page(table):
    return run("table", table).stdout


def is_visible(entry, part, byte, bit):
    """Whether a comparison can see a damaged bit of an entry, which JSON shows as the software has it."""
    if part in ("lost", "member's handle"):
        return True
    text = page(entry["table"])
    if part == "action data":
        rows = re.search(rf"^    {entry['action']} (.*\n( {{6}}.*\n)*)", text, re.M)[0][4 + len(entry["action"]):]
        fields = [(int(bits), "", "all") for bits in re.findall(r"^ +\w+ +(\d+) ", rows, re.M)]
    else:
        fields = [(int(bits), match, covered) for bits, match, covered in
                  re.findall(r"^    \w+ +\w+ +(\d+) +(exact|mask|prefix) .* (all|0x\w+)$", text, re.M)]
    seen = b""  # each field starts at a byte, most significant byte first
    for bits, match, covered in fields:
        mask = (1 << bits) - 1 if covered == "all" else int(covered, 16)
        if part == "mask" and match != "mask" or part == "key" and not seen and entry["table"] in partitioned:
            mask = 0
        seen += mask.to_bytes((bits + 7) // 8, "big")
    return seen[byte] >> bit & 1 != 0


class Verified(unittest.TestCase):
    def software(self, *setup):
        """By table and handle: the software's entries as JSON and value string, and what counters say about entries."""
        def dump(*arguments):
            return run(*setup, *arguments, stdin=many_routes).stdout
        document = json.loads(dump("--format", "json", "entries"))
        values = re.findall(r"^\(.*", dump("--format", "value", "entries"), re.M)
        self.assertEqual(len(document), len(values))
        entries = {(entry["table"], entry["handle"]): (entry, value) for entry, value in zip(document, values)}
        counted = re.findall(r"^\w+, of the entries of (\w+)\n((?: .*\n)*)", dump("counters"), re.M)
        return entries, {(table, int(handle)): text for table, lines in counted
                         for handle, text in re.findall(r"^ +\d+ +\d+  #(\d+)  (.+)$", lines, re.M)}

    def test_all_damage_is_found_and_nothing_else(self):
        parts, unseen, described = set(), 0, 0
        for setup, runs in ((("--demo",), [(5, 1), (20, 2), (1000, 3), (1000, 4), (1000, 97)]),
                            (("--routes", "-"), [(0, 1), (50, 5), (400, 6), (400, 7), (5000, 8)]),
                            (("--demo", "--routes", "-"), [(300, 9), (4000000000, 10)])):
            entries, descriptions = self.software(*setup)
            keyed = sum(not entry["default"] for entry, _ in entries.values())
            for count, seed in runs:
                done = run(*setup, "--corrupt", str(count), "--seed", str(seed), "verify", stdin=many_routes)
                self.assertEqual(done.stderr, "")
                damaged, summary, differences = done.stdout.split("\n\n")
                head, *lines = damaged.splitlines()
                damages = [re.fullmatch(r"  (\w+) #(\d+): (?:bit (\d+) of (?:byte (\d+) of )?the (.*) flipped|lost)"
                                        "(, which no comparison sees)?", line).groups() for line in lines]
                wanted = []
                for table, handle, bit, byte, part, hidden in damages:
                    place, part = (table, int(handle)), part or "lost"
                    entry, value = entries[place]
                    parts.add(part)
                    visible = is_visible(entry, part, int(byte or 0), int(bit or 0))
                    self.assertEqual(hidden is None, visible, (place, part, byte, bit))
                    if visible:
                        texts = [value, descriptions[place]] if place in descriptions else [value]
                        described += len(texts) - 1
                        wanted.append((table, "\n {6}".join([f"  {table} #{handle}: {messages[part]}",
                                                            *map(re.escape, texts)])))
                    else:
                        unseen += 1
                self.assertEqual(len({damage[:2] for damage in damages}), min(count, keyed))
                self.assertEqual(head, f"Damaged in the hardware: {len(damages)} entries, "
                                       f"{len(wanted)} of them in what a comparison sees")
                found = re.findall(r"^  \S.*(?:\n {6}.*)*", differences, re.M)
                self.assertEqual(len(found), len(wanted))
                for got, (_, text) in zip(found, wanted):
                    self.assertRegex(got, rf"\A{text}\Z")
                self.assertEqual(done.returncode, 1 if wanted else 0)
                rows = {name: (int(compared), int(different)) for compared, different, name in
                        re.findall(r"^ +(\d+) +(\d+)  (.+)$", summary, re.M)}
                self.assertEqual(rows.pop("in all"), (len(entries), len(wanted)))
                self.assertEqual(sum(compared for compared, _ in rows.values()), len(entries))
                for table in {table for table, *_ in damages}:
                    self.assertEqual(rows[table], tuple(sum(name == table for name, _ in each)
                                                        for each in (entries, wanted)))
        self.assertEqual(parts, set(messages))
        self.assertTrue(unseen and described, (unseen, described))

    def test_nothing_differs_in_sound_hardware(self):
        for setup in ((), ("--demo",), ("--demo", "--routes", "-")):
            done = run(*setup, "verify", stdin=many_routes)
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            self.assertRegex(done.stdout, r" 0  in all\n\nNothing differs\.\n\Z")
        self.assertEqual(run("--demo", "verify", "trapToCpu").stdout,
                         "     compared    different\n            3            0  trapToCpu\n\nNothing differs.\n")

    def test_what_cannot_be_read_differs(self):
        done = run(*faulty, "--routes", "-", "verify", "ipv4Host", stdin="10.0.0.1 1\n10.0.0.2 1\n")
        self.assertEqual((done.returncode, done.stderr), (1, ""))
        message = "p4_pd_velmar_switch_ipv4Host_get_entry failed\n"
        self.assertRegex(done.stdout, rf" 2  ipv4Host\n\nDifferences.*\n  ipv4Host #1: {message}"
                                      rf"  ipv4Host #2: {message}      \(\(.*0x0a000002.*\n\Z")
        done = run(*foreign, "verify", "ipv4Host")
        self.assertEqual((done.returncode, done.stderr),
                         (1, "pd-show: ipv4Host: counting the entries was refused with status 4\n"))
        self.assertIn("Nothing that could be read differs.", done.stdout)
        # A table has a row if its entries can't be counted.
        whole = run(*foreign, "verify").stdout
        self.assertRegex(whole, " 0  ipv4Host\n")
        self.assertIn(f" 0  {totals['tables, keyless']} others, with default entries only\n", whole)

    def test_lists_that_end_early_are_reported(self):
        for command in ("verify", "entries"):
            done = run(*faulty, "--routes", "-", command, "ipv6Host", stdin=many_routes)
            self.assertEqual((done.returncode, done.stderr),
                             (1, "pd-show: ipv6Host: the driver counts 100 entries, but lists 1\n"))
            self.assertNotIn("Nothing differs", done.stdout)

    def test_progress_on_a_terminal(self):
        ours, theirs = os.openpty()
        with os.fdopen(ours, "rb") as terminal:
            subprocess.run([pd_show, "--demo", "verify"], stdout=subprocess.DEVNULL, stderr=theirs, check=True)
            os.close(theirs)
            text = b""
            while not text.endswith(b"\n"): # one read may give a part; at the end, a read fails
                text += os.read(terminal.fileno(), 4096)
            self.assertRegex(text, rb"\rcomparing +\[#{30}\] (\d+) of \1\r\n")


# Prefixes in each other, two partitions with the same low bits, and hosts.
nested = "".join(f"{prefix} {i + 1}\n" for i, prefix in enumerate((
    "0.0.0.0/0", "0.0.0.0/4", "8.0.0.0/5", "8.0.0.0/6", "10.0.0.0/7", "10.0.0.0/8", "10.0.0.0/9", "10.1.0.0/16",
    "10.17.0.0/16", "10.1.2.0/24", "10.17.2.3", "::/0", "2001:db8::/32", "2001:db8:0:1::/64", "2001:db8:0:1:8000::/65",
    "2001:db8:0:2:8000::/65", "2001:db8:0:2:8000::1")))


def parts_of(entry):
    """The value, the mask and the bits that count, for each part of an entry's key. A partition is whole."""
    rows = re.findall(r"^    \w+ +\w+ +(\d+) +(exact|mask|prefix) .* (all|0x\w+)$", page(entry["table"]), re.M)
    found = []
    for value in entry["key"].values():
        partner = value.get("mask", value.get("length")) if isinstance(value, dict) else None
        values = numbers(value["value"] if isinstance(value, dict) else value)
        for i, number in enumerate(values):
            bits, match, covered = rows[len(found)]
            whole = (1 << int(bits)) - 1
            mask = {"exact": lambda: whole, "mask": lambda: numbers(partner)[i],
                    "prefix": lambda: whole - (whole >> partner)}[match]()
            found.append((number, mask, whole if covered == "all" else int(covered, 16)))
    return found


def packet_of(entry):
    return [f"{name}={value['value'] if isinstance(value, dict) else value}" for name, value in entry["key"].items()]


class Matched(unittest.TestCase):
    setup = ("--demo", "--routes", "-")

    def entries(self):
        document = json.loads(run(*self.setup, "--format", "json", "entries", stdin=nested).stdout)
        return [entry for entry in document if "key" in entry]

    def match(self, *arguments):
        """The entry that a packet takes, with those that it doesn't take, and how many more these are."""
        done = run(*self.setup, *arguments, stdin=nested)
        self.assertEqual((done.returncode, done.stderr), (0, ""), arguments)
        text = done.stdout[done.stdout.rindex("  takes "):]
        return re.findall(r"^  (?:takes {6}|next best {2}| {11})(#\d+|default) ", text, re.M), text

    def test_a_packet_takes_the_best_entry_that_matches(self):
        entries, lengths = self.entries(), set()
        for entry in entries:
            packet = [part[0] for part in parts_of(entry)]
            found = []
            for other in entries:
                if other["table"] != entry["table"]:
                    continue
                parts = parts_of(other)
                if all((mine ^ value) & mask & covered == 0 for mine, (value, mask, covered) in zip(packet, parts)):
                    unmatched = parts[-1][1] if page(other["table"]).count(" prefix ") else 0
                    found.append((other.get("priority", 0), -unmatched, other["handle"]))
            shown, text = self.match("match", entry["table"], *packet_of(entry))
            self.assertEqual(shown, [f"#{handle}" for *_, handle in sorted(found)][:6], text)
            self.assertEqual(re.findall(r"and (\d+) more\n", text), [str(len(found) - 6)] if len(found) > 6 else [])
            lengths.add(len(found))
        self.assertEqual((min(lengths), max(lengths)), (1, 7))

    def test_reasons(self):
        for expected, *arguments in (
                (r"default -> ipv4ShortMaskLpmMiss\n  because    no entry matches\n", "ipv4ShortMaskLpm"),
                (r"nothing: there is no default entry\n", "ecmpGroup"),
                (r"because    of 7 entries that match, it has the longest prefix, /9\n", "ipv4ShortMaskLpm", "vrfId=2",
                 "dip=10.1.2.3"),
                (r"because    of 6 entries that match, it has the longest prefix, /8\n"
                 r"(.*\n){4} +#2 vrfId=0x2 dip=0\.0\.0\.0/0 .*\n\Z", "ipv4ShortMaskLpm", "vrfId=2", "dip=10.129.0.1"),
                (r"because    of 2 entries that match, it has the longest prefix, /24\n  next best  #\d partIdx=0 dip=0\.1\."
                 r"0\.0/16 ", "ipv4FinalResolve0", "dip=10.1.2.3"),
                (r"partIdx=1 .*\n  because    no other entry matches\n\Z", "ipv4FinalResolve0", "partIdx=1",
                 "dip=10.1.2.3"),
                (r"because    of 2 entries that match, it has the lowest priority number, 1; 2 have that, and this one was added first\n"
                 r"  next best  #2 dstPort=0xb3 ", "trapToCpu", "dstPort=0xb3", "ingL3DmacValid=1",
                 "ingIpv4Dip=10.0.10.1", "protocol=6", "arpHdrValid=1")):
            self.assertRegex(self.match("match", *arguments)[1], expected)

    def test_damage(self):
        entries = {(entry["table"], entry["handle"]): entry for entry in self.entries()}
        kinds = set()
        for table, handle, bit, byte, part in re.findall(
                r"^  (\w+) #(\d+): (?:bit (\d+) of (?:byte (\d+) of )?the (.*) flipped|lost)",
                run(*self.setup, "--corrupt", "40", "verify", stdin=nested).stdout, re.M):
            entry, part = entries[table, int(handle)], part or "lost"
            # A flipped bit of a key counts if the entry's mask has it: here only entries with whole masks are judged.
            whole = all(mask == covered for _, mask, covered in parts_of(entry))
            counts = part == "lost" or part == "key" and whole and is_visible(entry, part, int(byte), int(bit))
            shown, text = self.match("--corrupt", "40", "match", table, *packet_of(entry))
            if counts or part not in ("lost", "key"):
                self.assertEqual(f"#{handle}" in shown, not counts, (part, bit, byte, text))
                kinds.add(part)
        self.assertEqual(kinds, {"lost", "key", "mask", "action data"})

    def test_routes_are_followed(self):
        for address, *expected in (
                ("10.17.2.3", "#4 vrfId=0x2 dip=10.17.2.3 -> setEcmp ecmpGroup=0xd3",
                 "Route from ipv4Host: ECMP group 0xd3"),
                ("10.17.2.4", "no entry", r"ipv4Partition0 +#2 .* partIdx=1 ",
                 "ipv4FinalResolve0 +#3 partIdx=1 ", "Route from ipv4FinalResolve0: next hop 0xd1 of table 0",
                 "-> setEcmpNextHop nextHopTable=0x0 nextHop=0x9"),
                ("10.2.0.1", "ipv4FinalResolve0 +no entry in partition 0",
                 "Route from ipv4ShortMaskLpm: ECMP group 0xcf"),
                ("10.33.0.1", "ipv4FinalResolve0 +no partition", "ipv4ShortMaskLpm +#8 .*/9 "),
                ("2001:db8:0:1:8000::", r"Partition0 .* partIdx=0 ", "FinalResolve0 .* nextHop=0xd7",
                 "ipv6Partition +#2 .*/64 ", "ipv6ShortMaskLpm +#1 ",
                 "Route from ipv6LgMaskFinalResolve0: next hop 0xd7"),
                ("2001:db8:0:1::", "FinalResolve0 +no entry in partition 0",
                 "Route from ipv6Partition: ECMP group 0xd6")):
            done = run(*self.setup, "route", address, stdin=nested)
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            self.assertRegex(done.stdout, "(?s)" + ".*".join([rf"\A{address} in VRF 2\n  ipv[46]Host ", *expected]))
        # Damage gives the first level a next hop, which counts where its partition has no route.
        damaged = ("--routes", "-", "--corrupt", "1", "--seed", "29", "route")
        for address, route in (("10.2.0.1", "ipv4Partition0: next hop 0x200"), ("10.1.2.1", "ipv4FinalResolve0: next")):
            self.assertIn(f"Route from {route}", run(*damaged, address, stdin="10.1.2.0/24 4\n").stdout)
        self.assertIn("No route\n", run("route", "10.0.0.1").stdout)
        self.assertIn("in VRF 1\n", run("--demo", "route", "10.0.0.1").stdout)
        self.assertRegex(run("--routes", "-", "route", "10.0.0.1").stdout, "in VRF 1(?s:.*)ECMP group 0x2\n")

    def test_the_driver_must_agree(self):
        packet = ("dstPort=179", "ingL3DmacValid=1", "ingIpv4Dip=10.0.10.1", "protocol=6", "arpHdrValid=1")
        done = run(*faulty, "--demo", "match", "trapToCpu", *packet)
        self.assertRegex(done.stdout, r"takes      #2 .*\n  because    of 2 entries that match, it has the lowest priority number, 1\n"
                                      r"  next best  #1 .* priority -1 ")
        self.assertEqual((done.returncode, done.stderr), (1, "pd-show: trapToCpu: by the driver a packet takes #1, but "
                                                             "of the entries in the hardware #2 is the best\n"))
        done = run(*faulty, "--routes", "-", "match", "ipv4Host", "vrfId=1", "dip=192.0.2.1")
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stderr, r"reading entry #1 was refused with status 99(.*\n)*.*none matches\n\Z")


class Refused(unittest.TestCase):
    def refused(self, status, expected, *arguments, **more):
        done = run(*arguments, **more)
        self.assertEqual(done.returncode, status, (arguments, done.stderr))
        self.assertRegex(done.stderr, "(?m)^pd-show: ")
        self.assertRegex(done.stderr, expected)
        return done

    def test_wrong_usage(self):
        for expected, *arguments in (
                ("no command;",),
                (r"no command entrys: did you mean entries\?\n$", "entrys"),
                ("no command show; there are tables, table, entries, profiles, counters, verify, match, route, serve;",
                 "show"),
                ("no option --dem0;", "--dem0", "tables"),
                ("no option -x;", "tables", "-xy"),
                ("--demo takes no value;", "tables", "--demo=3"),
                ("--device needs a value", "tables", "--device"),
                ("--device takes a number from 0 to 255, not 256", "--device", "256", "tables"),
                ("no format xml; there are text, json, value", "--format", "xml", "entries"),
                ("only for entries", "--format", "value", "tables"),
                ("table l2Lookup has no field \"dmax\": did you mean dmac", "entries", "l2Lookup", "dmax=0"),
                ("table l2Lookup has no action x", "entries", "l2Lookup", "action=x"),
                ("only for entries, counters and profiles", "--hw", "verify"),
                ("serve needs --agent", "serve"),
                ("--driver doesn't go with --agent", *faulty, "--agent", "x", "tables"),
                ("--demo doesn't go with --agent", "--demo", "--agent", "x", "tables"),
                ("--device doesn't go with --agent", "--device", "0", "--agent", "x", "tables"),
                ("--hw doesn't go with counters", "--hw", "--agent", "x", "counters"),
                ("table needs the name of a table", "table"),
                ("--corrupt is only for verify, match and route", "--demo", "--corrupt", "1", "entries"),
                ("--corrupt needs --demo or --routes", "--corrupt", "1", "verify"),
                ("takes no name", "--demo", "--corrupt", "1", "verify", "l2Lookup"),
                ("--seed is only for --corrupt", "--demo", "--seed", "1", "verify"),
                ("what is ipv4Host after tables", "tables", "ipv4Host"),
                # Packets.
                ("match needs the name of a table", "match"),
                ("no table ipv4Hosts: did you mean ipv4Host", "match", "ipv4Hosts"),
                ("table queueCounters has no key", "match", "queueCounters", "index=1"),
                ("no field \"dmax\": did you mean dmac", "match", "l2Lookup", "dmax=0"),
                ("no field \"dmacOui\"; its fields are dmac, egrL2Domain", "match", "l2Lookup", "dmacOui=0"),
                ("no field \"x\"; its fields are vrfId, dip", "match", "ipv4Host", "x"),
                ("vrfId needs a value", "match", "ipv4Host", "vrfId"),
                ("vrfId is given twice", "match", "ipv4Host", "vrfId=1", "vrfId=1"),
                ("vrfId takes a number from 0 to 0xff, not \"0x100\"", "match", "ipv4Host", "vrfId=0x100"),
                ("vrfId needs a value", "match", "ipv4Host", "vrfId="),
                ("partIdx takes a number from 0 to 65535, not \"-1\"", "match", "ipv4FinalResolve0", "partIdx=-1"),
                ("dip takes an IPv4 address, not \"10.0.0.0/8\"", "match", "ipv4Host", "dip=10.0.0.0/8"),
                ("dip takes an IPv6 address, not \"10.0.0.1\"", "match", "ipv6Host", "dip=10.0.0.1"),
                ("dmac takes a MAC address.*, not \"02:00:00:00:00:11\"", "match", "l2Lookup", "dmac=02:00:00:00:00:11"),
                ("route needs an address", "route"),
                ("what is 3 after route", "route", "10.0.0.1", "2", "3"),
                ("10.0.0 is not an IPv4 or IPv6 address", "route", "10.0.0"),
                ("vrfId takes a number from 0 to 255, not \"256\"", "route", "::1", "256"),
                ("with the embedded driver, a session is opened", "--session", "1", "tables"),
                ("device 0", "--demo", "--device", "1", "tables"),
                ("needs? the embedded driver", *foreign, "--demo", "tables"),
                ("choose one by --session", *foreign[:2], "tables"),
                # Near names.
                (r"no table ipv4host: did you mean ipv4Host\b.*\bipv6Host\b.*\?\n$", "table", "ipv4host"),
                (r"no table ipv4host: did you mean ipv4Host\b", "entries", "ipv4host"),
                (r"did you mean ipv4Host\b", "table", "IPV4HOST"),
                (r"did you mean .*\bipv4FinalResolve0\b", "table", "FinalResolve"),
                (r"no table xyzzyxyzzy\n$", "table", "xyzzyxyzzy"),
                (r"did you mean .*\bhaloCounters\b.*\bhaloCount\b", "counters", "haloCounter"),
                (r"no counter, and no table with a counter, \n$", "counters", ""),
                # Lists of routes.
                ("nowhere can't be opened: No such file", "--routes", "/nowhere", "tables"),
                ("/dev/zero:1: the line is longer", "--routes", "/dev/zero", "tables"),
                ("/dev/null: there is no route", "--routes", "/dev/null", "tables")):
            self.assertEqual(self.refused(2, expected, *arguments).stdout, "")
        self.refused(2, r"\A<stdin>:2: .*not an IPv4.*\npd-show: .* bad\n\Z", "--routes", "-", "tables",
                     stdin="10.0.0.0/8 1\n10.x 1\n")
        self.refused(2, "-: there are more than 823 different next hops", "--demo", "--routes", "-", "tables",
                     stdin="".join(f"10.0.{i // 256}.{i % 256} {i}\n" for i in range(824)))

    def test_arguments_are_repeated_in_print(self):
        odd = b"\x1b[31m\n\xff\xc2\x9b\\"
        printed = re.escape(r"\x1b[31m\x0a\xff\xc2\x9b\\")
        for status, *arguments in ((2, odd), (2, b"--" + odd), (2, "--format", odd, "entries"), (2, "tables", odd),
                                   (2, "--device", odd, "tables"), (2, "table", odd), (2, "counters", odd),
                                   (2, "--routes", b"/" + odd, "tables"), (1, "--driver", b"/" + odd, "tables")):
            done = self.refused(status, printed, *arguments)
            self.assertEqual((done.stderr.count("\n"), "\x1b" in done.stderr), (1, False), arguments)
        self.refused(2, "no command Straße;", "Straße")
        self.refused(2, r"no option -\\x0a;", "-\n")
        with tempfile.TemporaryDirectory() as folder:
            bad = pathlib.Path(folder, os.fsdecode(odd))
            bad.write_bytes(b"\x1b 1\n")
            done = self.refused(2, rf"(?m)^{re.escape(folder)}/{printed}:1: '\\x1b' is not an IPv4", "--routes", bad,
                                "tables")
            self.assertNotIn("\x1b", done.stderr)

    def test_drivers_that_cannot_be_used(self):
        self.refused(1, "the driver can't be loaded: .*nowhere.so", "--driver", "/nowhere.so", "tables")
        self.refused(1, "beside this driver: .*undefined symbol", "--driver", "libm.so.6", "tables")
        self.refused(1, "function that --time measures", "--driver", "libm.so.6", "--time", "entries")
        for setup in ((), ("--demo",), ("--routes", "-")):
            done = self.refused(1, "refuses to register", *faulty, *setup, "tables", REFUSED_CLIENTS="all")
            self.assertEqual(done.stdout, "")

    def test_what_cannot_be_read_is_reported_and_the_rest_is_shown(self):
        dump = (*faulty, "--routes", "-", "entries", "ipv4Host")
        fifty = "".join(hosts.splitlines(True)[1:51])
        done = self.refused(1, "ipv4Host: entry #1 can't be read\n", *dump, stdin=fifty)
        self.assertEqual(done.stdout.count("\n  #"), 25)
        self.assertEqual(done.stderr.count("can't be read"), 20)
        self.assertTrue(done.stderr.endswith("and 5 more like these\n"), done.stderr)
        document = json.loads(run(*dump, "--format", "json", stdin=fifty).stdout)
        self.assertEqual([entry["handle"] for entry in document if "error" not in entry][:3], [2, 4, 6])
        self.assertEqual(document[-1], {"error": {"status": 500, "message": "and 5 more like these"}})
        # The driver's copy of these entries can be read, but the hardware can't.
        self.assertEqual(run(*dump, "--hw", stdin=fifty).stdout.count("\n  #"), 0)
        # This driver has no such session.
        done = self.refused(1, "ipv4Host: counting .* refused with status 4\n", *foreign, "table", "ipv4Host")
        self.assertIn("Table ipv4Host", done.stdout)

    def test_output_that_cannot_be_written(self):
        with open("/dev/full", "w", encoding="ascii") as full:
            self.refused(1, "No space left", "tables", stdout=full)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
