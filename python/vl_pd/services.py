"""Learning digests, parser value sets, hash calculations and snapshots."""

import ctypes
from collections.abc import Iterator
from dataclasses import dataclass

from . import values
from .resources import Resource
from .values import long_word, word

u32 = ctypes.c_uint32


class DigestMessage(ctypes.Structure):
    _fields_ = [("device", u32), ("pipe", ctypes.c_uint16), ("reserved", ctypes.c_uint16), ("count", u32),
                ("padding", u32), ("entries", ctypes.c_void_p)]


class PvsTarget(ctypes.Structure):
    _fields_ = [("device", u32), ("gress", u32), ("pipe", u32), ("parser", ctypes.c_uint8)]


class HashField(ctypes.Structure):
    """An attribute of an input field, or a field of a packet. `value` is also the address of a wide one's bytes."""

    _fields_ = [("input_field", u32), ("attr_type", u32), ("value", ctypes.c_uint64)]


class Digest(Resource):
    """A learning digest, which the pipeline sends to the control plane."""

    def __init__(self, device, row):
        super().__init__(device, row)
        self.fields = device.binding.description.digest_fields(row)

    def register(self, callback) -> None:
        """Has `callback` called with a dict for each entry that the pipeline sends. Fields that are fields of a key too
        have the name and the form that they have there, so that they fit into a table. A message is acknowledged when
        all its calls have returned. An exception is printed and ends the calls; the message is acknowledged."""
        size = self.row["entry_size"]

        def receive(_session, message, _cookie):
            try:
                content = ctypes.string_at(message.contents.entries, message.contents.count * size)
                for begin in range(0, len(content), size):
                    callback(self._entry(content[begin:begin + size]))
            finally:
                self.device.call(self.device.binding.function(f"{self.name}_notify_ack"), self.device.session, message)
            return 0

        kind = ctypes.CFUNCTYPE(u32, u32, ctypes.POINTER(DigestMessage), ctypes.c_void_p)
        self.device.call(self.device.binding.function(f"{self.name}_register"), self.device.session,
                         self.device.number_word, self.device.binding.callback(kind, receive), None)

    def _entry(self, content):
        found = {}
        for field, places in self.fields:
            number = 0
            for part, (begin, end) in zip(field.parts, places):
                number = number << part.bits | int.from_bytes(content[begin:end], "big")
            found[field.name] = values.shown_number(field, number)
        return found

    def deregister(self) -> None:
        """Ends the calls."""
        self.device.call(self.device.binding.function(f"{self.name}_deregister"), self.device.session,
                         self.device.number_word)


class ValueSet(Resource):
    """A parser value set: values with masks."""

    def _target(self):
        return PvsTarget(self.device.number, 0, 0xFFFF, 0xFF)

    def _function(self, name):
        return self.device.binding.function(f"pvs_{self.name}_entry_{name}")

    def _masked(self, value, mask):
        if self.device.strict and value & ~mask:
            raise ValueError(f"{self.name}: the value has bits outside of its mask: {value & ~mask:#x}")
        return word(value, f"value of {self.name}"), word(mask, f"mask of {self.name}")

    def _change(self, name, *arguments):
        self.device.call(self._function(name), self.device.session, *arguments)

    def add(self, value, mask=0xFFFFFFFF) -> int:
        """Adds an entry and returns its handle."""
        handle = u32()
        self._change("add", self._target(), *self._masked(value, mask), ctypes.byref(handle))
        return handle.value

    def modify(self, handle, value, mask=0xFFFFFFFF) -> None:
        """Changes an entry."""
        self._change("modify", self.device.number_word, word(handle, "handle"), *self._masked(value, mask))

    def delete(self, handle) -> None:
        """Deletes an entry."""
        self._change("delete", self.device.number_word, word(handle, "handle"))

    def get(self, handle) -> tuple[int, int]:
        """The value and the mask of an entry."""
        value, mask = u32(), u32()
        self._change("get", self.device.number_word, word(handle, "handle"), ctypes.byref(value), ctypes.byref(mask))
        return value.value, mask.value

    __getitem__ = get

    def find(self, value, mask=0xFFFFFFFF) -> int | None:
        """The handle of an entry, or None."""
        handle = u32()
        found = self.device.binding.found(self._function("handle_get"), self.device.session, self._target(),
                                          *self._masked(value, mask), ctypes.byref(handle))
        return handle.value if found else None

    def property(self, number, argument=0) -> tuple[int, int]:
        """A property of the driver."""
        value = u32()
        self.device.call(self.device.binding.function(f"pvs_{self.name}_get_property"), self.device.session,
                         self.device.number_word, word(number, "property"), ctypes.byref(value),
                         word(argument, "argument"))
        return value.value

    def set_property(self, number, value, argument=0) -> None:
        """Sets a property of the driver."""
        self.device.call(self.device.binding.function(f"pvs_{self.name}_set_property"), self.device.session,
                         self.device.number_word, word(number, "property"), word(value, "value"),
                         word(argument, "argument"))

    def __len__(self):
        count = u32()
        self._change("get_count", self._target(), 0, ctypes.byref(count))
        return count.value

    def __bool__(self):
        return True

    def __iter__(self) -> Iterator[int]:
        """The handles of all entries."""
        return iter(self.device.binding.pages(self._function("get_first_entry_handle"),
                                              self._function("get_next_entry_handles"),
                                              (self.device.session, self._target())))


class Hash(Resource):
    """A hash calculation. Each has one algorithm and one input, with the number 0."""

    def _call(self, name, *arguments):
        self.device.call(self.device.binding.function(f"hash_calc_{self.name}_{name}"), self.device.session,
                         self.device.number_word, *arguments)

    def _get(self, name, kind=u32):
        value = kind()
        self._call(f"{name}_get", ctypes.byref(value))
        return value.value

    @property
    def seed(self) -> int:
        """What the calculation starts with, a number of 64 bits."""
        return self._get("seed", ctypes.c_uint64)

    @seed.setter
    def seed(self, seed):
        self._call("seed_set", ctypes.c_uint64(long_word(seed, "seed")))

    @property
    def algorithm(self) -> int:
        """The number of the algorithm."""
        return self._get("algorithm")

    @algorithm.setter
    def algorithm(self, number):
        self._call("algorithm_set", word(number, "algorithm"))

    @property
    def input(self) -> int:
        """The number of the input."""
        return self._get("input")

    @input.setter
    def input(self, number):
        self._call("input_set", word(number, "input"))

    @property
    def attributes(self) -> list[tuple[int, int, int]]:
        """The attributes of the input's fields, in the driver's numbers: tuples (field, type, value)."""
        count = u32()
        self._call("input_field_attribute_count_get", 0, ctypes.byref(count))
        room = (HashField * max(count.value, 1))()
        self._call("input_field_attribute_get", 0, len(room), room, ctypes.byref(count))
        return [(each.input_field, each.attr_type, each.value & 0xFFFFFFFF) for each in room[:count.value]]

    @attributes.setter
    def attributes(self, attributes):
        room = (HashField * max(len(attributes), 1))(*(
            (word(field, "field"), word(kind, "type"), word(value, "value")) for field, kind, value in attributes))
        self._call("input_field_attribute_set", 0, len(attributes), room if attributes else None)

    def predict(self, fields, size=8) -> int:
        """The hash of a packet, as a number of `size` bytes. `fields` are the values of the input, as pairs of a value
        and its width in bits; the first is at the top."""
        numbers, widths, alive = (HashField * max(len(fields), 1))(), (u32 * max(len(fields), 1))(), []
        word(size, "size of the hash", 64)
        for i, (value, bits) in enumerate(fields):
            word(bits, "width", 4096)
            if value < 0 or value >> bits:
                raise ValueError(f"{self.name}: {value:#x} has more than {bits} bits")
            widths[i] = bits
            if bits <= 32:
                numbers[i].value = value
            else:
                alive.append(ctypes.create_string_buffer(value.to_bytes((bits + 7) // 8, "big")))
                numbers[i].value = ctypes.addressof(alive[-1])
        hashed = (ctypes.c_uint8 * max(size, 1))()
        self._call("calculate_hash_value", len(fields), numbers, widths, hashed, size)
        return int.from_bytes(bytes(hashed)[:size], "big")


@dataclass
class Capture:
    """What a snapshot holds. `control` is the driver's."""

    count: int
    stages: list[bytes]  # a record of 676 bytes for each stage, in network byte order; zeros if nothing was captured
    control: bytes

    @property
    def state(self) -> int:
        """In the embedded driver: 0 before the first trigger, 1 armed, 2 captured."""
        return int.from_bytes(self.control[:4], "little")

    @property
    def trigger_stage(self) -> int:
        """In the embedded driver: the stage where the trigger matched."""
        return int.from_bytes(self.control[4:8], "little")


class Snapshot:
    """Captures the packet header vector at stages when a trigger matches. Deleted at the end of a `with` block."""

    handle: int
    record_size, most_stages, control_size = 676, 20, 256

    def __init__(self, device, first_stage, last_stage, direction=0, pipe=None):
        if word(first_stage, "stage", 255) > word(last_stage, "stage", 255):
            raise ValueError(f"{first_stage} to {last_stage} are no stages")
        self._device, handle = device, u32()
        self._stages = min(last_stage - first_stage + 1, self.most_stages)
        device.call(device.binding.function("snapshot_create"), device.target_of(pipe), first_stage, last_stage,
                    word(direction, "direction"), ctypes.byref(handle))
        self.handle = handle.value
        self._layout = device.binding.description.resources["snapshot_layouts"][self.handle >> 1 & 1]

    def _size(self, offset):
        for size, fields in (2, "two_byte_fields"), (4, "four_byte_fields"):
            if offset in self._layout[fields]:
                return size
        return 1

    def _record(self, numbers):
        record = bytearray(self.record_size)
        for offset, number in numbers.items():
            size = self._size(offset)
            if not 0 <= offset <= self.record_size - size or not 0 <= number < 1 << 8 * size:
                raise ValueError(f"snapshot: {number} doesn't fit into {size} bytes at {offset}")
            record[offset:offset + size] = number.to_bytes(size, "little")
        return bytes(record)

    def trigger(self, fields) -> None:
        """Arms the trigger. `fields` has, by the offset of a field in the record, a value or a pair of value and mask.
        The offset says how many bytes the field has. What isn't named matches anything. Instead, two records of 676
        bytes may be given as a pair, in the machine's byte order."""
        if isinstance(fields, dict):
            pairs = {offset: what if isinstance(what, tuple) else (what, (1 << 8 * self._size(offset)) - 1)
                     for offset, what in fields.items()}
            value, mask = (self._record({offset: pair[i] for offset, pair in pairs.items()}) for i in (0, 1))
        else:
            value, mask = fields
            if len(value) != self.record_size or len(mask) != self.record_size:
                raise ValueError(f"snapshot: a record has {self.record_size} bytes")
        self._device.call(self._device.binding.function("snapshot_capture_trigger_set"), self.handle, bytes(value),
                          bytes(mask))

    def capture(self, pipe=0) -> Capture:
        """Reads what was captured in a pipe."""
        room = (ctypes.c_uint8 * (self.record_size * self.most_stages))()
        control, count = (ctypes.c_uint8 * self.control_size)(), u32()
        self._device.call(self._device.binding.function("snapshot_capture_data_get"), self.handle, word(pipe, "pipe"),
                          room, control, ctypes.byref(count))
        content, size = bytes(room), self.record_size
        return Capture(count.value, [content[i * size:(i + 1) * size] for i in range(self._stages)], bytes(control))

    def delete(self) -> None:
        """Ends the snapshot."""
        self._device.call(self._device.binding.function("snapshot_delete"), self.handle)

    def __enter__(self) -> "Snapshot":
        return self

    def __exit__(self, *_):
        self.delete()
