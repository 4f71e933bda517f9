"""The library and the driver, called by ctypes. No compiler is needed: functions are found by name."""

import ctypes

from . import description, errors

end_of_handles = 0xFFFFFFFF


class Target(ctypes.Structure):
    """A device with all its pipes."""

    _fields_ = [("device", ctypes.c_uint32), ("pipe", ctypes.c_uint16), ("reserved", ctypes.c_uint16)]


class MeterSpec(ctypes.Structure):
    """A two-rate meter, in the driver's scale."""

    _fields_ = [(name, ctypes.c_uint32) for name in
                ("committed_rate", "committed_burst", "peak_rate", "peak_burst", "meter_type")]


class ActionRecord(ctypes.Structure):
    """An action's number, then its record."""

    _fields_ = [("action", ctypes.c_uint32), ("record", ctypes.c_uint8 * 44)]


def _load(path, name, what):
    path = path or description.find(name)
    if path is None:
        raise FileNotFoundError(f"{what} {name} was neither built nor installed; name it, or its folder in "
                                "VL_PD_LIBRARIES")
    return ctypes.CDLL(path, ctypes.RTLD_GLOBAL)


class Binding:
    """The loaded libraries."""

    def __init__(self, library, driver, description_path):
        path = description_path or description.find(description.description_name)
        if path is None:
            raise FileNotFoundError(f"{description.description_name} was neither built nor installed")
        self.description = description.Description(path)
        self.driver = _load(driver, description.driver_name, "the driver")  # first: the library binds to it
        self.library = _load(library, description.library_name, "the library")

    def function(self, name):
        return getattr(self.library, self.description.prefix + name)

    def driver_function(self, name):
        """A function that only the embedded driver has, or None."""
        return getattr(self.driver, name, None)

    def embedded(self, name):
        """A function that only the embedded driver has."""
        function = self.driver_function(name)
        if function is None:
            raise NotImplementedError(f"{name} needs the embedded driver")
        return function

    def require(self, call, status):
        """Raises Refused if the status isn't 0."""
        if status:
            raise self.refusal(call, status)

    def status_name(self, number):
        name = self.driver_function("vl_model_status_name")
        if name is None or number >= 0xFFFFFFF0:
            return None
        name.restype = ctypes.c_char_p
        return name(ctypes.c_uint32(number)).decode()

    def refusal(self, call, number):
        number &= 0xFFFFFFFF
        name, words = self.status_name(number), "status of the driver"
        if name is not None:
            text = self.driver.vl_model_status_text
            text.restype = ctypes.c_char_p
            words = text(ctypes.c_uint32(number)).decode()
        return errors.Refused(call, number, name, words)

    def call(self, name, *arguments):
        """Calls a function of the library. Raises Refused if the status isn't 0."""
        self.require(name, self.function(name)(*arguments))
