#!/usr/bin/env python3
"""Recordings of the example agents: shown, played again and compared.

  watch_recording_test.py PD_WATCH LEAF_SWITCH ROUTE_AGENT PD_SHOW FOREIGN_DRIVER
"""

import contextlib
import json
import os
import pathlib
import pty
import random
import re
import signal
import subprocess
import sys
import tempfile
import unittest

pd_watch, leaf_switch, route_agent, pd_show, foreign_driver = sys.argv[1:6]
changing_tables = {"l2Lookup", "l2LearningLookup"}  # while the leaf switch stays up
routes = """10.1.0.0/16 7
2001:db8::/32 8
192.0.2.1 9
10.1.2.0/24 9
0.0.0.0/0 1
"""
folder = pathlib.Path()  # with a recording of each agent; set below


def run(*command, **options):
    return subprocess.run([str(word) for word in command], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, text=True, timeout=300, **options)


def watch(*arguments, **options):
    return run(pd_watch, *arguments, **options)


def record(path, *command):
    done = watch("--record", path, *command)
    assert done.returncode == 0, done.stderr
    return path


def calls(path):
    return [json.loads(line) for line in pathlib.Path(path).read_text().splitlines()[1:]]


@contextlib.contextmanager
def staying_up(socket, *command):
    """A process whose console listens at the socket. Yields it, and ends it if that hasn't happened."""
    process = subprocess.Popen([str(word) for word in command], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                               stderr=subprocess.DEVNULL, text=True)
    try:
        shown = []
        for line in process.stdout:
            shown.append(line)
            if line == f"The console listens at {socket}\n":
                break
        else:
            raise AssertionError("".join(shown))
        yield process
    finally:
        process.kill()
        process.wait()
        process.stdout.close()


def entries(socket, form="json"):
    done = run(pd_show, "--agent", socket, "--format", form, "entries")
    assert done.returncode == 0, done.stderr
    return done.stdout


def lasting(shown):
    """The entries that an agent which stays up doesn't change."""
    return [entry for entry in json.loads(shown)
            if entry["table"] not in changing_tables and entry.get("key", {}).get("vrfId") != 2]


class Recordings(unittest.TestCase):
    def setUp(self):
        self.leaf = folder / "leaf"
        self.routes = folder / "routes"
        self.own = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def changed(self, path, number, change):
        """A copy of the recording in which `change` has changed the call with this number."""
        lines = pathlib.Path(path).read_text().splitlines(keepends=True)
        call = json.loads(lines[number])
        change(call)
        lines[number] = json.dumps(call) + "\n"
        copy = self.own / "changed"
        copy.write_text("".join(lines))
        return copy

    def number_of(self, path, function, status=0):
        return next(call["seq"] for call in calls(path) if call["function"] == function and call["status"] == status)

    def test_show(self):
        all_calls = calls(self.routes)
        done = watch("show", self.routes)
        lines = done.stdout.splitlines()
        self.assertEqual((done.returncode, done.stderr, len(lines)), (0, "", len(all_calls)))
        failed = watch("show", self.routes, "--failed").stdout.splitlines()
        self.assertEqual(failed, [line for line, call in zip(lines, all_calls) if call["status"] != 0])
        self.assertTrue(all(re.search(r"  status [78] (NOT_FOUND|EXISTS)$", line) for line in failed), failed)
        of_table = watch("show", self.routes, "--table", "ecmpGroup").stdout.splitlines()
        self.assertEqual(of_table, [line for line, call in zip(lines, all_calls) if call.get("table") == "ecmpGroup"])

    def test_show_on_a_terminal(self):
        def on_terminal(**environment):
            reader, writer = pty.openpty()
            with subprocess.Popen([pd_watch, "show", self.routes, "--table", "ecmpGroup"], stdin=subprocess.DEVNULL,
                                  stdout=writer, env=os.environ | environment):
                os.close(writer)
                shown = b""
                with contextlib.suppress(OSError), open(reader, "rb", buffering=0) as lines:
                    while more := lines.read(4096):
                        shown += more
            return shown.decode()

        shown = on_terminal(PAGER="sed s/^/paged/")
        self.assertTrue(all(line.startswith("paged") for line in shown.splitlines()))
        self.assertIn("\033[36mecmpGroup\033[0m", shown)
        plain = on_terminal(PAGER="cat", NO_COLOR="1").replace("\r\n", "\n")
        self.assertEqual(plain, watch("show", self.routes, "--table", "ecmpGroup").stdout)

    def test_replay(self):
        for path, left_out in (self.leaf, 2), (self.routes, 0):
            done = watch("replay", path)
            self.assertEqual(done.returncode, 0, done.stdout)
            self.assertIn(f"{len(calls(path)) - left_out} calls, the same answers\n", done.stdout)
        self.assertIn("2 calls left out", watch("replay", self.leaf).stdout)  # of digests, which never come
        self.assertTrue(watch("replay", self.routes, "--until", 20).stdout.startswith("20 calls"))

    def test_replay_ends_in_the_same_tables(self):
        route_list = folder / "list"
        for agent in (leaf_switch, "--console"), (route_agent, route_list, "--console"):
            socket, recording = self.own / "agent", self.own / pathlib.Path(agent[0]).name
            with staying_up(socket, pd_watch, "--record", recording, *agent, socket) as process:
                tables, text = entries(socket), entries(socket, "text")
                process.kill()
            # The last lines of a process that was killed are in another file.
            tail = pathlib.Path(f"{recording}.tail").read_bytes()
            last = int(re.findall(rb'\n{"seq":(\d+),', tail[:8 + int.from_bytes(tail[:8], "little")])[-1])
            self.assertEqual(watch("show", recording).stdout.count("\n"), last)
            self.tail_is_read_to_its_cut(recording, tail, last)
            socket = self.own / "replay"
            with staying_up(socket, pd_watch, "replay", recording, "--console", socket) as process:
                self.assertEqual(lasting(entries(socket)), lasting(tables))
                process.send_signal(signal.SIGTERM)
                self.assertEqual(process.wait(), 0)
            self.shows_entries_alike(text, watch("show", recording).stdout)

    def tail_is_read_to_its_cut(self, recording, tail, last):
        copy = self.own / "copy"
        copy.write_bytes(recording.read_bytes())
        lines = tail[8:8 + int.from_bytes(tail[:8], "little")]
        for cut in 0, 8, 8 + lines.rindex(b"\n", 0, -1), 8 + lines.rindex(b"\n", 0, -1) + 1, 8 + len(lines) - 1:
            pathlib.Path(f"{copy}.tail").write_bytes(tail[:cut])
            done = watch("show", copy)
            left = lines[max(cut - 8, 0):].count(b"\n")
            self.assertEqual((done.returncode, done.stdout.count("\n")), (0, last - left), cut)

    def shows_entries_alike(self, text, shown):
        """What pd-show says of an entry stands in the call that added it."""
        added = {}
        for line in shown.splitlines():
            if words := re.search(r" pipe_mgr_mat_ent_add  (\w+) (#.*)$", line):
                added.setdefault(words[1], []).append(words[2])
        table, count = "", 0
        for line in text.splitlines():
            if not line.startswith("  "):
                table = line.split(",")[0]
            elif line.startswith("  #") and table not in changing_tables and "vrfId=0x2" not in line:
                self.assertIn(line.strip(), added[table])
                count += 1
        self.assertGreater(count, 5)

    def test_replay_stops_at_the_first_difference(self):
        def set_status(call):
            call["status"] = 8

        def set_count(call):
            call["outputs"]["count"] += 1

        def set_byte(call):
            data = call["outputs"]["data"]["data"]
            call["outputs"]["data"]["data"] = ("f" if data[0] != "f" else "0") + data[1:]

        def set_group(call):
            call["raw"]["group"] += 1000

        for function, change, name in (("pipe_mgr_mat_ent_add", set_status, "status"),
                                       ("pipe_mgr_get_entry_count", set_count, "count"),
                                       ("pipe_mgr_get_action_data_entry", set_byte, "data"),
                                       ("pipe_mgr_get_sel_grp_mbr_count", set_group, "status")):
            number = self.number_of(self.routes, function)
            path = self.changed(self.routes, number, change)
            done = watch("replay", path)
            self.assertEqual(done.returncode, 1)
            self.assertRegex(done.stdout, rf"\ACall {number} differs:\n.*{function}.*\n{name}: recorded .*, came ")
            self.assertEqual(watch("replay", path, "--until", number - 1).returncode, 0)
            done = watch("diff", self.routes, path)
            self.assertEqual(done.returncode, 1)
            self.assertTrue(done.stdout.startswith(f"{number - 1} calls are the same in both"), done.stdout)
            self.assertEqual(done.stdout.count(f": call {number}\n"), 2)

    def test_replay_against_another_driver(self):
        done = watch("replay", self.routes, "--driver", foreign_driver)
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        done = watch("replay", self.routes, "--driver", foreign_driver, "--session", 7)
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stdout, r"\ACall \d+ differs:\n.*\nstatus: recorded 0, came 4\n")

    def test_diff(self):
        again = record(self.own / "again", leaf_switch)
        done = watch("diff", self.leaf, again)
        self.assertEqual((done.returncode, done.stdout), (0, f"{len(calls(again))} calls, the same in both\n"))
        # A member with another number is the same thing, and another member isn't.
        members = sorted(set(re.findall(r"\b2684354\d\d\b", again.read_text())))
        again.write_text(again.read_text().replace(members[0], "268999999"))
        self.assertEqual(watch("diff", self.leaf, again).returncode, 0)
        again.write_text(again.read_text().replace(f'"member":{members[1]}', f'"member":{members[2]}', 1))
        self.assertEqual(watch("diff", self.leaf, again).returncode, 1)
        self.assertEqual(watch("diff", self.leaf, self.routes).returncode, 1)
        shorter = self.own / "shorter"
        shorter.write_text("".join(self.leaf.read_text().splitlines(keepends=True)[:-1]))
        done = watch("diff", self.leaf, shorter)
        self.assertEqual(done.returncode, 1)
        self.assertIn(f"{shorter}: ends\n", done.stdout)

    def test_a_replay_can_be_recorded(self):
        again = self.own / "again"
        self.assertEqual(watch("--record", again, pd_watch, "replay", self.routes, "--until", 200).returncode, 0)
        done = watch("diff", self.routes, again)
        self.assertTrue(done.stdout.startswith("200 calls are the same in both"), done.stdout)

    def test_recordings_are_read_to_the_cut(self):
        whole = self.routes.read_bytes()
        head = whole.index(b"\n") + 1
        last_lines = whole.rindex(b"\n", 0, whole.rindex(b"\n", 0, -1))
        cuts = sorted({*range(last_lines, len(whole)), *random.Random(1).sample(range(head, last_lines), 30)})
        path = self.own / "cut"
        lines = watch("show", self.routes).stdout.splitlines(keepends=True)
        for cut in cuts:
            for end in (b"", bytes(4096)) if cut % 16 == 0 else (b"",):
                path.write_bytes(whole[:cut] + end)
                count = whole[:cut].count(b"\n")
                done = watch("show", path)
                self.assertEqual((done.returncode, done.stdout), (0, "".join(lines[:count - 1])), cut)
                ended = whole[cut - 1:cut] == b"\n" and end == b""
                self.assertEqual("was cut" in done.stderr, not ended, cut)
        for cut in random.Random(2).sample(cuts, 10):
            path.write_bytes(whole[:cut])
            done = watch("replay", path)
            self.assertEqual(done.returncode, 0, done.stdout)
            self.assertTrue(done.stdout.startswith(f"{whole[:cut].count(10) - 1} call"), done.stdout)

    def test_refusals(self):
        whole = self.routes.read_text()
        head, first, rest = whole.split("\n", 2)
        texts = ["", "\n", "pd-watch\n", "[]\n", head, head.replace('"recording":1', '"recording":2') + "\n",
                 head.replace("velmar_switch", "tiny_switch") + "\n", f"{head}\nno call\n", f'{head}\n{{"seq":1}}\n',
                 f"{head}\n{first.replace('bf_drv_register', 'bf_drv_regist')}\n"]
        path = self.own / "wrong"
        for text in texts:
            path.write_text(text)
            for command in ("show", path), ("replay", path), ("diff", self.routes, path):
                done = watch(*command)
                self.assertEqual(done.returncode, 2, (command, text, done.stdout))
                self.assertIn("pd-watch: ", done.stderr)
        path.write_text(f"{head}\n{first}\n" + rest.replace('"client":1', '"clients":1'))
        done = watch("replay", path)
        self.assertEqual(done.returncode, 2)
        self.assertIn(f"{path}, line 3: there is no argument client", done.stderr)
        for command in ("show",), ("show", self.own / "none"), ("show", "--table", "none", self.routes), \
                ("show", self.routes, "--all"), ("replay",), ("replay", self.routes, "--until", "x"), \
                ("replay", self.routes, "--session", "1"), ("replay", self.routes, "--driver", self.own / "none"), \
                ("replay", self.routes, self.leaf), ("diff", self.routes), ("diff", self.routes, self.own / "none"):
            self.assertEqual(watch(*command).returncode, 2, command)


with tempfile.TemporaryDirectory() as made:
    folder = pathlib.Path(made)
    (folder / "list").write_text(routes)
    record(folder / "leaf", leaf_switch)
    record(folder / "routes", route_agent, "--packets", "1000", folder / "list")
    unittest.main(argv=sys.argv[:1] + sys.argv[6:])
