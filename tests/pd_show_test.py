#!/usr/bin/env python3
"""pd-show as a user types it.

  pd_show_test.py PD_SHOW FAULTY_DRIVER FOREIGN_DRIVER
"""

import ast
import ipaddress
import json
import os
import re
import subprocess
import sys
import tempfile
import unittest

pd_show, faulty_driver, foreign_driver = sys.argv[1:4]

routes = """# of both families, in tables of all kinds
10.1.0.0/16 1
10.0.0.0/8 2
192.0.2.1 1
192.0.2.2 2
192.0.2.3 2
2001:db8::/32 3
2001:db8:0:1::/64 3
2001:db8::1:0:0:1 4
2001:db8:1:2:3::/80 4
::/0 1
"""


def run(*arguments, stdin="", stdout=subprocess.PIPE, **environment):
    return subprocess.run([pd_show, *arguments], input=stdin, stdout=stdout, stderr=subprocess.PIPE, text=True,
                          check=False, env=os.environ | environment)


# Enough of them for damage of all kinds.
many_routes = routes + "".join(f"10.{i}.{i}.1 {i % 4 + 1}\n10.{i}.{i}.0/24 1\n2001:db8:{i:x}::/48 2\n"
                               f"2001:db8:{i:x}:1:2:3::/96 3\n2001:db8:{i:x}::7 4\n" for i in range(2, 100))


def by_table(text):
    """The lines below each table's heading, by the heading's first word."""
    tables = {}
    for line in text.splitlines():
        if line.startswith(" "):
            lines.append(line.strip())
        else:
            lines = tables.setdefault(line.split(",")[0], [])
    return tables


def numbers(value):
    """What a value of a JSON document stands for in a value string."""
    if isinstance(value, int):
        return [value]
    if re.fullmatch(r"[0-9a-f]{4}(\.[0-9a-f]{4}){2}", value):
        digits = value.replace(".", "")
        return [int(digits[:6], 16), int(digits[6:], 16)]
    address = ipaddress.ip_address(value)
    assert str(address) == value, value
    return [int(address)]


def columns(fields):
    flat = []
    for value in fields.values():
        if isinstance(value, dict):
            parts = zip(numbers(value["value"]), numbers(value.get("mask", value.get("length"))))
            flat += [number for pair in parts for number in pair]
        else:
            flat += numbers(value)
    return tuple(flat)


class Shown(unittest.TestCase):
    def shown(self, *arguments, stdin=""):
        """The output of a run that shows all and has nothing to complain of."""
        done = run(*arguments, stdin=stdin)
        self.assertEqual((done.returncode, done.stderr), (0, ""), arguments)
        return done.stdout

    def test_help(self):
        text = self.shown("--help")
        commands = re.findall(r"^  ([a-z]+)( NAME| \[NAME\])?  ", text, re.M)
        known = re.search("; there are (.+); pd-show", run("show").stderr)[1]
        self.assertEqual([command for command, _ in commands], known.split(", "))
        for command, name in commands:
            alone, named = run(command), run(command, "nobody")
            self.assertEqual((alone.returncode, named.returncode), (2 if name == " NAME" else 0, 2), command)
            self.assertIn("there is no" if name else "behind", named.stderr)
        options = re.findall(r"^  (?:-h, )?(--[a-z]+)( [A-Z]+)?  ", text, re.M)
        self.assertEqual(len(options), 12)
        for option, value in options:
            wrong = run(option if value else option + "=1").stderr
            self.assertIn(f"{option} needs a value;" if value else f"{option} takes no value;", wrong)
        self.assertEqual(self.shown("-h"), text)
        self.assertRegex(self.shown("--version"), r"\Apd-show \d+\.\d+\.\d+\n\Z")

    def test_tables_stand_in_pipeline_order(self):
        text = self.shown("--demo", "tables")
        handles = [int(handle, 16) for handle in re.findall(r"^(0x\w+)  \w+$", text, re.M)]
        self.assertEqual(handles, [each for each in range(0x1000001, 0x1000085) if each != 0x100005E])
        self.assertIn("0x1000023  ipv4Host\n"
                      "    key       vrfId, dip\n"
                      "    actions   onMiss, setEcmp, setNextHop, setNextHop2, setNextHop3\n"
                      "    entries   3\n", text)
        self.assertIn("0x1000083  egressPortDropCheck\n", text)
        self.assertRegex(text, r"dmac/mask\n    actions .*\n( {14}.*\n)*    counter   l2DmacClassifyCount\n")
        self.assertIn("    counter   pdpClassCount (cells by index)\n", text)
        self.assertIn("    entries   only a default entry\n", text)
        self.assertLess(max(map(len, text.splitlines())), 112)

    def test_page_of_a_table(self):
        text = self.shown("table", "ipv4ShortMaskLpm")
        self.assertRegex(text, r"\n    dip +ingIpv4_dip +32 +prefix +v4addr +0xfff00000\n")
        self.assertRegex(text, r"\n    vrfId +l3Info_vrfId +8 +exact +hex +all\n")
        self.assertRegex(text, r"\n    setNextHop +nextHop +32 +hex\n")
        self.assertIn("\nEntries   0\n", text)
        self.assertRegex(self.shown("table", "ecmpGroup"), r"profile ecmpMemberActionProfile.*\n.*\n    NoAction\n")
        self.assertIn("No key", self.shown("table", "queueCounters"))
        self.assertRegex(self.shown("table", "trapToCpu"), r"Key, with a priority\n(.*\n)*Counter   trapToCpuCount\n")

    def test_entries_as_text(self):
        tables = by_table(self.shown("--demo", "--routes", "-", "entries", stdin=routes))
        self.assertEqual(len(tables), 131)
        self.assertEqual(tables["ipv4ShortMaskLpm"],
                         ["#1 vrfId=0x1 dip=0.0.0.0/0 -> setEcmp ecmpGroup=0xc8",
                          "#2 vrfId=0x2 dip=10.0.0.0/8 -> setEcmp ecmpGroup=0x2",
                          "default -> ipv4ShortMaskLpmMiss"])
        self.assertIn("#1 vrfId=0x2 dip=2001:db8::1:0:0:1 -> setEcmp ecmpGroup=0x4", tables["ipv6Host"])
        self.assertIn("#1 smac=0200.0000.0011 ingL2Domain=0xa ingL2Aintf=0x1 -> noOp", tables["l2LearningLookup"])
        # Masks: of a field whole, of a part of it, and of nothing.
        self.assertIn("#1 ingressPort=0x1 dmac=ffff.ffff.ffff priority 1 -> l2LookupBcastHit", tables["l2LookupMiss"])
        self.assertRegex(" ".join(tables["lagGroup"]),
                         r"#1 egrL2AintfUnresolved=0x20001 priority 1 -> group 0x\w+ "
                         r"#2 egrL2AintfUnresolved=0x0/0xf0000 priority 1 -> member 0x\w+")
        self.assertEqual(tables["queueCounters"], ["default -> countEgressQueue"])

    def test_forms_say_the_same(self):
        arguments = ("--demo", "--routes", "-", "entries")
        document = json.loads(self.shown(*arguments, "--format", "json", stdin=routes))
        values = []
        for line in self.shown(*arguments, "--format=value", stdin=routes).splitlines():
            if line.startswith("# "):
                table = line[2:]
            else:
                values.append((table, ast.literal_eval(line)))
        text = sum((lines for lines in by_table(self.shown(*arguments, stdin=routes)).values()), [])
        self.assertEqual((len(values), len(text)), (len(document), len(document)))
        targets = set()
        for entry, (table, ((key, *action), (priority, _))), line in zip(document, values, text):
            self.assertEqual(entry["table"], table)
            self.assertEqual(columns(entry.get("key", {})), key, entry)
            self.assertEqual(entry.get("priority", 0), 0 if entry["default"] else priority)
            target = next(name for name in ("action", "member", "group") if name in entry)
            targets.add(target)
            if target == "action":
                self.assertEqual(((entry["action"], columns(entry["params"])),), tuple(action))
                self.assertIn("-> " + entry["action"], line)
            else:
                self.assertEqual((({"member": "setMbrHdl", "group": "setGrpHdl"}[target], (entry[target],)),),
                                 tuple(action))
            self.assertTrue(line.startswith("default" if entry["default"] else f"#{entry['handle']} "), line)
        self.assertEqual(targets, {"action", "member", "group"})

    def test_routes_stand_beside_the_leaf_switch(self):
        hops = "".join(f"192.0.2.{i} {i}\n" for i in range(1, 198))
        arguments = ("--demo", "--routes", "-", "entries")
        tables = by_table(self.shown(*arguments, stdin="0.0.0.0/0 0\n10.0.10.11 198\n" + hops))
        leaf = by_table(self.shown("--demo", "entries"))
        for table, lines in leaf.items():
            self.assertLessEqual(set(lines), set(tables[table]))
        self.assertRegex(" ".join(tables["ipv4Host"]), r"#\d+ vrfId=0x2 dip=10\.0\.10\.11 -> setEcmp ecmpGroup=0x2 ")
        self.assertEqual(len(tables["ecmpGroup"]), len(leaf["ecmpGroup"]) + 199)

    def test_large_tables_are_shown_whole(self):
        hosts = [f"10.{i // 250}.{i % 250}.1" for i in range(6000)]
        text = self.shown("--routes", "-", "entries", "ipv4Host", stdin="".join(host + " 1\n" for host in hosts))
        self.assertEqual(re.findall(r"^  #\d+ vrfId=0x1 dip=(\S+) -> setEcmp ecmpGroup=0x1$", text, re.M), hosts)

    def test_counters(self):
        text = self.shown("--demo", "counters")
        self.assertRegex(text, r"trapToCpuCount, of the entries of trapToCpu\n +count_a +count_b  entry\n"
                               r" +\d+ +\d+  #1\n +\d+ +\d+  #2  dstPort 0x00b3 L3DmacValid dip 10.0.10.1/32 TCP\n"
                               r" +\d+ +\d+  default\n")
        self.assertIn("65536 of the first 65536 cells are at 0", text)
        self.assertEqual(len(re.findall("count_a", text)), 9)
        of_table = self.shown("counters", "haloCounters")
        self.assertTrue(of_table.startswith("haloCount, of the entries of haloCounters\n"))
        self.assertEqual(self.shown("counters", "haloCount"), of_table)
        counted = self.shown("--driver", faulty_driver, "counters", "egressPortQueueCount")
        self.assertRegex(counted, r"index\n +3 +192  7\n  9 of 10 cells are at 0\n$")

    def test_times_go_to_stderr(self):
        done = run("--demo", "--time", "entries")
        self.assertEqual((done.returncode, done.stdout), (0, self.shown("--demo", "entries")))
        self.assertEqual(len(re.findall(r"^ +[\d.]+ s +[\d.]+ %  \w", done.stderr, re.M)), 4, done.stderr)


class Damage:
    """A line that tells of damage, and what the table's page makes of it."""

    # Their first key field is no part of what the driver matches: it chooses the partition.
    partitioned = ("ipv4FinalResolve0", "ipv6FinalResolve", "ipv6LgMaskFinalResolve0")

    def __init__(self, line):
        place, self.what = re.fullmatch(r"(\w+ #\d+): (.*?)(?:, which no comparison sees)?", line).groups()
        self.called_visible = not line.endswith(", which no comparison sees")
        self.table, handle = place.split(" #")
        self.entry = (self.table, int(handle))
        flip = re.fullmatch(r"bit (\d+) of (?:byte (\d+) of )?the (key|mask|action data|member's handle) flipped",
                            self.what)
        self.bit, self.byte, self.part = flip.groups() if flip else (0, 0, "lost")
        self.bit, self.byte = int(self.bit), int(self.byte or 0)

    def visible(self, page, entry):
        """`page` is the table's, `entry` the software's as JSON has it."""
        if self.part in ("lost", "member's handle"):
            return True
        if self.part == "action data":
            rows = re.search(rf"^    {entry['action']} (.*\n( {{6}}.*\n)*)", page, re.M)[0][4 + len(entry["action"]):]
            fields = [(int(bits), "", "all") for bits in re.findall(r"^ +\w+ +(\d+) ", rows, re.M)]
        else:
            fields = [(int(bits), match, covered) for bits, match, covered in
                      re.findall(r"^    \w+ +\w+ +(\d+) +(exact|mask|prefix) .* (all|0x\w+)$", page, re.M)]
        # Each field begins with a byte, most significant bit first.
        byte = self.byte
        for number, (bits, match, covered) in enumerate(fields):
            length = (bits + 7) // 8
            if byte < length:
                if (number == 0 and self.table in self.partitioned and self.part == "key" or
                        self.part == "mask" and match != "mask"):
                    return False
                mask = (1 << bits) - 1 if covered == "all" else int(covered, 16)
                return mask >> 8 * (length - 1 - byte) + self.bit & 1 != 0
            byte -= length
        raise AssertionError(f"no field has {self.what} of {self.entry}")

    message = {"lost": r"p4_pd_velmar_switch_\w+_get_entry failed", "key": r"mspec \w+ differs.*",
               "mask": r"mspec \w+_mask differs.*", "action data": r"aspec action_\w+ differs 0x\w+ vs 0x\w+",
               "member's handle": r"mbr_hdl differs: mbr_hdl_pd=0x\w+, mbr_hdl_hw=0x\w+"}


class Verified(unittest.TestCase):
    def software(self, *arguments):
        """What the software has of all entries, by table and handle, and what their counters count."""
        document = json.loads(run(*arguments, "--format", "json", "entries", stdin=many_routes).stdout)
        text = run(*arguments, "--format", "value", "entries", stdin=many_routes).stdout
        values = [line for line in text.splitlines() if not line.startswith("#")]
        self.assertEqual(len(document), len(values))
        entries = {(entry["table"], entry["handle"]): (entry, value) for entry, value in zip(document, values)}
        counts = re.split(r"^\w+, of the entries of (\w+)\n", run(*arguments, "counters", stdin=many_routes).stdout,
                          flags=re.M)
        descriptions = {(table, int(handle)): text for table, lines in zip(counts[1::2], counts[2::2])
                        for handle, text in re.findall(r"^ +\d+ +\d+  #(\d+)  (.+)$", lines, re.M)}
        return entries, descriptions

    def test_all_that_was_damaged_is_found_and_nothing_else(self):
        pages, parts, unseen, described = {}, set(), 0, 0
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
                damages = [Damage(line.strip()) for line in lines]
                self.assertEqual(len({damage.entry for damage in damages}), min(count, keyed))
                wanted = []
                for damage in damages:
                    if damage.table not in pages:
                        pages[damage.table] = run("table", damage.table).stdout
                    entry, value = entries[damage.entry]
                    parts.add(damage.part)
                    visible = damage.visible(pages[damage.table], entry)
                    self.assertEqual(damage.called_visible, visible, (damage.entry, damage.what))
                    if not visible:
                        unseen += 1
                        continue
                    text = rf"  {damage.table} #{damage.entry[1]}: {damage.message[damage.part]}\n      "
                    text += re.escape(value) + "\n"
                    if damage.entry in descriptions:
                        described += 1
                        text += "      " + re.escape(descriptions[damage.entry]) + "\n"
                    wanted.append((damage, text))
                self.assertEqual(head, f"Damaged in the hardware: {len(damages)} entries, "
                                       f"{len(wanted)} of them in what a comparison sees")
                found = re.findall(r"^  \S.*\n(?:      .*\n)*", differences + "\n", re.M)
                self.assertEqual(len(found), len(wanted))
                for got, (damage, text) in zip(found, wanted):
                    self.assertRegex(got, rf"\A{text}\Z")
                self.assertEqual(done.returncode, 1 if wanted else 0)
                rows = {name: (int(compared), int(different)) for compared, different, name in
                        re.findall(r"^ +(\d+) +(\d+)  (.+)$", summary, re.M)}
                self.assertEqual(rows.pop("in all"), (len(entries), len(wanted)))
                for table in {damage.table for damage in damages}:
                    self.assertEqual(rows[table], (sum(name == table for name, _ in entries),
                                                   sum(damage.table == table for damage, _ in wanted)))
                self.assertEqual(sum(compared for compared, _ in rows.values()), len(entries))
        self.assertEqual(parts, set(Damage.message))
        self.assertTrue(unseen and described, (unseen, described))

    def test_nothing_differs_in_sound_hardware(self):
        for setup in ((), ("--demo",), ("--demo", "--routes", "-")):
            done = run(*setup, "verify", stdin=many_routes)
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            self.assertRegex(done.stdout, r" 0  in all\n\nNothing differs\.\n\Z")
        self.assertEqual(run("--demo", "verify", "trapToCpu").stdout,
                         "     compared    different\n            3            0  trapToCpu\n\nNothing differs.\n")

    def test_what_cannot_be_read_differs(self):
        done = run("--driver", faulty_driver, "--routes", "-", "verify", "ipv4Host", stdin="10.0.0.1 1\n10.0.0.2 1\n")
        self.assertEqual((done.returncode, done.stderr), (1, ""))
        message = "p4_pd_velmar_switch_ipv4Host_get_entry failed\n"
        self.assertRegex(done.stdout, rf" 2  ipv4Host\n\nDifferences.*\n  ipv4Host #1: {message}"
                                      rf"  ipv4Host #2: {message}      \(\(.*0x0a000002.*\n\Z")
        done = run("--driver", foreign_driver, "--session", "7", "verify", "ipv4Host")
        self.assertEqual(done.returncode, 1)
        self.assertIn("ipv4Host: counting the entries was refused with status 4\n", done.stderr)
        self.assertIn("Nothing of what could be read differs.", done.stdout)
        # Nobody knows whether such tables are empty.
        whole = run("--driver", foreign_driver, "--session", "7", "verify").stdout
        self.assertRegex(whole, " 0  ipv4Host\n")
        keyless = run("tables").stdout.count("only a default entry")
        self.assertIn(f" 0  {keyless} others, without entries but default ones\n", whole)

    def test_lists_that_end_early_are_told(self):
        for command in ("verify", "entries"):
            done = run("--driver", faulty_driver, "--routes", "-", command, "ipv6Host", stdin=many_routes)
            self.assertEqual((done.returncode, done.stderr),
                             (1, "pd-show: ipv6Host: of its entries the driver counts 99, but lists 1\n"))
            self.assertNotIn("Nothing differs", done.stdout)

    def test_progress_on_a_terminal(self):
        ours, theirs = os.openpty()
        with os.fdopen(ours, "rb") as terminal:
            subprocess.run([pd_show, "--demo", "verify"], stdout=subprocess.DEVNULL, stderr=theirs, check=True)
            self.assertRegex(os.read(terminal.fileno(), 4096), rb"\rcomparing +\[#{30}\] (\d+) of \1\r\n")
        os.close(theirs)


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
                ("no command show; there are tables, table, entries, counters, verify;", "show"),
                ("no option --dem0;", "--dem0", "tables"),
                ("no option -x;", "tables", "-xy"),
                ("--demo takes no value;", "tables", "--demo=3"),
                ("--device needs a value", "tables", "--device"),
                ("--device takes a number from 0 to 255, not 256", "--device", "256", "tables"),
                ("no format xml; there are text, json, value", "--format", "xml", "entries"),
                ("entries alone", "--format", "json", "tables"),
                ("entries and counters alone", "--hw", "verify"),
                ("table needs a name", "table"),
                ("--corrupt is for verify", "--demo", "--corrupt", "1", "entries"),
                ("--corrupt needs --demo or --routes", "--corrupt", "1", "verify"),
                ("takes no name", "--demo", "--corrupt", "1", "verify", "l2Lookup"),
                ("--seed is for --corrupt", "--demo", "--seed", "1", "verify"),
                ("what is ipv4Host behind tables", "tables", "ipv4Host"),
                ("drivers that aren't embedded", "--session", "1", "tables"),
                ("device 0", "--demo", "--device", "1", "tables"),
                ("needs? the embedded driver", "--driver", foreign_driver, "--session", "1", "--demo", "tables"),
                ("say which by --session", "--driver", foreign_driver, "tables")):
            self.assertEqual(self.refused(2, expected, *arguments).stdout, "")

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
            with open(os.path.join(folder.encode(), odd), "wb") as bad:
                bad.write(b"\x1b 1\n")
            done = self.refused(2, rf"(?m)^{re.escape(folder)}/{printed}:1: '\\x1b' is no IPv4", "--routes", bad.name,
                                "tables")
            self.assertNotIn("\x1b", done.stderr)

    def test_mistyped_names_get_near_ones(self):
        for command in ("table", "entries"):
            self.refused(2, r"no table ipv4host: did you mean ipv4Host or ipv6Host\?\n$", command, "ipv4host")
        self.refused(2, r"did you mean ipv4Host or", "table", "IPV4HOST")
        self.refused(2, r"did you mean .*\bipv4FinalResolve0\b", "table", "FinalResolve")
        self.refused(2, r"no table xyzzyxyzzy\n$", "table", "xyzzyxyzzy")
        self.refused(2, r"did you mean haloCounters or haloCount\?", "counters", "haloCounter")
        self.refused(2, r"no counter, and no table with a counter, \n$", "counters", "")

    def test_bad_lists_of_routes(self):
        self.refused(2, "nowhere can't be opened: No such file", "--routes", "/nowhere", "tables")
        done = self.refused(2, r"\A<stdin>:2: .*no IPv4.*\npd-show: .* bad\n\Z", "--routes", "-", "tables",
                            stdin="10.0.0.0/8 1\n10.x 1\n")
        self.assertEqual(done.stdout, "")
        self.refused(2, "/dev/zero:1: the line is longer", "--routes", "/dev/zero", "tables")
        self.refused(2, "/dev/null: there is no route", "--routes", "/dev/null", "tables")
        self.refused(2, "with --demo, a list has at most 199 different next hops", "--demo", "--routes", "-", "tables",
                     stdin="".join(f"192.0.2.{i} {i}\n" for i in range(200)))

    def test_drivers_that_cannot_be_used(self):
        self.refused(1, "the driver can't be loaded: .*nowhere.so", "--driver", "/nowhere.so", "tables")
        self.refused(1, "beside this driver: .*undefined symbol", "--driver", "libm.so.6", "tables")
        self.refused(1, "the driver lacks a function of those that --time looks at", "--driver", "libm.so.6", "--time",
                     "entries")
        for setup in ((), ("--demo",), ("--routes", "-")):
            done = self.refused(1, "refuses to register", "--driver", faulty_driver, *setup, "tables", stdin="::/0 1\n",
                                REFUSED_CLIENTS="all")
            self.assertEqual(done.stdout, "")

    def test_what_cannot_be_read_is_told_and_the_rest_is_shown(self):
        hosts = "".join(f"192.0.2.{i} 1\n" for i in range(1, 51))
        done = self.refused(1, "ipv4Host: entry #1 can't be read\n", "--driver", faulty_driver, "--routes", "-",
                            "entries", "ipv4Host", stdin=hosts)
        self.assertEqual(len(re.findall("^  #", done.stdout, re.M)), 25)
        self.assertEqual(done.stderr.count("can't be read"), 20)
        self.assertTrue(done.stderr.endswith("and 5 more like these\n"), done.stderr)
        document = run("--driver", faulty_driver, "--routes", "-", "--format", "json", "entries", "ipv4Host",
                       stdin=hosts).stdout
        self.assertEqual([entry["handle"] for entry in json.loads(document)][:3], [2, 4, 6])
        # The driver's copy can be read where the hardware can't.
        of_hw = run("--driver", faulty_driver, "--routes", "-", "--hw", "entries", "ipv4Host", stdin=hosts)
        self.assertEqual(of_hw.stdout.count("\n  #"), 0)

    def test_sessions_of_other_drivers(self):
        done = self.refused(1, "ipv4Host: counting the entries was refused with status 4\n", "--driver",
                            foreign_driver, "--session", "7", "table", "ipv4Host")
        self.assertIn("Table ipv4Host", done.stdout)

    def test_output_that_cannot_be_written(self):
        with open("/dev/full", "w", encoding="ascii") as full:
            done = run("tables", stdout=full)
        self.assertEqual(done.returncode, 1)
        self.assertIn("No space left", done.stderr)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
