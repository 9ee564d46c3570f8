"""The real agent on a bus of its own, before real consumers."""
import plistlib
import re
import signal
import subprocess

import pytest
from gi.repository import GLib

from harness import AGENT, PATIENCE, PROGRAMS, Consumer, wait_until

HEARTBEAT = ["QuorlinSensorsActive", "QuorlinSensorsActiveW", "QuorlinSensorsActiveM"]
MAIN = ["QuorlinSensorsDataM", "QuorlinSensorsDataMMini"]


def terminate(agent):
    agent.send_signal(signal.SIGTERM)
    assert agent.wait(PATIENCE) == 0


def unarchived(data):
    """The root array of a keyed archive, as another implementation reads it."""
    archive = plistlib.loads(bytes(data))
    assert (archive["$archiver"], archive["$version"]) == ("NSKeyedArchiver", 100000)
    objects = archive["$objects"]
    root = objects[archive["$top"]["root"].data]
    assert objects[root["$class"].data]["$classname"] == "NSArray"
    return [objects[reference.data] for reference in root["NS.objects"]]


def test_a_silent_start_with_everything_off_tells_the_launcher_and_leaves(session):
    session.configure(autostart=0)
    consumer = Consumer(session)
    agent = session.start("-silent")
    assert agent.wait(PATIENCE) == 0
    consumer.has_owner(AGENT)  # whatever was posted before has been delivered with the answer
    wait_until(lambda: consumer.heard, "the launcher hears of it")
    assert consumer.heard == [("QRNSENSTERMINATEHELPER", AGENT, {})]
    assert session.stored()["terminatedPeacefully"] == "1"


def test_an_interactive_start_with_everything_off_says_why_it_ends(session):
    session.configure(autostart=0)
    assert session.start().wait(PATIENCE) == 0
    assert session.logged("quorlin-sensors: The agent ends because everything is switched off.")
    assert "lastUpdateCheck" not in session.stored()


def test_a_running_launcher_makes_the_start_silent(session):
    launcher = Consumer(session, "brellwick.QuorlinSensorsHelper")
    agent = session.start()
    assert launcher.wait_for("QRNSENSTERMINATEHELPER") == (AGENT, {})
    launcher.wait_for("QuorlinSensorsActiveM")
    assert not session.logged("configuration window")
    terminate(agent)


def test_the_main_application_gets_samples_while_it_is_active(session):
    agent, main_app = session.start_and_greet("-silent", name="brellwick.Quorlin")
    main_app.wait_for("QuorlinSensorsActiveM", 2)
    assert main_app.names()[1:10] == 3 * HEARTBEAT
    assert set(main_app.names()[10:]) <= set(HEARTBEAT), "not active yet"
    assert all(heard[1:] == ("QuorlinSensorsAgent", {"version": 12}) for heard in main_app.heard[1:])

    main_app.post("QuorlinActive")
    sender, sample = main_app.wait_for("QuorlinSensorsDataM")
    assert sender == "QuorlinSensorsAgent"
    assert list(sample) == ["sensors", "sensorsData", "fans", "fansData", "readDiskIOData", "writeDiskIOData",
                            "readDiskIOBytes", "writeDiskIOBytes", "version"]
    assert sample["version"] == 12
    assert sample["sensors"].keys() == sample["sensorsData"].keys()
    assert sample["sensors"]["platform/coretemp.0/temp1"] == "Package id 0"
    assert sample["sensorsData"]["platform/coretemp.0/temp1"] == 52.0
    assert sample["fans"].keys() == sample["fansData"].keys() and 2410 in sample["fansData"].values()
    assert sample["readDiskIOBytes"] > 0

    main_app.wait_for("QuorlinSensorsDataMMini")
    reduced = main_app.heard[-1][2]
    assert 0 < len(reduced["sensors"]) < len(sample["sensors"])
    assert reduced["sensors"].keys() <= sample["sensors"].keys()
    assert main_app.names()[-5:] == [*HEARTBEAT, *MAIN]

    main_app.post("QuorlinInactive")
    main_app.wait_for("QuorlinSensorsActiveM", 2)
    assert main_app.names()[-3:] == HEARTBEAT and main_app.names()[-6:-3] == HEARTBEAT
    terminate(agent)


def test_disk_rates_are_archived_for_other_implementations_to_read(session):
    agent, widget = session.start_and_greet("-silent", name="brellwick.Quorlin.QuorlinWidget")
    _, first = widget.wait_for("QuorlinSensorsDataW")
    assert unarchived(first["readDiskIOData"]) == [0.0] * 60
    counters = session.folder / "machine/proc/diskstats"
    counters.write_text(re.sub(r"(nvme0n1 \d+ \d+ )(\d+)", lambda at: f"{at[1]}{int(at[2]) + 60000}",
                               counters.read_text()))
    _, second = widget.wait_for("QuorlinSensorsDataW")
    assert second["readDiskIOBytes"] - first["readDiskIOBytes"] == 60000 * 512
    rates = unarchived(second["readDiskIOData"])
    assert len(rates) == 60 and rates[-1] > 0 and rates[:-1] == [0.0] * 59
    assert unarchived(second["writeDiskIOData"]) == [0.0] * 60
    terminate(agent)


def test_a_consumer_comes_and_goes(session):
    agent, listener = session.start_and_greet("-silent")
    for _ in range(2):
        main_app = Consumer(session, "brellwick.Quorlin-Pro")
        main_app.post("QuorlinActive")
        listener.wait_for("QuorlinSensorsDataM")
        main_app.leave()
        listener.wait_for("QuorlinSensorsActiveM")  # may have been under way
        listener.wait_for("QuorlinSensorsActiveM", 2)
        assert not set(MAIN) & set(listener.names()[-6:])
    terminate(agent)


def test_a_consumer_without_a_name_on_the_bus_is_found_by_its_process(session):
    process = session.folder / "machine/proc/4711"
    process.mkdir()
    (process / "cgroup").write_text("0::/user.slice/app.slice/app-gnome-brellwick.Quorlin-4711.scope\n")
    agent, listener = session.start_and_greet("-silent")
    listener.post("QuorlinActive")
    listener.wait_for("QuorlinSensorsDataM")
    terminate(agent)


def test_a_second_agent_hands_over_and_leaves(session):
    agent, consumer = session.start_and_greet("-silent")
    second = session.run("quorlin-sensors", "-silent")
    assert (second.returncode, second.stderr) == (0, "quorlin-sensors: The agent is already running; it received the request.\n")
    consumer.wait_for("QuorlinSensorsActiveM")  # by then the first would have acted
    assert not session.logged("configuration window")

    assert session.run("quorlin-sensors").returncode == 0
    wait_until(lambda: session.logged("configuration window is not available"), "a person's request is heard")
    consumer.wait_for("QuorlinSensorsActiveM")
    terminate(agent)


def test_calls_that_are_malformed_are_refused_and_harm_nothing(session):
    agent, person = session.start_and_greet("-silent")
    for method, arguments in [("Activate", GLib.Variant("(s)", ("x",))), ("Open", None),
                              ("ActivateAction", GLib.Variant("(sava{sv})", ("quit", [], {}))), ("Nonsense", None)]:
        with pytest.raises(GLib.Error, match="InvalidArgs|NotSupported|UnknownMethod"):
            person.call(AGENT, "/brellwick/QuorlinSensors", "org.freedesktop.Application", method, arguments)
    person.wait_for("QuorlinSensorsActiveM")
    terminate(agent)


def test_settings_survive_runs_and_a_peaceful_end_is_noted(session):
    agent, listener = session.start_and_greet("-silent")
    listener.wait_for("QuorlinSensorsActiveM")  # the launch is over
    checked = session.stored()["lastUpdateCheck"]
    terminate(agent)
    assert session.stored() == {"autostart": "1", "lastUpdateCheck": checked, "terminatedPeacefully": "1"}
    agent, listener = session.start_and_greet("-silent")
    listener.wait_for("QuorlinSensorsActiveM")
    assert session.stored() == {"autostart": "1", "lastUpdateCheck": checked}, "checked less than two days ago"
    terminate(agent)


@pytest.mark.parametrize("address, message", [("unix:path=/nonexistent", "Cannot connect to the session bus: "),
                                              (None, "No session bus found: ")])
def test_without_a_bus_the_agent_says_so(session, address, message):
    session.environment["DBUS_SESSION_BUS_ADDRESS"] = address
    session.environment = {key: value for key, value in session.environment.items() if value}
    ended = session.run("quorlin-sensors")
    assert ended.returncode == 69
    assert ended.stderr.startswith("quorlin-sensors: " + message)


def test_an_unread_log_does_not_end_the_agent(session):
    agent = subprocess.Popen([PROGRAMS / "quorlin-sensors", "-silent"], env=session.environment,
                             stderr=subprocess.PIPE)
    session.children.append(agent)
    agent.stderr.close()
    listener = Consumer(session)
    listener.wait_for("QuorlinSensorsActiveM")
    listener.call(AGENT, "/brellwick/QuorlinSensors", "org.freedesktop.Application", "Activate",
                  GLib.Variant("(a{sv})", ({"activation-token": GLib.Variant("s", "t")},)))  # it has something to say
    listener.wait_for("QuorlinSensorsActiveM", 2)
    terminate(agent)


def test_the_agent_ends_with_its_bus(session):
    agent, _ = session.start_and_greet("-silent")
    session.daemon.terminate()
    assert agent.wait(PATIENCE) == 0
    assert session.logged("Lost the connection to the session bus")
    assert session.stored()["terminatedPeacefully"] == "1"


@pytest.mark.parametrize("argument, code, output, error", [
    ("--help", 0, "Usage: quorlin-sensors", ""), ("--version", 0, "quorlin-sensors ", ""),
    ("--loud", 64, "", "unknown option --loud"), ("loud", 64, "", "'loud' is not a URL")])
def test_the_command_line_explains_itself(session, argument, code, output, error):
    ended = session.run("quorlin-sensors", argument)
    assert ended.returncode == code and ended.stdout.startswith(output)
    assert error in ended.stderr and bool(error) == bool(ended.stderr)


def test_the_real_machine_is_sampled(session):
    for root in ("QUORLIN_SYSFS_ROOT", "QUORLIN_PROCFS_ROOT"):
        del session.environment[root]
    agent, widget = session.start_and_greet("-silent", name="brellwick.Quorlin.QuorlinWidget")
    _, sample = widget.wait_for("QuorlinSensorsDataW")
    assert sample["sensors"].keys() == sample["sensorsData"].keys()
    assert len(unarchived(sample["readDiskIOData"])) == 60
    terminate(agent)
