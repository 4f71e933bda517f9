"""Action profiles: members and groups that many entries share."""

import ctypes
from dataclasses import dataclass

from .binding import ActionRecord, end_of_handles
from .errors import Refused
from .tables import Table

u32 = ctypes.c_uint32


@dataclass
class Member:
    """A member as it was read."""

    handle: int
    action: str
    params: dict

    def __int__(self):
        return self.handle


class Group:
    """A selector group. Its members share the traffic of the entries that point at it."""

    def __init__(self, profile, handle):
        self._profile, self.handle = profile, handle

    def __int__(self):
        return self.handle

    def __repr__(self):
        return f"<group {self.handle:#x} of {self._profile.name}>"

    def add(self, member):
        """Adds a member."""
        self._profile.call("add_member_to_group", u32(self.handle), u32(int(member)))

    def remove(self, member):
        """Removes a member."""
        self._profile.call("del_member_from_group", u32(self.handle), u32(int(member)))

    def delete(self):
        """Deletes the group."""
        self._profile.call("del_group", u32(self.handle))

    def members(self):
        """The handles of the members."""
        return self._profile.listed("get_first_group_member", "get_next_group_members", u32(self.handle))


class Profile(Table):
    """An action profile of one device. Iterating over it reads its members."""

    def __init__(self, device, row):  # pylint: disable=super-init-not-called
        self._device, self.row, self.name = device, row, row.name

    def __repr__(self):
        return f"<profile {self.name}>"

    def call(self, name, *arguments):
        """Calls a function that takes the device."""
        self._device.call(f"{self.name}_{name}", self._device.session, u32(self._device.number), *arguments)

    def _call_target(self, name, *arguments):
        self._device.call(f"{self.name}_{name}", self._device.session, self._device.target, *arguments)

    def add_member(self, action, params=None):
        """Adds a member and returns its handle."""
        member = u32()
        self._call_target(f"add_member_with_{self._action(action, self.row.actions)}", *self._params(action, params),
                          ctypes.byref(member))
        return member.value

    def modify_member(self, member, action, params=None):
        """Changes the parameters of a member. Its action stays."""
        self.call(f"modify_member_with_{self._action(action, self.row.actions)}", u32(int(member)),
                  *self._params(action, params))

    def delete_member(self, member):
        """Deletes a member."""
        self.call("del_member", u32(int(member)))

    def member(self, handle, hw=False):
        """Reads a member."""
        record = ActionRecord()
        self.call("get_member", u32(int(handle)), u32(int(hw)), ctypes.byref(record))
        action = self._device.binding.description.action_names[record.action]
        return Member(int(handle), action, self._read_params(action, bytes(record.record)))

    def create_group(self, max_size):
        """Makes a group for at most so many members."""
        group = u32()
        self._call_target("create_group", u32(max_size), ctypes.byref(group))
        return Group(self, group.value)

    def members(self):
        """The handles of all members."""
        return self.listed("get_first_member", "get_next_members")

    def groups(self):
        """All groups."""
        return [Group(self, handle) for handle in self.listed("get_first_group", "get_next_groups")]

    def listed(self, first, following, *of_what):
        """All handles that two functions list."""
        page = (u32 * 64)()
        call = self.call if of_what else self._call_target
        try:
            call(first, *of_what, page)
        except Refused as refused:
            if refused.name in ("NOT_FOUND", None):
                return []
            raise
        found, listed = [], [page[0]]
        while listed and listed[0] != end_of_handles:
            found += listed
            call(following, *of_what, u32(listed[-1]), u32(len(page)), page)
            listed = list(page)
            if end_of_handles in listed:
                del listed[listed.index(end_of_handles):]
        return found

    def __iter__(self):
        return (self.member(handle) for handle in self.members())

    def __len__(self):
        count = u32()
        self._call_target("get_act_prof_entry_count", ctypes.byref(count))
        return count.value


