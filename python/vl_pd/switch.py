"""A switch: the library, a driver and its devices."""

import ctypes
import threading

from .binding import Binding, Target, all_pipes
from .embedded import Embedded
from .errors import Named, WrongOrder, unknown
from .profiles import Profile
from .records import Record
from .resources import Counter, MeterResource, Register, Wred
from .services import Digest, Hash, Snapshot, ValueSet
from .tables import Table
from .values import word

u32 = ctypes.c_uint32
patience = 60  # seconds


class Device(Embedded):
    """One device, with its tables and profiles as attributes."""

    number: int
    strict: bool

    def __init__(self, switch, number):
        self.number, self.strict, self.binding = number, switch.strict, switch.binding
        self.session, self.number_word, self.target = u32(switch.session), u32(number), Target(number, all_pipes, 0)
        self.call, self.result = self.binding.call, self.binding.result
        self.profile_lock = threading.RLock()
        rows = self.binding.description
        self.tables = Named("table", {name: Table(self, row) for name, row in rows.tables.items()})
        self.profiles = Named("profile", {name: Profile(self, row) for name, row in rows.profiles.items()})
        self.counters = self._named("counter", "counters", Counter)
        self.meters = self._named("meter", "meters", MeterResource)
        self.wred = self._named("WRED block", "wred_blocks", Wred)
        self.registers = self._named("register", "registers", Register)
        self.digests = self._named("digest", "digests", Digest)
        self.value_sets = self._named("value set", "value_sets", ValueSet)
        self.hashes = self._named("hash calculation", "hash_calculations", Hash)

    def _named(self, kind, rows, make):
        rows = self.binding.description.resources[rows]
        return Named(kind, {row["name"]: make(self, row) for row in rows})

    def record_of(self, action, table):
        """The record of an action's parameters in a table or profile."""
        row = self.binding.description.actions[action]
        return Record(f"{table}, {action}", "parameter", row.params, row.size, self.strict, row.indices)

    def target_of(self, pipe):
        """The device with one pipe, or with all of them for None."""
        return self.target if pipe is None else Target(self.number, word(pipe, "pipe", all_pipes - 1), 0)

    def snapshot(self, first_stage, last_stage, direction=0, pipe=None) -> Snapshot:
        """Makes a snapshot of stages. The driver defines the direction; `pipe` is one pipe, or None for all."""
        return Snapshot(self, first_stage, last_stage, direction, pipe)

    def set_learning_timeout(self, timeout) -> None:
        """Sets how long the driver may collect entries of digests, in the driver's unit."""
        self.call(self.binding.function("set_learning_timeout"), self.session, self.number_word,
                  word(timeout, "timeout"))

    def wait_for(self, function, *arguments):
        """Calls a function that reads from the hardware, and waits until the driver has done it."""
        cookie, done = self.binding.expect()
        try:
            self.call(function, *arguments, self.binding.arrived, ctypes.c_void_p(cookie))
            if not done.wait(patience):
                raise TimeoutError(f"{function.__name__}: the driver hasn't called back for {patience} seconds")
        finally:
            self.binding.forget(cookie)

    def __repr__(self):
        return f"<device {self.number}>"

    def __getattr__(self, name):
        if name.startswith("_") or "profiles" not in self.__dict__:
            raise AttributeError(name)
        if name in self.tables:
            return self.tables[name]
        if name in self.profiles:
            return self.profiles[name]
        raise unknown("there is no table or profile", name, [*self.tables, *self.profiles])

    def __dir__(self):
        return [*super().__dir__(), *self.tables, *self.profiles]


class Switch:
    """Opens the library on a driver: the embedded one, or another with a session that is open there. A device is
    `device(NUMBER)`; what belongs to device 0 is at hand on the switch itself.

    `library`, `driver` and `description` are paths; those that were built or installed are found without. `strict`
    refuses values that a table can't take. There is one open switch at a time in a process.
    """

    session: int
    strict: bool
    _open = None
    _opening = threading.Lock()

    def __init__(self, *, library=None, driver=None, description=None, session=None, strict=True):
        self.strict, self._devices = strict, {}
        self.session = None if session is None else word(session, "session")
        self._opened_session = None
        with Switch._opening:
            if Switch._open is not None:
                raise WrongOrder("another switch is open; a process has one at a time")
            self.binding = Binding(library, driver, description)
            self.embedded = hasattr(self.binding.driver, "vl_model_session_open")
            if not self.embedded and session is None:
                raise ValueError("with this driver, name a session that is open")
            self.binding.open()
            Switch._open = self
        try:
            if session is None:
                opened = u32()
                self.binding.call(self.binding.embedded("vl_model_session_open"), ctypes.byref(opened))
                self.session = self._opened_session = opened.value
            self.device(0)
        except BaseException:
            self.close()
            raise

    @property
    def closed(self) -> bool:
        """Whether the switch was closed."""
        return self.binding.closed

    def device(self, number) -> Device:
        """The device with this number, from 0 to 255. The embedded driver gets it when it is first asked for."""
        if self.closed:
            raise WrongOrder("the switch is closed")
        number = word(number, "device", 255)  # some functions send 8 bits of it
        if number not in self._devices:
            device = Device(self, number)
            if self.embedded:
                self._add_device(number)
            self._devices[number] = device
        return self._devices[number]

    def _add_device(self, number):
        if self.binding.pipeline is None:
            raise FileNotFoundError("the embedded driver's description of the pipeline was neither built nor installed")
        pipeline = ctypes.CDLL(self.binding.pipeline).velmar_switch_pipeline_description
        pipeline.restype = ctypes.c_void_p
        self.binding.call(self.binding.embedded("vl_model_device_add"), number, ctypes.c_void_p(pipeline()))

    def remove_device(self, number) -> None:
        """Removes a device from the embedded driver, with all that it holds."""
        with self.device(number).profile_lock:
            self.binding.call(self.binding.embedded("vl_model_device_remove"), word(number, "device"))
            del self._devices[number]

    def advance(self, milliseconds) -> None:
        """Moves the embedded driver's clock, which moves in no other way."""
        self.binding.call(self.binding.embedded("vl_model_clock_advance"), word(milliseconds, "time"))

    def fail(self, function, nth=1, status=2) -> None:
        """Has the embedded driver refuse the nth call of one of its functions from now on, such as
        "pipe_mgr_mat_ent_add", with a status. The call has no other effect."""
        if not function.startswith(("pipe_", "bf_", "p4_pd_ms_")) or not hasattr(self.binding.driver, function):
            raise unknown("the driver has no function", function, [])
        self.binding.call(self.binding.embedded("vl_model_fail_call"), function.encode(), word(nth, "count"),
                          word(status, "status"))

    def clear_faults(self) -> None:
        """Forgets the refusals that fail() ordered and that haven't come yet."""
        self.binding.result(self.binding.embedded("vl_model_clear_faults"))

    def close(self) -> None:
        """Ends the library. Waits for calls of other threads. The embedded driver forgets its devices."""
        if Switch._open is not self:
            return
        self.binding.close()
        driver = self.binding.driver
        if self.embedded:
            for number in self._devices:
                driver.vl_model_device_remove(number)
        self.binding.function("cleanup")()
        if self._opened_session is not None:
            driver.vl_model_session_close(self._opened_session)
        Switch._open = None

    def __enter__(self) -> "Switch":
        return self

    def __exit__(self, *_):
        self.close()

    def __getattr__(self, name):
        if name.startswith("_") or name in ("session", "binding", "strict", "embedded"):
            raise AttributeError(name)
        return getattr(self.device(0), name)

    def __dir__(self):
        return [*super().__dir__(), *([] if self.closed else dir(self.device(0)))]
