"""The real nettop before real connections, in a network namespace of the test's own."""
import os
import re
import signal
import subprocess

import pytest

from connections import Network, traffic
from harness import BUNDLE, PATIENCE

NETTOP = str(BUNDLE / "nettop")
ARGUMENTS = ["-Px", "-k", "interface,state,rx_ooo,rx_dupe,re-tx,rtt_avg,rcvsize,tx_win,tc_class,tc_mgt,cc_algo,P,C,R,W",
             "-l", "1", "-t", "external"]


@pytest.fixture(scope="module")
def network():
    network = Network()
    yield network
    network.end()


def run(command, **options):
    return subprocess.run(command, stderr=subprocess.PIPE, timeout=PATIENCE, check=False,
                          **{"stdout": subprocess.PIPE, **options})


def test_counts_exactly_what_each_process_sent_and_received_on_external_connections(network):
    listed = run(network.inside(NETTOP, *ARGUMENTS))
    assert (listed.returncode, listed.stderr) == (0, b"")
    rows = [line.split() for line in listed.stdout.decode().splitlines()]
    assert rows[0] == ["time", "process", "bytes_in", "bytes_out"]
    names = {"server": "server", "client": "Soc_ket.1_"}
    assert {row[1]: (int(row[2]), int(row[3])) for row in rows[1:]} == {
        f"{names[role]}.{network.ids[role]}": counted for role, counted in traffic().items()}
    ids = [int(row[1].rpartition(".")[2]) for row in rows[1:]]
    assert ids == sorted(ids)
    assert all(re.fullmatch(r"\d\d:\d\d:\d\d\.\d{6}", row[0]) for row in rows[1:])


def test_says_when_processes_cannot_be_listed():
    failed = run([NETTOP, *ARGUMENTS], env={**os.environ, "QUORLIN_PROCFS_ROOT": "/nonexistent"})
    assert (failed.returncode, failed.stdout) == (69, b"")
    assert failed.stderr == b"nettop: /nonexistent cannot be listed: No such file or directory\n"


@pytest.mark.parametrize("arguments", [[], ARGUMENTS[:-1], [*ARGUMENTS, "x"], [*ARGUMENTS[:4], "2", *ARGUMENTS[5:]],
                                       ["--help", "x"]])
def test_refuses_other_arguments(arguments):
    refused = run([NETTOP, *arguments])
    assert (refused.returncode, refused.stdout) == (64, b"")
    assert refused.stderr.startswith(b"nettop: wrong arguments\n\nUsage: nettop -Px")
    assert run([NETTOP, "--help"]).stdout == refused.stderr.partition(b"\n\n")[2]


def test_reports_that_its_output_cannot_be_written(network):
    with open("/dev/full", "wb") as full:
        ended = run(network.inside(NETTOP, *ARGUMENTS), stdout=full)
    assert (ended.returncode, ended.stderr) == (74, b"nettop: cannot write the output: No space left on device\n")
    read, write = os.pipe()
    os.close(read)
    assert run(network.inside(NETTOP, *ARGUMENTS), stdout=write).returncode == -signal.SIGPIPE
    os.close(write)
