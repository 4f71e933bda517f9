#!/usr/bin/env python3
"""The example agents that stay up with a console, as an operator starts, watches and ends them.

  console_agents_test.py LEAF_SWITCH ROUTE_AGENT PD_SHOW
"""

import collections
import contextlib
import http.client
import json
import os
import pathlib
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest

leaf_switch, route_agent, pd_show = sys.argv[1:4]
learned_tables = {"l2Lookup", "l2LearningLookup"}


class UnixConnection(http.client.HTTPConnection):
    def connect(self):
        self.sock = socket.socket(socket.AF_UNIX)
        self.sock.settimeout(60)
        self.sock.connect(self.host)


class Agent:
    """An agent that stays up. `path` is its socket."""

    def __init__(self, path, *command):
        self.path = str(path)
        self.process = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                                        stderr=subprocess.PIPE, text=True)
        self.shown = []
        for line in self.process.stdout:
            self.shown.append(line)
            if line == f"The console listens at {path}\n":
                return
        raise AssertionError("".join(self.shown) + self.process.stderr.read())

    def get(self, what):
        with contextlib.closing(UnixConnection(self.path)) as connection:
            connection.request("GET", what)
            answer = connection.getresponse()
            assert answer.status == 200, (what, answer.status, answer.read())
            return json.loads(answer.read())

    def occupancy(self):
        return {table["name"]: table["entries"] for table in self.get("/v1/tables") if table["name"]}

    def counts(self):
        return {(cell["counter"], cell.get("handle", cell.get("index")), cell.get("default")): cell["count_a"]
                for cell in self.get("/v1/counters") if "count_a" in cell}

    def end(self, by):
        """The exit status, and what the agent printed to the end."""
        self.process.send_signal(by)
        out, messages = self.process.communicate(timeout=60)
        return self.process.returncode, out, messages


def until(condition, seconds=30):
    end = time.monotonic() + seconds
    while not condition():
        assert time.monotonic() < end, "it didn't happen in time"
        time.sleep(0.1)


class Agents(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.socket = self.folder / "console"

    def start(self, *command):
        agent = Agent(self.socket, *command)
        self.addCleanup(agent.process.communicate)
        self.addCleanup(agent.process.kill)
        return agent

    def test_the_leaf_switch_shows_the_demo_and_what_it_learned(self):
        agent = self.start(leaf_switch, "--console", self.socket)
        self.assertIn("ECMP group, next hops: 1 2\n", agent.shown)
        demo = json.loads(subprocess.run([pd_show, "--demo", "--format", "json", "entries"], check=True,
                                         capture_output=True).stdout)
        hosts = sum(entry["table"] == "l2Lookup" and not entry["default"] for entry in demo)
        until(lambda: min(agent.occupancy()[table] for table in learned_tables) >= hosts + 4)
        entries = agent.get("/v1/entries")
        self.assertEqual([entry for entry in entries if entry["table"] not in learned_tables],
                         [entry for entry in demo if entry["table"] not in learned_tables])
        self.assertEqual([entry for entry in demo if entry not in entries], [])
        added = [entry for entry in entries if entry not in demo]
        self.assertEqual({entry["table"] for entry in added}, learned_tables)

        before = agent.counts()
        moved = {"haloCount": 1, "trapToCpuCount": 2, "finalDropControlCount": 4}  # entries that packets take
        def moving():
            after = agent.counts()
            self.assertEqual([cell for cell, count in before.items() if after[cell] < count], [])
            cells = collections.Counter(cell[0] for cell, count in before.items() if after[cell] > count)
            return all(cells[counter] >= least for counter, least in moved.items())
        until(moving)

        status, out, messages = agent.end(signal.SIGTERM)
        self.assertEqual((status, messages), (0, ""))
        self.assertEqual(out, "Everything is taken down again, and the tables are empty.\n")
        self.assertFalse(self.socket.exists())

    def test_the_route_agent_keeps_all_routes_while_others_come_and_go(self):
        routes = self.folder / "routes"
        routes.write_text("10.0.0.0/8 1\n10.1.0.0/16 2\n192.0.2.1 3\n2001:db8::/32 4\n")
        agent = self.start(route_agent, "--console", self.socket, routes)
        until(lambda: agent.occupancy()["ipv6Partition"] == 1)
        def listed():
            return {(entry["table"], json.dumps(entry["key"])): entry["params"] for entry in agent.get("/v1/entries")
                    if entry["table"].startswith("ipv") and not entry["default"] and entry["key"].get("vrfId") != 2}
        before, hosts = listed(), agent.occupancy()["ipv4Host"]
        self.assertEqual(len(before), 5)  # with the first level of 10.1.0.0/16
        until(lambda: agent.occupancy()["ipv4Host"] > hosts + 1)
        self.assertEqual(listed(), before)
        until(lambda: sum(count for (counter, *_), count in agent.counts().items()
                          if counter == "egressPortQueueCount") > 0)
        status, out, _ = agent.end(signal.SIGINT)
        self.assertEqual((status, out.splitlines()[-1]), (0, "Everything was as planned."))
        self.assertFalse(self.socket.exists())

    def test_a_signal_while_the_routes_are_programmed_ends_the_agent_in_order(self):
        routes = self.folder / "routes"
        routes.write_text("".join(f"10.{i >> 8}.{i & 255}.0/24 {i % 1000}\n" for i in range(1 << 16)))
        status, out, _ = self.start(route_agent, "--console", self.socket, routes).end(signal.SIGTERM)
        self.assertEqual((status, out.splitlines()[-1]), (0, "Everything was as planned."))

    def test_a_console_that_cannot_start_ends_the_agent(self):
        routes = self.folder / "routes"
        routes.write_text("10.0.0.0/8 1\n")
        agent = self.start(leaf_switch, "--console", self.socket)
        for command in ([leaf_switch], [route_agent, routes]):
            for path, reason in ((self.socket, "Address already in use"),
                                 (self.folder / "none" / "console", "No such file or directory")):
                done = subprocess.run([*command, "--console", path], capture_output=True, text=True, check=False,
                                      timeout=60)
                name = os.path.basename(command[0])
                self.assertEqual(done.returncode, 1)
                self.assertEqual(done.stderr.splitlines()[-1], f"{name}: the console can't start: {reason}")
        self.assertTrue(agent.occupancy())  # the others left it alone

    def test_the_arguments_of_the_leaf_switch_are_checked(self):
        def run(*arguments):
            done = subprocess.run([leaf_switch, *arguments], capture_output=True, text=True, check=False, timeout=60)
            return done.returncode, done.stdout, done.stderr
        for arguments in (["x"], ["--console"], ["--console", ""], ["--console", self.socket, "x"], ["", self.socket]):
            sentence = "leaf_switch: takes no arguments, or --console and the path of a socket; try --help\n"
            self.assertEqual(run(*arguments), (2, "", sentence), arguments)
        status, shown, _ = run("--help")
        self.assertEqual((status, shown.split("\n")[0]), (0, "Usage: leaf_switch [--console SOCKET]"))
        status, shown, _ = run()
        self.assertEqual((status, shown.count("\nLearning: 3 unknown stations")), (0, 1))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
