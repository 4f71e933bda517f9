"""The type stubs, as mypy reads them."""

import os
import re
import subprocess
import sys

import pytest
from vl_pd import description, stubs

good = """
import ipaddress
from typing import Any

import vl_pd

def clear(table: "vl_pd.Table[Any, Any]") -> None:
    table.delete(table.add({"any": 1}, "any", priority=2))
    table.find({}, priority=2)

with vl_pd.Switch(strict=True) as sw:
    hop = sw.ipv4Host.add({"vrfId": 7, "dip": "10.0.0.1"}, "setNextHop", {"nextHop": 5})
    sw.trapToCpu.add({"etherType": 0x88CC}, "trapPacket", {"cpuReasonCode": 3}, priority=10)
    sw.ipv4ShortMaskLpm.add({"vrfId": 7, "dip": ipaddress.IPv4Network("10.16.0.0/12")}, "setNextHop", {"nextHop": 9})
    for entry in sw.ipv4Host:
        print(entry.key["vrfId"] + 1, entry.action.upper(), entry.params["nextHop"], entry.priority)
        sw.device(1).ipv4Host.add(entry.key, entry.action, entry.params)
    sw.ipv4Host.modify({"vrfId": 7, "dip": 1}, "setEcmp", {"ecmpGroup": 2})
    sw.ipv4Host.add({"vrfId": 7}, "onMiss")
    sw.trapToCpu.delete({"etherType": 0x88CC}, priority=10)
    sw.ipv4Host.set_default("onMiss")
    handles: list[int] = sw.ipv4Host.handles()
    dips = sw.ipv4Host.entries(columns=["dip"])["dip"] + [sw.ipv4Host.entries()[0].key]
    member = sw.ecmpMemberActionProfile.add_member("setEcmpNextHop", {"nextHopTable": 0, "nextHop": 1})
    group = sw.ecmpMemberActionProfile.create_group(max_size=32)
    group.add(member)
    sw.ecmpGroup.add({"nextHop": 2}, group=group)
    sw.ecmpGroup.modify(sw.ecmpGroup.add({"nextHop": 3}, member=member), group=group)
    sw.l2LookupMiss.set_default("NoAction", meter=vl_pd.Meter(1, 2, 3, 4))
    sw.samePortBridgingTest.set_default("samePortBridgingTestAction")
    sw.counters["haloCount"].read(0).count_a + sw.hashes["egrVlanStpHash"].seed
    sw.digests["macLearningDigest"].register(print)
    for name, table in sw.tables.items():
        clear(table)
    clear(sw.ipv4Host)
    found: int | None = sw.ipv4Host.find({"vrfId": 7, "dip": "10.0.0.1"}) or sw.ipv4Host.lookup({"vrfId": 7})
"""

# Each line has one mistake.
bad = """
sw.ipv4Hots.clear()
sw.device(1).ipv4Hots
sw.ipv4Host.add({"vrf": 7}, "onMiss")
sw.ipv4Host.find({"dipp": 7})
sw.trapToCpu.delete({"etherTyp": 7})
print([each.key["dipp"] for each in sw.ipv4Host])
sw.ipv4Host.add({"vrfId": 7}, "setNextHopp", {"nextHop": 5})
sw.ipv4Host.set_default("setNextHop", {"nextHop": 5})
sw.ipv4Host.add({"vrfId": 7}, "setNextHop", {"nextHob": 5})
sw.ipv4Host.add({"vrfId": 7}, "setNextHop")
sw.ipv4Host.add({"vrfId": 7}, "setEcmp", {"nextHop": 5})
sw.ipv4Host.add({"vrfId": 7}, "onMiss", priority=1)
sw.ipv4Host.find({"vrfId": 7}, priority=1)
sw.ecmpGroup.add({"nextHop": 2}, "setEcmpNextHop")
sw.samePortBridgingTest.add({}, "samePortBridgingTestAction")
sw.ecmpMemberActionProfile.add_member("setEcmp", {"ecmpGroup": 1})
sw.counters["haloCounts"]
sw.registers["haloCount"]
sw.hashes["haloCount"]
"""


@pytest.fixture(name="mypy", scope="module")
def make_stubs(tmp_path_factory):
    """A function that has mypy check a script, and returns its exit status and its errors by line."""
    folder = tmp_path_factory.mktemp("stubs")
    stubs.write(description.Description(description.find(description.description_name)), folder / "vl_pd/__init__.pyi")

    def check(script):
        (folder / "script.py").write_text(script)
        environment = {name: value for name, value in os.environ.items() if name not in ("MYPYPATH", "PYTHONPATH")}
        done = subprocess.run([sys.executable, "-m", "mypy", "--strict", "--cache-dir", folder / "cache", "script.py"],
                              cwd=folder, env=environment, capture_output=True, text=True, check=False)
        if "No module named mypy" in done.stderr:
            pytest.skip("mypy is not installed")
        errors = {}
        for name, line, words in re.findall(r"^(\S+?):(\d+): (?:error|note): (.*)$", done.stdout, re.M):
            assert name == "script.py", words
            errors[int(line)] = errors.get(int(line), "") + words
        return done.returncode, errors

    assert (folder / "vl_pd/py.typed").is_file()
    return check


def test_a_good_script_passes(mypy):
    assert mypy(good) == (0, {})


def test_each_mistake_is_found(mypy):
    lines = ["import vl_pd", "sw = vl_pd.Switch()", *bad.split("\n")]
    _, errors = mypy("\n".join(lines))
    assert [line for i, line in enumerate(lines, 1) if i not in errors] == [*lines[:2], "", ""]
