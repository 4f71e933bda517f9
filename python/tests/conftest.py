"""Fixtures for tests of switches."""

import pytest
import vl_pd


@pytest.fixture
def sw():
    with vl_pd.Switch() as switch:
        yield switch
