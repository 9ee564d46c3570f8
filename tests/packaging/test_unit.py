"""What systemd, the bus and polkit make of the root helper's files."""
import configparser
import os
import pathlib
import subprocess
import sys
import xml.etree.ElementTree

import pytest
from gi.repository import Gio, GLib

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "together"))
from sandbox import Sandbox  # noqa: E402

PACKAGING = pathlib.Path(os.environ["QUORLIN_PACKAGING"])
UNIT = PACKAGING / "quorlin-core-helper.service"
NAME = "com.brellwick.Quorlin-Core-Helper"
INTERFACE = "com.brellwick.HelperToolProtocol"
PATIENCE = 90
IS_ROOT = os.geteuid() == 0
NOBODY = {"user": 65534, "group": 65534, "extra_groups": []}


def run(*command, **options):
    return subprocess.run(command, timeout=PATIENCE, text=True, check=False, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, **options)


def test_the_unit_leaves_little_exposed():
    # In tenths: 15 is an exposure of 1.5.
    checked = run("systemd-analyze", "security", "--offline=true", "--threshold=15", "--no-pager", UNIT)
    assert checked.returncode == 0, checked.stdout


def test_systemd_understands_every_line_of_the_unit(tmp_path):
    copy = tmp_path / UNIT.name
    copy.write_text(UNIT.read_text().replace("/usr/local/libexec/quorlin-core-helper", "/bin/true"))
    checked = run("systemd-analyze", "verify", "--man=no", copy)
    assert checked.returncode == 0 and UNIT.name not in checked.stdout, checked.stdout


def test_the_bus_starts_the_unit_that_takes_the_name():
    unit, activation = (configparser.RawConfigParser(strict=False) for _ in range(2))
    for parser in (unit, activation):
        parser.optionxform = str
    unit.read(UNIT)
    activation.read(PACKAGING / f"{NAME}.service")
    assert unit["Service"]["BusName"] == activation["D-BUS Service"]["Name"] == NAME
    assert activation["D-BUS Service"]["SystemdService"] == UNIT.name
    assert activation["D-BUS Service"]["Exec"] == "/bin/false"


def test_polkit_knows_an_action_for_each_method():
    policy = xml.etree.ElementTree.parse(PACKAGING / f"{NAME}.policy").getroot()
    defaults = {}
    for action in policy.iter("action"):
        assert action.findtext("description") and action.findtext("message")
        allowed = {default.tag.removeprefix("allow_"): default.text for default in action.find("defaults")}
        defaults[action.get("id")] = (allowed["any"], allowed["inactive"], allowed["active"])
    prefix = "com.brellwick.quorlin-core-helper."
    assert defaults == {prefix + "connect-with-endpoint": ("yes", "yes", "yes"),
                        prefix + "get-version": ("yes", "yes", "yes"),
                        prefix + "get-core-metrics": ("no", "no", "yes"),
                        prefix + "limit-charge": ("no", "no", "yes"),
                        prefix + "uninstall-helper": ("no", "no", "auth_admin")}


@pytest.fixture
def bus(tmp_path):
    """The address of a bus that refuses, as the system bus does, what no policy allows."""
    policy = (PACKAGING / f"{NAME}.conf").read_text()
    if not IS_ROOT:  # nobody else can be root
        policy = policy.replace('user="root"', f'user="{os.geteuid()}"')
    (tmp_path / "helper.conf").write_text(policy)
    (tmp_path / "bus.conf").write_text(f"""<busconfig>
      <listen>unix:abstract=quorlin-packaging-{os.getpid()}</listen>
      <policy context="default">
        <allow user="*"/> <deny own="*"/> <deny send_type="method_call"/>
        <allow send_destination="org.freedesktop.DBus" send_interface="org.freedesktop.DBus"/>
        <allow send_requested_reply="true" send_type="method_return"/>
        <allow send_requested_reply="true" send_type="error"/>
        <allow receive_type="method_call"/> <allow receive_type="method_return"/> <allow receive_type="error"/>
      </policy>
      <include>{tmp_path}/helper.conf</include>
    </busconfig>""")
    with subprocess.Popen(["dbus-daemon", f"--config-file={tmp_path}/bus.conf", "--nofork", "--nosyslog",
                           "--print-address"], stdout=subprocess.PIPE, text=True) as daemon:
        yield daemon.stdout.readline().strip()
        daemon.terminate()


def call(bus, destination, path, interface, method, *arguments, **identity):
    called = run("busctl", f"--address={bus}", "call", destination, path, interface, method, *arguments, **identity)
    return called.stdout


def test_only_root_takes_the_name_and_everybody_may_send_to_its_interface_alone(bus):
    take_name = ("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName")
    if IS_ROOT:
        assert "Access denied" in call(bus, *take_name, "su", NAME, "0", **NOBODY)
    flags = Gio.DBusConnectionFlags
    owner = Gio.DBusConnection.new_for_address_sync(bus, flags.AUTHENTICATION_CLIENT | flags.MESSAGE_BUS_CONNECTION,
                                                    None, None)
    owner.call_sync(*take_name, GLib.Variant("(su)", (NAME, 0)), None, Gio.DBusCallFlags.NONE, PATIENCE * 1000, None)
    for identity in [{}] + [NOBODY] * IS_ROOT:
        # It has no objects here, so what gets through is answered by an error of its own.
        assert "does not exist" in call(bus, NAME, "/", INTERFACE, "GetVersion", **identity)
        assert "Access denied" in call(bus, NAME, "/", "org.freedesktop.DBus.Peer", "Ping", **identity)
    owner.close_sync(None)


def seen(path):
    """Passes if the same is mounted at the path inside."""
    return f"assert os.stat({path!r}).st_dev == {os.stat(path).st_dev}"


def shared(namespace):
    path = f"/proc/self/ns/{namespace}"
    return f"assert os.readlink({path!r}) == {os.readlink(path)!r}"


# What a line of the unit takes away: the program passes without the line alone.
TAKEN = [
    ("ProtectHome=", seen("/home")),
    ("PrivateTmp=", seen("/tmp")),
    ("PrivateDevices=", seen("/dev")),
    ("PrivateNetwork=", shared("net")),
    ("PrivateIPC=", shared("ipc")),
    ("ProtectKernelTunables=", "open('/sys/class/x', 'w')"),
    ("UMask=", "assert os.umask(0) == 0o022"),
    ("RestrictAddressFamilies=", "socket.socket(socket.AF_INET)"),
    ("MemoryDenyWriteExecute=", "mmap.mmap(-1, 4096, prot=mmap.PROT_WRITE | mmap.PROT_EXEC)"),
    ("RestrictSUIDSGID=", "os.chmod('/var/lib/quorlin-core-helper', 0o4700)"),
    ("RestrictNamespaces=", "subprocess.run(['unshare', 'true'], check=True)"),
    ("LockPersonality=", "subprocess.run(['setarch', '--addr-no-randomize', 'true'], check=True)"),
    ("SystemCallFilter=~", "os.nice(1)"),
]
if IS_ROOT:
    TAKEN += [
        ("ProcSubset=", "open('/proc/cpuinfo')"),
        ("CapabilityBoundingSet=", "assert 'CapEff:\\t0000000000000000' not in open('/proc/self/status').read()"),
    ]
# What it leaves, and what nothing gives back.
LEFT = [
    "open('/sys/devices/x', 'w')",
    "open('/var/lib/quorlin-core-helper/held', 'w')",
    "socket.socket(socket.AF_UNIX)",
    "subprocess.run(['true'], check=True)",
    "mmap.mmap(-1, 4096, prot=mmap.PROT_READ | mmap.PROT_EXEC)",
    "threading.Thread(target=print).start()",
]
REFUSED = ["open('/etc/x', 'w')", "open('/usr/x', 'w')", "open('/var/lib/x', 'w')"]


class Machine:
    def __init__(self, folder):
        self.folder = folder
        for name in ("sys/devices", "sys/class"):
            (folder / name).mkdir(parents=True)

    def passes(self, unit, program):
        sandbox = Sandbox(unit, self.folder, sysfs=self.folder / "sys")
        command = ["/usr/bin/python3", "-c", f"import mmap, os, socket, subprocess, threading\n{program}\n"]
        with sandbox.start(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True) as process:
            said, _ = process.communicate(timeout=PATIENCE)
        if process.returncode != 0:
            assert any(error in said for error in ("AssertionError", "PermissionError", "Read-only file system",
                                                   "FileNotFoundError", "CalledProcessError")), said
        return process.returncode == 0


@pytest.fixture
def machine(tmp_path):
    return Machine(tmp_path)


@pytest.mark.parametrize("line, program", TAKEN)
def test_the_sandbox_takes_away_what_a_line_of_the_unit_says(machine, tmp_path, line, program):
    assert not machine.passes(UNIT, program)
    lines = UNIT.read_text().splitlines(keepends=True)
    looser = tmp_path / "looser.service"
    looser.write_text("".join(other for other in lines if not other.startswith(line)))
    assert machine.passes(looser, program)


@pytest.mark.parametrize("program", LEFT)
def test_the_sandbox_leaves_what_the_helper_needs(machine, program):
    assert machine.passes(UNIT, program)


@pytest.mark.parametrize("program", REFUSED)
def test_the_sandbox_keeps_the_system_read_only(machine, program):
    assert not machine.passes(UNIT, program)


def test_the_sandbox_refuses_a_setting_that_it_does_not_know(tmp_path):
    unit = tmp_path / "unit.service"
    unit.write_text(UNIT.read_text() + "NoExecPaths=/\n")
    with pytest.raises(AssertionError, match="NoExecPaths"):
        Sandbox(unit, tmp_path)
