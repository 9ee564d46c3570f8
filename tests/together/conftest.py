import pytest

from harness import Session


@pytest.fixture
def session(tmp_path):
    """A session on the described laptop, with the sensors plug-in on."""
    session = Session(tmp_path)
    session.use_machine("laptop")
    session.configure(autostart=1)
    yield session
    session.end()
