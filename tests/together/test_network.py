"""quorlinctl net before the real agent, nettop and connections."""
import fcntl
import json
import os
import signal
import subprocess

import pytest

from connections import Network, traffic
from harness import BUNDLE, PATIENCE, PROGRAMS, Consumer
from test_nettop import ARGUMENTS


@pytest.fixture
def network(session):
    """Connections beside which the agent of the session runs, on the machine itself."""
    network = Network()
    for root in "QUORLIN_SYSFS_ROOT", "QUORLIN_PROCFS_ROOT":
        session.environment.pop(root)
    consumer = Consumer(session)
    session.children.append(subprocess.Popen(network.inside(PROGRAMS / "quorlin-sensors", "-silent"),
                                             env=session.environment, stderr=subprocess.DEVNULL))
    consumer.wait_for("QuorlinSensorsActiveM")
    yield network
    network.end()


def test_the_agent_tells_once_what_each_application_received_and_sent(session, network):
    answer = json.loads(session.run("quorlinctl", "net", "--json", "--timeout", str(PATIENCE)).stdout)
    assert (answer["name"], answer["object"]) == ("QuorlinSensorsNetDataW", "QuorlinSensorsAgent")
    expected = [{"pid": int(network.ids[role]), "bytesIn": received, "bytesOut": sent}
                for role, (received, sent) in traffic().items()]
    assert answer["userInfo"] == {"netapps": sorted(expected, key=lambda record: record["pid"]), "version": 12}

    lines = session.run("quorlinctl", "net", "--timeout", str(PATIENCE)).stdout.splitlines()
    assert [line.split() for line in lines] == [
        ["Application", "Process", "Received", "Sent"],
        ["Soc", "ket.1\N{REPLACEMENT CHARACTER}", network.ids["client"], "70", "B", "11", "B"],
        ["server", network.ids["server"], "8", "B", "70", "B"]]


def test_what_is_installed_finds_what_belongs_to_it(session, tmp_path):
    subprocess.run(["cmake", "--install", PROGRAMS.parents[1], "--prefix", tmp_path / "prefix"], check=True,
                   stdout=subprocess.DEVNULL)
    session.environment.pop("QUORLIN_PROCFS_ROOT")
    quorlinctl = tmp_path / "prefix/bin/quorlinctl"
    checks = session.examine(quorlinctl)
    assert (checks["processor"]["state"], checks["nettop"]["state"]) == ("ok", "ok")
    nettop = tmp_path / "prefix/libexec/quorlin-sensors/nettop"
    nettop.unlink()
    assert session.examine(quorlinctl)["nettop"] == {
        "id": "nettop", "state": "missing", "subject": "network applications", "finding": f"The program {nettop} does not exist.",
        "advice": "Install Quorlin Sensors again."}


@pytest.mark.parametrize("program", ["nettop", "system_profiler"])
def test_a_command_that_the_agent_waits_for_ends_by_itself(program):
    arguments = ARGUMENTS if program == "nettop" else ["SPHardwareDataType", "-xml"]
    read, write = os.pipe()
    fcntl.fcntl(write, fcntl.F_SETFL, os.O_NONBLOCK)
    with pytest.raises(BlockingIOError):
        while True:
            os.write(write, bytes(4096))
    fcntl.fcntl(write, fcntl.F_SETFL, 0)  # writers now block

    def hide_alarms():
        signal.signal(signal.SIGALRM, signal.SIG_IGN)
        signal.pthread_sigmask(signal.SIG_BLOCK, [signal.SIGALRM])

    ended = subprocess.run([BUNDLE / program, *arguments], stdout=write, timeout=PATIENCE, preexec_fn=hide_alarms)
    assert ended.returncode == -signal.SIGALRM
    os.close(read)
    os.close(write)


def test_without_an_answer_net_says_why(session):
    silent = session.run("quorlinctl", "net")
    assert (silent.returncode, silent.stdout) == (1, "")
    assert silent.stderr == ("quorlinctl: the agent is not running, and the session bus cannot start it; in the folder of its "
                             "source, install it: cmake --install build/release --prefix ~/.local\n")
    stranger = Consumer(session, "brellwick.QuorlinSensors")
    asking = subprocess.Popen([PROGRAMS / "quorlinctl", "net", "--timeout", "1"], env=session.environment, text=True,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE)
    stranger.wait_for("QuorlinSensorsGetNetworkApp")
    stranger.post("QuorlinSensorsNetDataW")  # malformed: no list of applications
    output, errors = asking.communicate(timeout=PATIENCE)
    assert (asking.returncode, output) == (1, "")
    assert errors == "quorlinctl: the agent did not answer in time; it may be busy\n"
