"""The embedded driver's side: packets, clock, damage, state logs."""

import ast
import json

import pytest
import vl_pd


def test_packets_take_the_longest_prefix(sw):
    lpm = sw.ipv4ShortMaskLpm
    short = lpm.add({"vrfId": 7, "dip": "10.0.0.0/8"}, "setNextHop", {"nextHop": 1})
    longer = lpm.add({"vrfId": 7, "dip": "10.16.0.0/12"}, "setNextHop", {"nextHop": 2})
    assert lpm.lookup({"vrfId": 7, "dip": "10.17.0.1"}) == longer
    assert lpm.lookup({"vrfId": 7, "dip": "10.32.0.1"}) == short
    assert lpm.lookup({"vrfId": 8, "dip": "10.32.0.1"}) is None
    second = sw.ipv4FinalResolve0.add({"partIdx": 3, "dip": "0.1.0.0/16"}, "setNextHop0First", {"nextHop": 1})
    assert sw.ipv4FinalResolve0.lookup({"partIdx": 3, "dip": "10.1.2.3"}) == second
    assert sw.ipv4FinalResolve0.lookup({"partIdx": 4, "dip": "10.1.2.3"}) is None


def test_damage_shows_in_verify(sw):
    for i in range(50):
        sw.ipv4Host.add({"vrfId": 1, "dip": i}, "setNextHop", {"nextHop": i})
    damage = sw.damage(5)
    differences = sw.ipv4Host.verify()
    assert {each.handle for each in differences} <= {each.handle for each in damage} and len(damage) == 5
    assert differences and all(each.message for each in differences)


def test_entries_age_and_packets_keep_them(sw, clock):
    gone, table = [], sw.l2LearningLookup
    table.enable_idle(gone.append, params_a=1000, params_c=100000)
    assert table.idle_params()["params_c"] == 100000
    key = {"smac": "02:00:00:00:00:01", "ingL2Domain": 1, "ingL2Aintf": 2}
    handle = table.add(key, "noOp", ttl=5000)
    assert table.ttl(handle) == 5000
    clock(4000)
    assert table.packet(key) == handle
    table.update_hit_states()
    assert table.hit_state(handle) == 1
    clock(4000)
    assert gone == []
    table.set_ttl(handle, 3000)
    clock(2000)
    table.reset_ttl(handle)
    clock(2000)
    assert gone == []
    clock(20000)
    table.update_hit_states()
    assert gone == [handle] and table.hit_state(handle) == 0
    table.disable_idle()


def test_fixtures(sw, packets, damage, faults):
    entry = sw.trapToCpu.add({"etherType": 0x88CC}, "trapPacket", {"cpuReasonCode": 3}, priority=10)
    assert packets("trapToCpu", {"etherType": 0x88CC}, 100).params == {"cpuReasonCode": 3}
    assert packets(sw.trapToCpu, {"etherType": 0x800}).is_default
    counter = sw.counters["trapToCpuCount"]
    assert tuple(counter.read(entry, hw=True)) == (1, 100) and "0x88cc" in counter.describe(entry)
    faults("pipe_mgr_mat_ent_add", nth=2, status=9)
    rows = [({"vrfId": 1, "dip": i}, "setNextHop", {"nextHop": i}) for i in range(3)]
    many = sw.ipv4Host.add_many(rows)
    assert [row for row, _ in many.refused] == rows[1:2] and many.refused[0][1].name == "TABLE_FULL"
    faults("pipe_mgr_mat_ent_add")
    sw.clear_faults()
    sw.ipv4Host.add(*rows[1])
    with pytest.raises(KeyError):
        faults("pipe_mgr_mat_ent_ad")
    assert len(damage(2)) == 2


def test_state_is_restored(sw):
    profile = sw.ecmpMemberActionProfile
    member = profile.add_member("setEcmpNextHop", {"nextHopTable": 0, "nextHop": 1})
    log = sw.state_log()
    json.loads(log)
    sw.restore(log)
    change = (member, "setEcmpNextHop", {"nextHopTable": 0, "nextHop": 2})
    profile.modify_member(*change)
    sw.drop_state()
    with pytest.raises(vl_pd.Refused):
        profile.modify_member(*change)
    sw.restore()  # by replay
    profile.modify_member(*change)
    assert profile.member(member).params["nextHop"] == 2


def test_texts_and_properties(sw):
    handle = sw.ipv4Host.add({"vrfId": 7, "dip": "10.0.0.1"}, "setNextHop", {"nextHop": 5})
    assert ast.literal_eval(sw.ipv4Host.schema())[0][0] == "ipv4Host"
    assert ast.literal_eval(sw.ipv4Host.value_string(handle)) is not None
    sw.ipv4Host.set_property(2, 9, 4)
    assert sw.ipv4Host.property(2) == (9, 4)
    assert "setNextHop" in sw.ipv4Host.__doc__ and isinstance(sw, vl_pd.Switch)
