"""The embedded driver's side: packets, clock, damage, state logs."""

import ast
import json

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


def test_entries_age(sw):
    gone = []
    table = sw.l2LearningLookup
    key = {name: 1 for name in table.row.key}
    table.enable_idle(gone.append, params_a=1000, params_c=100000)
    action = table.row.actions[0]
    params = {name: 0 for name in sw.binding.description.actions[action].params}
    handle = table.add(key, action, params, ttl=5000)
    assert 0 < table.ttl(handle) <= 5000
    sw.advance(4000)
    assert gone == []
    table.set_ttl(handle, 3000)
    sw.advance(2000)
    assert gone == []
    sw.advance(20000)
    assert gone == [handle]
    table.disable_idle()


def test_state_is_restored(sw):
    profile = sw.ecmpMemberActionProfile
    member = profile.add_member("setEcmpNextHop", {"nextHopTable": 0, "nextHop": 1})
    log = sw.state_log()
    json.loads(log)
    sw.restore(log)
    profile.modify_member(member, "setEcmpNextHop", {"nextHopTable": 0, "nextHop": 2})
    assert profile.member(member).params["nextHop"] == 2


def test_texts_and_properties(sw):
    handle = sw.ipv4Host.add({"vrfId": 7, "dip": "10.0.0.1"}, "setNextHop", {"nextHop": 5})
    assert ast.literal_eval(sw.ipv4Host.schema())[0][0] == "ipv4Host"
    assert ast.literal_eval(sw.ipv4Host.value_string(handle)) is not None
    sw.ipv4Host.set_property(2, 9, 4)
    assert sw.ipv4Host.property(2) == (9, 4)
    assert "setNextHop" in sw.ipv4Host.__doc__ and isinstance(sw, vl_pd.Switch)
