#!/usr/bin/env python3
"""What pd-watch --check says of agents that make one mistake each, and of those that make none.

  watch_check_test.py PD_WATCH WATCH_MISTAKES LEAF_SWITCH ROUTE_AGENT
"""

import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

pd_watch, mistakes, leaf_switch, route_agent = sys.argv[1:5]

# By mistake: its kind, and what is told of it.
told = {
    "wide-value": ("wide-value", "l2XRemap, action setL2XId, parameter l2XId: the value is wider than 9 bits: 0x200 "
                   r"\(pipe_mgr_mat_ent_add, thread 1, .*add_remap\+0x[0-9a-f]+ in watch_mistakes\)"),
    "wide-key": ("wide-value", "l2XRemap, field ingressPort: the value is wider than 9 bits: 0x200 "),
    "unmatched-bits": ("unmatched-bits", "trapToCpu, field ingIpv6Dip: the mask has bits that the table doesn't match: "
                       "0xff "),
    "unmatched-value": ("unmatched-bits", "ecmpGroup, field nextHop: the value has bits that the table doesn't match: "
                        "0x400 "),
    "unmatched-prefix": ("unmatched-bits", "ipv4ShortMaskLpm, field dip: the prefix has bits that the table doesn't "
                         "match: length 16 "),
    "match-all": ("match-all", "trapToCpu: .* the entry matches everything: priority 1 "),
    "hidden-entry": ("hidden-entry", "trapToCpu: .*: handle 1 hides handle 2 "),
    "long-prefix": ("long-prefix", "ipv4ShortMaskLpm, field dip: the prefix is longer than the field: 32 bits "),
    "wrong-action": ("wrong-action", "ipv4Host: the table doesn't have the action: "),
    "wrong-use": ("wrong-action", "ipv4Host, action setNextHop: the action isn't for the default entry: "),
    "unset-meter": ("unset-meter", "l2LookupMiss, action NoAction: "),
    "unknown-handle": ("unknown-handle", "ipv4Host: the driver never gave the entry: handle 2 "),
    "foreign-handle": ("foreign-handle", "ipv4ShortMaskLpm: the entry belongs to ipv4Host: handle 1 "),
    "stale-handle": ("stale-handle", "ipv4Host: the entry was deleted before: handle 1 "),
    "in-use": ("in-use", "ecmpMemberActionProfile: an entry or a group uses the member: "),
    "empty-group": ("empty-group", "ecmpGroup: the entry points at a group without members: "),
    "before-init": ("before-init", r"ipv4Host: .* \(pipe_mgr_get_entry_count, "),
    "after-cleanup": ("after-cleanup", r"ipv4Host: .* \(pipe_mgr_get_entry_count, "),
    "gone-device": ("gone-device", "ipv4Host: the device was removed: device 0 "),
    "profile-race": ("profile-race", r"ecmpMemberActionProfile: .*: thread 1 \(pipe_mgr_adt_ent_add, thread 2, "),
    "unacknowledged": ("unacknowledged", r"macLearningDigest: .*: 1 \(.*on_digest\+0x0 in watch_mistakes\)"),
    "leftover": ("leftover", "ipv4Host: left at the end: 1 entry of device 0"),
}


def watch(*arguments, status=0):
    done = subprocess.run([pd_watch, *arguments], capture_output=True, text=True)
    assert done.returncode == status, (arguments, done)
    return [line for line in done.stderr.splitlines() if "pd-watch" in line or line.startswith("{")]


def options(mistake):
    return ["--leftovers"] if mistake == "leftover" else ["--check"]


class Check(unittest.TestCase):
    def test_each_mistake_is_told(self):
        for mistake, (kind, text) in told.items():
            with self.subTest(mistake):
                lines = watch(*options(mistake), "--strict", mistakes, mistake, status=3)
                self.assertRegex(lines[0], f"^pd-watch: {kind}: {text}")
                self.assertRegex(lines[-1], "^pd-watch: [0-9]+ calls? checked: 1 mistake, 0 other refusals$")
                self.assertEqual(len(lines), 2)

    def test_what_is_right_is_not_told(self):
        for mistake in told:
            with self.subTest(mistake):
                lines = watch(*options(mistake), "--strict", mistakes, mistake, "right")
                self.assertRegex(lines[-1], ": 0 mistakes, ")

    def test_kinds_are_those_of_the_help(self):
        text = subprocess.run([pd_watch, "--help"], capture_output=True, text=True, check=True).stdout
        kinds = re.findall("^  ([a-z-]+)  +[a-z]", text.split("Kinds of mistakes:")[1].split("\n\n")[0], re.M)
        self.assertEqual(set(kinds), {kind for kind, _ in told.values()})
        examples = pathlib.Path(__file__).parent.parent / "tools/pd_watch/pd-watch.more.1"
        section = examples.read_text(encoding="utf-8").split(".SH EXAMPLES OF MISTAKES")[1].split(".SH")[0]
        in_manual = re.findall(r"^\.B (.+)$", section, re.M)
        self.assertEqual(kinds, [kind.replace("\\", "") for kind in in_manual])
        for mistake, (kind, _) in told.items():
            lines = watch(*options(mistake), "--strict", "--off", f"match-all,{kind}", mistakes, mistake)
            self.assertRegex(lines[-1], ": 0 mistakes, ")

    def test_status_is_kept(self):
        watch("--check", mistakes, "wide-value")
        watch("--check", mistakes, "no such mistake", status=2)
        watch("--check", "--strict", mistakes, "no such mistake", status=2)

    def test_json(self):
        lines = [json.loads(line) for line in watch("--check", "--format", "json", mistakes, "many")]
        self.assertEqual([line["event"] for line in lines], ["mistake", "mistake", "end"])
        self.assertEqual(lines[1] | lines[0], lines[1])
        self.assertEqual(lines[1]["count"], 3000)
        self.assertEqual((lines[0]["kind"], lines[0]["table"], lines[0]["value"], lines[0]["thread"]),
                         ("unknown-handle", "ipv4Host", "handle 7", 1))
        self.assertEqual((lines[2]["mistakes"], lines[2]["refused"]), (3000, 0))
        for mistake in told:
            for line in watch(*options(mistake), "--format", "json", mistakes, mistake):
                json.loads(line)

    def test_only_some_tables(self):
        lines = watch("--check", "--strict", "--only", "ipv4Host,ipv6Host", mistakes, "wide-value")
        self.assertEqual(len(lines), 1)
        watch("--check", "--strict", "--only", "ipv4Host,l2XRemap", mistakes, "wide-value", status=3)
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "recording")
            watch("--record", path, "--only", "ipv4Host", mistakes, "foreign-handle")
            with open(path, encoding="utf-8") as file:
                tables = {json.loads(line).get("table") for line in file}
            self.assertEqual(tables, {None, "ipv4Host"})

    def test_wrong_names_are_refused(self):
        for arguments, text in {
                ("--off", "match-al"): "there is no kind of mistake match-al: did you mean match-all?",
                ("--off", ","): "name a kind of mistake",
                ("--only", "ipv4Hots"): "there is no table ipv4Hots: did you mean ipv4Host",
                ("--format", "xml"): "there is no format xml"}.items():
            self.assertIn(text, watch(*arguments, mistakes, "wide-value", status=2)[0])

    def test_examples_are_clean(self):
        self.assertRegex(watch("--strict", "--leftovers", leaf_switch)[-1], ": 0 mistakes, 0 other refusals$")
        with tempfile.TemporaryDirectory() as folder:
            path = os.path.join(folder, "routes")
            with open(path, "w", encoding="utf-8") as file:
                for i in range(1, 60):
                    file.write(f"10.{i}.0.0/16 {i % 9 + 1}\n10.{i}.{i}.1 {i % 7 + 1}\n10.{i}.{i}.0/24 1\n"
                               f"{i}.0.0.0/8 3\n2001:db8:{i:x}::/48 2\n2001:db8:{i:x}:1:2:3::/96 3\n"
                               f"2001:db8:{i:x}::7 4\n")
            lines = watch("--check", "--strict", route_agent, "--packets", "100", path)
            self.assertRegex(lines[-1], ": 0 mistakes, ")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
