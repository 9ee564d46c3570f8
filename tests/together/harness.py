"""A session of its own for the real programs: a bus, a described machine, settings, consumers."""
import os
import pathlib
import shutil
import signal
import subprocess
import sys
import time

from gi.repository import Gio, GLib

FIXTURES = pathlib.Path(__file__).resolve().parent.parent / "fixtures"
sys.path.insert(0, str(FIXTURES))
import machine  # noqa: E402

PROGRAMS = pathlib.Path(os.environ["QUORLIN_PROGRAMS"])
PATH = "/brellwick/DistributedNotificationCenter"
INTERFACE = "brellwick.DistributedNotificationCenter"
AGENT = "brellwick.QuorlinSensors"
PATIENCE = 90  # seconds until something that should happen counts as never happening


def wait_until(condition, what):
    """Runs the main loop until the condition holds."""
    deadline = time.monotonic() + PATIENCE
    context = GLib.MainContext.default()
    wake_up = GLib.timeout_add(20, lambda: True)  # for conditions that no message announces
    try:
        while not condition():
            assert time.monotonic() < deadline, f"never happened: {what}"
            context.iteration(True)
    finally:
        GLib.source_remove(wake_up)


class Consumer:
    """A program on the bus that owns a name, posts and hears notifications."""

    def __init__(self, session, name=None):
        flags = Gio.DBusConnectionFlags
        self.bus = Gio.DBusConnection.new_for_address_sync(
            session.address, flags.AUTHENTICATION_CLIENT | flags.MESSAGE_BUS_CONNECTION, None, None)
        self.heard = []
        self.bus.signal_subscribe(None, INTERFACE, None, PATH, None, Gio.DBusSignalFlags.NONE, self._hear)
        if name:
            self.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
                      GLib.Variant("(su)", (name, 0)))

    def _hear(self, _bus, _sender, _path, _interface, member, parameters):
        assert parameters.get_type_string() == "(sa{sv})", member
        self.heard.append((member, *parameters.unpack()))

    def call(self, name, path, interface, method, parameters=None):
        return self.bus.call_sync(name, path, interface, method, parameters, None, Gio.DBusCallFlags.NO_AUTO_START,
                                  PATIENCE * 1000, None)

    def post(self, name):
        self.bus.emit_signal(None, PATH, INTERFACE, name, GLib.Variant("(sa{sv})", ("", {})))
        self.bus.flush_sync(None)

    def has_owner(self, name):
        return self.call("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameHasOwner",
                         GLib.Variant("(s)", (name,))).unpack()[0]

    def names(self):
        return [name for name, _, _ in self.heard]

    def wait_for(self, name, count=1):
        """The count-th notification of that name from now on: (object, user info)."""
        before = self.names().count(name)
        wait_until(lambda: self.names().count(name) >= before + count, f"{count} x {name}, heard {self.names()}")
        return [heard[1:] for heard in self.heard if heard[0] == name][-1]

    def leave(self):
        self.bus.close_sync(None)


class Session:
    def __init__(self, folder):
        self.folder = folder
        self.children = []
        self.settings = folder / "config/quorlin-sensors/settings.conf"
        self.log = folder / "agent.log"
        self.environment = {**os.environ, "XDG_CONFIG_HOME": str(folder / "config"), "NO_COLOR": "1",
                            "LC_ALL": "C.UTF-8"}
        self.environment.pop("XDG_RUNTIME_DIR", None)
        self.daemon = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--nosyslog", "--print-address"],
                                       stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.address = self.daemon.stdout.readline().strip()
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = self.address

    def use_machine(self, name):
        tree = self.folder / "machine"
        shutil.rmtree(tree, ignore_errors=True)
        machine.expand(FIXTURES / "machines" / f"{name}.machine", tree)
        self.environment["QUORLIN_SYSFS_ROOT"] = str(tree / "sys")
        self.environment["QUORLIN_PROCFS_ROOT"] = str(tree / "proc")
        return tree

    def configure(self, **settings):
        self.settings.parent.mkdir(parents=True, exist_ok=True)
        self.settings.write_text("[Settings]\n" + "".join(f"{key}={value}\n" for key, value in settings.items()))

    def stored(self):
        lines = self.settings.read_text().splitlines()
        return dict(line.split("=", 1) for line in lines if "=" in line)

    def start(self, *arguments):
        """Starts the agent, its log in a file."""
        with open(self.log, "ab") as log:
            agent = subprocess.Popen([PROGRAMS / "quorlin-sensors", *arguments], env=self.environment, stderr=log)
        self.children.append(agent)
        return agent

    def start_and_greet(self, *arguments, name=None):
        """Starts the agent before the eyes of a consumer; both, once the agent has shown itself."""
        consumer = Consumer(self, name)
        agent = self.start(*arguments)
        consumer.wait_for("QuorlinSensorsActiveM")
        return agent, consumer

    def run(self, program, *arguments, **options):
        return subprocess.run([PROGRAMS / program, *arguments], env=self.environment, timeout=PATIENCE,
                              capture_output=True, text=True, check=False, **options)

    def logged(self, text):
        return text in self.log.read_text()

    def end(self):
        for child in self.children:
            if child.poll() is None:
                child.send_signal(signal.SIGKILL)
            child.wait()
        self.daemon.terminate()  # so that it takes its socket away
        self.daemon.wait()
        self.daemon.stdout.close()
