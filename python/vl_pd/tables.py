"""Match tables and their entries."""

import ctypes
import operator
from collections.abc import Iterator, Mapping
from dataclasses import dataclass, field

from . import page, values
from .errors import Refused, unknown
from .records import Record
from .values import long_word, word

u32 = ctypes.c_uint32
entry_columns = ("handle", "is_default", "priority", "action", "member", "group")
text_size = 65536  # the longest text of the library has less than 4096 bytes


@dataclass(slots=True, repr=False)
class Entry:
    """An entry as it was read. A field that matches anything isn't in the key. An entry of a table with an action
    profile has a member or a group in place of an action."""

    handle: int
    key: dict
    action: str | None
    params: dict
    priority: int | None = None
    is_default: bool = False
    member: int | None = None
    group: int | None = None

    def __index__(self) -> int:
        return self.handle

    def __repr__(self):
        said = ((name, getattr(self, name)) for name in self.__slots__)
        return "Entry(" + ", ".join(f"{name}={what!r}" for name, what in said if what not in (None, False, {})) + ")"


@dataclass
class Difference:
    """An entry of which the hardware holds something else than the software."""

    handle: int
    is_default: bool
    message: str


@dataclass
class Many:
    """What became of many operations: a handle for each row, None where it was refused."""

    handles: list[int | None] = field(default_factory=list)
    refused: list[tuple] = field(default_factory=list)  # (row, exception)


class MeterSpec(ctypes.Structure):
    """A two-rate meter, in the driver's scale."""

    _fields_ = [(name, u32) for name in ("committed_rate", "committed_burst", "peak_rate", "peak_burst", "meter_type")]


class IdleParams(ctypes.Structure):
    _fields_ = [("mode", u32), ("params_a", ctypes.c_uint64), ("params_b", u32), ("params_c", ctypes.c_uint64),
                ("params_d", ctypes.c_uint64), ("params_flag", ctypes.c_uint8)]


# The functions that write an entry, by what they write: one for each action, or one for members and one for groups.
direct_names = {"add": "{}_table_add_with_{}", "modify": "{}_table_modify_with_{}",
                "modify_by_key": "{}_table_modify_with_{}_by_match_spec", "set_default": "{}_set_default_action_{}"}
indirect_names = {"add": "{}_add_entry{}", "modify": "{}_modify_entry{}",
                  "modify_by_key": "{}_modify_entry{}_by_match_spec", "set_default": "{}_set_default_entry{}"}


def priority_word(priority, where):
    """A priority, which may be negative, as the library takes it. 0 if there is none."""
    if priority is None:
        return 0
    priority = operator.index(priority)
    if not -0x80000000 <= priority <= 0x7FFFFFFF:
        raise ValueError(f"{where}: the priority {priority} isn't from -2147483648 to 2147483647")
    return priority


def meter_spec(meter, where):
    """A meter's record, from a Meter or from its four or five numbers."""
    numbers = [word(number, f"meter of {where}: the number") for number in meter]
    if not 4 <= len(numbers) <= 5:
        raise ValueError(f"meter of {where}: it has committed rate and burst, peak rate and burst, and maybe a type")
    return ctypes.byref(MeterSpec(*numbers))


class Reader:
    """Reads entries of one table. Its memory is used again for each."""

    def __init__(self, table):
        row, self.table = table.row, table
        self.handle, self.hardware = u32(), u32()
        self.key, self.params = (ctypes.c_uint8 * max(row.size, 1))(), (ctypes.c_uint8 * 64)()
        self.priority, self.is_default = ctypes.c_int32(), ctypes.c_uint8(not row.key)
        self.action, self.has_member, self.has_group = u32(), ctypes.c_uint8(), ctypes.c_uint8()
        self.member, self.group = u32(), u32()
        by_reference = ctypes.byref
        outputs = [self.key] if row.key else []
        if row.has_priority:
            outputs.append(by_reference(self.priority))
        if row.profile is not None:
            outputs += [by_reference(each) for each in (self.has_member, self.has_group, self.group, self.member)]
        else:
            outputs += [None, self.params, by_reference(self.action)]
        if row.key:
            outputs.append(by_reference(self.is_default))
        self.arguments = (table.device.binding.function(f"{row.name}_get_entry"), table.device.session,
                          table.device.number_word, self.handle, self.hardware, *outputs)

    def read_all(self, handles, hw):
        """Reads entries one by one."""
        table, call, arguments, handle_word = self.table, self.table.device.call, self.arguments, self.handle
        is_direct, has_priority, is_default = table.row.profile is None, table.row.has_priority, self.is_default
        key, unpack = self.key, table.key_record.unpack
        params, action, actions = self.params, self.action, table.unpackers
        self.hardware.value = bool(hw)
        for handle in handles:
            handle_word.value = handle
            call(*arguments)
            if is_default.value:
                fields, priority = {}, None
            else:
                fields, priority = unpack(key), self.priority.value if has_priority else None
            if is_direct:
                name, unpack_params = actions[action.value]
                yield Entry(handle, fields, name, unpack_params(params), priority, is_default.value != 0)
            else:
                yield Entry(handle, fields, None, {}, priority, is_default.value != 0,
                            self.member.value if self.has_member.value else None,
                            self.group.value if self.has_group.value else None)


class Table:
    """A match table of one device. Iterating over it reads its entries, without the default entry.

    A key is a dict of fields. Fields that are matched exactly must be given; a field with a mask or a prefix matches
    anything if it is left out. Where entries have priorities, key and priority together name an entry, and the priority
    is 0 if none is given. An entry that was read stands for its key and priority.
    """

    __doc__ = page.Page(__doc__, page.table_page)
    name: str

    def __init__(self, device, row):
        self.device, self.row, self.name = device, row, row.name
        self._keys = self._actions = None
        self._writers = {}  # by what is written and by the action
        self._readers = []  # those that nobody uses now

    def __repr__(self):
        return f"<table {self.name}>"

    # ---- records, made late because most tables of a switch aren't used

    @property
    def key_record(self):
        """The record of the key."""
        if self._keys is None:
            self._keys = Record(self.name, "field", self.row.key, self.row.size, self.device.strict)
        return self._keys

    @property
    def unpackers(self):
        """By the number of an action: its name, and how its record is unpacked."""
        if self._actions is None:
            rows = self.device.binding.description.actions
            names = dict.fromkeys([*self.row.actions, *self.row.defaults])
            self._actions = {rows[name].number: (name, self.device.record_of(name, self.name).unpack)
                             for name in names}
        return self._actions

    def _writer(self, what, action):
        """The function that writes an entry with an action, and the record of the action's parameters."""
        writer = self._writers.get((what, action))
        if writer is None:
            names = self.row.defaults if what == "set_default" else self.row.actions
            if action is None:
                raise ValueError(f"{self.name}: name one of the actions {', '.join(names)}")
            if action not in names:
                kind = "default action" if what == "set_default" else "action"
                raise unknown(f"{self.name} has no {kind}", action, names)
            writer = (self.device.binding.function(direct_names[what].format(self.name, action)),
                      self.device.record_of(action, self.name))
            self._writers[what, action] = writer
        return writer

    def _content(self, what, action, params, meter, member, group):
        """The function that writes an entry, and its arguments for what the entry does."""
        if self.row.profile is not None:
            if (member is None) == (group is None) or action is not None or params or meter is not None:
                raise ValueError(f"{self.name}: an entry takes a member or a group, and no action")
            name = indirect_names[what].format(self.name, "" if group is None else "_with_selector")
            return self.device.binding.function(name), [word(member if group is None else group, "handle")]
        if member is not None or group is not None:
            raise ValueError(f"{self.name} has no action profile, so an entry takes no member and no group")
        function, record = self._writer(what, action)
        packed = record.pack(params or {})
        arguments = [packed] if record.fields else []
        if what == "add" and self.device.strict:
            for name in record.indices:
                if (value := record.numbers(packed)[name]) > 0xFFFF:
                    raise values.Wrong(record.where, name, f"an add sends 16 bits of an index, and {value:#x} has more")
        if self.row.has_meter:
            if meter is None and what == "add" and self.device.strict:
                raise ValueError(f"{self.name}: a new entry needs a meter")
            arguments.append(None if meter is None else meter_spec(meter, self.name))
        elif meter is not None:
            raise ValueError(f"{self.name} has no meter")
        return function, arguments

    def _match(self, key, priority):
        """The arguments that name an entry by its key."""
        self._keyed()
        if type(key) is Entry:
            key, priority = key.key, key.priority if priority is None else priority
        packed = self.key_record.pack(key)
        if self.row.has_priority:
            return packed, priority_word(priority, self.name)
        if priority is not None:
            raise ValueError(f"{self.name} has no priorities")
        return (packed,)

    def _write(self, function, *arguments):
        """Calls a function that writes an entry. Those of a profile take turns."""
        if self.row.profile is None:
            self.device.call(function, *arguments)
        else:
            with self.device.profile_lock:
                self.device.call(function, *arguments)

    # ---- entries

    def add(self, key, action=None, params=None, *, priority=None, meter=None, ttl=None, member=None,
            group=None) -> int:
        """Adds an entry and returns its handle. In a table with a profile, `member` or `group` replaces the action.
        `meter` is for l2LookupMiss alone: it has the entry's meter. `ttl` is the first time to live, for tables whose
        adds take one. `priority` is 0 if it is left out; in the embedded driver the lowest number wins."""
        match = self._match(key, priority)
        function, content = self._content("add", action, params, meter, member, group)
        if self.row.ttl_on_add:
            content.append(word(ttl or 0, f"time to live of {self.name}"))
        elif ttl is not None:
            raise ValueError(f"{self.name}: an add takes no time to live; see set_ttl")
        handle = u32()
        self._write(function, self.device.session, self.device.target, *match, *content, ctypes.byref(handle))
        return handle.value

    def add_many(self, rows, stop=False) -> Many:
        """Adds many entries. Rows are tuples (key, action, params), dicts of add()'s arguments, or entries as they were
        read, which have no meter and no time to live. With `stop`, ends at the first row that is refused."""
        many = Many()
        add, handles = self.add, many.handles
        for row in rows:
            try:
                if isinstance(row, tuple):
                    handles.append(add(*row))
                elif isinstance(row, Entry):
                    handles.append(add(row.key, row.action, row.params, priority=row.priority, member=row.member,
                                       group=row.group))
                else:
                    handles.append(add(**row))
            except (Refused, ValueError, KeyError, TypeError) as error:
                handles.append(None)
                many.refused.append((row, error))
                if stop:
                    break
        return many

    def modify(self, which, action=None, params=None, *, priority=None, meter=None, member=None, group=None) -> None:
        """Gives an entry another action, member or group. `which` is its handle or its key. Without `meter`, the entry
        keeps the meter that it has."""
        self._keyed()
        if isinstance(which, Mapping):
            function, content = self._content("modify_by_key", action, params, meter, member, group)
            self._write(function, self.device.session, self.device.target, *self._match(which, priority), *content)
            return
        self._no_priority(priority)
        function, content = self._content("modify", action, params, meter, member, group)
        self._write(function, self.device.session, self.device.number_word, word(which, "handle"), *content)

    def find(self, key, *, priority=None) -> int | None:
        """The handle of the entry with this key, or None."""
        handle, match = u32(), self._match(key, priority)
        found = self.device.binding.found(self._function("match_spec_to_entry_hdl"), self.device.session,
                                          self.device.target, *match, ctypes.byref(handle))
        return handle.value if found else None

    def delete(self, which, *, priority=None) -> None:
        """Deletes an entry. `which` is its handle or its key."""
        if isinstance(which, Mapping):
            match = self._match(which, priority)
            self.device.call(self._function("table_delete_by_match_spec"), self.device.session, self.device.target,
                             *match)
        else:
            self._keyed()
            self._no_priority(priority)
            self.device.call(self._function("table_delete"), self.device.session, self.device.number_word,
                             word(which, "handle"))

    def delete_many(self, handles) -> Many:
        """Deletes entries by their handles."""
        many = Many()
        for handle in handles:
            try:
                self.delete(handle)
                many.handles.append(handle)
            except (Refused, ValueError, KeyError, TypeError) as error:
                many.handles.append(None)
                many.refused.append((handle, error))
        return many

    def clear(self) -> None:
        """Deletes all entries except the default one."""
        for handle in self.handles():
            try:
                self.delete(handle)
            except Refused as refused:
                if refused.name != "NOT_FOUND":  # somebody else deleted it
                    raise

    def get(self, handle, hw=False) -> Entry:
        """Reads an entry, from the software's copy or from the hardware."""
        handle = word(handle, "handle")
        try:
            reader = self._readers.pop()
        except IndexError:
            reader = Reader(self)
        try:
            return next(reader.read_all((handle,), hw))
        finally:
            self._readers.append(reader)

    __getitem__ = get

    def handles(self) -> list[int]:
        """The handles of all entries except the default one, as a list."""
        if not self.row.key:
            return []
        function = self.device.binding.function
        return self.device.binding.pages(function("entry_hdl_first"), function("entry_hdl_next"),
                                         (self.device.session, self.device.target, self.row.handle))

    def entries(self, columns=None, hw=False):
        """All entries except the default one. With `columns`, a dict with a list for each of these columns: fields,
        parameters, and handle, is_default, priority, action, member and group. If a field and a parameter have the same
        name, it is the field; `params.NAME` is the parameter. None stands where an entry has no such value."""
        if columns is None:
            return list(self._read_all(hw))
        columns = list(columns)
        choices = [self._column(name) for name in columns]
        lists = [[] for _ in choices]
        for entry in self._read_all(hw):
            for values_of, choose in zip(lists, choices):
                values_of.append(choose(entry))
        return dict(zip(columns, lists))

    def _column(self, name):
        if name in self.row.key:
            return lambda entry: entry.key.get(name)
        if name in entry_columns:
            return operator.attrgetter(name)
        bare = name.removeprefix("params.")
        rows = self.device.binding.description.actions
        params = {each for action in self.row.actions for each in rows[action].params}
        if bare not in params:
            raise unknown(f"{self.name} has no column", name, [*self.row.key, *params, *entry_columns])
        return lambda entry: entry.params.get(bare)

    def _read_all(self, hw=False):
        handles = iter(self.handles())
        while True:
            try:
                yield from Reader(self).read_all(handles, hw)
                return
            except Refused as refused:
                if hw or refused.name != "NOT_FOUND":
                    raise
                # The entry was deleted meanwhile. Goes on with the next.

    def __iter__(self) -> Iterator[Entry]:
        return self._read_all()

    def __len__(self):
        if not self.row.key:
            return 0
        count = u32()
        self.device.call(self._function("get_entry_count"), self.device.session, self.device.target,
                         ctypes.byref(count))
        return count.value

    def __bool__(self):
        return True

    def __contains__(self, key) -> bool:
        return self.find(key) is not None

    def _function(self, name):
        return self.device.binding.function(f"{self.name}_{name}")

    def _keyed(self):
        if not self.row.key:
            raise ValueError(f"{self.name} has no key: it has a default entry and no other")

    def _no_priority(self, priority):
        if priority is not None:
            raise ValueError(f"{self.name}: a handle names the entry, so it takes no priority")

    # ---- the default entry

    def _default_handle(self):
        handle = u32()
        found = self.device.binding.found(self.device.binding.function("entry_hdl_default"), self.device.session,
                                          self.device.target, self.row.handle, ctypes.byref(handle))
        return handle.value if found else None

    @property
    def default(self) -> Entry | None:
        """The default entry, which says what happens to a packet that matches no other. None if there is none."""
        handle = self._default_handle()
        return self.get(handle) if handle is not None else None

    def set_default(self, action=None, params=None, *, meter=None, member=None, group=None) -> int:
        """Sets the default entry and returns its handle. Without `meter`, it has no meter."""
        function, content = self._content("set_default", action, params, meter, member, group)
        handle = u32()
        self._write(function, self.device.session, self.device.target, *content, ctypes.byref(handle))
        return handle.value

    def reset_default(self) -> None:
        """Restores the default entry that the pipeline started with."""
        self.device.call(self._function("table_reset_default_entry"), self.device.session, self.device.target)

    # ---- texts, as the library makes them

    def schema(self) -> str:
        """The columns of the table, as a Python literal."""
        text = ctypes.create_string_buffer(text_size)
        self.device.result(self._function("schema"), text)
        return text.value.decode()

    def value_string(self, handle, hw=False) -> str:
        """The entry in these columns."""
        text = ctypes.create_string_buffer(text_size)
        if not self.device.result(self._function("value"), self.device.session, self.device.number_word,
                                  word(handle, "handle"), int(bool(hw)), text):
            self.get(handle, hw)  # says why it can't be read
        return text.value.decode()

    # ---- properties and idle time

    def property(self, number) -> tuple[int, int]:
        """The value and the arguments word of a property of the driver."""
        value, args = u32(), u32()
        self.device.call(self._function("get_property"), self.device.session, self.device.number_word,
                         word(number, "property"), ctypes.byref(value), ctypes.byref(args))
        return value.value, args.value

    def set_property(self, number, value, args=0) -> None:
        """Sets a property of the driver."""
        self.device.call(self._function("set_property"), self.device.session, self.device.number_word,
                         word(number, "property"), word(value, "value"), word(args, "arguments word"))

    def enable_idle(self, callback=None, *, mode=1, params_a=0, params_b=0, params_c=0, params_d=0) -> None:
        """Lets entries age, in the driver's numbers. In the embedded driver, all times are milliseconds: it looks for
        timed-out entries every `params_a`, cuts times to live to `params_b` unless that is 0, and gives `params_c` to
        entries without their own. `callback` gets the handle of each entry that times out."""
        self._ages()
        if callback is not None:
            kind = ctypes.CFUNCTYPE(None, u32, u32, u32, ctypes.c_void_p)
            receive = self.device.binding.callback(kind, lambda _device, _table, handle, _cookie: callback(handle))
            self.device.call(self._function("idle_register_tmo_cb"), self.device.session, self.device.number_word,
                             receive, None)
        self.device.call(self._function("idle_tmo_enable"), self.device.session, self.device.number_word,
                         IdleParams(word(mode, "mode"), long_word(params_a, "params_a"), word(params_b, "params_b"),
                                    long_word(params_c, "params_c"), long_word(params_d, "params_d"), 0))

    def disable_idle(self) -> None:
        """Ends ageing."""
        self._ages()
        self.device.call(self._function("idle_tmo_disable"), self.device.session, self.device.number_word)

    def idle_params(self) -> dict[str, int]:
        """The parameters of ageing, as enable_idle() takes them."""
        self._ages()
        params = IdleParams()
        self.device.call(self._function("idle_params_get"), self.device.session, self.device.number_word,
                         ctypes.byref(params))
        return {name: getattr(params, name) for name, _ in IdleParams._fields_[:-1]}

    def ttl(self, handle) -> int:
        """The entry's time to live, whole, in the driver's unit."""
        self._ages()
        ttl = u32()
        self.device.call(self._function("get_ttl"), self.device.session, self.device.number_word,
                         word(handle, "handle"), ctypes.byref(ttl))
        return ttl.value

    def set_ttl(self, handle, ttl) -> None:
        """Sets the entry's time to live, which starts now."""
        self._ages()
        self.device.call(self._function("set_ttl"), self.device.session, self.device.number_word,
                         word(handle, "handle"), word(ttl, "time to live"))

    def reset_ttl(self, handle) -> None:
        """Starts the entry's time to live again."""
        self._ages()
        self.device.call(self._function("reset_ttl"), self.device.session, self.device.number_word,
                         word(handle, "handle"))

    def update_hit_states(self) -> None:
        """Reads from the hardware which entries packets have hit, and waits until that is done."""
        self._ages()
        self.device.wait_for(self._function("update_hit_state"), self.device.session, self.device.number_word)

    def hit_state(self, handle) -> int:
        """Whether a packet hit the entry between the last two updates, as the driver's number. In the embedded driver,
        1 is a hit."""
        self._ages()
        state = u32()
        self.device.call(self._function("get_hit_state"), self.device.session, self.device.number_word,
                         word(handle, "handle"), ctypes.byref(state))
        return state.value

    def _ages(self):
        if not self.row.has_idle_time:
            raise ValueError(f"the entries of {self.name} don't age")

    # ---- packets, which only the embedded driver has

    def _packet(self, packet):
        key, partition = bytearray(self.row.key_size), 0
        for name, what in packet.items():
            shown = self.row.key.get(name)
            if shown is None:
                raise unknown(f"{self.name} has no field", name, self.row.key)
            value = values.parse_exact(self.name, shown, what, self.device.strict)
            if self.row.partitioned and shown is next(iter(self.row.key.values())):
                partition = value
                continue
            for part in reversed(shown.parts):
                low = value & ((1 << part.bits) - 1)
                key[part.key_offset:part.key_offset + part.key_size] = low.to_bytes(part.key_size, "big")
                value >>= part.bits
        return bytes(key), len(key), partition

    def lookup(self, packet) -> int | None:
        """The handle of the entry that a packet with these fields takes in the hardware, or None if that is the default
        entry. Fields that are left out are 0. Needs the embedded driver."""
        self._keyed()
        taken = u32()
        found = self.device.binding.found(self.device.binding.embedded("vl_model_lookup"), self.device.number,
                                          self.row.handle, *self._packet(packet), ctypes.byref(taken))
        return taken.value if found else None

    def packet(self, packet, size=64) -> int | None:
        """As lookup(), and the packet of `size` bytes counts: for the entry's hit state, idle time and counter."""
        self._keyed()
        taken = u32()
        found = self.device.binding.found(self.device.binding.embedded("vl_model_packet"), self.device.number,
                                          self.row.handle, *self._packet(packet), word(size, "size"),
                                          ctypes.byref(taken))
        return taken.value if found else None

    # ---- the hardware

    def verify(self) -> list[Difference]:
        """Compares all entries with the hardware. Returns the differences; an empty list if there are none. Needs a
        driver that hands out placement data as the embedded one does."""
        default = self._default_handle()
        entries = [(handle, False) for handle in self.handles()]
        if default is not None:
            entries.append((default, True))
        place, equal = self._function("get_plcmt_data"), self.device.binding.function("plcmt_data_eq_to_hw")
        placed, message = ctypes.c_void_p(), ctypes.create_string_buffer(text_size)
        differences = []
        for handle, is_default in entries:
            if not self.device.binding.found(place, self.device.session, self.device.target, 0, handle,
                                             ctypes.byref(placed)):
                continue  # deleted meanwhile
            message.value = b""
            if not self.device.result(equal, self.device.session, self.device.number_word, self.row.handle, handle,
                                      placed, None, message):
                differences.append(Difference(handle, is_default, message.value.decode()))
        return differences
