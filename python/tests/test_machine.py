"""Random operations of all shapes against a dict: after each, the switch holds what the dict holds, in software and
hardware."""

import pytest
import vl_pd
from hypothesis import settings, strategies as st
from hypothesis.stateful import RuleBasedStateMachine, invariant, rule

# Exact, prefixes, a partition, masks with priorities, halves of MAC addresses, a meter, a time to live, a profile.
tables = ("ipv4Host", "ipv6Host", "ipv4ShortMaskLpm", "ipv6ShortMaskLpm", "ipv4FinalResolve0", "trapToCpu", "l2Lookup",
          "l2LookupMiss", "l2LearningLookup", "pdpPolicy", "ecmpGroup")
meter = (1, 2, 3, 4, 1)


def covered(field, data):
    """A value of the field, mostly a small one, with its mask or length."""
    value = data.draw(st.integers(0, 3) | st.integers(0, (1 << field.bits) - 1)) & field.matched
    if field.match == "exact":
        return value
    if field.match == "ternary":
        mask = data.draw(st.sampled_from((0, field.matched)) | st.integers(0, field.matched)) & field.matched
        return value & mask, mask
    length = data.draw(st.integers(0, field.bits - (field.matched & -field.matched).bit_length() + 1))
    return value & ((1 << field.bits) - 1) >> (field.bits - length) << (field.bits - length), length


class Machine(RuleBasedStateMachine):
    def __init__(self):
        super().__init__()
        self.sw = vl_pd.Switch()
        self.held = {name: {} for name in tables}  # by handle: the key as it was read, the priority, the result
        self.defaults = {name: self.sw.tables[name].default for name in tables}
        self.profile = self.sw.ecmpMemberActionProfile
        self.members = {}  # by handle: the parameters
        self.groups = {}  # by handle: the members
        self.first = self.add_member_with({"nextHopTable": 0, "nextHop": 1})
        self.add_group()
        next(iter(self.groups.values())).add(self.first)
        self.profile.group(next(iter(self.groups))).add(self.first)

    def teardown(self):
        self.sw.close()

    # ---- members and groups

    def add_member_with(self, params):
        member = self.profile.add_member("setEcmpNextHop", params)
        self.members[member] = params
        return member

    @rule(hop=st.integers(0, 0xFFFFFFFF))
    def add_member(self, hop):
        self.add_member_with({"nextHopTable": 0, "nextHop": hop})

    @rule()
    def add_group(self):
        self.groups[self.profile.create_group(max_size=4).handle] = set()

    @rule(data=st.data(), hop=st.integers(0, 0xFFFFFFFF))
    def modify_member(self, data, hop):
        member = data.draw(st.sampled_from(sorted(self.members)))
        self.members[member] = {"nextHopTable": 3, "nextHop": hop}
        self.profile.modify_member(member, "setEcmpNextHop", self.members[member])

    @rule(data=st.data())
    def join_or_leave(self, data):
        handle = data.draw(st.sampled_from(sorted(self.groups)))
        member, group = data.draw(st.sampled_from(sorted(self.members))), self.groups[handle]
        if member in group and len(group) > 1:
            self.profile.group(handle).remove(member)
            group.remove(member)
        elif member not in group and len(group) < 4:
            self.profile.group(handle).add(member)
            group.add(member)

    def in_use(self):
        results = [result for _, _, result in self.held["ecmpGroup"].values()]
        return {result.get("member") for result in results}, {result.get("group") for result in results}

    @rule(data=st.data())
    def delete_member_or_group(self, data):
        members, groups = self.in_use()
        kind = data.draw(st.sampled_from(("member", "group")))
        handle = data.draw(st.sampled_from(sorted(self.members if kind == "member" else self.groups)))
        if handle == self.first or handle == min(self.groups):
            return
        delete = self.profile.delete_member if kind == "member" else lambda each: self.profile.group(each).delete()
        if handle in (members if kind == "member" else groups) or any(handle in each for each in self.groups.values()):
            with pytest.raises(vl_pd.Refused) as refused:
                delete(handle)
            assert refused.value.name == "IN_USE"
        else:
            delete(handle)
            del (self.members if kind == "member" else self.groups)[handle]

    # ---- entries

    def table(self, data):
        return self.sw.tables[data.draw(st.sampled_from(tables))]

    def result(self, table, data, names):
        if table.row.profile is not None:
            groups = [handle for handle, members in self.groups.items() if members]
            return data.draw(st.sampled_from([{"member": member} for member in self.members] +
                                             [{"group": group} for group in groups]))
        action = data.draw(st.sampled_from(names))
        row = self.sw.binding.description.actions[action]
        return {"action": action, "params": {name: data.draw(st.integers(0, min(field.matched, 0xFFFF)))
                                             for name, field in row.params.items()}}

    @rule(data=st.data())
    def add(self, data):
        table = self.table(data)
        key = {name: covered(field, data) for name, field in table.row.key.items()}
        more = {"priority": data.draw(st.integers(-2, 2))} if table.row.has_priority else {}
        known = table.find(key, **more)
        result = self.result(table, data, table.row.actions)
        write = dict(result, **more, **({"meter": meter} if table.row.has_meter else {}),
                     **({"ttl": 5} if table.row.ttl_on_add else {}))
        if known is not None:
            assert known in self.held[table.name]
            with pytest.raises(vl_pd.Refused) as refused:
                table.add(key, **write)
            assert refused.value.name == "EXISTS"
            return
        handle = table.add(key, **write)
        assert handle not in self.held[table.name] and table.find(key, **more) == handle
        self.held[table.name][handle] = (table[handle].key, more.get("priority"), result)

    def some(self, data):
        table = self.table(data)
        if not self.held[table.name]:
            return table, None
        return table, data.draw(st.sampled_from(sorted(self.held[table.name])))

    def named(self, table, handle, by_key):
        """The entry by its handle, or by its key as it was read."""
        key, priority, _ = self.held[table.name][handle]
        return (key, {} if priority is None else {"priority": priority}) if by_key else (handle, {})

    @rule(data=st.data(), by_key=st.booleans())
    def modify(self, data, by_key):
        table, handle = self.some(data)
        if handle is not None:
            result = self.result(table, data, table.row.actions)
            which, more = self.named(table, handle, by_key)
            table.modify(which, **result, **more)
            self.held[table.name][handle] = (*self.held[table.name][handle][:2], result)

    @rule(data=st.data(), by_key=st.booleans())
    def delete(self, data, by_key):
        table, handle = self.some(data)
        if handle is not None:
            which, more = self.named(table, handle, by_key)
            table.delete(which, **more)
            del self.held[table.name][handle]

    @rule(data=st.data())
    def set_or_reset_default(self, data):
        table = self.table(data)
        if data.draw(st.booleans()) and table.row.profile is None:
            result = self.result(table, data, table.row.defaults)
            table.set_default(**result)
            self.defaults[table.name] = table.default
            assert self.equals(table, table.default, result)
        else:
            table.reset_default()
            self.defaults[table.name] = table.default

    # ---- what must hold

    def equals(self, table, entry, result):
        if table.row.profile is not None:
            return (entry.member, entry.group) == (result.get("member"), result.get("group"))
        numbers = {name: vl_pd.values.parse_exact(name, field, entry.params[name], True) for name, field in
                   self.sw.binding.description.actions[entry.action].params.items()}
        return {"action": entry.action, "params": numbers} == result

    @invariant()
    def both_hold_the_same(self):
        for name, held in self.held.items():
            table = self.sw.tables[name]
            assert len(table) == len(held)
            for entry in table:
                key, priority, result = held[entry.handle]
                assert (entry.key, entry.priority) == (key, priority) and self.equals(table, entry, result)
            assert table.entries(["handle"])["handle"] == table.handles() and table.default == self.defaults[name]
            assert table.verify() == []
        assert {member.handle: member.params for member in self.profile} == self.members
        assert {group.handle: set(group) for group in self.profile.groups()} == self.groups


TestMachine = Machine.TestCase
TestMachine.settings = settings(max_examples=60, stateful_step_count=25, deadline=None, database=None)
