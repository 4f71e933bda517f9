#!/usr/bin/env python3
"""The layer around commands: exit statuses, process ids, summaries, faults of its own, several processes and threads.

  watch_test.py PD_WATCH LEAF_SWITCH THREADS_TEST WATCH_MISTAKES
"""

import json
import os
import pathlib
import re
import resource
import signal
import subprocess
import sys
import tempfile
import time
import unittest

pd_watch, leaf_switch, threads_test, mistakes = sys.argv[1:5]


def watch(*arguments, **options):
    return subprocess.run([pd_watch, *map(str, arguments)], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                          timeout=300, check=False, **options)


# A layer with a sanitizer can be loaded only into programs that have the sanitizer.
any_command = unittest.skipIf(watch("true").returncode != 0, "the layer has a sanitizer")


class Watch(unittest.TestCase):
    maxDiff = 4000

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def test_each_function_of_the_driver_is_watched(self):
        def exported(name):
            path = pathlib.Path(pd_watch).parent / "../lib" / name
            listed = subprocess.run(["nm", "-D", "--defined-only", path], capture_output=True, text=True, check=True)
            return set(re.findall(r" T ((?:pipe_|bf_drv_|bf_snapshot_)\w+)$", listed.stdout, re.M))
        self.assertEqual(exported("vl_bf_pd/libvl_pd_watch.so"), exported("libvl_driver_model.so"))

    @any_command
    def test_the_command_stays_what_it_is(self):
        done = watch("--summary", "--", "sh", "-c", "echo $$; exit 7")
        self.assertEqual((done.returncode, done.stderr), (7, ""))  # it never called the driver
        with subprocess.Popen([pd_watch, "sh", "-c", "echo $$"], stdout=subprocess.PIPE, text=True) as process:
            self.assertEqual(process.communicate()[0], f"{process.pid}\n")
        self.assertEqual(watch("sh", "-c", "kill -TERM $$").returncode, -signal.SIGTERM)
        plain = subprocess.run([leaf_switch], capture_output=True, text=True, check=True)
        watched = watch("--summary", "--record", self.folder / "calls", leaf_switch)
        self.assertEqual((watched.returncode, watched.stdout), (0, plain.stdout))

    def test_wrong_arguments(self):
        for arguments in ([], ["--nothing"], ["--record"], ["--summary"], ["--record", self.folder / "no/where/calls"],
                          ["--record", "/dev/null", "true"],
                          ["--record", self.folder / "x", "--report", self.folder / "x", "true"]):
            done = watch(*arguments)
            self.assertEqual(done.returncode, 2, arguments)
            self.assertTrue(done.stderr.startswith("pd-watch: "), done.stderr)
        old = self.folder / "old"
        old.write_text("precious")
        self.assertEqual(watch("--record", old, "/no/command").returncode, 127)
        self.assertEqual((watch(self.folder).returncode, old.read_text()), (126, "precious"))

    def test_each_ending(self):
        calls = self.folder / "calls"
        for how, status in (("exit", 3), ("_exit", 3), ("quick_exit", 3), ("abort", -signal.SIGABRT), ("fork", 0)):
            with self.subTest(how):
                done = watch("--strict", "--record", calls, mistakes, "wide-value", how)
                self.assertEqual(done.returncode, status)
                self.assertIn("pd-watch: wide-value: ", done.stderr)
                self.assertEqual("1 mistake, 0 other refusals" in done.stderr, how != "abort", done.stderr)
                shown = watch("show", calls)
                self.assertRegex(shown.stdout, "pipe_mgr_mat_ent_add +l2XRemap #1 ")
                self.assertEqual((calls.parent / "calls.tail").exists(), how == "abort")
                (calls.parent / "calls.tail").unlink(missing_ok=True)

    def test_the_layers_files_never_end_the_agent(self):
        plain = subprocess.run([leaf_switch], capture_output=True, text=True, check=True)
        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (300 << 10, 300 << 10))
        done = watch("--record", self.folder / "calls", leaf_switch, preexec_fn=limit)
        self.assertEqual((done.returncode, done.stdout), (0, plain.stdout))
        self.assertRegex(done.stderr, "^pd-watch: recording to .* ends: File too large\n$")
        reader, writer = os.pipe()
        os.close(reader)
        done = subprocess.run([pd_watch, "--check", mistakes, "wide-value"], stderr=writer, check=False)
        os.close(writer)
        self.assertEqual(done.returncode, 0)

    def test_summary(self):
        calls = self.folder / "calls"
        done = watch("--summary", "--format", "json", "--report", self.folder / "report", "--record", calls,
                     leaf_switch)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        summary = json.loads((self.folder / "report").read_text())["summary"]
        recorded = [json.loads(line) for line in calls.read_text().splitlines()[1:]]
        self.assertEqual(summary["calls"], len(recorded))
        self.assertEqual(summary["alive"], [])
        for row in summary["functions"]:
            same = [call for call in recorded if call["function"] == row["function"] and
                    (call.get("table"), call["raw"].get("table")) == (row["table"], row.get("table_handle"))]
            self.assertEqual(row["calls"], len(same), row)
            refused = [call["status"] for call in same if call["status"] != 0]
            self.assertEqual(row["refusals"], {str(status): refused.count(status) for status in refused})
            times = sorted(call["duration_ns"] for call in same)
            for name, share in (("median_ns", 0.5), ("p99_ns", 0.99)):
                exact = times[min(int(share * len(times)), len(times) - 1)]
                self.assertLessEqual(abs(row[name] - exact), exact / 8 + 1, row)

    def test_a_signal_tells_the_summary(self):
        socket = str(self.folder / "socket")
        with subprocess.Popen([pd_watch, "--summary", leaf_switch, "--console", socket], stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE, text=True) as process:
            for line in process.stdout:
                if "console listens" in line:
                    break
            process.send_signal(signal.SIGUSR1)
            head = process.stderr.readline()
            time.sleep(0.1)
            process.terminate()
            rest = process.communicate()[1]
        self.assertRegex(head, f"^pd-watch: [0-9]+ calls of the driver by process {process.pid} in ")
        self.assertRegex(rest, "alive: .*entries of l2Lookup")
        self.assertEqual(rest.count("calls of the driver by process"), 1)

    def test_what_the_layer_cannot_do_is_told_once(self):
        plain = subprocess.run([leaf_switch], capture_output=True, text=True, check=True)
        done = watch("--report", "/dev/full", "--summary", leaf_switch)
        self.assertEqual((done.returncode, done.stdout), (0, plain.stdout))
        self.assertEqual(done.stderr.count("pd-watch: the report can't be written: No space left on device\n"), 1)
        environment = {**os.environ, "VL_PD_WATCH": "1", "VL_PD_WATCH_RECORD": str(self.folder / "no/calls"),
                       "VL_PD_WATCH_REPORT": str(self.folder / "no/report"), "VL_PD_WATCH_SUMMARY": "1",
                       "LD_PRELOAD": str(pathlib.Path(pd_watch).parent / "../lib/vl_bf_pd/libvl_pd_watch.so")}
        done = subprocess.run([leaf_switch], env=environment, capture_output=True, text=True, check=True)
        self.assertEqual(done.stdout, plain.stdout)
        for fault in ("recording to .* ends: No such file", "the report .* can't be opened: No such file"):
            self.assertRegex(done.stderr, f"pd-watch: {fault}")

    @any_command
    def test_each_process_has_its_recording(self):
        calls = self.folder / "calls"
        done = watch("--record", calls, "sh", "-c", f"{leaf_switch} & {leaf_switch}; wait")
        self.assertEqual(done.returncode, 0)
        recordings = sorted(self.folder.iterdir())
        self.assertEqual(len(recordings), 2)
        first, second = (len(path.read_text().splitlines()) for path in recordings)
        self.assertTrue(first == second > 1000)

    def test_threads(self):
        calls = self.folder / "calls"
        done = watch("--check", "--summary", "--record", calls, threads_test, "--gtest_filter=*.KeepTheirRows")
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        found = re.findall(r'^{"seq":([0-9]+),"time":[0-9]+,"thread":([0-9]+),.*}$', calls.read_text(), re.M)
        self.assertEqual([int(number) for number, _ in found], list(range(1, len(found) + 1)))
        self.assertGreater(len({thread for _, thread in found}), 8)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
