# SPDX-License-Identifier: Apache-2.0
"""For pytest: `-p wireless_charger.pytest_plugin` provides the fixture `charger_system`."""

from typing import Iterator

import pytest

from . import System


@pytest.fixture
def charger_system() -> Iterator[System]:
    with System() as system:
        yield system
