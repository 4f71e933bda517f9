"""The page of a table, the shell and the scripts that it runs."""

import os
import pathlib
import pty
import pydoc
import subprocess
import sys

import pytest
import vl_pd
from vl_pd import completion, description


@pytest.fixture(name="pd_show", scope="module")
def find_pd_show():
    """The command that was built or installed with the library."""
    folder = pathlib.Path(description.find(description.library_name)).parent
    found = [each for each in (folder / "../tools/pd-show", folder / "../bin/pd-show", folder / "../../bin/pd-show")
             if each.is_file()]
    if not found:
        pytest.skip("pd-show is not built")
    return found[0]


def test_pages_are_those_of_the_command(sw, pd_show):
    def printed(*words):
        return subprocess.run([pd_show, *words], check=True, capture_output=True, text=True).stdout

    for name, table in sw.tables.items():
        assert table.__doc__ == printed("table", name)
    heads = [profile.__doc__.partition("\nActions\n")[0].rstrip() + "\n" for profile in sw.profiles.values()]
    assert "".join(heads) == printed("profiles")


def test_help_shows_what_is_there_now(sw):
    sw.ipv4Host.add({"vrfId": 7, "dip": "10.0.0.1"}, "setNextHop", {"nextHop": 5})
    page = pydoc.render_doc(sw.ipv4Host, renderer=pydoc.plaintext)
    assert "setNextHop   nextHop    32    hex" in page and "Entries   1" in page
    profile = sw.ecmpMemberActionProfile
    profile.add_member("setEcmpNextHop", {"nextHopTable": 0, "nextHop": 1})
    assert "members   1" in pydoc.render_doc(profile) and "members of" not in vl_pd.Table.__doc__
    assert vl_pd.Table.__doc__.startswith("A match table")


@pytest.mark.parametrize("text, found", [
    ("sw.ipv4H", ["ipv4Host"]),
    ("sw.device(1).ecmpMemberActionP", ["ecmpMemberActionProfile"]),
    ("print(len(table), table.mod", ["modify("]),
    ("sw.closed.__cla", ["__class__("]),
    ('sw.ipv4Host.add({"', ["vrfId", "dip"]),
    ("sw.ipv4Host.add({", ['"vrfId', '"dip']),
    ('for each in table: table.find({"eth', ['etherType": ']),
    ("sw.ipv4Host.lookup({'vrfId': 7,\n  '", ["dip': "]),
    ('sw.ipv4Host.add({"vrfId": "', []),
    ('sw.ipv4Host.add({"vrfId": 7, "dip": "10.0.0.1"}, "setNextHop', ["setNextHop", "setNextHop2", "setNextHop3"]),
    ('sw.ipv4Host.set_default(action="', ['onMiss"']),
    ('x = sw.ipv4Host.modify(hop, "setNextHop", {', ['"nextHop": ']),
    ('sw.ipv4Host.add_many([({"vrfId": 1}, "setEcmp", params)], ({"vrfId": 2}, "', []),
    ('sw.ipv4Host.add_many([({"vrfId": 1}, "setEcmp", params), ({"vrfId": 2}, "setE', ['setEcmp"']),
    ('sw.ecmpMemberActionProfile.add_member("setEcmpNextHop", {"nextHopTable": 0, "', ['nextHop": ']),
    ('sw.ipv4Host.entries(columns=["dip", "ecmp', ['ecmpGroup"']),
    ('sw.counters["hal', ['haloCount"]']),
    ('sw.counters["haloCount"].rea', ["read("]),
    ("sw.ipv4Host.add(key, pri", ["print"]),
    ("table.add(key, prior", ["priority="]),
    ("sw.ecmpGroup.add(key, me", ["member=", "memoryview"]),
    ("sw.nothing.", []),
    ("sw.ipv4Host.clear().", []),
])
def test_completion(sw, text, found):
    completer = completion.Completer({"sw": sw, "vl_pd": vl_pd, "table": sw.trapToCpu}, sw.binding.description)
    assert completer.complete(text) == found


def test_completion_changes_nothing(sw):
    sw.ipv4Host.add({"vrfId": 7, "dip": "10.0.0.1"}, "setNextHop", {"nextHop": 5})
    completion.Completer({"sw": sw}, sw.binding.description).complete("sw.device(3).ipv4Host.clear().")
    assert len(sw.ipv4Host) == 1 and 3 not in sw._devices


def test_shell_in_a_terminal(tmp_path):
    commands = [b"sw.ipv4Ho\t.add({\"vrf\t7, \"d\t5}, \"onM\t)\n", b"print('there', len(sw.ipv4Host), 'is')\n",
                b"sw.ipv4Host.get(99)\n", b"sw.ipv4Host.add({'vrf': 1})\n", b"1 / 0\n", b"\x04"]
    master, slave = pty.openpty()
    with subprocess.Popen([sys.executable, "-m", "vl_pd"], stdin=slave, stdout=slave, stderr=slave,
                          env={**os.environ, "HOME": str(tmp_path), "TERM": "dumb"}) as shell:
        os.close(slave)
        shown = b""
        for command in [None, *commands]:
            if command is not None:
                os.write(master, command)
            while not shown.endswith(b">>> ") and (read := read_some(master)):
                shown += read
            shown = shown.removesuffix(b">>> ") + b"| "
    os.close(master)
    lines = shown.decode().replace("\r", "").splitlines()
    assert shell.returncode == 0 and "131 tables" in lines[0] and "there 1 is" in lines
    assert any(line.startswith("Refused: ipv4Host_get_entry") for line in lines)
    assert any(line.startswith("UnknownName: ipv4Host has no field vrf") for line in lines)
    assert sum(line.startswith("Traceback") for line in lines) == 1 and "ZeroDivisionError: division by zero" in lines
    assert "sw.ipv4Host.get(99)" in (tmp_path / ".vl_pd_history").read_text()


def read_some(master):
    """What the terminal shows next. Nothing if the shell has ended."""
    try:
        return os.read(master, 65536)
    except OSError:
        return b""


script = """
import sys
print(__name__, sys.argv, len(sw.ipv4Host), vl_pd.__name__)

def fail():
    sw.ipv4Host.get(99)

if sys.argv[1:] == ["leave"]:
    sys.exit(7)
if sys.argv[1:] == ["fail"]:
    fail()
"""


def run(*words, stdin=""):
    """What a run of the command returned and printed."""
    done = subprocess.run([sys.executable, "-m", "vl_pd", *words], input=stdin, capture_output=True, text=True,
                          check=False)
    return done.returncode, done.stdout, done.stderr


def test_scripts(tmp_path):
    path = tmp_path / "script.py"
    path.write_text(script)
    assert run("run", path, "--help", "-x") == (0, f"__main__ ['{path}', '--help', '-x'] 0 vl_pd\n", "")
    assert run("run", path, "leave")[0] == 7
    assert run("run", "-", "leave", stdin=script)[:2] == (7, "__main__ ['-', 'leave'] 0 vl_pd\n")
    assert run(stdin=script)[0] == 0
    status, _, errors = run("run", path, "fail")
    lines = errors.splitlines()
    assert status == 1 and lines[:2] == ["Traceback (most recent call last):", f'  File "{path}", line 11, in <module>']
    assert "Refused: ipv4Host_get_entry" in lines[-1]
    assert run("run", "-", stdin="x = (")[0] == 1
    assert run("--lenient", "run", "-", stdin="sw.ipv4Host.add({'vrfId': 256, 'dip': 1}, 'onMiss')") == (0, "", "")


def test_wrong_arguments():
    for words in (["run"], ["run", "/nothing.py"], ["--nothing"], ["stubs"], ["--session", "x"]):
        status, _, errors = run(*words)
        assert status == 2 and "usage:" in errors and "Traceback" not in errors
    status, _, errors = run("--library", "/nothing.so")
    assert status == 1 and errors.startswith("python3 -m vl_pd: /nothing.so: cannot open")
    assert run("--help")[0] == 0
