"""Counters, meters, WRED, registers, digests, value sets, hash calculations and snapshots."""

import binascii
import ctypes

import pytest
import vl_pd


def test_counters(sw):
    entry = sw.trapToCpu.add({"etherType": 0x88CC}, "trapPacket", {"cpuReasonCode": 3}, priority=1)
    for counter, cell in ((sw.counters["trapToCpuCount"], entry), (sw.counters["pdpClassCount"], 17)):
        counter.write(cell, 5, 1 << 40)
        assert (counter.read(cell).count_a, counter.read(cell).count_b) == (5, 1 << 40)
        sw.count(counter.name, cell, packets=2)
        assert counter.read(cell).count_a == 5
        counter.sync()
        assert counter.read(cell).count_a == 7
        sw.count(counter.name, cell, packets=2)
        assert counter.read(cell, hw=True).count_a == 9
    with pytest.raises(vl_pd.Refused):
        sw.counters["trapToCpuCount"].read(entry + 1)


def test_meters_and_wred(sw):
    missed = sw.l2LookupMiss
    entry = missed.add({}, "l2LookupBcastHit", meter=(1, 2, 3, 4, 1), priority=1)
    storm = sw.meters["stormControlMeter"]
    storm.write(entry, vl_pd.Meter(10, 20, 30, 40))
    assert storm.read(entry).peak_rate == 30
    sw.meters["pdpMeter"].write(5, (1, 2, 3, 4, 1))
    assert sw.meters["pdpMeter"].read(5).committed_burst == 2
    sw.wred["wredBlock"].write(3, (7, 8))
    assert sw.wred["wredBlock"].read(3) == (7, 8)


def test_registers_of_all_kinds(sw):
    for register in sw.registers.values():
        value = {"flag": 1, "word": 0xDEADBEEF, "word_pair": (1, 2)}[register.row["cell"]]
        before = register.read(3)
        register.write(3, value)
        assert set(register.read(3, hw=True)) == {value} and register.read(4) == before, register
        register.write(4, value, pipe=2)
        assert register.read(4, hw=True) == [value if pipe == 2 else before[0] for pipe in range(4)]
        assert register.read_range(3, 2) == [[value] * 4, register.read(4)] and register.read(4, pipe=2) == [value]
        register.sync()
        register.reset(3)
        assert register.read(3) == before and register.read(4) != before
        register.reset()
        assert register.read(4) == before


def test_digests_come_as_dicts_that_fit_into_tables(sw, capsys):
    got = []
    digest = sw.digests["macLearningDigest"]
    digest.register(got.append)
    entry = bytes.fromhex("00001122 00334455 0064 00000007")
    sw.send_digest("macLearningDigest", entry * 2)
    assert got == [{"smac": "00:11:22:33:44:55", "ingL2Domain": 100, "ingL2Aintf": 7}] * 2
    learned = sw.l2LearningLookup
    assert learned[learned.add(got[0], "noOp")].key == got[0]
    digest.deregister()
    digest.register(lambda entry: 1 / 0)
    sw.send_digest("macLearningDigest", entry)
    assert "ZeroDivisionError" in capsys.readouterr().err
    unacknowledged = ctypes.c_uint32(9)
    sw.binding.driver.vl_model_digest_unacked(0, digest.row["handle"], ctypes.byref(unacknowledged))
    assert unacknowledged.value == 0
    digest.deregister()
    with pytest.raises(vl_pd.Refused):
        sw.send_digest("macLearningDigest", entry)
    assert len(got) == 2
    for digest in sw.digests.values():  # each byte belongs to one field
        places = sorted(place for _, places in digest.fields for place in places)
        assert [begin for begin, _ in places] == [0, *(end for _, end in places[:-1])]
        assert places[-1][1] == digest.row["entry_size"]


def test_value_sets(sw):
    chosen = sw.value_sets["vxlan_ports"]
    handles = [chosen.add(port, 0xFFFF) for port in (4789, 8472)]
    assert list(chosen) == handles and len(chosen) == 2
    chosen.modify(handles[1], 8472, 0xFFFE)
    with pytest.raises(ValueError, match="outside of its mask: 0x1"):
        chosen.modify(handles[1], 8473, 0xFFFE)
    assert chosen[handles[1]] == (8472, 0xFFFE) and chosen.find(4789, 0xFFFF) == handles[0]
    chosen.delete(handles[0])
    assert chosen.find(4789, 0xFFFF) is None and list(chosen) == handles[1:]


def test_hashes_are_predicted(sw):
    group_hash = sw.hashes["hashOuterIpv4Hdr"]
    text = b"123456789"
    fields = [(int.from_bytes(text[:5], "big"), 40), (int.from_bytes(text[5:], "big"), 32)]
    found = {calculation.predict(fields) for calculation in sw.hashes.values()}
    assert found <= {0x995DC9BBDF1939FA, binascii.crc32(text), int.from_bytes(text[1:], "big")} and len(found) > 1
    before = group_hash.predict(fields)
    group_hash.seed = (1 << 63) + 1
    assert group_hash.seed == (1 << 63) + 1 and group_hash.predict(fields) != before
    group_hash.attributes = [(1, 2, 3), (4, 5, 6)]
    assert group_hash.attributes == [(1, 2, 3), (4, 5, 6)]
    with pytest.raises(ValueError, match="more than 8 bits"):
        group_hash.predict([(256, 8)])
    profile = sw.ecmpMemberActionProfile
    members = [profile.add_member("setEcmpNextHop", {"nextHopTable": 0, "nextHop": i}) for i in range(3)]
    group = profile.create_group(max_size=4)
    for member in members:
        group.add(member)
    assert [group.selected(hashed) for hashed in (0, 1, b"\x05")] == [members[0], members[1], members[2]]
    group.set_active(members[0], False)
    assert not group.is_active(members[0]) and group.selected(0) == members[1] and list(group) == members


def test_snapshots(sw):
    with sw.snapshot(2, 4) as snapshot:
        assert snapshot.capture().state == 0
        snapshot.trigger({2: (0x0800, 0xFFFF), 0: 1})
        assert snapshot.capture().state == 1
        sw.match_snapshot(snapshot, 3, [bytes([stage]) * 676 for stage in (1, 2)])
        capture = snapshot.capture()
        assert (capture.state, capture.trigger_stage, capture.count) == (2, 3, 1)
        assert [set(stage) for stage in capture.stages] == [{1}, {2}, {0}]
        with pytest.raises(ValueError, match="fit"):
            snapshot.trigger({2: 0x10000})
    with pytest.raises(vl_pd.Refused):
        snapshot.capture()
