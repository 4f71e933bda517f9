"""The shell: a Python console with an open switch, history and completion."""

import code
import os
import pathlib
import sys
import traceback

import vl_pd

from .completion import Completer

history = "~/.vl_pd_history"


def is_ours(error):
    """Whether this package raised the error."""
    frames = list(traceback.walk_tb(error.__traceback__))
    return bool(frames) and pathlib.Path(frames[-1][0].f_code.co_filename).parent == pathlib.Path(__file__).parent


class Console(code.InteractiveConsole):
    """Shows what this package raises as one line, unless `tracebacks` asks for more."""

    def __init__(self, names, tracebacks):
        super().__init__(names)
        self.tracebacks = tracebacks

    def showtraceback(self):
        kind, error, trace = sys.exc_info()
        if self.tracebacks or not isinstance(error, Exception) or not is_ours(error):
            return super().showtraceback()
        sys.last_type, sys.last_value, sys.last_traceback = kind, error, trace
        words = error.args[0] if isinstance(error, KeyError) and error.args else error
        return self.write(f"{kind.__name__}: {words}\n")


def _use_readline(console, description):
    """Completes by Tab, and keeps the history. Returns what saves the history."""
    try:
        import readline  # pylint: disable=import-outside-toplevel # some Pythons have none
    except ImportError:
        return lambda: None
    completer, found = Completer(console.locals, description), []

    def complete(word, state):
        if state == 0:
            line = readline.get_line_buffer()[:readline.get_endidx()]
            names = completer.complete("\n".join([*console.buffer, line])) if line.strip() else ["    "]
            quoted = word[:max(word.rfind('"'), word.rfind("'")) + 1]
            found[:] = [quoted + name for name in names]
        return found[state] if state < len(found) else None

    # A word has its opening quote, because readline itself closes a quote that is outside of the word.
    readline.set_completer_delims(" \t\n!#$%&()*+,-./:;<=>?@[\\]^`{|}~")
    readline.set_completer(complete)
    readline.parse_and_bind("tab: complete")
    path = os.path.expanduser(history)
    try:
        readline.read_history_file(path)
    except OSError:
        pass  # there is none yet

    def save():
        readline.set_history_length(1000)
        try:
            readline.write_history_file(path)
        except OSError:
            pass  # a shell without history is still a shell

    return save


def run_shell(switch, driver, tracebacks):
    """Reads commands until the user ends the shell."""
    names = {"__name__": "__main__", "__doc__": None, "sw": switch, "vl_pd": vl_pd}
    console = Console(names, tracebacks)
    description = switch.binding.description
    save = _use_readline(console, description)
    try:
        console.interact(f"sw is {description.name} on {driver}: {len(description.tables)} tables, "
                         f"{len(description.profiles)} profiles.\n"
                         "Tab completes names, help(sw.ipv4Host) describes a table, Ctrl-D ends.", "")
    finally:
        save()
