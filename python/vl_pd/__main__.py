"""The command: a shell, a runner of scripts, and a writer of type stubs."""

import argparse
import atexit
import os
import pathlib
import sys
import types

import vl_pd

from . import shell, stubs
from .description import Description, description_name, find

usage = """\
Opens a switch, by default the embedded driver's with device 0, as `sw`.

  python3 -m vl_pd [OPTION]...
        a shell. Tab completes tables, fields, actions and parameters; help(sw.ipv4Host) describes a table. What the
        switch refuses is one line. The history is in ~/.vl_pd_history. Without a terminal it is `run -`
  python3 -m vl_pd [OPTION]... run SCRIPT [ARG]...
        runs a script, which finds `sw` and `vl_pd` among its names and the arguments in sys.argv; `-` is standard
        input. The script doesn't open a switch, because a process has one open at a time.
        The exit status is the script's own: 0 at its end, 1 for an exception, or what it gives to sys.exit()
  python3 -m vl_pd [--description FILE] stubs FILE
        writes type stubs for editors and mypy, and py.typed beside them, without opening a switch. A package finds them
        as vl_pd/__init__.pyi
"""
ending = "Wrong arguments, and a script that can't be read, give exit status 2; a switch that can't be opened gives 1."


def arguments_of(words):
    """The arguments of the command."""
    parser = argparse.ArgumentParser(prog="python3 -m vl_pd", description=usage, epilog=ending, allow_abbrev=False,
                                     formatter_class=argparse.RawDescriptionHelpFormatter,
                                     usage="python3 -m vl_pd [OPTION]... [run SCRIPT [ARG]... | stubs FILE]")
    parser.add_argument("--driver", metavar="LIB", help="a driver to load in place of the embedded one")
    parser.add_argument("--session", type=int, metavar="N", help="the session to use, with such a driver")
    parser.add_argument("--library", metavar="LIB", help="the library, in place of the one that was built or installed")
    parser.add_argument("--description", metavar="FILE", help="the description of the pipeline, likewise")
    parser.add_argument("--lenient", action="store_true",
                        help="let the library cut values that a table can't take, in place of an exception")
    parser.add_argument("--traceback", action="store_true", help="show whole tracebacks in the shell")
    commands = parser.add_subparsers(dest="command", prog=parser.prog, help=argparse.SUPPRESS)
    run = commands.add_parser("run", add_help=False, usage=parser.usage)
    run.add_argument("script")
    run.add_argument("args", nargs=argparse.REMAINDER)
    commands.add_parser("stubs", add_help=False, usage=parser.usage).add_argument("file")
    return parser, parser.parse_args(words)


def run_script(path, source, words, switch):
    """Runs a script as Python would. Returns the exit status; sys.exit() passes through."""
    module = types.ModuleType("__main__")
    vars(module).update(__file__=path, sw=switch, vl_pd=vl_pd)
    sys.modules["__main__"] = module
    sys.argv = [path, *words]
    sys.path[0] = "" if path == "-" else os.path.dirname(os.path.realpath(path))
    name = "<stdin>" if path == "-" else path
    try:
        exec(compile(source, name, "exec"), vars(module))  # pylint: disable=exec-used
    except (Exception, KeyboardInterrupt) as error:  # pylint: disable=broad-exception-caught
        trace = error.__traceback__.tb_next  # without this function
        sys.excepthook(type(error), error.with_traceback(trace), trace)
        return 130 if isinstance(error, KeyboardInterrupt) else 1
    return 0


def main(words):
    """Returns the exit status."""
    parser, arguments = arguments_of(words)
    script, source = None, None
    if arguments.command == "run" or (arguments.command is None and not sys.stdin.isatty()):
        script, script_words = (arguments.script, arguments.args) if arguments.command else ("-", [])
        try:
            source = sys.stdin.buffer.read() if script == "-" else pathlib.Path(script).read_bytes()
        except OSError as error:
            parser.error(f"{script} can't be read: {error.strerror}")
    try:
        if arguments.command == "stubs":
            path = arguments.description or find(description_name)
            if path is None:
                raise FileNotFoundError(f"{description_name} was neither built nor installed")
            stubs.write(Description(path), arguments.file)
            return 0
        switch = vl_pd.Switch(library=arguments.library, driver=arguments.driver, description=arguments.description,
                              session=arguments.session, strict=not arguments.lenient)
    except ValueError as error:
        parser.error(str(error))
    except (OSError, vl_pd.Refused) as error:
        print(f"python3 -m vl_pd: {error}", file=sys.stderr)
        return 1
    atexit.register(switch.close)  # after the script's threads have ended
    if script is not None:
        return run_script(script, source, script_words, switch)
    shell.run_shell(switch, arguments.driver or "the embedded driver, device 0", arguments.traceback)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
