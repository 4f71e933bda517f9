"""What can go wrong. An unknown name is a KeyError, and a value that a table can't take a ValueError."""

import difflib


class Refused(Exception):
    """The driver or the library refused a call."""

    def __init__(self, call, number, name, words):
        super().__init__(f"{call} was refused with status {number}" + (f", {name}" if name else "") + f" ({words})")
        self.number, self.name, self.words = number, name, words


class WrongOrder(RuntimeError):
    """A call came too early or too late, such as one to a closed switch."""


def unknown(kind, name, names):
    """The error for a name that doesn't exist, with the names that come near."""
    names = list(names)
    near = difflib.get_close_matches(str(name), names, 5, 0.6)
    meant = ": did you mean " + " or ".join(near) + "?" if near else "; there are " + ", ".join(sorted(names)[:20])
    return KeyError(f"there is no {kind} {name}{meant}")
