"""The page of a table, the shell and the scripts that it runs."""

import os
import pathlib
import pydoc
import subprocess

import pytest
import vl_pd
from vl_pd import description


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
