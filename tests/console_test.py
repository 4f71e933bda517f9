#!/usr/bin/env python3
"""The console of an agent, asked over its socket.

  console_test.py CONSOLE_AGENT PD_SHOW
"""

import contextlib
import errno
import http.client
import json
import os
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time
import unittest

console_agent, pd_show = sys.argv[1:3]
routes = "".join(f"10.{i}.0.0/16 {i % 9 + 1}\n10.{i}.{i}.1 {i % 7 + 1}\n10.{i}.{i}.0/24 1\n2001:db8:{i:x}::/48 2\n"
                 f"2001:db8:{i:x}:1:2:3::/96 3\n2001:db8:{i:x}::7 4\n" for i in range(1, 200))


class Connection(http.client.HTTPConnection):
    def __init__(self, path):
        super().__init__("localhost", timeout=20)
        self.path = path

    def connect(self):
        self.sock = socket.socket(socket.AF_UNIX)
        self.sock.settimeout(self.timeout)
        self.sock.connect(self.path)


class Agent:
    def __init__(self, folder, *setup):
        self.socket = os.path.join(folder, "console")
        self.process = subprocess.Popen([console_agent, self.socket, *setup], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, text=True)
        self.greeting = self.process.stdout.readline().strip()

    def tell(self, command):
        self.process.stdin.write(command + "\n")
        self.process.stdin.flush()
        assert self.process.stdout.readline() == "ok\n"

    def get(self, target, method="GET", **headers):
        connection = Connection(self.socket)
        with contextlib.closing(connection):
            connection.request(method, target, headers=headers)
            answer = connection.getresponse()
            return answer.status, answer.read().decode(), answer

    def json(self, target):
        status, body, _ = self.get(target)
        assert status == 200, (target, status, body)
        return json.loads(body)

    def end(self):
        self.process.stdin.close()
        self.process.stdout.close()
        return self.process.wait(60)


class Test(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.folder)
        self.routes = os.path.join(self.folder, "routes")
        with open(self.routes, "w", encoding="ascii") as file:
            file.write(routes)

    def agent(self, *setup):
        agent = Agent(self.folder, *setup)
        self.assertEqual(agent.greeting, "ok")

        def end():
            self.assertEqual(agent.end(), 0)
            self.assertFalse(os.path.exists(agent.socket))
        self.addCleanup(end)
        return agent

    def run_tool(self, *arguments):
        done = subprocess.run([pd_show, *arguments], capture_output=True, text=True, check=False)
        return done.returncode, done.stdout, done.stderr


class SameAsInProcess(Test):
    commands = ("tables", "table ipv4Host", "table nextHop0x", "entries", "--hw entries", "--format value entries",
                "entries ipv4FinalResolve0", "entries l2Lookup dmac=0200.0000.0011", "entries ipv4Host vrfId",
                "entries ipv4Host action=nothing", "profiles", "profiles ecmpMemberActionProfile",
                "--hw profiles ecmpMemberActionProfile", "profiles x", "counters", "counters trapToCpu", "counters x",
                "verify", "verify ipv4Host", "match trapToCpu arpHdrValid=1", "match ipv4Host vrfId=1 dip=10.3.3.1",
                "match ipv4Host dip=10.3.3.1 dip=1.1.1.1", "match queueCounters", "route 10.3.3.7", "route 2001:db8::1 1",
                "route 10.3.3.7 999", "route nowhere", "route 10.3.3.7/24", "table ipv4Host/entries", "table tablé",
                "entries ipv4Host limit=1", "entries ipv4Host format=json", ("entries", "ipv4Host", ""), ("table", ""),
                ("entries", ""), ("verify", ""), ("counters", ""), ("profiles", ""), ("route", ""), ("match", "", "dip=1"))

    def compare(self, agent, setup, skipped=0):
        for command in self.commands:
            for form in ((), ("--format", "json")):
                words = (*form, *(command.split() if isinstance(command, str) else command))
                if form and "--format" in command:
                    continue
                inside = self.run_tool(*setup, *words)
                outside = self.run_tool("--agent", agent.socket, *words)
                self.assertEqual(inside, outside, command)
                if form and inside[0] != 2:
                    json.loads(outside[1])

    def test_of_the_demo(self):
        self.compare(self.agent("demo"), ("--demo",))

    def test_of_routes(self):
        agent = self.agent("routes", self.routes)
        self.compare(agent, ("--routes", self.routes))
        # Damage that pd-show does itself stands before what the command shows; in JSON, on stderr.
        agent.tell("damage")
        damage = ("--routes", self.routes, "--corrupt", "20")
        for form in ("text", "json"):
            inside = self.run_tool(*damage, "--format", form, "verify")
            outside = self.run_tool("--agent", agent.socket, "--format", form, "verify")
            self.assertEqual((inside[0], outside[0]), (1, 1))
            self.assertTrue(inside[1].endswith(outside[1]) and len(outside[1]) > 500, form)
        self.assertIn("Damaged in the hardware: 20", self.run_tool(*damage, "--format", "json", "verify")[2])

    def test_split_addresses_are_whole(self):
        agent = self.agent("routes", self.routes)
        split = [entry for table in ("ipv4FinalResolve0", "ipv6LgMaskFinalResolve0", "ipv6FinalResolve")
                 for entry in agent.json(f"/v1/tables/{table}/entries") if not entry["default"]]
        prefixes = {line.split()[0] for line in routes.splitlines()}
        self.assertGreater(len(split), 100)
        for entry in split:
            self.assertIn(entry["prefix"], prefixes)


class Paths(Test):
    def test_pages_and_filters(self):
        agent = self.agent("routes", self.routes)
        whole = agent.json("/v1/tables/ipv4Host/entries")
        self.assertTrue(whole[-1]["default"])
        paged, after = [], ""
        while page := agent.json(f"/v1/tables/ipv4Host/entries?limit=50{after}"):
            self.assertLessEqual(len(page), 50)
            paged += page
            after = f"&after={page[-1]['handle']}"
            if page[-1]["default"]:
                break
        self.assertEqual(paged, whole)
        status, body, _ = agent.get("/v1/tables/ipv4Host/entries?after=999999")
        self.assertEqual((status, "going on behind handle 999999" in body), (404, True))
        found = agent.json("/v1/tables/ipv4Host/entries?dip=10.3.3.1&vrfId=1")
        self.assertEqual([entry["key"] for entry in found], [{"vrfId": 1, "dip": "10.3.3.1"}])
        short = agent.json("/v1/tables/ipv6ShortMaskLpm/entries?dip=2001:db8:3::/48")
        self.assertEqual(short, agent.json("/v1/tables/ipv6ShortMaskLpm/entries?dip=2001:db8:3::"))
        self.assertEqual(agent.json("/v1/tables/ipv6ShortMaskLpm/entries?dip=2001:db8:3::/47"), [])

    def test_errors(self):
        agent = self.agent()
        for status, target, words in (
                (404, "/v1/tables/ipv4Hots", "did you mean ipv4Host"),
                (404, "/v1/table", "did you mean tables"),
                (404, "/v1/tables/ipv4Host/entry", "there is nothing"),
                (404, "/v1/profiles/lag", "did you mean lagPortActionProfile"),
                (404, "/favicon.ico", "there is nothing"),
                (404, "//v1", "there is nothing"),
                (404, "/v1/", "there is nothing"),
                (404, "/v1/routes", "there is nothing"),
                (400, "/v1/routes/", "not an IPv4 or IPv6 address"),
                (404, "/v1/tables/", "there is no table"),
                (404, "/v1/tables//entries", "there is no table"),
                (404, "/v1/profiles/", "there is no profile"),
                (404, "/v1/tables/%ff%22/lookup", "there is no table \ufffd\""),
                (400, "/metrics?x=1", "takes no parameters"),
                (400, "/v1/tables/ipv4Host/entries?limit=1&limit=2", "limit is given twice"),
                (400, "/v1?format=text", "takes no parameters"),
                (400, "/v1/profiles?hw=1", 'takes no "hw"'),
                (400, "/v1/tables/ipv4Host/entries?limit=-1", "limit takes a number"),
                (400, "/v1/tables/ipv4Host/entries?hw=2", "hw takes a number from 0 to 1"),
                (400, "/v1/tables/ipv4Host/entries?limit=4294967296", "limit takes"),
                (400, "/v1/tables/ipv4Host/entries?dop=1", "no field"),
                (400, "/v1/tables/ipv4Host/entries?format=xml", "no format xml"),
                (400, "/v1/tables?hw=1", 'takes no "hw"'),
                (400, "/v1/counters?hw=1", 'takes no "hw"'),
                (400, "/v1/tables/ipv4Host/lookup?dip=x", "takes an IPv4 address"),
                (400, "/v1/routes/1.2.3", "not an IPv4 or IPv6 address")):
            got, body, answer = agent.get(target)
            self.assertEqual((got, answer.getheader("Content-Type")), (status, "application/json"), target)
            error = json.loads(body)["error"]
            self.assertEqual(error["status"], status)
            self.assertIn(words, error["message"])
        self.assertEqual(agent.get("/v1/%zz", method="HEAD")[:2], (400, ""))
        status, body, answer = agent.get("/v1/tables", method="POST")
        self.assertEqual((status, answer.getheader("Allow")), (405, "GET, HEAD"))

    def test_metrics(self):
        agent = self.agent("demo")
        status, text, answer = agent.get("/metrics")
        self.assertEqual((status, answer.getheader("Content-Type")),
                         (200, "text/plain; version=0.0.4; charset=utf-8"))
        entries = {table["name"]: table["entries"] for table in agent.json("/v1/tables") if table.get("key")}
        shown = re.findall(r'^velmar_switch_table_entries\{table="(\w+)"\} (\d+)$', text, re.M)
        self.assertEqual({name: int(count) for name, count in shown}, entries)
        counters = [entry for entry in agent.json("/v1/counters") if "handle" in entry]
        self.assertEqual(len(re.findall(r"^velmar_switch_counts_total.*entry=", text, re.M)), 2 * len(counters))
        self.assertIn('of="dstPort 0x00b3 L3DmacValid dip 10.0.10.1/32 TCP",count="a"} 0', text)
        _, text, answer = agent.get("/metrics", Accept="application/openmetrics-text; version=1.0.0")
        self.assertTrue(answer.getheader("Content-Type").startswith("application/openmetrics-text; version=1.0.0"))
        self.assertTrue(text.endswith("\n# EOF\n"))
        self.assertIn("# TYPE velmar_switch_counts counter\n", text)

    @unittest.skipUnless(shutil.which("promtool"), "promtool of Debian's package prometheus is missing")
    def test_promtool_is_content(self):
        _, text, _ = self.agent("demo").get("/metrics")
        done = subprocess.run(["promtool", "check", "metrics"], input=text, capture_output=True, text=True, check=False)
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, "", ""))

    def test_page_and_its_policy(self):
        status, page, answer = self.agent().get("/")
        self.assertEqual(status, 200)
        self.assertIn("default-src 'none'", answer.getheader("Content-Security-Policy"))
        self.assertNotRegex(page, r"(src|href)=\"(https?:)?//")


class Faults(Test):
    def test_refused_starts(self):
        running = self.agent()
        second = subprocess.run([console_agent, running.socket], capture_output=True, text=True, check=False)
        self.assertEqual(second.stdout, f"refused {errno.EADDRINUSE}\n")
        self.assertEqual(len(running.json("/v1/tables")), 132)
        for setup, refused in (("file", errno.ENOTSOCK), ("no/folder", errno.ENOENT), ("x" * 200, errno.ENAMETOOLONG)):
            path = os.path.join(self.folder, setup)
            if setup == "file":
                with open(path, "w", encoding="ascii"):
                    pass
            done = subprocess.run([console_agent, path], capture_output=True, text=True, check=False, stdin=subprocess.DEVNULL)
            self.assertEqual(done.stdout, f"refused {refused}\n")

    def test_killed_agent_leaves_a_socket_that_the_next_replaces(self):
        first = Agent(self.folder)
        first.process.send_signal(signal.SIGKILL)
        first.end()
        self.assertTrue(os.path.exists(first.socket))
        status, _, stderr = self.run_tool("--agent", first.socket, "tables")
        self.assertEqual((status, stderr), (1, f"pd-show: {first.socket}: Connection refused\n"))
        self.assertEqual(len(self.agent().json("/v1/tables")), 132)

    def test_device_that_goes_away_in_a_dump(self):
        with open(self.routes, "w", encoding="ascii") as file:  # far more than a socket holds
            file.write("".join(f"10.0.{i // 250}.{i % 250} 1\n" for i in range(20000)))
        agent = self.agent("routes", self.routes)
        with contextlib.closing(Connection(agent.socket)) as connection:
            connection.request("GET", "/v1/entries")
            answer = connection.getresponse()
            begin = answer.read(1)
            agent.tell("remove")
            document = json.loads(begin + answer.read())
        self.assertEqual(document[-1]["error"]["status"], 500)
        for target in ("/v1/tables", "/v1/tables/ipv4Host/entries", "/v1/verify"):
            status, body, _ = agent.get(target)
            self.assertEqual((status, json.loads(body)["error"]["status"]), (503, 503))
        self.assertEqual(self.run_tool("--agent", agent.socket, "tables")[0], 1)

    def test_reader_that_pauses_loses_nothing(self):
        with open(self.routes, "w", encoding="ascii") as file:
            file.write("".join(f"10.0.{i // 250}.{i % 250} 1\n" for i in range(20000)))
        agent = self.agent("routes", self.routes)
        with subprocess.Popen([pd_show, "--agent", agent.socket, "entries", "ipv4Host"], stdout=subprocess.PIPE) as tool:
            time.sleep(2)  # longer than the console waits for a client
            self.assertEqual(tool.stdout.read().count(b"\n"), 20002)
        self.assertEqual(tool.returncode, 0)

    def test_clients_at_work_while_the_agent_programs(self):
        agent = self.agent("routes", self.routes)
        agent.tell("churn")
        failed = []

        def ask(target):
            end = time.monotonic() + 2
            while time.monotonic() < end:
                status, body, answer = agent.get(target)
                if status != 200 or '"error' in body:
                    failed.append((target, status, body[-300:]))
        threads = [threading.Thread(target=ask, args=(target,)) for target in
                   ("/v1/tables/ipv4Host/entries", "/v1/verify", "/v1/profiles/ecmpMemberActionProfile", "/metrics")]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        agent.tell("calm")
        self.assertEqual(failed, [])


class Served(Test):
    def serve(self, agent, address="127.0.0.1", *options):
        process = subprocess.Popen([pd_show, "--agent", agent.socket, "serve", "--listen", f"{address}:0", *options],
                                   stdout=subprocess.PIPE, text=True)

        def end():
            process.terminate()
            process.stdout.close()
            self.assertEqual(process.wait(20), 0)
        self.addCleanup(end)
        return int(re.fullmatch(rf"http://{address}:(\d+)/\n", process.stdout.readline())[1])

    def get(self, port, target, host):
        with contextlib.closing(http.client.HTTPConnection("127.0.0.1", port, timeout=20)) as connection:
            connection.putrequest("GET", target, skip_host=True)
            connection.putheader("Host", host)
            connection.endheaders()
            answer = connection.getresponse()
            return answer.status, answer.read().decode(), answer

    def test_passes_on(self):
        agent = self.agent("demo")
        port = self.serve(agent)
        for target in ("/", "/v1/tables/ipv4Host/entries?limit=2&hw=1", "/v1/tables/l2Lookup/lookup?dmac=0200.0000.0011",
                       "/v1/tables/no%20such%2Ftable", "/v1/profiles"):
            status, body, answer = self.get(port, target, f"127.0.0.1:{port}")
            wanted = agent.get(target)
            self.assertEqual((status, body), wanted[:2], target)
            for header in ("Content-Type", "Content-Security-Policy"):
                self.assertEqual(answer.getheader(header), wanted[2].getheader(header))
        self.assertEqual(self.get(port, "/v1", f"localhost:{port}")[0], 200)
        for host in ("127.0.0.1", "LocalHost:9000", "localhost"):
            self.assertEqual(self.get(port, "/v1", host)[0], 200)
        for host in ("evil.example", f"evil.example:{port}", "10.0.0.1", "127.0.0.1.evil.example", ""):
            self.assertEqual(self.get(port, "/v1", host)[0], 403)
        everywhere = self.serve(agent, "0.0.0.0", "--allow-remote")
        self.assertEqual(self.get(everywhere, "/v1", f"127.0.0.1:{everywhere}")[0], 200)
        self.assertEqual(self.get(everywhere, "/v1", f"evil.example:{everywhere}")[0], 403)

    def test_refused_addresses(self):
        agent = self.agent()
        for words, *options in (("not a loopback address", "0.0.0.0:0"), ("not a loopback address", "[::]:0"),
                                ("takes an address", "localhost:80"), ("takes an address", "127.0.0.1"),
                                ("takes an address", "127.0.0.1:99999")):
            status, _, stderr = self.run_tool("--agent", agent.socket, "serve", "--listen", *options)
            self.assertEqual(status, 2)
            self.assertIn(words, stderr)
        self.assertEqual(self.run_tool("--agent", agent.socket + "x", "serve")[0], 1)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
