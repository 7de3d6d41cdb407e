# SPDX-License-Identifier: Apache-2.0
# PYTHONPATH=PREFIX/lib/python3/dist-packages pytest -p wireless_charger.pytest_plugin test_dock.py
import pytest
from wireless_charger import Error


def test_alignment_is_reported(charger_system):
    with charger_system.charger.events("align") as events:
        charger_system.dock.align(2)
        assert events.next()["status"] == 2


def test_a_failing_dock_is_an_error(charger_system):
    charger_system.dock.fail("sendBidiRequest", 6)
    with pytest.raises(Error):
        charger_system.charger.fan(0)
