"""The real root helper on a system bus of its own, a described machine below it, polkit played by the test."""
import os
import re
import signal
import socket
import subprocess
import time

import pytest
from gi.repository import GLib

from harness import BUNDLE, FIXTURES, PATIENCE, wait_until
from sandbox import Sandbox
from system_bus import HELPER, INTERFACE, NAME, OBJECT, PACKAGING, Client, Error, ask_bus, connect

METRICS = ["--samplers", "cpu_power,gpu_power,ane_power,thermal", "-i", "500"]
END = "charge_control_end_threshold"
START = "charge_control_start_threshold"


@pytest.fixture
def client(system_bus):
    client = Client(system_bus.start().address)
    yield client
    client.leave()


def hold(system_bus, client):
    reply = client.call("LimitCharge", system_bus.key(), False)
    assert not isinstance(reply, Error), reply.text
    return reply


def has_owner(client, name):
    return ask_bus(client.bus, "NameHasOwner", "(s)", name)


def say_whether_asleep(bus, asleep, receiver=None):
    """As logind does to everybody, or as it would to one receiver."""
    bus.emit_signal(receiver, "/org/freedesktop/login1", "org.freedesktop.login1.Manager", "PrepareForSleep",
                    GLib.Variant("(b)", (asleep,)))
    bus.flush_sync(None)


def is_held(system_bus):
    return int(system_bus.battery(END)) <= int(system_bus.battery("capacity"))


def memory_of(process, field):
    """In kB."""
    with open(f"/proc/{process}/status", encoding="ascii") as status:
        return next(int(line.split()[1]) for line in status if line.startswith(field))


def calls(system_bus):
    """Each method with arguments that it takes."""
    key = system_bus.key()
    return [("ConnectWithEndpoint",), ("GetVersion",), ("GetCoreMetrics", key, METRICS), ("LimitCharge", key, False),
            ("LimitCharge", key, True), ("UninstallHelper", key)]


def test_polkit_is_asked_at_every_call_for_that_method_by_the_callers_bus_name(system_bus, client):
    for call in calls(system_bus):
        answer = client.call(*call, interactive=call[0] == "UninstallHelper")
        assert isinstance(answer, str) and not isinstance(answer, Error), (call, answer)
    actions = ["connect-with-endpoint", "get-version", "get-core-metrics", "limit-charge", "limit-charge",
               "uninstall-helper"]
    assert system_bus.polkit.asked == [
        ("system-bus-name", {"name": client.name}, action, 1 if action == "uninstall-helper" else 0)
        for action in actions]
    assert system_bus.polkit.cancelled == []


@pytest.mark.parametrize("answer", ["deny", "challenge", "fail", "absent", "hang"])
def test_without_a_clear_yes_nothing_is_done(system_bus, answer):
    system_bus.start(QUORLIN_PATIENCE_MS="1" if answer == "hang" else "600000")
    assert system_bus.run("--install").returncode == 0
    client = Client(system_bus.address)
    system_bus.polkit.answer = "wait" if answer == "hang" else answer
    if answer == "absent":
        system_bus.polkit.end()
        system_bus.polkit = None
    before = system_bus.contents()
    for call in calls(system_bus):
        refused = client.call(*call)
        assert refused == "AccessDenied", call
        assert "polkit" in refused.text
    assert system_bus.contents() == before
    if answer == "hang":
        wait_until(lambda: len(system_bus.polkit.cancelled) == len(calls(system_bus)), "the questions taken back")
        assert system_bus.polkit.cancelled == system_bus.polkit.questions
        assert len(set(system_bus.polkit.questions)) == len(calls(system_bus))


def test_a_caller_that_leaves_while_polkit_thinks_has_done_nothing(system_bus, client):
    before = system_bus.contents()
    system_bus.polkit.answer = "wait"
    leaver = Client(system_bus.address)
    leaver.send("LimitCharge", system_bus.key(), False)
    wait_until(lambda: system_bus.polkit.waiting, "the question")
    leaver.leave()
    wait_until(lambda: system_bus.polkit.cancelled, "the question taken back")
    system_bus.polkit.answer_waiting("allow")
    system_bus.polkit.answer = "allow"
    assert client.call("GetVersion")
    assert system_bus.contents() == before


@pytest.mark.parametrize("method, arguments, error", [
    ("LimitCharge", ("00000000", False), "AccessDenied"),
    ("LimitCharge", ("", False), "AccessDenied"),
    ("LimitCharge", ("k" * 65, False), "InvalidArgs"),
    ("LimitCharge", ("k" * 30000000, True), "InvalidArgs: the key is not a string, or the call is too long"),
    ("UninstallHelper", ("00000000",), "AccessDenied"),
    ("GetCoreMetrics", ("00000000", METRICS), "AccessDenied"),
    ("GetCoreMetrics", ("KEY", []), "InvalidArgs"),
    ("GetCoreMetrics", ("KEY", [*METRICS, "--output-file", "/etc/passwd"]), "InvalidArgs"),
    ("GetCoreMetrics", ("KEY", ["--samplers", "cpu_power", "-i", "999999999"]), "InvalidArgs"),
    ("GetCoreMetrics", ("KEY", ["-x"] * 17), "InvalidArgs: there are too many parameters"),
    ("GetCoreMetrics", ("KEY", ["-x"] * 100000), "InvalidArgs: the key is not a string, or the call is too long"),
    ("GetCoreMetrics", ("KEY", ["--samplers", "c" * 257, "-i", "1000"]), "InvalidArgs: a parameter is too long"),
])
def test_a_wrong_key_and_odd_parameters_are_refused_before_polkit_is_asked(system_bus, client, method, arguments, error):
    before = system_bus.contents()
    arguments = [system_bus.key() if argument == "KEY" else argument for argument in arguments]
    answer = client.call(method, *arguments)
    assert f".{error}" in answer.text
    assert answer.text and len(answer.text) < 200
    assert system_bus.contents() == before
    assert system_bus.polkit.asked == []


def test_a_call_of_30_mb_takes_none_of_the_helpers_memory(system_bus, client):
    client.call("GetVersion")
    process = system_bus.process()
    before = memory_of(process, "VmHWM")
    assert client.call("LimitCharge", "k" * 30000000, True) == "InvalidArgs"
    assert memory_of(process, "VmHWM") < before + 4096


def test_a_flood_from_one_client_leaves_the_others_served(system_bus, client):
    system_bus.polkit.answer = "wait"
    flooder = Client(system_bus.address)
    answers = [flooder.send("GetCoreMetrics", system_bus.key(), METRICS) for _ in range(300)]
    wait_until(lambda: sum(map(len, answers)) == 296, "all but four refused")
    assert {answer[0] for answer in answers if answer} == {"LimitsExceeded"}
    system_bus.polkit.answer = "allow"
    asked = len(system_bus.polkit.asked)
    unanswered = connect(system_bus.address)
    for _ in range(2000):  # nor do those that want no answer, which the bus does not count
        unanswered.call(NAME, OBJECT, INTERFACE, "GetVersion", None, None, 0, -1, None, None)
    has_owner(flooder, NAME)
    unanswered.flush_sync(None)
    unanswered.close_sync(None)
    assert re.fullmatch(r"\d+\.\d+\.\d+", client.call("GetVersion"))
    assert len(system_bus.polkit.asked) == asked + 1
    system_bus.polkit.answer_waiting("allow")
    wait_until(lambda: all(answers), "the four are answered")
    assert sum(not isinstance(answer[0], Error) for answer in answers) == 4


def test_a_flood_from_one_user_is_bounded_however_many_clients_send_it(system_bus):
    system_bus.start()
    system_bus.polkit.answer = "wait"
    flooders = [Client(system_bus.address) for _ in range(5)]
    answers = [flooder.send("GetVersion") for flooder in flooders for _ in range(4)]
    wait_until(lambda: sum(map(len, answers)) == 4, "all but sixteen refused")
    assert {answer[0] for answer in answers if answer} == {"LimitsExceeded"}


def test_a_hold_is_written_once_then_put_back_and_put_off_right_after_that(system_bus, client):
    system_bus.battery("capacity", 81)
    before = system_bus.battery(END), system_bus.battery(START)
    assert "held" in hold(system_bus, client)
    assert is_held(system_bus)
    held = system_bus.contents()
    hold(system_bus, client)
    assert system_bus.contents() == held
    assert system_bus.log.read_text().count(f"{client.name} of user {os.getuid()} asked to hold the charge: ") == 1
    assert client.call("LimitCharge", system_bus.key(), True)
    assert (system_bus.battery(END), system_bus.battery(START)) == before
    assert not (system_bus.state / "held").exists()
    assert client.call("LimitCharge", system_bus.key(), False) == "LimitsExceeded"
    assert system_bus.battery(END) == before[0]
    wait_until(lambda: client.call("LimitCharge", system_bus.key(), False) != "LimitsExceeded", "the hold after a while")
    assert is_held(system_bus)


def test_a_pause_before_the_next_hold_counts_however_the_last_one_ended(system_bus, client):
    for leaves in (True, False):
        holder = Client(system_bus.address)
        wait_until(lambda holder=holder: holder.call("LimitCharge", system_bus.key(), False) != "LimitsExceeded", "a hold")
        before = system_bus.log.read_text().count("released")
        if leaves:
            holder.leave()
            wait_until(lambda before=before: system_bus.log.read_text().count("released") > before, "the release")
        else:
            holder.call("LimitCharge", system_bus.key(), True)
        assert client.call("LimitCharge", system_bus.key(), False) == "LimitsExceeded"
        holder.leave()


def test_a_holder_that_falls_silent_holds_no_longer(system_bus):
    client = Client(system_bus.start(QUORLIN_SILENCE_MS="1", QUORLIN_TURN_MS="1").address)
    before = system_bus.battery(END)
    hold(system_bus, client)
    wait_until(lambda: system_bus.battery(END) == before, "the release")
    assert "fallen silent" in system_bus.log.read_text()


def test_measuring_is_never_in_the_way_of_a_release(system_bus, client):
    before = system_bus.battery(END)
    hold(system_bus, client)
    system_bus.polkit.answer = "wait"
    others = [client, *(Client(system_bus.address) for _ in range(3))]
    measuring = [other.send("GetCoreMetrics", system_bus.key(), METRICS) for other in others for _ in range(4)]
    wait_until(lambda: len(system_bus.polkit.waiting) == 16, "sixteen questions")
    system_bus.polkit.answer = "allow"
    assert client.call("GetCoreMetrics", system_bus.key(), METRICS) == "LimitsExceeded"
    assert not isinstance(client.call("LimitCharge", system_bus.key(), True), Error)
    assert system_bus.battery(END) == before
    assert not any(measuring)


@pytest.mark.parametrize("connections, flags", [(12, 0), (200, 1)], ids=["calls", "calls that want no reply"])
def test_another_users_flood_ends_no_hold_and_leaves_others_served(system_bus, client, connections, flags):
    hold(system_bus, client)
    process = system_bus.process()
    with subprocess.Popen(["/usr/bin/python3", FIXTURES / "flood.py", system_bus.folder / "socket", str(connections),
                           str(flags), "65534"], stdout=subprocess.PIPE, text=True) as flooder:
        assert flooder.stdout.readline() == "connected\n"
        try:
            for _ in range(3):
                assert re.fullmatch(r"\d+\.\d+\.\d+", client.call("GetVersion"))
        finally:
            flooder.kill()
    assert system_bus.process() == process
    assert is_held(system_bus)


def test_a_thousand_rounds_and_sleeps_leave_nothing_behind(system_bus):
    # Freed memory that the sanitizer keeps for a while would hide what the helper keeps.
    system_bus.start(QUORLIN_PAUSE_MS="0", ASAN_OPTIONS="quarantine_size_mb=1:detect_leaks=0")
    client = Client(system_bus.address)
    logind = connect(system_bus.address)
    ask_bus(logind, "RequestName", "(su)", "org.freedesktop.login1", 0)

    def rounds(count):
        for _ in range(count):
            holder = Client(system_bus.address)
            hold(system_bus, holder)
            say_whether_asleep(logind, False)
            holder.leave()
        client.call("GetVersion")
        process = system_bus.process()
        return process, len(os.listdir(f"/proc/{process}/fd")), memory_of(process, "VmRSS")

    process, descriptors, memory = rounds(100)
    later = rounds(900)
    assert later[:2] == (process, descriptors)
    assert later[2] < memory + 2048
    logind.close_sync(None)


@pytest.mark.parametrize("end, reason", [
    ("holder leaves", "because the caller left the bus"), ("the bus ends", ""),
    (signal.SIGTERM, "because the helper is stopping"), (signal.SIGKILL, "")])
def test_a_hold_ends_with_its_caller_and_with_the_helper(system_bus, client, end, reason):
    before = system_bus.battery(END)
    holder = Client(system_bus.address)
    hold(system_bus, holder)
    assert is_held(system_bus)
    if end == "holder leaves":
        holder.leave()
    elif end == "the bus ends":
        process = system_bus.process()
        system_bus.daemon.terminate()
        system_bus.daemon.wait()
        wait_until(lambda: not os.path.exists(f"/proc/{process}"), "the helper's end")
    else:
        system_bus.kill_helper(end)
    wait_until(lambda: system_bus.battery(END) == before, "the release")
    wait_until(lambda: not (system_bus.state / "held").exists(), "no trace of the hold")
    wait_until(lambda: reason in system_bus.log.read_text(), "the reason in the log")


def test_what_was_held_when_the_power_went_is_released_by_the_next_helper(system_bus, client):
    before = system_bus.battery(END)
    system_bus.state.mkdir(mode=0o700)
    (system_bus.state / "held").write_text(f"BAT0 {END} {before}\n")
    system_bus.battery(END, 63)
    assert client.call("GetVersion")
    assert system_bus.battery(END) == before


def test_a_hold_is_that_of_the_last_one_who_could_make_it(system_bus, client):
    before = system_bus.battery(END)
    first = Client(system_bus.address)
    hold(system_bus, first)
    hold(system_bus, client)
    last = Client(system_bus.address)
    capacity = system_bus.tree / "sys/class/power_supply/BAT0/capacity"
    capacity.write_text("")  # as a battery that is just waking up
    last.call("LimitCharge", system_bus.key(), False)
    capacity.write_text("63\n")
    for other in (first, last):
        other.leave()
        wait_until(lambda other=other: not has_owner(client, other.name), "the other has left")
        assert client.call("GetVersion")  # so the helper has reacted to that
        assert is_held(system_bus)
    client.leave()
    wait_until(lambda: system_bus.battery(END) == before, "the release")


def test_forged_signals_of_the_bus_or_of_logind_do_nothing(system_bus, client):
    hold(system_bus, client)
    held = system_bus.contents()
    helper = ask_bus(client.bus, "GetNameOwner", "(s)", NAME)
    forger = connect(system_bus.address)
    system_bus.battery("capacity", 58)
    forger.emit_signal(helper, "/org/freedesktop/DBus", "org.freedesktop.DBus", "NameOwnerChanged",
                       GLib.Variant("(sss)", (client.name, client.name, "")))
    say_whether_asleep(forger, False, helper)
    forger.close_sync(None)
    wait_until(lambda: not has_owner(client, forger.get_unique_name()), "the forger has left")
    assert client.call("GetVersion")
    system_bus.battery("capacity", 63)
    assert system_bus.contents() == held


def test_a_firmware_that_forgot_the_hold_in_its_sleep_is_told_again_twice(system_bus):
    client = Client(system_bus.start(QUORLIN_SETTLING_MS="300").address)
    logind = connect(system_bus.address)
    ask_bus(logind, "RequestName", "(su)", "org.freedesktop.login1", 0)
    before = system_bus.battery(END)
    hold(system_bus, client)
    held = system_bus.battery(END)
    # The driver goes on showing what its firmware has forgotten, so that only the writing tells.
    file = system_bus.tree / "sys/class/power_supply/BAT0" / END
    for reason in ("asleep", "after that"):
        os.utime(file, (0, 0))
        if reason == "asleep":
            for asleep in (True, False):
                say_whether_asleep(logind, asleep)
        wait_until(lambda: file.stat().st_mtime > 0, f"a write {reason}")
        assert system_bus.battery(END) == held
    # A hold that has been released does not come back.
    client.call("LimitCharge", system_bus.key(), True)
    say_whether_asleep(logind, False)
    logind.call_sync(NAME, OBJECT, INTERFACE, "GetVersion", None, None, 0, PATIENCE * 1000, None)
    assert system_bus.battery(END) == before
    logind.close_sync(None)


def test_it_tells_how_the_charge_is_held_and_for_whom(system_bus, client):
    def told():
        answer = client.bus.call_sync(NAME, OBJECT, "com.brellwick.QuorlinCoreHelper.ChargeHold", "GetChargeHold", None,
                                      None, 0, PATIENCE * 1000, None)
        return answer.unpack()
    assert told() == ("", 0, [("BAT0", False, END, "")])
    hold(system_bus, client)
    assert told() == (client.name, os.getuid(),
                      [("BAT0", True, END, f"the charge is held at 63 % ({END})")])
    system_bus.battery(END, 90)
    assert told()[2] == [("BAT0", False, END, f"another program set {END} to 90; that value stays")]


def test_it_leaves_when_it_is_idle_and_stays_while_it_holds(system_bus):
    client = Client(system_bus.start(QUORLIN_IDLE_MS="1").address)
    hold(system_bus, client)  # though its idle time is over before it can take the call that has started it
    process = system_bus.process()
    assert client.call("GetVersion")
    assert system_bus.process() == process
    client.call("LimitCharge", system_bus.key(), True)
    wait_until(lambda: system_bus.process() is None, "the helper leaves")
    # The next call starts another, however close it comes to the last one's end.
    for _ in range(20):
        assert re.fullmatch(r"\d+\.\d+\.\d+", client.call("GetVersion"))
    # One that has given up its name holds nothing.
    wait_until(lambda: client.call("LimitCharge", system_bus.key(), False) != "LimitsExceeded", "the hold")
    client.leave()
    wait_until(lambda: system_bus.process() is None, "the helper leaves after the one for whom it held")


def test_metrics_are_lines_of_name_value_and_unit(system_bus, client):
    start = time.monotonic()
    answer = client.send("GetCoreMetrics", system_bus.key(), METRICS)
    zone = system_bus.tree / "sys/class/powercap/intel-rapl:0/energy_uj"

    def grow():
        zone.with_suffix(".new").write_text(f"{int(zone.read_text()) + 40000}\n")
        zone.with_suffix(".new").replace(zone)  # so that it is never read half written
        return bool(answer)
    wait_until(grow, "the metrics")
    assert time.monotonic() - start >= 0.5
    lines = answer[0].splitlines()
    assert all(re.fullmatch(r"[A-Z][\w ()]+: \d+(\.\d+)? (W|%|events)", line) for line in lines), lines
    power = dict(line.split(": ") for line in lines)
    assert float(power["Package Power"].split()[0]) > 0


def test_it_installs_itself_and_leaves_no_trace(system_bus, client):
    (system_bus.root / "etc").mkdir()
    (system_bus.root / "etc/of-another").write_text("stays\n")
    assert system_bus.run("--install").returncode == 0
    assert (system_bus.root / "usr/local/libexec/quorlin-core-helper").read_bytes() == system_bus.helper.read_bytes()
    hold(system_bus, client)
    assert "removed" in client.call("UninstallHelper", system_bus.key())
    wait_until(lambda: system_bus.process() is None, "the helper leaves")
    assert "asked to remove the helper" in system_bus.log.read_text()
    # Folders may go while they are looked through, which rglob() cannot bear.
    wait_until(lambda: [name for _, _, names in os.walk(system_bus.root) for name in names] == ["of-another"],
               "the removal of all files")
    assert not is_held(system_bus)


def test_where_the_removal_cannot_be_marked_the_helper_says_so_and_stays(system_bus, client):
    system_bus.state.write_text("a file where the folder would be")
    assert client.call("UninstallHelper", system_bus.key()) == "Failed"
    process = system_bus.process()
    assert not isinstance(client.call("GetVersion"), Error)
    assert system_bus.process() == process


def test_a_wrong_command_line_changes_nothing(system_bus):
    system_bus.start()
    before = system_bus.contents()
    for arguments in (["--instal"], ["--install", "/"], ["--install", "--install"], ["-"]):
        assert system_bus.run(*arguments).returncode == 64
    assert system_bus.contents() == before
    assert system_bus.run("--help").stdout.startswith("Usage: ")
    assert re.fullmatch(r"quorlin-core-helper \d+\.\d+\.\d+\n", system_bus.run("--version").stdout)


@pytest.fixture
def sandbox(system_bus):
    """What the unit leaves of the system, with the described machine and its bus inside."""
    folder = system_bus.folder / "sandbox"
    folder.mkdir()
    for closed in (system_bus.folder, *system_bus.folder.parents):
        if closed.stat().st_uid == os.getuid() and str(closed) != "/":
            closed.chmod(closed.stat().st_mode | 0o011)
    sandbox = Sandbox(PACKAGING / "quorlin-core-helper.service", folder, sysfs=system_bus.tree / "sys",
                      visible=[HELPER.parent, system_bus.folder])
    system_bus.owner = sandbox.user
    system_bus.state = sandbox.state
    system_bus.start(QUORLIN_STATE_FOLDER=str(sandbox.state))
    assert system_bus.run("--before-start").returncode == 0
    yield sandbox


def test_as_its_user_it_can_change_the_batteries_charge_and_nothing_else(system_bus, sandbox):
    named = ("charge_behaviour", "charge_control_end_threshold", "charge_control_start_threshold", "charge_types",
             "charge_type")
    battery = system_bus.tree / "sys/class/power_supply/BAT0"
    for name in named:
        (battery / name).touch()
    (battery / "charge_type").chmod(0o444)  # as where the driver only reports it
    (battery / "alarm").write_text("0\n")
    assert system_bus.run("--before-start").returncode == 0
    script = ("import os\n"
              "for folder, _, names in os.walk('/sys'):\n"
              "    for name in names:\n"
              "        try:\n"
              "            os.close(os.open(os.path.join(folder, name), os.O_WRONLY))\n"
              "            print(name)\n"
              "        except OSError:\n"
              "            pass\n")
    with sandbox.start(["/usr/bin/python3", "-c", script], stdout=subprocess.PIPE, text=True) as process:
        written = process.communicate(timeout=PATIENCE)[0].split()
    if os.geteuid() == 0:
        assert sorted(written) == sorted(named[:-1])
        assert system_bus.run("--after-stop").returncode == 0
        assert {oct((battery / name).stat().st_mode & 0o777) for name in named[:-1]} == {"0o644"}
        assert {(battery / name).stat().st_gid for name in named} == {0}
    else:
        assert set(named[:-1]) < set(written), "whose files these are can write them all"


def test_it_reaches_no_socket_of_roots_but_the_bus(sandbox):
    with socket.socket(socket.AF_UNIX) as listener:
        path = f"/run/quorlin-test-{os.getpid()}" if os.geteuid() == 0 else f"/run/user/{os.getuid()}/quorlin-test"
        listener.bind(path)
        try:
            os.chmod(path, 0o777)
            listener.listen()
            script = f"import socket; socket.socket(socket.AF_UNIX).connect({path!r})"
            assert subprocess.run(["/usr/bin/python3", "-c", script], check=False).returncode == 0
            with sandbox.start(["/usr/bin/python3", "-c", script], stderr=subprocess.PIPE, text=True) as process:
                assert "FileNotFoundError" in process.communicate(timeout=PATIENCE)[1]
        finally:
            os.unlink(path)


def test_it_works_inside_what_its_unit_allows(system_bus, sandbox):
    inside = {"QUORLIN_SYSFS_ROOT": "/sys", "QUORLIN_STATE_FOLDER": "/var/lib/quorlin-core-helper",
              "ASAN_OPTIONS": "detect_leaks=0"}  # it would trace the process, which the unit forbids
    before = system_bus.battery(END)
    with open(system_bus.log, "ab") as log:
        launcher = sandbox.start([HELPER], env={**system_bus.environment, **inside}, stderr=log)
    wait_until(lambda: system_bus.process() or launcher.poll() is not None, "the helper inside")
    client = Client(system_bus.address)
    assert "held" in hold(system_bus, client)
    assert is_held(system_bus)
    assert "Package Power: " in client.call("GetCoreMetrics", system_bus.key(), METRICS)
    client.leave()
    wait_until(lambda: system_bus.battery(END) == before, "the release")
    client = Client(system_bus.address)
    assert "removed" in client.call("UninstallHelper", system_bus.key())
    assert launcher.wait(PATIENCE) == 0, system_bus.log.read_text()
    assert (sandbox.state / "remove").exists()


def test_the_installed_helper_takes_no_machine_from_its_environment():
    installed = (BUNDLE / "quorlin-core-helper").read_bytes()
    for name in (b"QUORLIN_SYSFS_ROOT", b"QUORLIN_STATE_FOLDER", b"QUORLIN_INSTALL_ROOT"):
        assert name not in installed
        assert name in HELPER.read_bytes()
