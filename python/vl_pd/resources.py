"""Counters, meters, WRED blocks and registers: cells of entries, or cells by index."""

import ctypes
from collections.abc import Iterator
from dataclasses import astuple, dataclass

from .tables import MeterSpec, meter_spec, text_size
from .values import long_word, word

u32 = ctypes.c_uint32


class CounterValue(ctypes.Structure):
    _fields_ = [("count_a", ctypes.c_uint64), ("count_b", ctypes.c_uint64)]


class WredSpec(ctypes.Structure):
    _fields_ = [("words", ctypes.c_uint64 * 2)]


@dataclass
class Count:
    """What a cell counted. The driver says which of the two counts packets and which bytes; in the embedded driver,
    these are packets and bytes."""

    count_a: int
    count_b: int

    def __iter__(self) -> Iterator[int]:
        return iter(astuple(self))


@dataclass
class Meter:
    """A two-rate meter, in the driver's scale."""

    committed_rate: int
    committed_burst: int
    peak_rate: int
    peak_burst: int
    meter_type: int = 0

    def __iter__(self) -> Iterator[int]:
        return iter(astuple(self))


class Resource:
    """A resource of one device. Its cells belong to entries (direct) or have an index."""

    name: str

    def __init__(self, device, row):
        self.device, self.row, self.name = device, row, row["name"]
        self.direct = row.get("addressing") == "direct"

    def __repr__(self):
        return f"<{type(self).__name__.lower()} {self.name}>"

    def _call(self, name, *arguments):
        self.device.call(self.device.binding.function(f"{name}_{self.name}"), self.device.session, self.device.target,
                         *arguments)

    def _call_device(self, name, *arguments):
        self.device.call(self.device.binding.function(f"{name}_{self.name}"), self.device.session,
                         self.device.number_word, *arguments)

    def _sync(self, name):
        self.device.wait_for(self.device.binding.function(f"{name}_{self.name}"), self.device.session,
                             self.device.target)


class Counter(Resource):
    """A counter. `cell` is the handle of an entry if the counter is direct, or an index."""

    def read(self, cell, hw=False) -> Count:
        """Reads the counts."""
        value = CounterValue()
        call = self._call_device if self.direct else self._call
        call("counter_read", word(cell, "cell"), int(bool(hw)), ctypes.byref(value))
        return Count(value.count_a, value.count_b)

    def write(self, cell, count_a=0, count_b=0) -> None:
        """Sets the counts, from two numbers or from a Count."""
        if isinstance(count_a, Count):
            count_a, count_b = count_a
        self._call("counter_write", word(cell, "cell"),
                   CounterValue(long_word(count_a, "count"), long_word(count_b, "count")))

    def sync(self) -> None:
        """Updates the driver's copy of all cells from the hardware, and waits until that is done."""
        self._sync("counter_hw_sync")

    def describe(self, entry) -> str:
        """What an entry's cell counts, in words. Empty if the library has no words for it, or can't read the entry."""
        text = ctypes.create_string_buffer(text_size)
        tables = self.device.binding.description.tables
        if self.direct:
            self.device.result(self.device.binding.function("stringify_counter_matchspec"), self.device.session,
                               self.device.number_word, tables[self.row["table"]].handle, word(entry, "handle"), text)
        return text.value.decode().strip()


class MeterResource(Resource):
    """A meter. `cell` is the handle of an entry if the meter is direct, or an index."""

    def __repr__(self):
        return f"<meter {self.name}>"

    def read(self, cell) -> Meter:
        """Reads the meter."""
        spec = MeterSpec()
        self._call("meter_read", word(cell, "cell"), ctypes.byref(spec))
        return Meter(*(getattr(spec, name) for name, _ in MeterSpec._fields_))

    def write(self, cell, spec) -> None:
        """Sets the meter, from a Meter or from its numbers."""
        call = self._call_device if self.direct else self._call
        call("meter_set", word(cell, "cell"), meter_spec(spec, self.name))

    @property
    def byte_count_adjustment(self) -> int:
        """The bytes that the meter adds to each packet."""
        adjustment = u32()
        self._call("meter_bytecount_adjust_get", ctypes.byref(adjustment))
        return adjustment.value

    @byte_count_adjustment.setter
    def byte_count_adjustment(self, adjustment):
        self._call("meter_bytecount_adjust_set", word(adjustment, "adjustment"))


class Wred(Resource):
    """A WRED block. The driver defines what its two words mean."""

    def read(self, index) -> tuple[int, int]:
        """Reads the two words of a cell."""
        spec = WredSpec()
        self._call("wred_read", word(index, "index"), ctypes.byref(spec))
        return tuple(spec.words)

    def write(self, index, words) -> None:
        """Sets the two words of a cell."""
        first, second = (long_word(each, "word") for each in words)
        self._call("wred_set", word(index, "index"), ctypes.byref(WredSpec((ctypes.c_uint64 * 2)(first, second))))


class Register(Resource):
    """A register: cells of a flag (0 or 1), a word or a pair of words. Each pipe has its own value of a cell."""

    most_pipes, most_cells = 64, 4096  # that are read at once

    @property
    def _type(self):
        return {"flag": ctypes.c_uint8, "word": u32, "word_pair": u32 * 2}[self.row["cell"]]

    def _at(self, name, pipe, *arguments):
        self.device.call(self.device.binding.function(f"{name}_{self.name}"), self.device.session,
                         self.device.target_of(pipe), *arguments)

    def _value(self, value):
        if self.row["cell"] == "word_pair":
            first, second = value
            return ctypes.byref(self._type(word(first, "word"), word(second, "word")))
        if self.row["cell"] == "flag" and value not in (0, 1):
            raise ValueError(f"{self.name} holds flags, so {value} can't be written")
        return ctypes.byref(self._type(word(value, "value")))

    def _values(self, room, count):
        return [tuple(each) if isinstance(each, ctypes.Array) else each for each in room[:count]]

    def read(self, index, hw=False, pipe=None) -> list:
        """Reads a cell: a list with the value in each pipe, or in one pipe."""
        room, count = (self._type * self.most_pipes)(), u32()
        self._at("register_read", pipe, word(index, "index"), int(bool(hw)), room, ctypes.byref(count))
        return self._values(room, count.value)

    def read_range(self, first, count, hw=False, pipe=None) -> list[list]:
        """Reads cells that follow each other: a list for each, as read() gives it."""
        found, first = [], word(first, "index")
        for begin in range(first, first + word(count, "count"), self.most_cells):
            wanted = min(self.most_cells, first + count - begin)
            room, cells, values = (self._type * (self.most_pipes * wanted))(), u32(), u32()
            self._at("register_range_read", pipe, begin, wanted, int(bool(hw)), ctypes.byref(cells), room,
                     ctypes.byref(values))
            if cells.value:
                read, each = self._values(room, values.value), values.value // cells.value
                found += [read[i:i + each] for i in range(0, cells.value * each, each)]
            if cells.value < wanted:
                break
        return found

    def write(self, index, value, pipe=None) -> None:
        """Writes a cell in all pipes, or in one."""
        self._at("register_write", pipe, word(index, "index"), self._value(value))

    def write_all(self, value) -> None:
        """Writes all cells."""
        self._at("register_write_all", None, self._value(value))

    def reset(self, first=None, count=1) -> None:
        """Gives all cells the value that the register starts with, or `count` cells from the first."""
        if first is None:
            self._at("register_reset_all", None)
        else:
            self._at("register_range_reset", None, word(first, "index"), word(count, "count"))

    def sync(self) -> None:
        """Updates the driver's copy of all cells from the hardware, and waits until that is done."""
        self._sync("register_hw_sync")
