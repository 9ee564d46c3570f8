"""The agent's start at login, and its switches on the bus."""
import os
import pathlib
import re
import shlex
import shutil
import signal
import subprocess
import xml.etree.ElementTree

import pytest
from gi.repository import Gio, GLib

from activation import add_agent, add_service, process_owning, starts
from harness import AGENT, BUNDLE, PATIENCE, PROGRAMS, Consumer, wait_until
from test_charge import is_held, laptop  # noqa: F401

LAUNCHER = "brellwick.QuorlinSensorsHelper"
OBJECT = "/brellwick/QuorlinSensors"
SETTINGS = "brellwick.QuorlinSensors.Settings"
PROPERTIES = "org.freedesktop.DBus.Properties"
ACTIVE = ["QuorlinSensorsActive", "QuorlinSensorsActiveM", "QuorlinSensorsActiveW"]
INACTIVE = ["QuorlinSensorsInactive", "QuorlinSensorsInactiveM", "QuorlinSensorsInactiveW"]
XML = pathlib.Path(__file__).resolve().parents[2] / "packaging/agent/brellwick.QuorlinSensors.Settings.xml"


def entry_of(session):
    return session.folder / f"config/autostart/{LAUNCHER}.desktop"


def launch(session, program=BUNDLE / "quorlin-sensors-launcher"):
    return session.run(program)


def switched(session, *arguments, programs=PROGRAMS):
    return session.run(programs / "quorlinctl", *arguments)


def copy_programs(session, place):
    """Installs what switches and starts the agent in a folder; returns the folders of the programs and the bundle."""
    programs, bundle = (session.folder / place / folder.relative_to(PROGRAMS.parent) for folder in (PROGRAMS, BUNDLE))
    for program in (PROGRAMS / "quorlin-sensors", PROGRAMS / "quorlinctl", BUNDLE / "quorlin-sensors-launcher"):
        copy = session.folder / place / program.relative_to(PROGRAMS.parent)
        copy.parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(program, copy)
    return programs, bundle


def from_windows_part(consumer):
    """The notifications that somebody else than the agent has posted so far."""
    consumer.hear_all()
    return [name for name, sender, user_info in consumer.heard if sender == "" and user_info == {}]


# The launcher


def test_the_launcher_starts_the_agent_in_the_background_and_leaves(session, bus):
    add_agent(session, bus)
    listener = Consumer(session)
    for _ in range(2):  # the second finds an agent that runs
        ended = launch(session)
        assert (ended.returncode, ended.stderr) == (0, "")
    listener.hear_all()
    assert listener.names().count("QRNSENSTERMINATEHELPER") == 1
    assert starts(session) == [AGENT]
    assert process_owning(bus, LAUNCHER) is None
    listener.wait_for("QuorlinSensorsActiveM", 2)  # it outlives the launcher
    assert "window" not in session.log.read_text()


def test_two_launchers_at_once_start_one_agent(session, bus):
    add_agent(session, bus)
    command = [BUNDLE / "quorlin-sensors-launcher"]
    both = [subprocess.Popen(command, env=session.environment, stderr=subprocess.PIPE, text=True) for _ in range(2)]
    assert [(launcher.communicate(timeout=PATIENCE)[1], launcher.returncode) for launcher in both] == 2 * [("", 0)]
    assert starts(session) == [AGENT] and process_owning(bus, AGENT)
    assert "window" not in session.log.read_text()


def test_a_launcher_that_is_killed_while_the_agent_starts_harms_nothing(session, bus):
    gate = session.folder / "gate"
    add_service(session, bus, AGENT,
                f"sh -c 'until [ -e {gate} ]; do sleep 0.05; done; exec {PROGRAMS}/quorlin-sensors 2>>{session.log}'")
    launcher = subprocess.Popen([BUNDLE / "quorlin-sensors-launcher"], env=session.environment)
    wait_until(lambda: starts(session), "the agent is being started")
    launcher.kill()
    launcher.wait()
    gate.touch()
    wait_until(lambda: process_owning(bus, AGENT), "it comes all the same")
    assert launch(session).returncode == 0
    assert starts(session) == [AGENT]


OWN_NAME = ("/usr/bin/python3 -c 'from gi.repository import Gio; "
            f'bus = Gio.bus_get_sync(2); bus.call_sync("org.freedesktop.DBus", "/", "org.freedesktop.DBus", '
            f'"RequestName", __import__("gi").repository.GLib.Variant("(su)", ("{AGENT}", 0)), None, 0, -1); '
            "{}'")


@pytest.mark.parametrize("agent, status, reason", [
    (None, 69, "was not provided by any .service files"),
    ("sh -c 'kill -SEGV $$'", 69, "received signal 11"),
    (OWN_NAME.format("1"), 69, "it ended while it launched"),
    (OWN_NAME.format("import signal; signal.pause()"), 75, "it has not said in time that it has launched")])
def test_the_launcher_says_why_there_is_no_agent(session, bus, agent, status, reason):
    if agent:
        add_service(session, bus, AGENT, agent)
    ended = launch(session, os.environ["QUORLIN_DESCRIBED_LAUNCHER"] if status == 75 else
                   BUNDLE / "quorlin-sensors-launcher")
    assert ended.returncode == status
    assert re.fullmatch(f"quorlin-sensors-launcher: the agent was not started: .*{reason}.*\n", ended.stderr)
    assert process_owning(bus, LAUNCHER) is None
    if status == 75:
        os.kill(process_owning(bus, AGENT), signal.SIGKILL)


def test_with_everything_off_the_agent_says_why_it_leaves(session, bus):
    session.configure(autostart=0)
    add_agent(session, bus)
    assert launch(session).returncode == 0
    wait_until(lambda: process_owning(bus, AGENT) is None, "it has nothing to do")
    assert "everything is switched off. To switch the sensors on: quorlinctl enable" in session.log.read_text()


# quorlinctl enable, disable, status


def test_enable_and_disable_do_all_that_is_needed(session, bus):
    session.settings.unlink()
    session.environment["XDG_CURRENT_DESKTOP"] = "XFCE"
    add_agent(session, None)  # installed after the login
    listener = Consumer(session)
    enabled = switched(session, "enable")
    assert (enabled.returncode, enabled.stderr) == (0, "")
    assert enabled.stdout == ("The sensors plug-in is on.\n"
                              f"At login the agent is started by XFCE, for {entry_of(session)}.\n")
    assert from_windows_part(listener) == ACTIVE
    assert session.stored()["autostart"] == "1"
    assert f'Exec="{BUNDLE / "quorlin-sensors-launcher"}"' in entry_of(session).read_text()
    listener.wait_for("QuorlinSensorsActiveM", 2)
    assert starts(session) == [AGENT]
    assert "window" not in session.log.read_text()
    status = switched(session, "status")
    assert re.search(r"^ok +agent .*\nok +sensors plug-in .*\nok +start at login ", status.stdout, re.MULTILINE)
    assert (status.returncode, status.stderr) == (0, "")

    disabled = switched(session, "disable")
    assert (disabled.returncode, disabled.stderr) == (0, "")
    assert disabled.stdout == "The sensors plug-in is off.\nThe agent no longer starts at login.\n"
    assert from_windows_part(listener) == ACTIVE + INACTIVE
    wait_until(lambda: process_owning(bus, AGENT) is None, "nothing is left to do")
    assert session.stored()["autostart"] == "0" and not entry_of(session).exists()
    status = switched(session, "status")
    assert status.returncode == 1 and "'quorlinctl enable'" in status.stdout
    assert starts(session) == [AGENT], "looking starts nothing"


def test_systemd_starts_the_launcher_for_the_entry(session, bus):
    programs, bundle = copy_programs(session, "a new place")
    add_agent(session, bus, programs)
    assert switched(session, "enable", programs=programs).returncode == 0
    entry = entry_of(session)
    assert session.run("/usr/bin/desktop-file-validate", entry).stdout == ""
    entry.write_text(entry.read_text() + "X-Mine=yes\n")

    def generate():
        units = session.folder / "units"
        shutil.rmtree(units, ignore_errors=True)
        units.mkdir()
        said = session.run("/usr/lib/systemd/user-generators/systemd-xdg-autostart-generator", *3 * [units])
        assert said.returncode == 0, said.stderr
        return list(units.glob("*.service"))

    unit, = generate()
    assert unit.name == f"app-{LAUNCHER}@autostart.service"
    session.environment["XDG_RUNTIME_DIR"] = str(session.folder)
    assert session.run("/usr/bin/systemd-analyze", "--user", "verify", "--man=no", unit).stderr == ""
    command = re.search("^ExecStart=:(.*)$", unit.read_text(), re.MULTILINE)[1]
    assert shlex.split(command) == [str(bundle / "quorlin-sensors-launcher")]
    assert switched(session, "disable", programs=programs).returncode == 0
    assert "X-Mine=yes" in entry.read_text() and generate() == []


def test_a_start_at_login_that_cannot_be_arranged_is_told(session, bus):
    add_agent(session, bus)
    session.configure()
    (session.folder / "config/autostart").write_text("a file")
    listener = Consumer(session)
    enabled = switched(session, "enable")
    assert (enabled.returncode, enabled.stdout) == (1, "")
    assert re.fullmatch("quorlinctl: the sensors plug-in is on only until the agent ends: .*/config/autostart.*\n",
                        enabled.stderr)
    assert from_windows_part(listener) == ACTIVE
    assert "autostart" not in session.stored()
    wait_until(lambda: process_owning(bus, AGENT) is not None, "the agent stays for its run")
    listener.wait_for("QuorlinSensorsActiveM")


@pytest.mark.parametrize("command", [["enable"], ["disable"], ["enable", "core"], ["net"], ["battery-limit", "80"],
                                     ["watch", "--once"]])
def test_without_an_agent_to_start_every_command_says_so_at_once(session, command):
    ended = switched(session, *command)
    assert (ended.returncode, ended.stdout) == (1, "")
    assert ended.stderr == ("quorlinctl: the agent is not running, and the session bus cannot start it; in the folder of its "
                            "source, install it: cmake --install build/release --prefix ~/.local\n")


@pytest.mark.parametrize("command", [["net"], ["watch", "--once"]])
def test_with_everything_off_nothing_is_started_in_vain(session, bus, command):
    session.configure(autostart=0)
    add_agent(session, bus)
    ended = switched(session, *command)
    assert ended.returncode == 1 and "switch the sensors on: quorlinctl enable" in ended.stderr
    assert starts(session) == []


def test_watch_net_and_battery_limit_start_the_agent(session, bus):
    add_agent(session, bus)
    for command, said in ((["watch", "--once", "--timeout", str(PATIENCE)], "Package id 0"),
                          (["net", "--timeout", str(PATIENCE)], "The list is empty"),
                          (["battery-limit", "80"], "Limit: 80 %")):
        assert said in switched(session, *command).stdout, command
        os.kill(process_owning(bus, AGENT), signal.SIGTERM)
        wait_until(lambda: process_owning(bus, AGENT) is None, "the agent leaves")
    assert starts(session) == 3 * [AGENT]
    assert "window" not in session.log.read_text()


# The core helper's switch


@pytest.fixture
def core(laptop, system_bus, bus):  # noqa: F811
    """A laptop with everything off, and installed programs whose core helper only its installer brings.

    The installer is the test's, since the real one needs systemd; pkexec lets everybody in.
    """
    service = system_bus.folder / "services/com.brellwick.Quorlin-Core-Helper.service"
    kept = service.rename(system_bus.folder / "kept")
    laptop.settings.unlink()
    laptop.programs, bundle = copy_programs(laptop, "installed")
    reload = (f"gdbus call --address {laptop.environment['DBUS_SYSTEM_BUS_ADDRESS']} -d org.freedesktop.DBus -o / "
              "-m org.freedesktop.DBus.ReloadConfig >/dev/null")
    laptop.environment.update(XDG_CURRENT_DESKTOP="XFCE", PATH=f"{bundle}:{os.environ['PATH']}")

    def write(program, text):
        (bundle / program).write_text(f"#!/bin/sh\n{text}\n")
        (bundle / program).chmod(0o755)

    def use_installer(text):
        write("pkexec", 'exec "$@"')
        write("quorlin-core-helper", text.format(install=f"cp {kept} {service} && {reload}"))
        add_agent(laptop, bus, laptop.programs)
    return use_installer


def switch_installed(laptop, *arguments):  # noqa: F811
    return switched(laptop, *arguments, programs=laptop.programs)


ASKS = "The core helper is not installed yet. Installing it asks for an administrator's password.\n"


@pytest.mark.parametrize("installer, has_folder, code, said, complained, stored, heard", [
    ("{install}", True, 0, ASKS + "The core helper is on.\nAt login .*\n", "", "1", ["QuorlinCoreActive"]),
    ("echo no space >&2; exit 1", True, 1, ASKS, "quorlinctl: the core helper stays off: .*no space\n", None, []),
    ("{install}", False, 1, ASKS + "The core helper is on.\n",
     "quorlinctl: the agent will not start at login: .*\n", "1", ["QuorlinCoreInactive"])])
def test_the_core_helper_is_switched_on_with_every_outcome_told(
        laptop, bus, core, installer, has_folder, code, said, complained, stored, heard):  # noqa: F811
    core(installer)
    if not has_folder:
        (laptop.folder / "config/autostart").write_text("a file")
    listener = Consumer(laptop)
    outcomes = []
    listener.bus.signal_subscribe(None, SETTINGS, "CoreAutostartOutcome", OBJECT, None, 0,
                                  lambda *signal: outcomes.append(signal[5].unpack()[1]))
    ended = switch_installed(laptop, "enable", "core")
    assert re.fullmatch(said, ended.stdout) and re.fullmatch(complained, ended.stderr), ended
    assert ended.returncode == code
    assert laptop.stored().get("coreAutostart") == stored
    assert from_windows_part(listener) == heard
    assert outcomes == [success for success, is_told in ((False, code == 1), (True, stored == "1")) if is_told]
    if stored is None:
        wait_until(lambda: process_owning(bus, AGENT) is None, "nothing is on")


def test_while_a_password_is_typed_the_agent_goes_on(laptop, bus, core):  # noqa: F811
    gate = laptop.folder / "gate"
    core(f"touch {gate}.asks; until [ -e {gate} ]; do sleep 0.05; done; {{install}}")
    switching = subprocess.Popen([laptop.programs / "quorlinctl", "enable", "core"], env=laptop.environment,
                                 text=True, stdout=subprocess.PIPE)
    wait_until(lambda: pathlib.Path(f"{gate}.asks").exists(), "a person is asked")
    refused = switch_installed(laptop, "enable", "core")
    assert refused.returncode == 1 and "is being switched on already" in refused.stderr
    assert "The sensors plug-in is on." in switch_installed(laptop, "enable").stdout
    gate.touch()
    assert "The core helper is on." in switching.communicate(timeout=PATIENCE)[0]
    assert starts(laptop) == [AGENT]


def test_the_core_helper_goes_off_and_lets_the_battery_charge(laptop, system_bus, bus, core):  # noqa: F811
    core("{install}")
    assert switch_installed(laptop, "enable", "core").returncode == 0
    system_bus.charge(81, "Charging")
    consumer = Consumer(laptop, "brellwick.Quorlin")
    switch_installed(laptop, "battery-limit", "80")
    wait_until(lambda: is_held(system_bus), "the hold")
    ended = switch_installed(laptop, "disable", "core")
    assert (ended.returncode, ended.stderr) == (0, "")
    assert ended.stdout == ("The core helper is off.\nNothing is on now, but the agent still starts at login; to end that: "
                            "quorlinctl disable\n")
    assert from_windows_part(consumer) == ["QuorlinCoreInactive"]
    wait_until(lambda: not is_held(system_bus), "the release")
    assert laptop.stored()["coreAutostart"] == "0"
    assert entry_of(laptop).exists(), "only the plug-in's switch removes it"


# The interface


def test_the_interface_is_what_its_description_says(session):
    _, client = session.start_and_greet("-silent")
    told = client.call(AGENT, OBJECT, "org.freedesktop.DBus.Introspectable", "Introspect").unpack()[0]

    def rows(text):
        interface = xml.etree.ElementTree.fromstring(text).find(f"interface[@name='{SETTINGS}']")
        return sorted(f"{element.tag} {sorted(element.attrib.items())} {[sorted(inner.attrib.items()) for inner in element]}"
                      for element in interface)

    assert rows(told) == rows(XML.read_text()) and len(rows(told)) == 9


def test_the_switches_tell_their_changes(session, bus):
    add_agent(session, bus)
    session.start_and_greet("-silent")
    client = Consumer(session)
    changes = {}
    client.bus.signal_subscribe(None, PROPERTIES, "PropertiesChanged", OBJECT, None, 0,
                                lambda *signal: changes.update(signal[5].unpack()[1]))

    def ask(method, *flags):
        arguments = GLib.Variant("(" + "b" * len(flags) + ")", flags)
        return client.call(AGENT, OBJECT, SETTINGS, method, arguments).unpack()

    def values():
        return client.call(AGENT, OBJECT, PROPERTIES, "GetAll", GLib.Variant("(s)", (SETTINGS,))).unpack()[0]

    assert values() == {"PluginEnabled": True, "CoreEnabled": False, "PowerLimit": 100, "PowerLimitEnabled": False,
                        "StartsAtLogin": False}
    assert ask("SetAutostart", True) == (True, "")
    assert values()["StartsAtLogin"]
    entry = entry_of(session)
    entry.write_text(entry.read_text() + "Hidden=true\n")
    assert not values()["StartsAtLogin"], "as the entry says"
    ask("SetPluginEnabled", False)
    switched(session, "battery-limit", "80")
    wait_until(lambda: changes.get("PowerLimit") == 80, "both changes are told")
    assert changes["PluginEnabled"] is False
    with pytest.raises(GLib.Error):
        client.call(AGENT, OBJECT, PROPERTIES, "Set",
                    GLib.Variant("(ssv)", (SETTINGS, "PluginEnabled", GLib.Variant("b", True))))
    # With everything off the agent stays for the one that works its switches, and no longer.
    assert process_owning(bus, AGENT)
    client.leave()
    wait_until(lambda: process_owning(bus, AGENT) is None, "the last one has left")
