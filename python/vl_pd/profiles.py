"""Action profiles: members and groups that many entries share."""

import ctypes
from collections.abc import Iterator
from dataclasses import dataclass

from . import page
from .errors import Refused, unknown
from .tables import text_size
from .values import word

u32 = ctypes.c_uint32


class ActionRecord(ctypes.Structure):
    """An action's number, then its record."""

    _fields_ = [("action", u32), ("record", ctypes.c_uint8 * 44)]


@dataclass
class Member:
    """A member as it was read."""

    handle: int
    action: str
    params: dict

    def __index__(self) -> int:
        return self.handle


class Group:
    """A selector group. Its members share the traffic of the entries that point at it."""

    handle: int

    def __init__(self, profile, handle):
        self._profile, self.handle = profile, handle

    def __index__(self) -> int:
        return self.handle

    def __eq__(self, other):
        return isinstance(other, Group) and (self.handle, self._profile) == (other.handle, other._profile)

    def __hash__(self):
        return hash(self.handle)

    def __repr__(self):
        return f"<group {self.handle:#x} of {self._profile.name}>"

    def add(self, member) -> None:
        """Adds a member."""
        self._profile.change("add_member_to_group", self.handle, word(member, "member"))

    def remove(self, member) -> None:
        """Removes a member."""
        self._profile.change("del_member_from_group", self.handle, word(member, "member"))

    def delete(self) -> None:
        """Deletes the group. Its members remain."""
        self._profile.change("del_group", self.handle)

    def members(self) -> list[int]:
        """The handles of the members."""
        return self._profile.pages("get_first_group_member", "get_next_group_members",
                                   (self._profile.device.number_word, self.handle))

    def __iter__(self) -> Iterator[int]:
        return iter(self.members())

    def __len__(self):
        count = u32()
        self._profile.call("get_selector_group_member_count", self.handle, ctypes.byref(count))
        return count.value

    def __bool__(self):
        return True

    def is_active(self, member) -> bool:
        """Whether the member takes packets."""
        state = u32()
        self._profile.call("group_member_state_get", self.handle, word(member, "member"), ctypes.byref(state))
        return state.value == 0

    def set_active(self, member, active=True) -> None:
        """Lets the member take packets, or not. An inactive member stays in the group."""
        self._profile.call("group_member_state_set", self.handle, word(member, "member"), int(not active))

    def selected(self, hashed) -> int:
        """The member that a packet with this hash takes. The hash is a number, as a hash calculation predicts it, or
        its bytes, most significant first."""
        hashed = hashed.to_bytes(8, "big") if isinstance(hashed, int) else bytes(hashed)
        member = u32()
        self._profile.call("group_member_get_from_hash", self.handle, hashed, len(hashed), ctypes.byref(member))
        return member.value


class Profile:
    """An action profile of one device. Iterating over it reads its members."""

    __doc__ = page.Page(__doc__, page.profile_page)
    name: str

    def __init__(self, device, row):
        self.device, self.row, self.name = device, row, row.name
        self._records = {}

    def __repr__(self):
        return f"<profile {self.name}>"

    def _function(self, name):
        return self.device.binding.function(f"{self.name}_{name}")

    def change(self, name, *arguments):
        """Calls a function that changes something by its handle. These take turns."""
        with self.device.profile_lock:
            self.device.call(self._function(name), self.device.session, self.device.number_word, *arguments)

    def call(self, name, *arguments):
        """Calls a function that takes device and pipe."""
        self.device.call(self._function(name), self.device.session, self.device.target, *arguments)

    def pages(self, first, following, where):
        """All handles that two functions list."""
        return self.device.binding.pages(self._function(first), self._function(following),
                                         (self.device.session, *where))

    def _record_of(self, action):
        if action not in self._records:
            self._records[action] = self.device.record_of(action, self.name)
        return self._records[action]

    def _packed(self, action, params):
        if action not in self.row.actions:
            raise unknown(f"{self.name} has no action", action, self.row.actions)
        record = self._record_of(action)
        packed = record.pack(params or {})
        return (packed,) if record.fields else ()

    def add_member(self, action, params=None) -> int:
        """Adds a member and returns its handle."""
        packed, member = self._packed(action, params), u32()
        with self.device.profile_lock:
            self.call(f"add_member_with_{action}", *packed, ctypes.byref(member))
        return member.value

    def modify_member(self, member, action, params=None) -> None:
        """Changes the parameters of a member. Its action stays."""
        packed = self._packed(action, params)
        self.change(f"modify_member_with_{action}", word(member, "member"), *packed)

    def delete_member(self, member) -> None:
        """Deletes a member."""
        self.change("del_member", word(member, "member"))

    def member(self, handle, hw=False) -> Member:
        """Reads a member, from the software's copy or from the hardware."""
        record, handle = ActionRecord(), word(handle, "member")
        self.device.call(self._function("get_member"), self.device.session, self.device.number_word, handle,
                         int(bool(hw)), ctypes.byref(record))
        action = self.device.binding.description.action_names[record.action]
        return Member(handle, action, self._record_of(action).unpack(record.record))

    __getitem__ = member

    def create_group(self, max_size) -> Group:
        """Makes a group for at most so many members."""
        group = u32()
        with self.device.profile_lock:
            self.call("create_group", word(max_size, "size"), ctypes.byref(group))
        return Group(self, group.value)

    def group(self, handle) -> Group:
        """The group with this handle."""
        return Group(self, word(handle, "group"))

    def members(self) -> list[int]:
        """The handles of all members."""
        return self.pages("get_first_member", "get_next_members", (self.device.target,))

    def groups(self) -> list[Group]:
        """All groups."""
        return [Group(self, handle) for handle in
                self.pages("get_first_group", "get_next_groups", (self.device.target,))]

    def set_fallback(self, member) -> None:
        """Sets the member that takes the packets of groups without an active member. None: there is none."""
        if member is None:
            self.call("reset_dynamic_action_selection_fallback_member")
        else:
            self.call("set_dynamic_action_selection_fallback_member", word(member, "member"))

    def schema(self) -> str:
        """The columns of the profile, as a Python literal."""
        text = ctypes.create_string_buffer(text_size)
        self.device.result(self._function("schema"), text)
        return text.value.decode()

    def __iter__(self) -> Iterator[Member]:
        for handle in self.members():
            try:
                member = self.member(handle)
            except Refused as refused:
                if refused.name == "NOT_FOUND":
                    continue  # deleted meanwhile
                raise
            yield member

    def __len__(self):
        count = u32()
        self.call("get_act_prof_entry_count", ctypes.byref(count))
        return count.value

    def __bool__(self):
        return True
