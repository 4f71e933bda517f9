"""Random operations against a dict: after each, the switch holds what the dict holds, in software and hardware."""

import vl_pd
from hypothesis import settings, strategies as st
from hypothesis.stateful import RuleBasedStateMachine, invariant, rule

tables = ("ipv4Host", "ipv6Host", "ipv4ShortMaskLpm", "ipv6ShortMaskLpm", "ipv4FinalResolve0", "trapToCpu", "l2Lookup",
          "finalDropControl", "ecmpGroup")


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
        self.held = {name: {} for name in tables}  # by handle: the key as it was read, and the rest
        profile = self.sw.ecmpMemberActionProfile
        self.members = [profile.add_member("setEcmpNextHop", {"nextHopTable": 0, "nextHop": i}) for i in range(3)]
        self.group = profile.create_group(max_size=4)
        self.group.add(self.members[0])

    def teardown(self):
        self.sw.close()

    def table(self, data):
        return self.sw.tables[data.draw(st.sampled_from(tables))]

    def result(self, table, data):
        if table.row.profile is not None:
            return data.draw(st.sampled_from([{"member": member} for member in self.members] + [{"group": self.group}]))
        action = data.draw(st.sampled_from(table.row.actions))
        row = self.sw.binding.description.actions[action]
        return {"action": action, "params": {name: data.draw(st.integers(0, min(field.matched, 0xFFFF)))
                                             for name, field in row.params.items()}}

    @rule(data=st.data())
    def add(self, data):
        table = self.table(data)
        key = {name: covered(field, data) for name, field in table.row.key.items()}
        priority = {"priority": data.draw(st.integers(-2, 2))} if table.row.has_priority else {}
        result = self.result(table, data)
        known = table.find(key, **priority)
        if known is not None:
            assert known in self.held[table.name]
            try:
                table.add(key, **result, **priority)
                raise AssertionError("an entry was added twice")
            except vl_pd.Refused as refused:
                assert refused.name == "EXISTS"
            return
        handle = table.add(key, **result, **priority)
        assert handle not in self.held[table.name]
        self.held[table.name][handle] = (table[handle].key, priority.get("priority"), result)

    def some(self, data):
        table = self.table(data)
        if not self.held[table.name]:
            return table, None
        return table, data.draw(st.sampled_from(sorted(self.held[table.name])))

    @rule(data=st.data())
    def modify(self, data):
        table, handle = self.some(data)
        if handle is None:
            return
        result = self.result(table, data)
        table.modify(handle, **result)
        self.held[table.name][handle] = (*self.held[table.name][handle][:2], result)

    @rule(data=st.data(), by_key=st.booleans())
    def delete(self, data, by_key):
        table, handle = self.some(data)
        if handle is None:
            return
        key, priority, _ = self.held[table.name].pop(handle)
        table.delete(key if by_key else handle, **({"priority": priority} if by_key and priority is not None else {}))

    @invariant()
    def both_hold_the_same(self):
        for name, held in self.held.items():
            table = self.sw.tables[name]
            assert len(table) == len(held)
            for entry in table:
                key, priority, result = held[entry.handle]
                assert (entry.key, entry.priority) == (key, priority)
                if table.row.profile is not None:
                    pointed = {"member": entry.member} if entry.member else {"group": entry.group}
                    assert {kind: int(each) for kind, each in result.items()} == pointed
                else:
                    numbers = {each: vl_pd.values.parse_exact(name, field, entry.params[each], True) for each, field in
                               self.sw.binding.description.actions[entry.action].params.items()}
                    assert {"action": entry.action, "params": numbers} == result
            assert table.verify() == []


TestMachine = Machine.TestCase
TestMachine.settings = settings(max_examples=12, stateful_step_count=25, deadline=None, database=None)
