"""What only the embedded driver has for a device: state logs, traffic and damage. Packets are in tables.py."""

import ctypes
from dataclasses import dataclass

from .values import long_word, word

u32 = ctypes.c_uint32
kinds_of_damage = ("lost", "key", "mask", "data", "member")


class Corruption(ctypes.Structure):
    _fields_ = [("table", u32), ("handle", u32), ("what", u32), ("bit", u32)]


@dataclass
class Damage:
    """What was done to an entry in the hardware: it was lost, or a bit of its key, mask, data or member flipped."""

    table: str
    handle: int
    what: str
    bit: int


class Embedded:
    """The methods of a device that need the embedded driver."""

    def state_log(self) -> str:
        """The state that the library keeps of the device's profiles, as JSON. A driver saves it when an agent ends."""
        log = self.binding.embedded("vl_model_state_log")
        log.restype = ctypes.c_void_p
        text = self.result(log, self.number)
        if text is None:
            raise MemoryError("the state can't be logged")
        try:
            return ctypes.string_at(text).decode()
        finally:
            ctypes.CDLL(None).free(ctypes.c_void_p(text))

    def drop_state(self) -> None:
        """Forgets what the library keeps of the device's profiles, as a restart of the agent does. Tables remain."""
        with self.profile_lock:
            self.call(self.binding.embedded("vl_model_device_state_drop"), self.number)

    def restore(self, state=None) -> None:
        """Restores what the library keeps of the device's profiles: from a log, or without one by having the driver
        replay its members and groups."""
        with self.profile_lock:
            self.drop_state()
            if state is None:
                self.call(self.binding.function("restore_virtual_dev_state"), ctypes.c_uint64(self.number),
                          ctypes.c_uint64(self.session.value), *[ctypes.c_uint64(0)] * 3)
            else:
                self.call(self.binding.embedded("vl_model_state_restore"), self.number, state.encode())

    def set_pipes(self, count) -> None:
        """Sets how many pipes the device has. It starts with 4."""
        self.call(self.binding.embedded("vl_model_device_set_pipes"), self.number, word(count, "count"))

    def damage(self, count=1, seed=1) -> list[Damage]:
        """Damages random entries in the hardware, or all if there are fewer. Returns a list of what was done; the same
        entries, seed and count give the same."""
        corrupt = self.binding.embedded("vl_model_hardware_corrupt")
        count = min(word(count, "count"), sum(map(len, self.tables.values())))
        room, damaged = (Corruption * max(count, 1))(), u32()
        self.call(corrupt, self.number, ctypes.c_uint64(long_word(seed, "seed")), count, room, ctypes.byref(damaged))
        tables = {table.handle: name for name, table in self.binding.description.tables.items()}
        return [Damage(tables[each.table], each.handle, kinds_of_damage[each.what], each.bit)
                for each in room[:damaged.value]]

    def count(self, counter, cell, packets=1, size=64) -> None:
        """Packets count in a cell of a counter, in the hardware. `cell` is an entry's handle or an index."""
        row = self.counters[counter].row
        handle = self.tables[row["table"]].row.handle if self.counters[counter].direct else row["handle"]
        self.call(self.binding.embedded("vl_model_counter_add"), self.number, handle, word(cell, "cell"),
                  ctypes.c_uint64(long_word(packets, "count")), ctypes.c_uint64(long_word(packets * size, "size")))

    def send_digest(self, digest, entries) -> None:
        """The pipeline sends entries of a digest: their bytes, back to back."""
        row = self.digests[digest].row
        if len(entries) % row["entry_size"]:
            raise ValueError(f"{digest}: an entry has {row['entry_size']} bytes")
        self.call(self.binding.embedded("vl_model_digest_raise"), self.number, row["handle"], bytes(entries),
                  len(entries) // row["entry_size"])

    def match_snapshot(self, snapshot, stage, records, pipe=0) -> None:
        """A packet matches a snapshot's trigger at a stage. `records` are what the snapshot captures, 676 bytes for
        each of its first stages."""
        if any(len(record) != snapshot.record_size for record in records):
            raise ValueError(f"snapshot: a record has {snapshot.record_size} bytes")
        self.call(self.binding.embedded("vl_model_snapshot_match"), snapshot.handle, word(pipe, "pipe"),
                  word(stage, "stage", 255), b"".join(records), len(records))
