"""Entries of all tables: what goes in comes back, and what can't be meant is refused."""

import ipaddress
import shutil
import subprocess
import sys
import threading
import time

import pytest
import vl_pd
from vl_pd import values


def extremes(field):
    """Values of a field at its ends, with masks and lengths, and addresses as text."""
    if field.match == "exact":
        return [0, field.matched, values.shown_number(field, field.matched)]
    if field.match == "ternary":
        return [(0, 0), (field.matched, field.matched), (0, field.matched), (field.matched & 1, field.matched & 1)]
    longest = field.bits - (field.matched & -field.matched).bit_length() + 1
    top = field.matched >> (field.bits - longest) << (field.bits - longest)
    return [(0, 0), (top, longest), (0, longest)]


def params_of(sw, name):
    action = sw.binding.description.actions[name]
    return {param.name: param.matched & (0xFFFF if param.name in action.indices else -1)
            for param in action.params.values()}


def result_of(sw, row):
    """What an entry of the table may do."""
    if row.profile is not None:
        profile = sw.profiles[row.profile]
        return {"member": profile.add_member(profile.row.actions[0], params_of(sw, profile.row.actions[0]))}
    meter = {"meter": (1, 2, 3, 4, 0)} if row.has_meter else {}
    return {"action": row.actions[0], "params": params_of(sw, row.actions[0])} | meter


def test_each_field_at_its_extremes_comes_back_and_goes_in_again(sw):
    for table in sw.device(0).tables.values():
        row = table.row
        if not row.key:
            continue
        result = result_of(sw, row)
        base = {field.name: extremes(field)[0] for field in row.key.values()}
        for field in row.key.values():
            for what in extremes(field):
                key = base | {field.name: what}
                handle = table.add(key, **result)
                entry = table[handle]
                for each in row.key.values():
                    value, partner = values.parse(row.name, each, key[each.name], True)
                    assert entry.key.get(each.name) == values.shown(each, value, partner), (row.name, each.name, what)
                assert table.get(handle, hw=True) == entry
                table.delete(handle)
                assert table[table.add(entry.key, **result)].key == entry.key
                assert entry in table and table.verify() == []
                table.delete(entry.key)
        assert len(table) == 0


def test_each_action_of_each_table(sw):
    for table in sw.device(0).tables.values():
        for action in table.row.actions if table.row.key else ():
            key = {field.name: 0 for field in table.row.key.values() if field.match == "exact"}
            params = params_of(sw, action)
            meter = (1, 2, 3, 4, 0) if table.row.has_meter else None
            entry = table[table.add(key, action, params, meter=meter)]
            shown = {name: values.shown(field, params[name], None) for name, field in
                     sw.binding.description.actions[action].params.items()}
            assert (entry.action, entry.params) == (action, shown), table.name
            table.delete(entry.handle)
        for action in table.row.defaults if table.row.profile is None else ():
            meter = (1, 2, 3, 4, 0) if table.row.has_meter else None
            table.set_default(action, params_of(sw, action), meter=meter)
            assert (table.default.action, table.default.is_default) == (action, True)
            table.reset_default()


def test_each_action_of_each_profile(sw):
    for profile in sw.profiles.values():
        for action in profile.row.actions:
            params = params_of(sw, action)
            member = profile[profile.add_member(action, params)]
            assert (member.action, member.params) == (action, params) and profile.member(member, hw=True) == member
            assert profile.add_member(member.action, member.params) in profile.members()
        table = sw.tables[profile.row.table]
        table.set_default(member=member)
        assert table.default.member == member.handle and table.verify() == []
        table.reset_default()


def test_forms_of_values(sw):
    host, acl, learned = sw.ipv4Host, sw.trapToCpu, sw.l2DmacClassify
    for dip in ("10.0.0.1", ipaddress.ip_address("10.0.0.1"), 0x0A000001, "0xa000001"):
        handle = host.add({"vrfId": 7, "dip": dip}, "setNextHop", {"nextHop": 5})
        assert host[handle].key == {"vrfId": 7, "dip": "10.0.0.1"}
        host.delete(handle)
    for prefix in ("10.16.0.0/12", ipaddress.ip_network("10.16.0.0/12"), ("10.16.0.0", 12)):
        handle = sw.ipv4ShortMaskLpm.add({"vrfId": 7, "dip": prefix}, "setNextHop", {"nextHop": 9})
        assert sw.ipv4ShortMaskLpm[handle].key["dip"] == "10.16.0.0/12"
        sw.ipv4ShortMaskLpm.delete(handle)
    for form, shown in (("00:11:22:33:44:55", "00:11:22:33:44:55"), ("0011.2233.4455", "00:11:22:33:44:55"),
                        ("00:11:22:00:00:00/24", "00:11:22:00:00:00/ff:ff:ff:00:00:00"),
                        ("00-11-22-00-00-00/ff:ff:ff:00:00:00", "00:11:22:00:00:00/ff:ff:ff:00:00:00")):
        handle = learned.add({"ingressPort": 1, "dmac": form}, learned.row.actions[0],
                             params_of(sw, learned.row.actions[0]), priority=1)
        assert learned[handle].key["dmac"] == shown
        learned.delete(handle)
    handle = acl.add({"etherType": (0x8800, 0xFF00), "ingIpv4Dip": "10.0.0.0/8"},
                     "trapPacket", {"cpuReasonCode": 3}, priority=-1)
    assert (acl[handle].key["etherType"], acl[handle].priority) == ((0x8800, 0xFF00), -1)
    assert acl[handle].key["ingIpv4Dip"] == "10.0.0.0/8"
    acl.delete(acl[handle].key, priority=-1)
    handle = acl.add({"etherType": None, "ingIpv4Dip": ipaddress.ip_network("10.0.0.0/8"),
                      "ingIpv6Dip": ipaddress.ip_interface("2001::/16")}, "trapPacket", {"cpuReasonCode": 3})
    assert acl[handle].key == {"ingIpv4Dip": "10.0.0.0/8", "ingIpv6Dip": "2001::/16"}
    handle = acl.add({"ingIpv4Dip": "10.0.0.1/255.0.0.255"}, "noOp")
    assert acl[handle].key == {"ingIpv4Dip": "10.0.0.1/255.0.0.255"}


@pytest.mark.parametrize("why, table, key", [
    ("more than 8 bits", "ipv4Host", {"vrfId": 256, "dip": 1}),
    ("is negative", "ipv4Host", {"vrfId": -1, "dip": 1}),
    ("not a length from 0 to 12", "ipv4ShortMaskLpm", {"vrfId": 1, "dip": "10.0.0.0/13"}),
    ("not a length", "ipv4ShortMaskLpm", {"vrfId": 1, "dip": ("10.0.0.0", 33)}),
    ("outside of its mask", "ipv4ShortMaskLpm", {"vrfId": 1, "dip": "10.1.0.0/8"}),
    ("outside of its mask", "trapToCpu", {"etherType": (0x8801, 0xFF00)}),
    ("doesn't match", "ecmpGroup", {"nextHop": 0x400}),
    ("no mask and no length", "ipv4Host", {"vrfId": 1, "dip": "10.0.0.0/8"}),
    ("Expected 4 octets", "ipv4Host", {"vrfId": 1, "dip": "10.0.0"}),
    ("doesn't match: 0x1", "trapToCpu", {"ingIpv6Dip": "2001::1"}),
    ("no value", "ipv6Host", {"vrfId": 1, "dip": "fe80::1%eth0"}),
    ("no value", "ipv4Host", {"vrfId": "1_0", "dip": 1}),
    ("no prefix length", "ipv4ShortMaskLpm", {"vrfId": 1, "dip": "10.0.0.0/255.0.0.0"}),
    ("no value", "ipv4Host", {"vrfId": 1, "dip": ipaddress.ip_address("::1")}),
    ("no value", "l2Lookup", {"dmac": "0:0:0:0:0:1"}),
    ("neither a number nor text", "ipv4Host", {"vrfId": 7.0, "dip": 1}),
    ("doesn't match: 0x1", "trapToCpu", {"ingIpv6Dip": (0, 1)}),
    ("needs dip", "ipv4Host", {"vrfId": 1}),
])
def test_refused_keys(sw, why, table, key):
    with pytest.raises(ValueError, match=why) as error:
        sw.tables[table].find(key)
    assert table in str(error.value)


def test_what_is_no_key_goes_to_the_driver_without_strict():
    with vl_pd.Switch(strict=False) as sw:
        handle = sw.ecmpMemberActionProfile.add_member("setEcmpNextHop", {"nextHop": 1})
        assert sw.ecmpGroup[sw.ecmpGroup.add({"nextHop": 0x401}, member=handle)].key["nextHop"] == 0x401


def test_an_add_sends_16_bits_of_an_index(sw):
    policy = sw.pdpPolicy
    key = {field.name: 0 for field in policy.row.key.values()}
    with pytest.raises(ValueError, match="16 bits of an index"):
        policy.add(key, "setPdpClassCount", {"counterIndex": 0x10000})
    handle = policy.add(key, "setPdpClassCount", {"counterIndex": 0xFFFF})
    policy.modify(handle, "setPdpClassCount", {"counterIndex": 0x10000})
    assert policy[handle].params == {"counterIndex": 0x10000}


def test_names(sw):
    for wrong, error in ((lambda: sw.ipv4Hots, AttributeError),
                         (lambda: sw.ipv4Host.find({"vrfID": 1}), KeyError),
                         (lambda: sw.ipv4Host.add({"vrfId": 1, "dip": 1}, "setNextHops"), KeyError),
                         (lambda: sw.ipv4Host.add({"vrfId": 1, "dip": 1}, "setNextHop", {"nexthop": 1}), KeyError),
                         (lambda: sw.ipv4Host.entries(["dipp"]), KeyError),
                         (lambda: sw.counters["trapToCpuCounts"], KeyError), (lambda: sw.tables["ipv4Hots"], KeyError)):
        with pytest.raises(error, match="did you mean"):
            wrong()


def test_refusals_and_order():
    with vl_pd.Switch() as sw:
        key = {"vrfId": 1, "dip": 1}
        handle = sw.ipv4Host.add(key, "setNextHop", {"nextHop": 1})
        with pytest.raises(vl_pd.Refused, match="EXISTS") as refused:
            sw.ipv4Host.add(key, "setNextHop", {"nextHop": 2})
        assert (refused.value.number, refused.value.name, refused.value.words) == (8, "EXISTS", "object already exists")
        for call in (lambda: sw.ipv4Host[handle + 1], lambda: sw.ipv4Host.delete(handle + 1),
                     lambda: sw.ipv6Host.delete(handle), lambda: sw.device(5).ipv4Host[handle],
                     lambda: sw.ecmpMemberActionProfile.member(7), lambda: sw.ecmpGroup.add({"nextHop": 1}, group=7)):
            with pytest.raises(vl_pd.Refused):
                call()
        assert sw.ipv4Host.find({"vrfId": 2, "dip": 1}) is None and key in sw.ipv4Host
        for call in (lambda: sw.ipv4Host.delete(1 << 32 | handle), lambda: sw.ipv4Host[-1],
                     lambda: sw.ipv4Host.find(key, priority=1), lambda: sw.ipv4Host.delete(handle, priority=1),
                     lambda: sw.trapToCpu.find({}, priority=1 << 32), lambda: sw.l2LookupMiss.add({}, "NoAction"),
                     lambda: sw.l2LookupMiss.add({}, "NoAction", meter=(1, 2, 3)),
                     lambda: sw.ipv4Host.add(key, "setNextHop", {"nextHop": 1}, member=1),
                     lambda: sw.ecmpGroup.add({"nextHop": 1}), lambda: sw.hashComputeInnerEthHdr.add({}),
                     lambda: sw.ipv4Host.add(key), lambda: sw.vrrpMacCheck.ttl(handle),
                     lambda: sw.ingStpCheck.find({}), lambda: sw.ingStpCheck.modify(1, "x"),
                     lambda: sw.trapToCpu.find({}, priority=1 << 31), lambda: sw.device(256),
                     lambda: sw.registers["dropReportFilter"].write(0, 2), lambda: sw.snapshot(3, 2),
                     lambda: sw.registers["quota"].write(0, 1, pipe=1 << 16), lambda: sw.snapshot(0, 1, pipe=-1),
                     lambda: sw.hashes["egrVlanStpHash"].predict([(1, 8)], size=-1),
                     lambda: sw.hashes["egrVlanStpHash"].predict([(1, 1 << 32)]), lambda: sw.damage(-1),
                     lambda: sw.match_snapshot(sw.snapshot(0, 1), 0, [b""]), lambda: sw.count("haloCount", 1, -1),
                     lambda: sw.ipv4Host.enable_idle(params_a=1 << 64)):
            with pytest.raises(ValueError):
                call()
        with pytest.raises(vl_pd.WrongOrder):
            vl_pd.Switch()
        for wrong in (None, 5, [("vrfId", 1)]):
            with pytest.raises(TypeError, match="ipv4Host: the fields are a dict"):
                sw.ipv4Host.find(wrong)
        with pytest.raises(KeyError):
            sw.fail("malloc")
        table, group = sw.ipv4Host, sw.ecmpMemberActionProfile.create_group(4)
    for late in (lambda: len(table), lambda: sw.ipv4Host, lambda: table.add(key, "setNextHop", {"nextHop": 1}),
                 lambda: sw.advance(1), lambda: table.schema(), group.delete):
        with pytest.raises(vl_pd.WrongOrder):
            late()
    with pytest.raises(ValueError):
        vl_pd.Switch(session=-1)
    with vl_pd.Switch() as sw:
        assert len(sw.ipv4Host) == 0
        with pytest.raises(vl_pd.WrongOrder):
            len(table)  # of the switch before


def test_callbacks_and_threads_cant_crash_the_switch():
    sw, stop, refused = vl_pd.Switch(), threading.Event(), []

    def close(_):
        try:
            sw.close()
        except vl_pd.WrongOrder as error:
            refused.append(str(error))

    sw.ipv4Host.enable_idle(close)
    sw.ipv4Host.set_ttl(sw.ipv4Host.add({"vrfId": 1, "dip": 1}, "setNextHop", {"nextHop": 1}), 5)
    sw.advance(10)
    assert not sw.closed and refused == ["neither a callback nor what interrupts a call can close the switch"]

    with pytest.raises(vl_pd.WrongOrder):
        sw.binding.result(sw.close)  # as a signal's handler would in the middle of a call

    def work(number):
        profile, ended = sw.ecmpMemberActionProfile, []
        try:
            while not stop.is_set():
                member = profile.add_member("setEcmpNextHop", {"nextHopTable": 0, "nextHop": number})
                entry = sw.ecmpGroup.add({"nextHop": number}, member=member)
                assert sw.ecmpGroup[entry].member == member and profile.member(member).params["nextHop"] == number
                sw.ecmpGroup.delete(entry)
                profile.delete_member(member)
        except vl_pd.WrongOrder:
            ended.append(number)
        results.extend(ended)

    results = []
    threads = [threading.Thread(target=work, args=(number,)) for number in range(4)]
    for thread in threads:
        thread.start()
    time.sleep(0.2)
    sw.close()
    stop.set()
    for thread in threads:
        thread.join()
    assert sorted(results) == [0, 1, 2, 3]


def test_given_files(tmp_path):
    names = {"library": "libvl_bf_pd_default.so", "driver": "libvl_driver_model.so",
             "description": "velmar_switch.json", "pipeline": "libvl_velmar_switch_pipeline.so"}
    given = {word: shutil.copy(vl_pd.description.find(name), tmp_path) for word, name in names.items()}
    del given["pipeline"]  # it is found beside the others
    script = f"""if True:
        import vl_pd
        with vl_pd.Switch(**{given!r}):
            print({{line.split()[-1].rpartition("/")[0] for line in open("/proc/self/maps") if "libvl_" in line}})
    """
    done = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True, check=False)
    assert done.stdout == f"{{'{tmp_path}'}}\n", done


def test_another_driver():
    driver = vl_pd.description.find("../tests/libforeign_driver.so")
    if driver is None:
        pytest.skip("the driver for this test isn't built")
    script = """if True:
        import sys, vl_pd
        try:
            vl_pd.Switch(driver=sys.argv[1])
        except ValueError as error:
            print(error)
        with vl_pd.Switch(driver=sys.argv[1], session=7) as sw:
            try:
                len(sw.ipv4Host)
            except vl_pd.Refused as refused:
                print(refused.number, refused.name, refused.words)
            for call in (lambda: sw.advance(1), lambda: sw.damage()):
                try:
                    call()
                except NotImplementedError as error:
                    print(error)
        try:
            vl_pd.Switch()
        except vl_pd.WrongOrder as error:
            print(error)
    """
    done = subprocess.run([sys.executable, "-c", script, driver], capture_output=True, text=True, check=False)
    assert done.stdout.splitlines() == [
        "with this driver, name a session that is open", "4 None status of the driver",
        "vl_model_clock_advance needs the embedded driver", "vl_model_hardware_corrupt needs the embedded driver",
        "this process has used another driver before, and can't change it"], done


def test_members_and_groups(sw):
    profile = sw.ecmpMemberActionProfile
    members = [profile.add_member("setEcmpNextHop", {"nextHopTable": 0, "nextHop": hop}) for hop in range(100)]
    group = profile.create_group(max_size=32)
    for member in members[:20]:
        group.add(member)
    assert group.members() == members[:20] and [int(each) for each in profile] == members
    assert len(profile) == 100 and [int(each) for each in profile.groups()] == [group.handle]
    entry = sw.ecmpGroup[sw.ecmpGroup.add({"nextHop": 2}, group=group)]
    assert (entry.group, entry.member, entry.action) == (group.handle, None, None)
    sw.ecmpGroup.modify(entry.handle, member=members[3])
    assert sw.ecmpGroup[entry.handle].member == members[3]
    profile.modify_member(members[3], "setEcmpNextHop", {"nextHopTable": 1, "nextHop": 7})
    assert profile.member(members[3], hw=True).params == {"nextHopTable": 1, "nextHop": 7}
    group.remove(members[0])
    profile.delete_member(members[0])
    with pytest.raises(vl_pd.Refused):
        profile.delete_member(members[3])  # an entry points at it
    sw.ecmpGroup.delete({"nextHop": 2})
    group.delete()
    assert profile.groups() == [] and sw.ecmpGroup.verify() == []


def test_many(sw):
    rows = [({"vrfId": 1, "dip": i % 90}, "setNextHop", {"nextHop": i}) for i in range(100)]
    host, many = sw.ipv4Host, sw.ipv4Host.add_many(rows)
    assert many.handles.count(None) == 10 and [row for row, _ in many.refused] == rows[90:]
    stopped = host.add_many([*rows, {"key": {"vrfId": 2, "dip": 1}, "action": "setNextHop"}], stop=True)
    assert stopped.handles == [None]
    wrong = host.add_many([({"vrfId": 1},), {"kee": {}}, ({"vrfId": 256, "dip": 1}, "onMiss"), (None, "onMiss"),
                           ({"vrfId": 1, "dip": 1}, "setNextHop", {"nextHop": 1 << 32})])
    assert [type(error) for _, error in wrong.refused] == [ValueError, TypeError, vl_pd.Wrong, TypeError, vl_pd.Wrong]
    assert str(wrong.refused[-1][1]).startswith("ipv4Host, setNextHop, field nextHop: 0x100000000 has more than 32")
    entries = host.entries()
    assert sorted(entry.handle for entry in entries) == sorted(filter(None, many.handles))
    columns = host.entries(columns=["dip", "nextHop", "ecmpGroup", "handle"])
    assert columns["dip"] == [entry.key["dip"] for entry in entries] and set(columns["ecmpGroup"]) == {None}
    assert sorted(columns["nextHop"]) == list(range(90))
    gone = host.delete_many([*entries, 12345])
    assert gone.handles[-1] is None and len(gone.refused) == 1 and len(host) == 0
    assert None not in host.add_many(entries).handles  # what was read can be put in again
    for number, entry in enumerate(host):
        if number == 0:
            host.clear()  # a walk goes on where the rest has gone
    assert number == 0 and host.handles() == []
    for count in (255, 256, 257, 258, 513):  # around the ends of pages
        handles = host.add_many([({"vrfId": 1, "dip": i}, "onMiss") for i in range(count)]).handles
        assert sorted(host.handles()) == sorted(handles)
        host.clear()
