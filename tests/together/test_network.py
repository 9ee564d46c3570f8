"""quorlinctl net before the real agent, nettop and connections."""
import json
import subprocess

import pytest

from connections import EXTERNAL, LINKS, Network
from harness import PROGRAMS, Consumer


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
    answer = json.loads(session.run("quorlinctl", "net", "--json").stdout)
    assert (answer["name"], answer["object"]) == ("QuorlinSensorsNetDataW", "QuorlinSensorsAgent")
    from_client, from_server = (sum(LINKS[address, address][i] for address in EXTERNAL) for i in range(2))
    server, client = int(network.ids["server"]), int(network.ids["client"])
    expected = [{"pid": server, "bytesIn": from_client, "bytesOut": from_server},
                {"pid": client, "bytesIn": from_server, "bytesOut": from_client + len(EXTERNAL)}]
    assert answer["userInfo"] == {"netapps": sorted(expected, key=lambda record: record["pid"]), "version": 12}

    lines = session.run("quorlinctl", "net").stdout.splitlines()
    assert [line.split() for line in lines] == [
        ["Application", "Process", "Received", "Sent"],
        ["Soc", "ket.1\N{REPLACEMENT CHARACTER}", str(client), str(from_server), "B", str(from_client + 3), "B"],
        ["server", str(server), str(from_client), "B", str(from_server), "B"]]


def test_without_an_answer_net_says_why(session):
    silent = session.run("quorlinctl", "net")
    assert (silent.returncode, silent.stdout) == (1, "")
    assert silent.stderr == "quorlinctl: the agent is not running; start it with: quorlin-sensors\n"
    Consumer(session, "brellwick.QuorlinSensors")  # which answers nothing
    late = session.run("quorlinctl", "net", "--timeout", "0.01")
    assert (late.returncode, late.stdout) == (1, "")
    assert late.stderr == "quorlinctl: the agent did not answer in time; it may be busy\n"
