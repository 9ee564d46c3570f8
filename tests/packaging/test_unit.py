"""What systemd, the bus and polkit make of the root helper's files."""
import os
import pathlib
import re
import subprocess
import sys
import warnings
import xml.etree.ElementTree

import pytest
from gi.repository import Gio, GLib

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "fixtures"))
from sandbox import Sandbox  # noqa: E402
from system_bus import INTERFACE, NAME, PACKAGING, ask_bus, connect, start_bus  # noqa: E402

UNIT = PACKAGING / "quorlin-core-helper.service"
PATIENCE = 90
TAKE_NAME = ("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName")
IS_ROOT = os.geteuid() == 0
NOBODY = {"user": 65534, "group": 65534, "extra_groups": []}
if not IS_ROOT:
    warnings.warn("not root: another user on the bus, the hidden /proc and the capabilities are not tried")


def run(*command, **options):
    return subprocess.run(command, timeout=PATIENCE, text=True, check=False, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, **options)


def test_the_unit_leaves_little_exposed_and_systemd_understands_every_line(tmp_path):
    # In tenths: 10 is an exposure of 1.0.
    rated = run("systemd-analyze", "security", "--offline=true", "--threshold=10", "--no-pager", UNIT)
    assert rated.returncode == 0, rated.stdout
    copy = tmp_path / UNIT.name
    copy.write_text(UNIT.read_text().replace("/usr/local/libexec/quorlin-core-helper", "/bin/true"))
    checked = run("systemd-analyze", "verify", "--man=no", copy)
    assert checked.returncode == 0 and UNIT.name not in checked.stdout, checked.stdout


def test_the_bus_starts_the_unit_that_takes_the_name():
    activation = (PACKAGING / f"{NAME}.service").read_text().splitlines()
    assert {f"Name={NAME}", f"SystemdService={UNIT.name}", "Exec=/bin/false"} < set(activation)
    assert f"BusName={NAME}" in UNIT.read_text().splitlines()


def test_polkit_knows_an_action_for_each_method():
    defaults = {}
    for action in xml.etree.ElementTree.parse(PACKAGING / f"{NAME}.policy").getroot().iter("action"):
        assert action.findtext("description") and action.findtext("message")
        assert action.findtext("annotate") == "unix-user:quorlin-core-helper", "else polkit answers only root"
        name = action.get("id").removeprefix("com.brellwick.quorlin-core-helper.")
        defaults[name] = " ".join(action.findtext(f"defaults/allow_{who}") for who in ("any", "inactive", "active"))
    assert defaults == {"connect-with-endpoint": "yes yes yes", "get-version": "yes yes yes",
                        "get-charge-hold": "yes yes yes", "get-core-metrics": "no no yes", "limit-charge": "no no yes",
                        "uninstall-helper": "no no auth_admin"}


@pytest.fixture
def bus(tmp_path):
    """The address of a bus that refuses, as the system bus does, what no policy allows."""
    address = f"unix:abstract={tmp_path}"  # other users cannot look into the folder
    with start_bus(tmp_path, address) as daemon:
        yield address
        daemon.terminate()


@pytest.fixture
def owner(bus):
    """A connection that has the helper's name, but no objects; the signals that arrive, as (name, what it says)."""
    connection, arrived = connect(bus), []
    connection.signal_subscribe(None, None, None, None, None, Gio.DBusSignalFlags.NONE,
                                lambda *signal: arrived.append((signal[4], *signal[5])))
    # Answered after the subscription was taken.
    ask_bus(connection, "RequestName", "(su)", NAME, 0)
    yield arrived
    connection.close_sync(None)


@pytest.mark.parametrize("identity", [{}] + [NOBODY] * IS_ROOT)
def test_everybody_may_send_to_the_interface_alone_and_only_root_takes_the_name(bus, owner, identity):
    def call(*call):
        return run("busctl", f"--address={bus}", "call", *call, **identity).stdout
    assert "does not exist" in call(NAME, "/", INTERFACE, "GetVersion")  # so it got through
    assert "Access denied" in call(NAME, "/", "org.freedesktop.DBus.Peer", "Ping")
    assert ("Access denied" in call(*TAKE_NAME, "su", NAME, "0")) == (identity == NOBODY)


def test_only_broadcast_signals_and_those_of_the_bus_arrive(bus, owner):
    sender = connect(bus)
    for destination, member in ((NAME, "Forged"), (None, "PrepareForSleep")):
        sender.emit_signal(destination, "/", "org.freedesktop.login1.Manager", member, None)
    GLib.timeout_add_seconds(PATIENCE, owner.append, ("nothing",))
    while not {("PrepareForSleep",), ("nothing",)} & set(owner):
        GLib.MainContext.default().iteration(True)
    assert ("Forged",) not in owner
    assert ("NameAcquired", NAME) in owner and ("PrepareForSleep",) in owner
    sender.close_sync(None)


def seen(path):
    """Passes if the same is mounted at the path inside."""
    return f"assert os.stat({path!r}).st_dev == {os.stat(path).st_dev}"


def shared(namespace):
    path = f"/proc/self/ns/{namespace}"
    return f"assert os.readlink({path!r}) == {os.readlink(path)!r}"


# Rights that a line of the unit takes away: the program passes only without that line.
TAKEN = [
    ("ProtectHome=", seen("/home")),
    ("PrivateTmp=", seen("/tmp")),
    ("PrivateDevices=", seen("/dev")),
    ("PrivateNetwork=", shared("net")),
    ("PrivateIPC=", shared("ipc")),
    ("ProtectKernelTunables=", "open('/sys/class/x', 'w')"),
    ("TemporaryFileSystem=", seen("/run")),
    ("UMask=", "assert os.umask(0) == 0o022"),
    ("RestrictAddressFamilies=", "socket.socket(socket.AF_INET)"),
    ("MemoryDenyWriteExecute=", "mmap.mmap(-1, 4096, prot=mmap.PROT_WRITE | mmap.PROT_EXEC)"),
    ("SystemCallFilter=~", "os.nice(1)"),
]
TAKEN += [
    ("ProcSubset=", "open('/proc/cpuinfo')"),
    ("User=", "assert os.getuid() == 0"),
] * IS_ROOT
# Rights that the unit leaves, and rights that no line gives back.
LEFT = [
    ("open('/sys/devices/x', 'w')", True),
    ("open('/var/lib/quorlin-core-helper/held', 'w')", True),
    ("socket.socket(socket.AF_UNIX)", True),
    ("subprocess.run(['true'], check=True)", True),
    ("mmap.mmap(-1, 4096, prot=mmap.PROT_READ | mmap.PROT_EXEC)", True),
    ("threading.Thread(target=print).start()", True),
    *((f"open('{folder}/x', 'w')", False) for folder in ("/etc", "/usr", "/var/lib")),
]


def passes(folder, unit, program):
    for name in ("sys/devices", "sys/class"):
        (folder / name).mkdir(parents=True, exist_ok=True)
        (folder / name).chmod(0o777)  # only the mounts count
    command = ["/usr/bin/python3", "-c", f"import mmap, os, socket, subprocess, threading\n{program}\n"]
    with Sandbox(unit, folder, sysfs=folder / "sys").start(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                                           text=True) as process:
        said, _ = process.communicate(timeout=PATIENCE)
    assert process.returncode == 0 or re.search(
        "AssertionError|PermissionError|Read-only file system|FileNotFoundError|CalledProcessError", said), said
    return process.returncode == 0


@pytest.mark.parametrize("line, program", TAKEN)
def test_the_sandbox_takes_away_what_a_line_of_the_unit_says(tmp_path, line, program):
    assert not passes(tmp_path, UNIT, program)
    lines = UNIT.read_text().splitlines(keepends=True)
    looser = tmp_path / "looser.service"
    looser.write_text("".join(other for other in lines if not other.startswith(line)))
    assert passes(tmp_path, looser, program)


@pytest.mark.parametrize("program, is_left", LEFT)
def test_the_sandbox_leaves_what_the_helper_needs_and_the_system_read_only(tmp_path, program, is_left):
    assert passes(tmp_path, UNIT, program) == is_left


def test_the_sandbox_refuses_a_setting_that_it_does_not_know(tmp_path):
    unit = tmp_path / "unit.service"
    unit.write_text(UNIT.read_text() + "NoExecPaths=/\n")
    with pytest.raises(AssertionError, match="NoExecPaths"):
        Sandbox(unit, tmp_path)
