"""The keeper: a consumer that only has the agent hold the battery's charge."""
import os
import pathlib
import shutil
import signal
import subprocess

import pytest
from gi.repository import Gio, GLib

from activation import add_agent, add_service, process_owning, starts
from harness import AGENT, BUNDLE, PATIENCE, PROGRAMS, Consumer, wait_until
from system_bus import ask_bus
from test_charge import laptop  # noqa: F401
from test_core_helper import is_held

KEEPER = "brellwick.QuorlinSensors.Keep"
MAIN_APP = "brellwick.Quorlin"
REPLACE = 2  # of RequestName


def start_keeper(session, bus, program=BUNDLE / "quorlin-keep"):
    keeper = subprocess.Popen([program], env=session.environment)
    session.children.append(keeper)
    wait_until(lambda: process_owning(bus, KEEPER) == keeper.pid, "the keeper is there")
    return keeper


def test_it_makes_way_for_consumers_and_comes_back(session, bus):
    earlier = Consumer(session, MAIN_APP)
    keeper = start_keeper(session, bus)
    assert process_owning(bus, MAIN_APP) == os.getpid()
    earlier.leave()
    wait_until(lambda: process_owning(bus, MAIN_APP) == keeper.pid, "the keeper follows a consumer")
    later = Consumer(session)
    ask_bus(later.bus, "RequestName", "(su)", MAIN_APP, REPLACE)
    assert process_owning(bus, MAIN_APP) == os.getpid()
    later.leave()
    wait_until(lambda: process_owning(bus, MAIN_APP) == keeper.pid, "the keeper is back")


def test_it_sleeps_until_a_message_comes(session, bus):
    keeper = start_keeper(session, bus)
    # proc(5): the number of the system call and its arguments; that of ppoll(2) for the time is the third.
    call = pathlib.Path(f"/proc/{keeper.pid}/syscall")
    wait_until(lambda: call.read_text().split()[2:4] == ["0x1", "0x0"], "one descriptor, no time")
    assert os.listdir(f"/proc/{keeper.pid}/task") == [str(keeper.pid)]


def test_there_is_one_in_a_session(session, bus):
    keeper = start_keeper(session, bus)
    assert session.run(BUNDLE / "quorlin-keep").returncode == 0
    assert keeper.poll() is None and process_owning(bus, KEEPER) == keeper.pid


@pytest.mark.parametrize("end, status", [("SIGTERM", -signal.SIGTERM), ("the bus", 0)])
def test_it_ends_with(session, bus, end, status):
    keeper = start_keeper(session, bus)
    bus.set_exit_on_close(False)
    (keeper if end == "SIGTERM" else session.daemon).terminate()
    assert keeper.wait(PATIENCE) == status


def test_it_starts_the_agent_and_starts_it_again_after_a_crash(session, bus):
    add_agent(session, bus)
    start_keeper(session, bus, os.environ["QUORLIN_DESCRIBED_KEEPER"])
    wait_until(lambda: process_owning(bus, AGENT), "the agent is started")
    crashed = process_owning(bus, AGENT)
    os.kill(crashed, signal.SIGKILL)
    wait_until(lambda: process_owning(bus, AGENT) not in (None, crashed), "the agent is started again")
    assert starts(session) == [AGENT] * 2


def test_an_agent_that_leaves_soon_is_not_started_again(session, bus):
    session.configure(autostart=0, coreAutostart=0)  # so that it has nothing to do
    add_agent(session, bus)
    add_service(session, bus, "test.Later", "false")
    owners = []
    bus.signal_subscribe("org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged", None, AGENT, 0,
                         lambda *signal: owners.append(signal[5].unpack()[2]))
    start_keeper(session, bus)
    wait_until(lambda: owners[1:] == [""], "the agent comes and goes")
    # The keeper answers once it has heard of that, and the bus starts programs in the order of the calls.
    bus.call_sync(KEEPER, "/", "org.freedesktop.DBus.Peer", "Ping", None, None, 0, PATIENCE * 1000, None)
    with pytest.raises(GLib.Error):
        ask_bus(bus, "StartServiceByName", "(su)", "test.Later", 0)
    assert starts(session) == [AGENT, "test.Later"]


def test_watchers_take_its_place_and_announce_that_they_leave(session, bus):
    _, listener = session.start_and_greet("-silent")
    keeper = start_keeper(session, bus)
    watchers = []
    for _ in range(2):
        watchers.append(subprocess.Popen([PROGRAMS / "quorlinctl", "watch", "--json"], env=session.environment,
                                         stdout=subprocess.DEVNULL))
        session.children.append(watchers[-1])
        listener.wait_for("QuorlinActive")
        assert process_owning(bus, MAIN_APP) == watchers[0].pid
    for watcher in watchers:
        assert "QuorlinInactive" not in listener.names(), "while another watcher stays"
        watcher.send_signal(signal.SIGINT)
        assert watcher.wait(PATIENCE) == 0
    wait_until(lambda: process_owning(bus, MAIN_APP) == keeper.pid, "the keeper is back")
    wait_until(lambda: listener.names().count("QuorlinInactive") == 1, "the last watcher says so")


def test_keep_starts_it_now_and_at_every_login_and_no_keep_ends_both(session, bus):
    add_agent(session, bus)
    # A folder that an entry's command has to quote.
    folder = session.folder / "a \"b\" $HOME `c` \\"
    for program in (PROGRAMS / "quorlinctl", BUNDLE / "quorlin-keep"):
        copy = folder / program.relative_to(PROGRAMS.parent)
        copy.parent.mkdir(parents=True)
        shutil.copy(program, copy)
    quorlinctl = folder / PROGRAMS.name / "quorlinctl"
    entry = session.folder / f"config/autostart/{KEEPER}.desktop"

    first = session.run(quorlinctl, "battery-limit", "80", "--keep")
    assert (first.returncode, first.stdout.splitlines()[0]) == (
        3, f"Started quorlin-keep. It starts at every login from now on, by {entry}."), "there is no helper"
    wait_until(lambda: session.stored().get("batterylimit") == "80", "the limit is stored")
    keeper = process_owning(bus, KEEPER)
    assert os.getsid(keeper) == keeper
    assert "Phase" not in entry.read_text()
    again = session.run(quorlinctl, "battery-limit", "--keep")
    assert again.returncode == 0 and again.stdout.startswith("quorlin-keep is running already.")
    assert process_owning(bus, KEEPER) == keeper

    ended = session.run(quorlinctl, "battery-limit", "--no-keep")
    assert ended.returncode == 0 and ended.stdout.startswith("Ended quorlin-keep.")
    assert process_owning(bus, KEEPER) is None and not entry.exists()
    assert session.run(quorlinctl, "battery-limit", "--no-keep").stdout.startswith("quorlin-keep was not running.")

    assert session.run(quorlinctl, "battery-limit", "--keep").returncode == 0
    os.kill(process_owning(bus, KEEPER), signal.SIGTERM)
    wait_until(lambda: process_owning(bus, KEEPER) is None, "the session's end")
    login = Gio.AppLaunchContext()
    login.setenv("DBUS_SESSION_BUS_ADDRESS", session.address)
    assert Gio.DesktopAppInfo.new_from_filename(str(entry)).launch([], login)
    wait_until(lambda: process_owning(bus, KEEPER), "the next login")


def test_what_a_person_wrote_into_its_entry_stays(session, bus):
    add_agent(session, bus)
    entry = session.folder / f"config/autostart/{KEEPER}.desktop"
    session.run("quorlinctl", "battery-limit", "--keep")
    entry.write_text(entry.read_text() + "X-GNOME-Autostart-Delay=20\n")
    edited = entry.read_text()
    session.run("quorlinctl", "battery-limit", "--no-keep")
    assert entry.read_text() == edited + "Hidden=true\n"
    session.run("quorlinctl", "battery-limit", "--keep")
    assert entry.read_text() == edited


def test_after_login_the_keeper_alone_holds_the_charge(laptop, system_bus, bus):  # noqa: F811
    add_agent(laptop, bus)
    system_bus.charge(81, "Charging")
    listener = Consumer(laptop)
    start_keeper(laptop, bus)
    wait_until(lambda: is_held(system_bus), "the hold")
    listener.wait_for("QuorlinSensorsActiveM")
    assert "QuorlinSensorsDataM" not in listener.names(), "nobody has asked for samples"
