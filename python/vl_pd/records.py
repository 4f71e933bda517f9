"""C records by the names of their fields: dicts become bytes, and bytes become dicts."""

import struct
from collections.abc import Mapping
from socket import AF_INET, AF_INET6, inet_ntoa, inet_ntop, inet_pton

from . import values
from .errors import unknown

codes = {1: "B", 2: "H", 4: "I", 16: "16s"}


class Record:
    """The layout of a table's key or of an action's parameters.

    Most values are plain: a number or an IPv4 address of one part, without a mask. For these, each field has a short
    way through pack() and unpack(). All others go through values.py.
    """

    def __init__(self, where, kind, fields, size, strict, indices=()):
        self.where, self.kind, self.fields, self.strict = where, kind, fields, strict
        self.indices = indices  # the parameters that name a cell of a resource
        places = []
        for field in fields.values():
            for part in field.parts:
                places.append((part.offset, part.size))
                if part.partner is not None:
                    places.append((part.partner_offset, part.partner_size))
        places.sort()
        form, end = "<", 0
        for offset, width in places:
            form += f"{offset - end}x{codes[width]}"
            end = offset + width
        layout = struct.Struct(form + f"{max(size, 1) - end}x")
        self._pack, self._unpack = layout.pack, layout.unpack_from
        self._blank = [bytes(16) if width == 16 else 0 for _, width in places]
        self._slots = {offset: slot for slot, (offset, _) in enumerate(places)}
        self._required = frozenset(name for name, field in fields.items() if field.match == "exact")
        self._puts = {name: self._put_of(field) for name, field in fields.items()}
        self._takes = [(name, self._take_of(field)) for name, field in fields.items()]
        self._all_shown = len(self._required) == len(fields)

    def pack(self, given):
        """The record of these values. A field with a mask or a prefix matches anything if it is left out."""
        if type(given) is not dict and not isinstance(given, Mapping):
            raise TypeError(f"{self.where}: the {self.kind}s are a dict, not {given!r}")
        slots = self._blank.copy()
        puts = self._puts
        for name, what in given.items():
            if name not in puts:
                raise unknown(f"{self.where} has no {self.kind}", name, self.fields)
            puts[name](slots, what)
        if self.strict and len(given) != len(puts) and not self._required <= given.keys():
            missing = [name for name in self.fields if name in self._required and name not in given]
            raise ValueError(f"{self.where} needs {', '.join(missing)}")
        return self._pack(*slots)

    def unpack(self, record):
        """The values in a record, without the fields that match anything."""
        slots = self._unpack(record)
        if self._all_shown:
            return {name: take(slots) for name, take in self._takes}
        found = {}
        for name, take in self._takes:
            what = take(slots)
            if what is not None:
                found[name] = what
        return found

    def numbers(self, record):
        """The values in a record as numbers, without masks and lengths."""
        slots = self._unpack(record)
        return {name: self._assemble(field, slots)[0] for name, field in self.fields.items()}

    def _put_of(self, field):
        if len(field.parts) > 1 or field.match != "exact":
            return lambda slots, what: self._spread(field, slots, *values.parse(self.where, field, what, self.strict))
        part = field.parts[0]
        slot, where, strict, tag = self._slots[part.offset], self.where, self.strict, field.tag
        outside = ~(field.matched if strict else (1 << 8 * part.size) - 1)

        def slow(what):
            return values.parse(where, field, what, strict)[0] & ((1 << 8 * part.size) - 1)

        if part.size == 16:
            def put(slots, what):
                if type(what) is str and tag == "v6addr" and not ~field.matched & (1 << 128) - 1:
                    try:
                        slots[slot] = inet_pton(AF_INET6, what)
                        return
                    except (OSError, ValueError):
                        pass
                slots[slot] = slow(what).to_bytes(16, "big")
        else:
            def put(slots, what):
                if type(what) is str and tag == "v4addr":
                    try:
                        what = int.from_bytes(inet_pton(AF_INET, what), "big")
                    except (OSError, ValueError):
                        pass
                slots[slot] = slow(what) if type(what) is not int or what & outside else what
        return put

    def _take_of(self, field):
        slot = self._slots[field.parts[0].offset]
        if len(field.parts) > 1 or field.match != "exact":
            return lambda slots: values.shown(field, *self._assemble(field, slots))
        if field.parts[0].size == 16:
            if field.tag == "v6addr":
                return lambda slots: inet_ntop(AF_INET6, slots[slot])
            return lambda slots: int.from_bytes(slots[slot], "big")
        if field.tag == "v4addr":
            return lambda slots: inet_ntoa(slots[slot].to_bytes(4, "big"))
        return lambda slots: slots[slot]

    def _spread(self, field, slots, value, partner):
        """Writes a value and its mask or length to the parts of a field."""
        alone = len(field.parts) == 1
        for part in reversed(field.parts):
            low = value if alone else value & ((1 << part.bits) - 1)
            self._write(slots, part.offset, part.size, low)
            value >>= part.bits
            if part.partner is not None:
                low = partner if alone else partner & ((1 << part.bits) - 1)
                self._write(slots, part.partner_offset, part.partner_size, low)
                partner >>= part.bits

    def _write(self, slots, offset, size, number):
        number &= (1 << 8 * size) - 1
        slots[self._slots[offset]] = number.to_bytes(16, "big") if size == 16 else number

    def _assemble(self, field, slots):
        """The value of a field, and its mask or length."""
        value, partner = 0, None
        for part in field.parts:
            value = value << part.bits | self._read(slots, part.offset)
            if part.partner is not None:
                partner = (partner or 0) << part.bits | self._read(slots, part.partner_offset)
        return value, partner

    def _read(self, slots, offset):
        found = slots[self._slots[offset]]
        return found if isinstance(found, int) else int.from_bytes(found, "big")
