"""Counters, meters, WRED blocks, registers, digests and value sets."""

import ctypes
from dataclasses import dataclass

from .binding import MeterSpec, end_of_handles
from .errors import Refused

u32 = ctypes.c_uint32


class CounterValue(ctypes.Structure):
    _fields_ = [("count_a", ctypes.c_uint64), ("count_b", ctypes.c_uint64)]


class WredSpec(ctypes.Structure):
    _fields_ = [("words", ctypes.c_uint64 * 2)]


class PvsTarget(ctypes.Structure):
    _fields_ = [("device", u32), ("gress", u32), ("pipe", u32), ("parser", ctypes.c_uint8)]


@dataclass
class Count:
    """What a cell counted. The driver says which of the two counts packets and which bytes."""

    count_a: int
    count_b: int


@dataclass
class Meter:
    """A two-rate meter, in the driver's scale."""

    committed_rate: int
    committed_burst: int
    peak_rate: int
    peak_burst: int
    meter_type: int = 0


class Resource:
    """A resource of one device. Its cells belong to entries (direct) or have an index."""

    def __init__(self, device, row):
        self._device, self.row, self.name = device, row, row["name"]
        self.direct = row.get("addressing") == "direct"

    def __repr__(self):
        return f"<{type(self).__name__} {self.name}>"

    def _call(self, name, *arguments):
        self._device.call(name, self._device.session, self._device.target, *arguments)

    def _call_device(self, name, *arguments):
        self._device.call(name, self._device.session, u32(self._device.number), *arguments)


class Counter(Resource):
    """A counter: of the entries of a table, or cells by index."""

    def read(self, cell, hw=False):
        """Reads the counts of an entry's handle or of an index."""
        value = CounterValue()
        call = self._call_device if self.direct else self._call
        call(f"counter_read_{self.name}", u32(cell), u32(int(hw)), ctypes.byref(value))
        return Count(value.count_a, value.count_b)

    def write(self, cell, count_a=0, count_b=0):
        """Sets the counts."""
        self._call(f"counter_write_{self.name}", u32(cell), CounterValue(count_a, count_b))

    def sync(self):
        """Updates the driver's copy of all cells from the hardware."""
        self._device.sync(f"counter_hw_sync_{self.name}")


class MeterResource(Resource):
    """A meter: of the entries of a table, or cells by index."""

    def read(self, cell):
        """Reads the meter of an entry, by its handle, or of an index."""
        spec = MeterSpec()
        self._call(f"meter_read_{self.name}", u32(cell), ctypes.byref(spec))
        return Meter(*(getattr(spec, name) for name, _ in MeterSpec._fields_))

    def write(self, cell, spec):
        """Sets the meter, from a Meter or from its numbers."""
        numbers = tuple(vars(spec).values()) if isinstance(spec, Meter) else spec
        call = self._call_device if self.direct else self._call
        call(f"meter_set_{self.name}", u32(cell), ctypes.byref(MeterSpec(*numbers)))


class Wred(Resource):
    """A WRED block. The driver defines what its two words mean."""

    def read(self, index):
        """Reads the two words of a cell."""
        spec = WredSpec()
        self._call(f"wred_read_{self.name}", u32(index), ctypes.byref(spec))
        return tuple(spec.words)

    def write(self, index, words):
        """Sets the two words of a cell."""
        self._call(f"wred_set_{self.name}", u32(index), ctypes.byref(WredSpec((ctypes.c_uint64 * 2)(*words))))


class Register(Resource):
    """A register: cells of a flag, a word or a pair of words."""

    most_values = 64  # of a cell: one for each pipe

    def _type(self):
        return {"flag": ctypes.c_uint8, "word": u32, "word_pair": u32 * 2}[self.row["cell"]]

    def read(self, index, hw=False):
        """Reads a cell: one value for each pipe."""
        room, count = (self._type() * self.most_values)(), u32()
        self._call(f"register_read_{self.name}", u32(index), u32(int(hw)), room, ctypes.byref(count))
        return [tuple(each) if isinstance(each, ctypes.Array) else each for each in room[:count.value]]

    def _value(self, value):
        kind = self._type()
        return ctypes.byref(kind(*value) if isinstance(value, (tuple, list)) else kind(value))

    def write(self, index, value):
        """Writes a cell."""
        self._call(f"register_write_{self.name}", u32(index), self._value(value))

    def write_all(self, value):
        """Writes all cells."""
        self._call(f"register_write_all_{self.name}", self._value(value))

    def reset(self):
        """Gives all cells the value that the register starts with."""
        self._call(f"register_reset_all_{self.name}")

    def sync(self):
        """Updates the driver's copy of all cells from the hardware."""
        self._device.sync(f"register_hw_sync_{self.name}")


class DigestMessage(ctypes.Structure):
    _fields_ = [("device", u32), ("pipe", ctypes.c_uint16), ("reserved", ctypes.c_uint16), ("count", u32),
                ("padding", u32), ("entries", ctypes.c_void_p)]


class Digest(Resource):
    """A learning digest, which the pipeline sends to the control plane."""

    _callback = None

    def register(self, callback):
        """Has `callback` called with a dict for each entry. A message is acknowledged when all its calls have
        returned; an exception is printed, and the message is acknowledged all the same."""
        size, fields = self.row["entry_size"], self.row["fields"]

        @ctypes.CFUNCTYPE(u32, u32, ctypes.POINTER(DigestMessage), ctypes.c_void_p)
        def receive(_session, message, _cookie):
            try:
                content = ctypes.string_at(message.contents.entries, message.contents.count * size)
                for begin in range(0, len(content), size):
                    entry = content[begin:begin + size]
                    callback({field["name"]: int.from_bytes(entry[field["offset"]:field["offset"] + field["bytes"]],
                                                            "big") for field in fields})
            finally:
                self._device.call(f"{self.name}_notify_ack", self._device.session, message)
            return 0

        self._call_device(f"{self.name}_register", receive, None)
        self._callback = receive  # lives as long as the registration

    def deregister(self):
        """Ends the calls."""
        self._call_device(f"{self.name}_deregister")
        self._callback = None


class ValueSet(Resource):
    """A parser value set: values with masks."""

    def _target(self):
        return PvsTarget(self._device.number, 0, 0xFFFF, 0xFF)

    def _call_set(self, name, *arguments):
        self._device.call(f"pvs_{self.name}_entry_{name}", self._device.session, *arguments)

    def add(self, value, mask):
        """Adds an entry and returns its handle."""
        handle = u32()
        self._call_set("add", self._target(), u32(value), u32(mask), ctypes.byref(handle))
        return handle.value

    def modify(self, handle, value, mask):
        """Changes an entry."""
        self._call_set("modify", u32(self._device.number), u32(handle), u32(value), u32(mask))

    def delete(self, handle):
        """Deletes an entry."""
        self._call_set("delete", u32(self._device.number), u32(handle))

    def get(self, handle):
        """The value and the mask of an entry."""
        value, mask = u32(), u32()
        self._call_set("get", u32(self._device.number), u32(handle), ctypes.byref(value), ctypes.byref(mask))
        return value.value, mask.value

    __getitem__ = get

    def find(self, value, mask):
        """The handle of an entry, or None."""
        handle = u32()
        try:
            self._call_set("handle_get", self._target(), u32(value), u32(mask), ctypes.byref(handle))
        except Refused as refused:
            if refused.name in ("NOT_FOUND", None):
                return None
            raise
        return handle.value

    def __len__(self):
        count = u32()
        self._call_set("get_count", self._target(), u32(0), ctypes.byref(count))
        return count.value

    def __iter__(self):
        """The handles of all entries."""
        if not len(self):
            return
        page = (u32 * 64)()
        self._call_set("get_first_entry_handle", self._target(), page)
        listed = [page[0]]
        while listed and listed[0] != end_of_handles:
            yield from listed
            self._call_set("get_next_entry_handles", self._target(), u32(listed[-1]), u32(len(page)), page)
            listed = list(page)
            if end_of_handles in listed:
                del listed[listed.index(end_of_handles):]


def resources_of(device, rows):
    """The resources of a device by kind and name."""
    kinds = {"counters": Counter, "meters": MeterResource, "wred_blocks": Wred, "registers": Register,
             "digests": Digest, "value_sets": ValueSet}
    return {kind: {row["name"]: make(device, row) for row in rows[kind]} for kind, make in kinds.items()}


