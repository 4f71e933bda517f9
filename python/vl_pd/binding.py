"""The library and the driver, called by ctypes. No compiler is needed: functions are found by name."""

import ctypes
import itertools
import sys
import threading
import time
from threading import get_ident

from . import description, errors

u32 = ctypes.c_uint32
end_of_handles = 0xFFFFFFFF

# The statuses that the library itself returns, in case the driver doesn't name them. A driver may use them, too.
library_statuses = {
    2: ("NO_MEMORY", "out of memory"),
    3: ("INVALID", "invalid argument, placement data or hash setting"),
    15: ("UNEXPECTED", "the driver's answer can't come from this pipeline"),
    0xFFFFFFFF: ("MISMATCH", "another action, or unknown handle of a profile"),
}

# Callbacks that were registered with a driver. They are never freed: one that has been replaced may still run on
# another thread, and a driver may call one after the switch was closed.
kept_callbacks = []


loaded = {}  # the driver that this process uses

# What calls wait for: an event for each cookie.
awaited = {}
cookies = itertools.count(1)


@ctypes.CFUNCTYPE(None, u32, ctypes.c_void_p)
def _arrived(_device, cookie):
    event = awaited.pop(cookie, None)
    if event is not None:
        event.set()


class Target(ctypes.Structure):
    """A device and one of its pipes, or all of them."""

    _fields_ = [("device", ctypes.c_uint32), ("pipe", ctypes.c_uint16), ("reserved", ctypes.c_uint16)]


all_pipes = 0xFFFF


def _load(path, name, what):
    path = path or description.find(name)
    if path is None:
        raise FileNotFoundError(f"{what} {name} was neither built nor installed; name it, or its folder in "
                                "VL_PD_LIBRARIES")
    return ctypes.CDLL(path, ctypes.RTLD_GLOBAL)


class Binding:
    """The loaded libraries, and the calls to them."""

    def __init__(self, library, driver, description_path):
        given = [path for path in (library, driver, description_path) if path is not None]
        self.pipeline = description.find(description.pipeline_name, given)
        path = description_path or description.find(description.description_name, given)
        if path is None:
            raise FileNotFoundError(f"{description.description_name} was neither built nor installed")
        self.description = description.Description(path)
        # First the driver, because the library binds to it, and stays bound for as long as the process lives.
        self.driver = _load(driver, description.driver_name, "the driver")
        if loaded.setdefault("driver", self.driver._handle) != self.driver._handle:
            raise errors.WrongOrder("this process has used another driver before, and can't change it")
        self.library = _load(library, description.library_name, "the library")
        self.closed = True
        self._running = []  # the threads of the calls that run; append and remove are single steps for all threads
        self._inside = threading.local()  # .callback: whether this thread runs a callback

    def open(self):
        """Begins: from now on calls are made."""
        self.function("init")()
        self.closed = False

    def close(self):
        """Refuses further calls, and waits until those of other threads have returned."""
        if getattr(self._inside, "callback", False) or get_ident() in self._running:
            raise errors.WrongOrder("neither a callback nor what interrupts a call can close the switch")
        self.closed = True
        while self._running:
            time.sleep(0.001)

    def function(self, name):
        """A function of the library, by its name without prefix."""
        function = getattr(self.library, self.description.prefix + name)
        function.__name__ = name
        return function

    def embedded(self, name):
        """A function that only the embedded driver has."""
        try:
            return getattr(self.driver, name)
        except AttributeError:
            raise NotImplementedError(f"{name} needs the embedded driver") from None

    def result(self, function, *arguments):
        """Calls a function and returns what it returns."""
        thread = get_ident()
        self._running.append(thread)
        try:
            if self.closed:
                raise errors.WrongOrder("the switch is closed")
            return function(*arguments)
        finally:
            self._running.remove(thread)

    def call(self, function, *arguments):
        """Calls a function. Raises Refused if its status isn't 0."""
        thread = get_ident()
        self._running.append(thread)
        try:
            if self.closed:
                raise errors.WrongOrder("the switch is closed")
            status = function(*arguments)
        finally:
            self._running.remove(thread)
        if status:
            raise self.refusal(function.__name__, status)

    def found(self, function, *arguments):
        """Calls a function that looks for something. Returns whether it is there."""
        try:
            self.call(function, *arguments)
        except errors.Refused as refused:
            # A driver that doesn't name its statuses leaves no way to tell.
            if refused.name in ("NOT_FOUND", None):
                return False
            raise
        return True

    def pages(self, first, following, where, size=256):
        """All handles that two functions list: the first one, then those after the last."""
        page = (u32 * size)()
        if not self.found(first, *where, page):
            return []
        handles, listed = [], page[:1]
        while listed[0] != end_of_handles:
            handles += listed
            self.call(following, *where, listed[-1], size, page)
            listed = page[:]
            if end_of_handles in listed:
                handles += listed[:listed.index(end_of_handles)]
                break
        return handles

    arrived = _arrived  # for calls that the driver answers later

    @staticmethod
    def expect():
        """A cookie for such a call, and the event that its answer sets."""
        cookie, event = next(cookies), threading.Event()
        awaited[cookie] = event
        return cookie, event

    @staticmethod
    def forget(cookie):
        """Ends the wait for an answer."""
        awaited.pop(cookie, None)

    def callback(self, kind, function):
        """A C callback that calls a function. An exception is printed; the driver gets 0."""
        def enter(*arguments):
            self._inside.callback, before = True, getattr(self._inside, "callback", False)
            try:
                return function(*arguments)
            except BaseException:  # pylint: disable=broad-exception-caught # it can't pass through C
                sys.excepthook(*sys.exc_info())
                return 0
            finally:
                self._inside.callback = before

        made = kind(enter)
        kept_callbacks.append(made)
        return made

    def refusal(self, call, number):
        """The exception for a status."""
        number &= 0xFFFFFFFF
        name, words = library_statuses.get(number, (None, "status of the driver"))
        named = getattr(self.driver, "vl_model_status_name", None)
        if named is not None and number not in (15, 0xFFFFFFFF):
            text = self.driver.vl_model_status_text
            named.restype = text.restype = ctypes.c_char_p
            name, words = named(number).decode(), text(number).decode()
        return errors.Refused(call, number, name, words)
