"""A system bus of the test's own: polkit and systemd played by the test, the root helper on a described machine."""
import os
import pathlib
import shutil
import signal
import subprocess
import threading

from gi.repository import Gio, GLib

from harness import PATIENCE, PROGRAMS, FIXTURES, machine, wait_until

NAME = "com.brellwick.Quorlin-Core-Helper"
OBJECT = "/com/brellwick/QuorlinCoreHelper"
INTERFACE = "com.brellwick.HelperToolProtocol"
HELPER = pathlib.Path(os.environ["QUORLIN_SIMULATED_HELPER"])
PACKAGING = pathlib.Path(os.environ["QUORLIN_PACKAGING"])

# The rules of a Debian's system bus, and its services played by the test.
CONFIGURATION = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <listen>unix:path={folder}/socket</listen>
  <servicedir>{folder}/services</servicedir>
  <policy context="default">
    <allow user="*"/> <deny own="*"/> <deny send_type="method_call"/>
    <allow send_type="signal"/>
    <allow send_requested_reply="true" send_type="method_return"/>
    <allow send_requested_reply="true" send_type="error"/>
    <allow receive_type="method_call"/> <allow receive_type="method_return"/> <allow receive_type="error"/>
    <allow receive_type="signal"/>
    <allow send_destination="org.freedesktop.DBus"/>
    <allow own="org.freedesktop.PolicyKit1"/> <allow send_destination="org.freedesktop.PolicyKit1"/>
    <allow own="org.freedesktop.login1"/>
    <allow own="com.brellwick.Quorlin-Core-Helper"/>
  </policy>
  <include>{packaging}/com.brellwick.Quorlin-Core-Helper.conf</include>
</busconfig>
"""

POLKIT = """<node><interface name="org.freedesktop.PolicyKit1.Authority">
  <method name="CheckAuthorization">
    <arg type="(sa{sv})" direction="in"/><arg type="s" direction="in"/><arg type="a{ss}" direction="in"/>
    <arg type="u" direction="in"/><arg type="s" direction="in"/><arg type="(bba{ss})" direction="out"/>
  </method>
  <method name="CancelCheckAuthorization"><arg type="s" direction="in"/></method>
</interface></node>"""


class Polkit:
    """Answers as the test says: "allow", "deny", "challenge", "fail", or keeps the question ("wait")."""

    def __init__(self, address):
        self.answer = "allow"
        self._helper = None
        self.asked = []  # (kind of subject, its details, action, flags)
        self.questions = []  # the names by which they can be taken back
        self.cancelled = []
        self.waiting = []
        self._context = GLib.MainContext.new()
        self._loop = GLib.MainLoop.new(self._context, False)
        ready = threading.Event()
        self._thread = threading.Thread(target=self._run, args=(address, ready))
        self._thread.start()
        assert ready.wait(PATIENCE)

    def _run(self, address, ready):
        self._context.push_thread_default()
        self.bus = connect(address)
        self.bus.signal_subscribe("org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged", None, NAME,
                                  0, self._helper_changed)
        interface = Gio.DBusNodeInfo.new_for_xml(POLKIT).interfaces[0]
        self.bus.register_object("/org/freedesktop/PolicyKit1/Authority", interface, self._called, None, None)
        self.bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
                           GLib.Variant("(su)", ("org.freedesktop.PolicyKit1", 0)), None, 0, -1, None)
        ready.set()
        self._loop.run()
        close(self.bus)
        self._context.pop_thread_default()

    def _helper_changed(self, bus, _sender, _path, _interface, _signal, parameters):
        """As systemd does: a service that has given up its name is told to end."""
        _name, _before, owner = parameters.unpack()
        if self._helper:
            try:
                os.kill(self._helper, signal.SIGTERM)
            except ProcessLookupError:
                pass
        self._helper = _process_of(bus, owner) if owner else None

    def _called(self, _bus, _sender, _path, _interface, method, parameters, invocation):
        if method == "CancelCheckAuthorization":
            self.cancelled.append(parameters.unpack()[0])
            invocation.return_value(None)
            return
        (kind, details), action, _details, flags, question = parameters.unpack()
        self.questions.append(question)
        self.asked.append((kind, details, action.rsplit(".", 1)[1], flags))
        if self.answer == "wait":
            self.waiting.append(invocation)
        elif self.answer == "fail":
            invocation.return_dbus_error("org.freedesktop.PolicyKit1.Error.Failed", "out of order")
        else:
            self._reply(invocation, self.answer)

    @staticmethod
    def _reply(invocation, answer):
        invocation.return_value(GLib.Variant("((bba{ss}))", ((answer == "allow", answer == "challenge", {}),)))

    def answer_waiting(self, answer):
        waiting, self.waiting = self.waiting, []
        for invocation in waiting:
            self._reply(invocation, answer)

    def end(self):
        self._loop.quit()
        self._thread.join()


def connect(address):
    flags = Gio.DBusConnectionFlags
    return Gio.DBusConnection.new_for_address_sync(
        address, flags.AUTHENTICATION_CLIENT | flags.MESSAGE_BUS_CONNECTION, None, None)


def _process_of(bus, name):
    try:
        return bus.call_sync("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                             "GetConnectionUnixProcessID", GLib.Variant("(s)", (name,)), None, 0, PATIENCE * 1000,
                             None).unpack()[0]
    except GLib.Error:
        return None


def close(bus):
    if not bus.is_closed():
        bus.close_sync(None)


class Client:
    """A connection to the bus that calls the helper."""

    def __init__(self, address):
        self.bus = connect(address)
        self.name = self.bus.get_unique_name()

    def send(self, method, *arguments, interactive=False):
        """The answer to come: a list that will hold one text, or one Error."""
        signatures = {"GetCoreMetrics": "(sas)", "LimitCharge": "(sb)", "UninstallHelper": "(s)"}
        parameters = GLib.Variant(signatures[method], arguments) if arguments else None
        answer = []

        def finish(bus, result):
            try:
                answer.append(bus.call_finish(result).unpack()[0])
            except GLib.Error as error:
                answer.append(Error(Gio.DBusError.get_remote_error(error), error.message))

        flags = Gio.DBusCallFlags.ALLOW_INTERACTIVE_AUTHORIZATION if interactive else 0
        self.bus.call(NAME, OBJECT, INTERFACE, method, parameters, None, flags, PATIENCE * 1000, None, finish)
        return answer

    def call(self, method, *arguments, **options):
        answer = self.send(method, *arguments, **options)
        wait_until(lambda: answer, f"an answer to {method}")
        return answer[0]

    def leave(self):
        close(self.bus)


class Error(str):
    """A D-Bus error's short name; its text beside it."""

    def __new__(cls, name, text):
        self = super().__new__(cls, (name or "?").rsplit(".", 1)[-1])
        self.text = text
        return self


class SystemBus:
    """The daemon, polkit, and the helper, which the bus starts when it is called."""

    def __init__(self, folder, machine_name="laptop"):
        self.folder = folder / "system"
        self.state = self.folder / "state"
        self.root = self.folder / "root"
        self.log = self.folder / "helper.log"
        for made in (self.folder / "services", self.root):
            made.mkdir(parents=True)
        self.tree = self.folder / "machine"
        machine.expand(FIXTURES / "machines" / f"{machine_name}.machine", self.tree)
        self.environment = {**os.environ, "QUORLIN_SYSFS_ROOT": str(self.tree / "sys"),
                            "QUORLIN_STATE_FOLDER": str(self.state), "QUORLIN_INSTALL_ROOT": str(self.root),
                            "QUORLIN_IDLE_MS": "600000", "QUORLIN_PATIENCE_MS": "600000",
                            "LC_ALL": "C.UTF-8"}
        self.address = f"unix:path={self.folder}/socket"
        self.environment["DBUS_SYSTEM_BUS_ADDRESS"] = self.address
        self.helper = HELPER
        self.daemon = self.polkit = None

    def start(self, **environment):
        self.environment.update(environment)
        (self.folder / "bus.conf").write_text(CONFIGURATION.format(folder=self.folder, packaging=PACKAGING))
        # What the unit says: after every end, what is to be done after it.
        starter = self.folder / "start-helper"
        starter.write_text(f"#!/bin/sh\n{self.helper} 2>>{self.log}\n{self.helper} --after-stop 2>>{self.log}\n")
        starter.chmod(0o755)
        (self.folder / "services" / f"{NAME}.service").write_text(
            f"[D-BUS Service]\nName={NAME}\nExec={starter}\n")
        self.daemon = subprocess.Popen(
            ["dbus-daemon", f"--config-file={self.folder}/bus.conf", "--nofork", "--nosyslog", "--print-address"],
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True, env=self.environment)
        assert self.daemon.stdout.readline()
        self.polkit = Polkit(self.address)
        return self

    def run(self, *arguments, **environment):
        """The helper's own command line."""
        return subprocess.run([self.helper, *arguments], env={**self.environment, **environment}, timeout=PATIENCE,
                              capture_output=True, text=True, check=False)

    def key(self):
        """The request key of this computer."""
        import hashlib
        import socket
        name = socket.gethostname()
        for line in _lines("/etc/machine-info"):
            if line.startswith("PRETTY_HOSTNAME="):
                name = line.split("=", 1)[1].strip("\"'") or name
        return hashlib.md5(name.encode()).hexdigest()[:8]

    def process(self):
        """The helper's process id, or nothing while it does not run."""
        client = Client(self.address)
        try:
            return _process_of(client.bus, NAME)
        finally:
            client.leave()

    def kill_helper(self, how):
        process = self.process()
        os.kill(process, how)
        wait_until(lambda: self.process() != process, "the helper's end")

    def battery(self, name, value=None):
        """A file of the laptop's battery, read or written."""
        file = self.tree / "sys/class/power_supply/BAT0" / name
        if value is not None:
            file.write_text(f"{value}\n")
        return file.read_text().strip()

    def charge(self, percent, status):
        """The battery's charge as its driver and as its meter tell it, and what it does."""
        self.battery("energy_now", int(self.battery("energy_full")) * percent // 100)
        self.battery("capacity", percent)
        self.battery("status", status)

    def contents(self):
        """Every file that the helper could have written, with its bytes."""
        files = [path for folder in (self.tree / "sys", self.state, self.root) if folder.exists()
                 for path in sorted(folder.rglob("*")) if path.is_file()]
        return {str(path): path.read_bytes() for path in files}

    def end(self):
        process = self.process() if self.daemon and self.daemon.poll() is None else None
        if process:
            os.kill(process, signal.SIGKILL)
        if self.polkit:
            self.polkit.end()
        if self.daemon:
            self.daemon.terminate()
            self.daemon.wait()
            self.daemon.stdout.close()
        shutil.rmtree(self.folder)


def _lines(path):
    try:
        return pathlib.Path(path).read_text().splitlines()
    except OSError:
        return []
