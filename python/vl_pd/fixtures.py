"""Fixtures for pytest: a switch on the embedded driver, and what happens to it. In conftest.py:

    pytest_plugins = ["vl_pd.fixtures"]
"""

import pytest

from .switch import Switch


@pytest.fixture
def sw():
    """An empty switch."""
    with Switch() as switch:
        yield switch


@pytest.fixture
def clock(sw):
    """Moves the clock: clock(milliseconds)."""
    return sw.advance


@pytest.fixture
def packets(sw):
    """Sends a packet to a table: packets(table, fields, size=64). Returns the entry that it takes; None if even the
    default entry is missing."""
    def send(table, fields, size=64):
        table = sw.tables[table] if isinstance(table, str) else table
        handle = table.packet(fields, size)
        return table.default if handle is None else table[handle]
    return send


@pytest.fixture
def damage(sw):
    """Damages random entries in the hardware: damage(count=1, seed=1)."""
    return sw.damage


@pytest.fixture
def faults(sw):
    """Has the driver refuse a call: faults("pipe_mgr_mat_ent_add", nth=1, status=2)."""
    yield sw.fail
    sw.clear_faults()
