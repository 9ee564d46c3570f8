import pathlib
import sys

import pytest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "fixtures"))

from harness import Consumer, Session  # noqa: E402
from system_bus import SystemBus  # noqa: E402


@pytest.fixture
def session(tmp_path):
    """A session on the described laptop, with the sensors plug-in on."""
    session = Session(tmp_path)
    session.use_machine("laptop")
    session.configure(autostart=1)
    yield session
    session.end()


@pytest.fixture
def bus(session):
    """A connection to the session's bus, beside the programs."""
    return Consumer(session).bus


@pytest.fixture
def system_bus(tmp_path):
    """A system bus with a polkit that allows everything; the root helper below it on the described laptop."""
    system_bus = SystemBus(tmp_path)
    yield system_bus
    system_bus.end()
