"""What can go wrong. A value that a table can't take is a ValueError."""

import difflib


class Refused(Exception):
    """The driver or the library refused a call, with the status `number`. `name` is None if the driver doesn't name its
    statuses; `words` say what the status means."""

    number: int
    name: str | None
    words: str

    def __init__(self, call, number, name, words):
        super().__init__(call, number, name, words)
        self.call, self.number, self.name, self.words = call, number, name, words

    def __str__(self):
        return f"{self.call} was refused with status {self.number:#x}" + \
            (f", {self.name}" if self.name else "") + f": {self.words}"


class WrongOrder(RuntimeError):
    """A call came too early or too late, such as one to a closed switch."""


class UnknownName(KeyError, AttributeError):
    """There is no table, field, action or resource of this name. The message has the names that come near."""

    def __str__(self):
        return self.args[0]


def unknown(what, name, names):
    """The error for a name that doesn't exist: `what` is "there is no table" or "ipv4Host has no field"."""
    names = sorted(set(names))
    near = difflib.get_close_matches(str(name), names, 5, 0.6)
    if near:
        meant = ": did you mean " + " or ".join(near) + "?"
    elif not names:
        meant = ""
    else:
        meant = "; there are " + ", ".join(names[:20]) + (", ..." if len(names) > 20 else "")
    return UnknownName(f"{what} {name}{meant}")


class Named(dict):
    """Rows by name. An unknown name is an UnknownName."""

    def __init__(self, kind, rows):
        super().__init__(rows)
        self.kind = kind

    def __missing__(self, name):
        raise unknown(f"there is no {self.kind}", name, self)
