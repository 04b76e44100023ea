"""Fixtures for pytest, there as soon as the package is installed.

`kx_controller` is a virtual controller of the test's own, `kx_arm` an arm connected to it. A test says what it should be
like: @pytest.mark.kx(model=47, speed=20, options=["--di", "1=1"]).
"""
from collections.abc import Iterator
from typing import Any

import pytest

import kx


def pytest_configure(config: pytest.Config) -> None:
    config.addinivalue_line("markers", "kx(model=46, speed=5, options=()): the virtual controller of kx_controller")


@pytest.fixture
def kx_controller(request: pytest.FixtureRequest) -> Iterator[kx.Controller]:
    """A virtual controller of the test's own; its time runs five times as fast unless the marker says otherwise."""
    marker = request.node.get_closest_marker("kx")
    wanted: dict[str, Any] = {"speed": 5, **(marker.kwargs if marker else {})}
    with kx.Controller(*(marker.args if marker else ()), **wanted) as controller:
        yield controller


@pytest.fixture
def kx_arm(kx_controller: kx.Controller) -> Iterator[kx.Arm]:
    """An arm that is connected to the test's virtual controller."""
    with kx_controller.connect() as arm:
        yield arm
