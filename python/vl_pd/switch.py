"""A switch: the library, a driver and its devices."""

import ctypes
import threading

from . import description
from .binding import Binding, Target
from .errors import WrongOrder, unknown
from .profiles import Profile
from .resources import resources_of
from .tables import Table

u32 = ctypes.c_uint32


class Device:
    """One device, with its tables and profiles as attributes."""

    def __init__(self, switch, number):
        self._switch, self.number, self.strict = switch, number, switch.strict
        self.binding, self.session = switch.binding, u32(switch.session)
        self.target = Target(number, 0xFFFF, 0)
        rows = switch.binding.description
        self.tables = {name: Table(self, row) for name, row in rows.tables.items()}
        self.profiles = {name: Profile(self, row) for name, row in rows.profiles.items()}
        found = resources_of(self, rows.resources)
        self.counters, self.meters, self.wred = found["counters"], found["meters"], found["wred_blocks"]
        self.registers, self.digests, self.value_sets = found["registers"], found["digests"], found["value_sets"]

    def require_open(self):
        """Raises WrongOrder if the switch is closed."""
        if self._switch.closed:
            raise WrongOrder("the switch is closed")

    def call(self, name, *arguments):
        """Calls a function of the library. Raises Refused, or WrongOrder if the switch is closed."""
        self.require_open()
        self.binding.call(name, *arguments)

    def state_log(self):
        """The state of the device's profiles as JSON, which the embedded driver would hand to a new agent."""
        self.require_open()
        log = self.binding.embedded("vl_model_state_log")
        log.restype = ctypes.c_void_p
        text = log(u32(self.number))
        if text is None:
            raise MemoryError("the state can't be logged")
        try:
            return ctypes.string_at(text).decode()
        finally:
            ctypes.CDLL(None).free(ctypes.c_void_p(text))

    def restore(self, state):
        """Restores what the library knows of the device's profiles from a log. Needs the embedded driver."""
        self.require_open()
        self.binding.require("dropping the state", self.binding.embedded("vl_model_device_state_drop")(u32(self.number)))
        self.binding.require("restoring the state",
                             self.binding.embedded("vl_model_state_restore")(u32(self.number), state.encode()))

    def damage(self, count=1, seed=1):
        """Damages random entries in the embedded driver's hardware. Returns how many."""
        self.require_open()
        room, damaged = (ctypes.c_uint8 * (64 * count))(), u32()
        self.binding.require("damaging the hardware", self.binding.embedded("vl_model_hardware_corrupt")(
            u32(self.number), ctypes.c_uint64(seed), u32(count), room, ctypes.byref(damaged)))
        return damaged.value

    def sync(self, name):
        """Calls a function that updates cells from the hardware, and waits until the driver has done it."""
        done = threading.Event()
        callback = ctypes.CFUNCTYPE(None, u32, ctypes.c_void_p)(lambda _device, _cookie: done.set())
        self.call(name, self.session, self.target, callback, None)
        done.wait()

    def __getattr__(self, name):
        if name.startswith("_") or "tables" not in self.__dict__:
            raise AttributeError(name)
        if name in self.tables:
            return self.tables[name]
        if name in self.profiles:
            return self.profiles[name]
        raise AttributeError(unknown("table or profile", name, [*self.tables, *self.profiles]).args[0])

    def __dir__(self):
        return [*super().__dir__(), *self.tables, *self.profiles]


class Switch:
    """Opens the library on a driver: the embedded one with device 0, or another with a session that is open there.

    `strict` refuses values that a table can't take, with a ValueError. There is one open switch at a time in a process.
    """

    _open = None

    def __init__(self, *, library=None, driver=None, description=None, session=None, strict=True):
        if Switch._open is not None:
            raise WrongOrder("another switch is open; a process has one at a time")
        self.closed, self.strict = True, strict
        self.binding = Binding(library, driver, description)
        self._devices = {}
        self._embedded = self.binding.driver_function("vl_model_session_open") is not None
        if not self._embedded and session is None:
            raise ValueError("with this driver, name a session that is open")
        self.binding.function("init")()
        self.closed = False
        Switch._open = self
        try:
            self.session = session if session is not None else self._open_session()
            if self._embedded:
                self.add_device(0)
        except BaseException:
            self.close()
            raise

    def _open_session(self):
        session = u32()
        self.binding.require("opening a session", self.binding.driver.vl_model_session_open(ctypes.byref(session)))
        return session.value

    def add_device(self, number):
        """Adds a device to the embedded driver, and returns it."""
        path = description.find(description.pipeline_name)
        if path is None:
            raise FileNotFoundError(f"{description.pipeline_name} was neither built nor installed")
        pipeline = ctypes.CDLL(path).velmar_switch_pipeline_description
        pipeline.restype = ctypes.c_void_p
        self.binding.require("adding the device",
                             self.binding.driver.vl_model_device_add(u32(number), ctypes.c_void_p(pipeline())))
        return self.device(number)

    def device(self, number):
        """The device with this number."""
        if self.closed:
            raise WrongOrder("the switch is closed")
        if number not in self._devices:
            self._devices[number] = Device(self, number)
        return self._devices[number]

    def advance(self, milliseconds):
        """Moves the embedded driver's clock."""
        self.device(0).require_open()
        self.binding.require("moving the clock", self.binding.embedded("vl_model_clock_advance")(u32(milliseconds)))

    def close(self):
        """Ends the library. The embedded driver forgets its devices."""
        if self.closed:
            return
        self.closed = True
        Switch._open = None
        if self._embedded:
            for number in self._devices:
                self.binding.driver.vl_model_device_remove(u32(number))
        self.binding.function("cleanup")()
        if self._embedded and hasattr(self, "session"):
            self.binding.driver.vl_model_session_close(u32(self.session))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def __getattr__(self, name):
        if name.startswith("_") or name in ("session", "binding", "closed"):
            raise AttributeError(name)
        return getattr(self.device(0), name)

    def __dir__(self):
        return [*super().__dir__(), *([] if self.closed else dir(self.device(0)))]
