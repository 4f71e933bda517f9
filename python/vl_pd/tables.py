"""Match tables and their entries."""

import ctypes
from dataclasses import dataclass, field

from . import values
from .binding import MeterSpec, end_of_handles
from .errors import Refused, unknown

u32 = ctypes.c_uint32


@dataclass
class Entry:
    """An entry as it was read. A field that matches anything isn't in the key."""

    handle: int
    key: dict
    action: str | None
    params: dict
    priority: int | None = None
    is_default: bool = False
    member: int | None = None
    group: int | None = None


@dataclass
class Difference:
    """An entry of which the hardware holds something else than the software."""

    handle: int
    is_default: bool
    message: str


@dataclass
class Many:
    """What became of many operations: a handle for each row, None where it was refused."""

    handles: list = field(default_factory=list)
    refused: list = field(default_factory=list)  # (row, exception)


class IdleParams(ctypes.Structure):
    _fields_ = [("mode", u32), ("params_a", ctypes.c_uint64), ("params_b", u32), ("params_c", ctypes.c_uint64),
                ("params_d", ctypes.c_uint64), ("params_flag", ctypes.c_uint8)]


class Table:
    """A match table of one device. Iterating over it reads its entries, without the default entry."""

    def __init__(self, device, row):
        self._device, self.row, self.name = device, row, row.name
        self.__doc__ = describe(row, device.binding.description)

    def __repr__(self):
        return f"<table {self.name}>"

    # ---- records

    def _key(self, key):
        record = bytearray(max(self.row.size, 1))
        for name, what in key.items():
            shown = self.row.key.get(name)
            if shown is None:
                raise unknown(f"field of {self.name}", name, self.row.key)
            values.put(shown, record, *values.parse(self.name, shown, what, self._device.strict))
        missing = [name for name, shown in self.row.key.items() if name not in key and shown.match == "exact"]
        if missing and self._device.strict:
            raise ValueError(f"{self.name}: the key needs {', '.join(missing)}")
        return (ctypes.c_uint8 * len(record)).from_buffer(record)

    def _params(self, action, params, adds=False):
        row = self._device.binding.description.actions[action]
        record = bytearray(max(row.size, 1))
        for name, what in (params or {}).items():
            shown = row.params.get(name)
            if shown is None:
                raise unknown(f"parameter of {action}", name, row.params)
            value, _ = values.parse(action, shown, what, self._device.strict)
            if adds and name in row.indices and value > 0xFFFF and self._device.strict:
                raise values.Wrong(action, shown, f"an add sends 16 bits of an index, and {value:#x} has more")
            values.put(shown, record, value, None)
        missing = [name for name in row.params if name not in (params or {})]
        if missing and self._device.strict:
            raise ValueError(f"{action}: it needs {', '.join(missing)}")
        return [(ctypes.c_uint8 * len(record)).from_buffer(record)] if row.params else []

    def _action(self, action, names):
        if action not in names:
            raise unknown(f"action of {self.name}", action, names)
        return action

    def _meter(self, meter):
        if not self.row.has_meter:
            if meter is not None:
                raise ValueError(f"{self.name} has no meter")
            return []
        return [ctypes.byref(MeterSpec(*meter)) if meter is not None else None]

    def _priority(self, priority):
        if not self.row.has_priority:
            if priority is not None:
                raise ValueError(f"{self.name} has no priority")
            return []
        return [u32(priority if priority is not None else 0)]

    # ---- entries

    def add(self, key, action=None, params=None, *, priority=None, meter=None, ttl=None, member=None, group=None):
        """Adds an entry and returns its handle. In a table with a profile, `member` or `group` replaces the action."""
        handle = u32()
        where = [self._device.session, self._device.target, self._key(key), *self._priority(priority)]
        if self.row.profile is not None:
            if (member is None) == (group is None) or action is not None:
                raise ValueError(f"{self.name}: an entry points at a member or a group")
            name = "add_entry" if group is None else "add_entry_with_selector"
            self._device.call(f"{self.name}_{name}", *where, u32(int(member if group is None else group)),
                              ctypes.byref(handle))
            return handle.value
        if member is not None or group is not None:
            raise ValueError(f"{self.name} has no profile")
        self._action(action, self.row.actions)
        if ttl is not None and not self.row.ttl_on_add:
            raise ValueError(f"{self.name} takes no time-to-live")
        first_ttl = [u32(ttl or 0)] if self.row.ttl_on_add else []
        self._device.call(f"{self.name}_table_add_with_{action}", *where, *self._params(action, params, adds=True),
                          *self._meter(meter), *first_ttl, ctypes.byref(handle))
        return handle.value

    def add_many(self, rows, stop=False):
        """Adds rows, which are tuples (key, action, params) or dicts of add()'s arguments."""
        many = Many()
        for row in rows:
            try:
                many.handles.append(self.add(**row) if isinstance(row, dict) else self.add(*row))
            except (Refused, ValueError, KeyError) as error:
                many.handles.append(None)
                many.refused.append((row, error))
                if stop:
                    break
        return many

    def modify(self, handle, action=None, params=None, *, meter=None, member=None, group=None):
        """Gives an entry another action, member or group."""
        where = [self._device.session, u32(self._device.number), u32(handle)]
        if self.row.profile is not None:
            if (member is None) == (group is None):
                raise ValueError(f"{self.name}: an entry points at a member or a group")
            name = "modify_entry" if group is None else "modify_entry_with_selector"
            return self._device.call(f"{self.name}_{name}", *where, u32(int(member if group is None else group)))
        self._action(action, self.row.actions)
        return self._device.call(f"{self.name}_table_modify_with_{action}", *where, *self._params(action, params),
                                 *self._meter(meter))

    def find(self, key, *, priority=None):
        """The handle of the entry with this key, or None."""
        handle = u32()
        try:
            self._device.call(f"{self.name}_match_spec_to_entry_hdl", self._device.session, self._device.target,
                              self._key(key), *self._priority(priority), ctypes.byref(handle))
        except Refused as refused:
            if refused.name in ("NOT_FOUND", None):
                return None
            raise
        return handle.value

    def delete(self, which, *, priority=None):
        """Deletes an entry by its handle or its key."""
        if isinstance(which, dict):
            self._device.call(f"{self.name}_table_delete_by_match_spec", self._device.session, self._device.target,
                              self._key(which), *self._priority(priority))
        else:
            self._device.call(f"{self.name}_table_delete", self._device.session, u32(self._device.number), u32(which))

    def delete_many(self, handles):
        """Deletes entries by their handles."""
        many = Many()
        for handle in handles:
            try:
                self.delete(handle)
                many.handles.append(handle)
            except Refused as error:
                many.handles.append(None)
                many.refused.append((handle, error))
        return many

    def get(self, handle, hw=False):
        """Reads an entry, from the software or the hardware."""
        key = (ctypes.c_uint8 * max(self.row.size, 1))()
        params = (ctypes.c_uint8 * 64)()
        priority, action = u32(), u32()
        has_member, has_group, is_default = (ctypes.c_uint8() for _ in range(3))
        member, group = u32(), u32()
        outputs = [key] if self.row.key else []
        if self.row.has_priority:
            outputs.append(ctypes.byref(priority))
        if self.row.profile is not None:
            outputs += [ctypes.byref(each) for each in (has_member, has_group, group, member)]
        else:
            outputs += [None, params, ctypes.byref(action)]
        if self.row.key:
            outputs.append(ctypes.byref(is_default))
        self._device.call(f"{self.name}_get_entry", self._device.session, u32(self._device.number), u32(handle),
                          u32(int(hw)), *outputs)
        entry = Entry(handle, {}, None, {}, is_default=not self.row.key or bool(is_default.value))
        if not entry.is_default:
            entry.key = {name: what for name, what in ((each.name, values.shown(each, *values.take(each, bytes(key))))
                                                       for each in self.row.key.values()) if what is not None}
            if self.row.has_priority:
                entry.priority = ctypes.c_int32(priority.value).value
        if self.row.profile is None:
            entry.action = self._device.binding.description.action_names[action.value]
            entry.params = self._read_params(entry.action, bytes(params))
        elif has_member.value:
            entry.member = member.value
        elif has_group.value:
            entry.group = group.value
        return entry

    def _read_params(self, action, record):
        row = self._device.binding.description.actions[action]
        return {each.name: values.shown(each, *values.take(each, record)) for each in row.params.values()}

    __getitem__ = get

    def handles(self):
        """The handles of all entries except the default one."""
        if not len(self):
            return
        page = (u32 * 256)()
        where = [self._device.session, self._device.target, u32(self.row.handle)]
        self._device.call("entry_hdl_first", *where, page)
        listed = [page[0]]
        while listed and listed[0] != end_of_handles:
            yield from listed
            self._device.call("entry_hdl_next", *where, u32(listed[-1]), u32(len(page)), page)
            listed = list(page)
            if end_of_handles in listed:
                del listed[listed.index(end_of_handles):]

    def __iter__(self):
        return (self.get(handle) for handle in self.handles())

    def __len__(self):
        if not self.row.key:
            return 0
        count = u32()
        self._device.call(f"{self.name}_get_entry_count", self._device.session, self._device.target,
                          ctypes.byref(count))
        return count.value

    # ---- the default entry

    def _default_handle(self):
        handle = u32()
        try:
            self._device.call("entry_hdl_default", self._device.session, self._device.target, u32(self.row.handle),
                              ctypes.byref(handle))
        except Refused as refused:
            if refused.name in ("NOT_FOUND", None):
                return None
            raise
        return handle.value

    @property
    def default(self):
        """The default entry, or None."""
        handle = self._default_handle()
        return self.get(handle) if handle is not None else None

    def set_default(self, action=None, params=None, *, meter=None, member=None, group=None):
        """Sets the default entry."""
        handle = u32()
        where = [self._device.session, self._device.target]
        if self.row.profile is not None:
            if (member is None) == (group is None):
                raise ValueError(f"{self.name}: an entry points at a member or a group")
            name = "set_default_entry" if group is None else "set_default_entry_with_selector"
            self._device.call(f"{self.name}_{name}", *where, u32(int(member if group is None else group)),
                              ctypes.byref(handle))
        else:
            self._action(action, self.row.defaults)
            self._device.call(f"{self.name}_set_default_action_{action}", *where, *self._params(action, params),
                              *self._meter(meter), ctypes.byref(handle))
        return handle.value

    def reset_default(self):
        """Restores the default entry that the pipeline started with."""
        self._device.call(f"{self.name}_table_reset_default_entry", self._device.session, self._device.target)

    # ---- texts, as the library makes them

    def schema(self):
        """The columns of the table, as a Python literal."""
        text = ctypes.create_string_buffer(65536)
        self._device.binding.function(f"{self.name}_schema")(text)
        return text.value.decode()

    def value_string(self, handle, hw=False):
        """The entry in these columns."""
        text = ctypes.create_string_buffer(65536)
        self._device.require_open()
        self._device.binding.function(f"{self.name}_value")(self._device.session, u32(self._device.number),
                                                            u32(handle), u32(int(hw)), text)
        return text.value.decode()

    # ---- properties and idle time

    def property(self, number):
        """The value and the arguments word of a property of the driver."""
        value, args = u32(), u32()
        self._device.call(f"{self.name}_get_property", self._device.session, u32(self._device.number), u32(number),
                          ctypes.byref(value), ctypes.byref(args))
        return value.value, args.value

    def set_property(self, number, value, args=0):
        """Sets a property of the driver."""
        self._device.call(f"{self.name}_set_property", self._device.session, u32(self._device.number), u32(number),
                          u32(value), u32(args))

    def enable_idle(self, callback=None, *, mode=1, params_a=0, params_b=0, params_c=0, params_d=0):
        """Lets entries age, in the driver's numbers. `callback` gets the handle of each entry that times out."""
        where = [self._device.session, u32(self._device.number)]
        if callback is not None:
            receive = ctypes.CFUNCTYPE(None, u32, u32, u32, ctypes.c_void_p)(lambda _d, _t, handle, _c: callback(handle))
            self._device.call(f"{self.name}_idle_register_tmo_cb", *where, receive, None)
            self._idle_callback = receive  # lives as long as the registration
        self._device.call(f"{self.name}_idle_tmo_enable", *where,
                          IdleParams(mode, params_a, params_b, params_c, params_d, 0))

    def disable_idle(self):
        """Ends ageing."""
        self._device.call(f"{self.name}_idle_tmo_disable", self._device.session, u32(self._device.number))

    def ttl(self, handle):
        """What is left of the entry's time to live, in the driver's unit."""
        ttl = u32()
        self._device.call(f"{self.name}_get_ttl", self._device.session, u32(self._device.number), u32(handle),
                          ctypes.byref(ttl))
        return ttl.value

    def set_ttl(self, handle, ttl):
        """Sets the entry's time to live, which starts now."""
        self._device.call(f"{self.name}_set_ttl", self._device.session, u32(self._device.number), u32(handle),
                          u32(ttl))

    # ---- the embedded driver

    def lookup(self, packet):
        """The handle of the entry that a packet takes in the hardware, or None. Fields left out are 0. Needs the
        embedded driver."""
        key, partition = bytearray(self.row.key_size), 0
        for name, what in packet.items():
            shown = self.row.key.get(name)
            if shown is None:
                raise unknown(f"field of {self.name}", name, self.row.key)
            value = values.parse_exact(self.name, shown, what, self._device.strict)
            if self.row.partitioned and shown is next(iter(self.row.key.values())):
                partition = value
                continue
            for part in reversed(shown.parts):
                low = value & ((1 << part.bits) - 1)
                key[part.key_offset:part.key_offset + part.key_size] = low.to_bytes(part.key_size, "big")
                value >>= part.bits
        taken = u32()
        status = self._device.binding.embedded("vl_model_lookup")(
            u32(self._device.number), u32(self.row.handle), bytes(key), u32(len(key)), u32(partition),
            ctypes.byref(taken))
        if status and self._device.binding.status_name(status) == "NOT_FOUND":
            return None
        self._device.binding.require("looking up", status)
        return taken.value

    # ---- the hardware

    def verify(self):
        """Compares all entries with the hardware. Returns the differences; an empty list if there are none."""
        default = self._default_handle()
        entries = [(handle, False) for handle in self.handles()]
        if default is not None:
            entries.append((default, True))
        equal = self._device.binding.function("plcmt_data_eq_to_hw")
        differences = []
        for handle, is_default in entries:
            placed, message = ctypes.c_void_p(), ctypes.create_string_buffer(4096)
            self._device.call(f"{self.name}_get_plcmt_data", self._device.session, self._device.target, u32(0),
                              u32(handle), ctypes.byref(placed))
            if not equal(self._device.session, u32(self._device.number), u32(self.row.handle), u32(handle), placed,
                         None, message):
                differences.append(Difference(handle, is_default, message.value.decode()))
        return differences


def describe(row, description):
    """A page about a table."""
    lines = [f"{row.name}, {row.handle:#x}", row.summary, ""]
    matches = {"exact": "exact", "ternary": "mask", "lpm": "prefix"}
    lines += [f"  key     {each.name}: {each.bits} bits, {matches[each.match]}" for each in row.key.values()] or [
        "  no key: a default entry and no other"]
    for name in row.actions or (description.profiles[row.profile].actions if row.profile else []):
        params = ", ".join(f"{each.name} ({each.bits} bits)" for each in description.actions[name].params.values())
        lines.append(f"  action  {name}" + (f": {params}" if params else ""))
    if row.profile is not None:
        lines.append(f"  Entries point at a member or a group of {row.profile}.")
    return "\n".join(lines)
