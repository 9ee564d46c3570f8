"""The real quorlinctl beside the real agent."""
import json
import os
import pty
import re
import shutil
import signal
import subprocess

import pytest

from elsewhere import elsewhere
from harness import PATIENCE, PROGRAMS, Consumer, wait_until


def names_of(output):
    return [json.loads(line)["name"] for line in output.splitlines()]


@pytest.mark.parametrize("role, name", [([], "QuorlinSensorsDataM"), (["--widget"], "QuorlinSensorsDataW")])
def test_one_sample_as_json(session, role, name):
    session.start_and_greet("-silent")
    ended = session.watch_once("--json", *role)
    assert (ended.returncode, ended.stderr) == (0, "")
    sample = json.loads(ended.stdout)
    assert (sample["name"], sample["object"]) == (name, "QuorlinSensorsAgent")
    assert sample["userInfo"]["sensorsData"]["platform/coretemp.0/temp1"] == 52
    assert None in sample["userInfo"]["sensorsData"].values(), "not a number is null"
    assert len(sample["userInfo"]["readDiskIOData"]) == 60
    assert sample["battery"] == {"state": "charging", "percent": 63}


def test_one_sample_to_read(session):
    session.start_and_greet("-silent")
    report = session.watch_once().stdout
    assert re.search(r"Package id 0 .*52\.0 °C", report)
    assert re.search(r"2410 RPM", report)


def start_with_power(session, system_bus, **settings):
    """The agent beside a root helper, the core helper on."""
    system_bus.start()
    session.environment["DBUS_SYSTEM_BUS_ADDRESS"] = system_bus.address
    session.environment["QUORLIN_SYSFS_ROOT"] = str(system_bus.tree / "sys")
    session.configure(coreAutostart=1, batterylimit=80, **settings)
    session.start("-silent")
    wait_until(lambda: session.logged("Core helper is installed"), "the helper is found")


def test_with_the_core_helper_on_a_report_waits_for_power(session, system_bus):
    start_with_power(session, system_bus, autostart=1)
    for _ in range(2):  # the agent asks for power metrics with every second sample
        report = session.watch_once().stdout
        assert re.search(r"Package id 0 .*52\.0 °C(.*\n)+.*Package Power .* W(.*\n)+.*Charge limit +80 %", report)
        assert "The charge is 63 %; it will be held once it reaches 80 %." in report
    assert session.examine()["core-helper"]["state"] == "ok"


@pytest.mark.parametrize("form, shown", [([], r"Package Power .* W(.*\n)+.*Charge limit +80 %"),
                                         (["--json"], r'"name":"QuorlinSensorsCoreData".*"percent":63')])
def test_power_is_shown_where_the_sensors_are_switched_off(session, system_bus, form, shown):
    start_with_power(session, system_bus, autostart=0)
    forever = 3 * PATIENCE  # quorlinctl must not wait for a sample, since none can come
    ended = session.run("quorlinctl", "watch", "--once", "--timeout", str(forever), *form)
    assert (ended.returncode, ended.stderr) == (0, "")
    assert re.search(shown, ended.stdout)


def test_watch_says_that_it_comes_and_goes(session):
    _, listener = session.start_and_greet("-silent")
    watch = subprocess.Popen([PROGRAMS / "quorlinctl", "watch", "--json"], env=session.environment, text=True,
                             stdout=subprocess.PIPE)
    session.children.append(watch)
    listener.wait_for("QuorlinActive")
    assert listener.has_owner("brellwick.Quorlin")
    listener.wait_for("QuorlinSensorsDataMMini", 2)
    watch.send_signal(signal.SIGINT)
    listener.wait_for("QuorlinInactive")
    output, _ = watch.communicate(timeout=PATIENCE)
    assert watch.returncode == 0
    assert names_of(output)[:4] == 2 * ["QuorlinSensorsDataM", "QuorlinSensorsDataMMini"]
    wait_until(lambda: not listener.has_owner("brellwick.Quorlin"), "the name is given back")


def test_a_restarted_agent_finds_the_watcher_again(session):
    agent, listener = session.start_and_greet("-silent")
    watch = subprocess.Popen([PROGRAMS / "quorlinctl", "watch", "--json"], env=session.environment,
                             stdout=subprocess.DEVNULL)
    session.children.append(watch)
    listener.wait_for("QuorlinSensorsDataM")
    agent.kill()
    agent.wait()
    session.start("-silent")
    listener.wait_for("QuorlinSensorsDataM")


def test_a_leaving_watcher_leaves_the_main_application_active(session):
    _, main_app = session.start_and_greet("-silent", name="brellwick.Quorlin")
    main_app.post("QuorlinActive")
    assert session.watch_once("--json").returncode == 0
    main_app.wait_for("QuorlinSensorsDataM", 2)
    assert "QuorlinInactive" not in main_app.names()


@pytest.mark.parametrize("running, plugin, reason",
                         [(False, 1, "the agent is not running"), (True, 0, "its sensors plug-in is off")])
def test_without_samples_watch_says_why(session, running, plugin, reason):
    session.configure(autostart=plugin, coreAutostart=1)  # with everything off the agent would end
    if running:
        session.start()
        wait_until(lambda: Consumer(session).has_owner("brellwick.QuorlinSensors"), "the agent is there")
    ended = session.run("quorlinctl", "watch", "--once", "--timeout", "1")
    assert ended.returncode == 1 and ended.stdout == "" and reason in ended.stderr


def test_the_live_view_draws_in_place_and_gives_the_screen_back(session):
    agent, _ = session.start_and_greet("-silent")
    terminal, inside = pty.openpty()
    watch = subprocess.Popen(["script", "-qec", f"stty cols 80 rows 24; {PROGRAMS / 'quorlinctl'} watch", "/dev/null"],
                             env={**session.environment, "TERM": "xterm"}, stdin=inside, stdout=inside, stderr=inside,
                             start_new_session=True)
    session.children.append(watch)
    os.close(inside)
    os.set_blocking(terminal, False)
    screen = b""

    def has_shown(text):
        nonlocal screen
        try:
            screen += os.read(terminal, 65536)
        except (BlockingIOError, OSError):
            pass
        return text.encode() in screen

    wait_until(lambda: has_shown("Package id 0"), "a sample is drawn")
    assert b"\x1b[?1049h" in screen and b"more readings" in screen and b"2410 RPM" in screen
    agent.terminate()
    wait_until(lambda: has_shown("the agent is not running"), "the silence is explained")
    os.write(terminal, b"q")
    wait_until(lambda: has_shown("\x1b[?1049l"), "the screen is given back")
    assert watch.wait(PATIENCE) == 0
    os.close(terminal)


def test_doctor_tells_what_is_there_and_what_is_missing(session):
    session.start_and_greet("-silent")
    checks = session.examine()
    assert {checks[id]["state"] for id in ("session-bus", "agent", "settings", "sensors")} == {"ok"}

    session.use_machine("quirks")
    session.configure(autostart=0)
    session.environment["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=/nonexistent"
    checks = session.examine()
    assert {checks[id]["state"] for id in ("session-bus", "settings")} == {"missing"}
    assert "agent" not in checks, "without a bus it cannot be found"
    ended = session.run("quorlinctl", "doctor")
    assert ended.returncode == 1
    assert re.search(r"^missing +sensors plug-in .* leave the sensors plug-in off\. Switch it on with 'quorlinctl enable'", ended.stdout, re.MULTILINE)


@pytest.fixture
def change_helper(session, tmp_path):
    """Runs quorlinctl helper on a computer without systemd and system bus, with a helper and a pkexec of the test's.

    The folder of these is the test's own, under a name that every user can reach.
    """
    for folder in ("bin", "libexec/quorlin-sensors"):
        (tmp_path / folder).mkdir(parents=True)
    shutil.copy(PROGRAMS / "quorlinctl", tmp_path / "bin")
    for program, text in (("libexec/quorlin-sensors/quorlin-core-helper", 'echo "bundled $1"'),
                          ("bin/pkexec", 'exec "$@"')):
        (tmp_path / program).write_text(f"#!/bin/sh\n{text}\n")
        (tmp_path / program).chmod(0o755)
    tmp_path.chmod(0o755)
    (tmp_path / "bin").chmod(0o777)
    session.environment["PATH"] = f"/run/test/bin:{session.environment['PATH']}"
    session.environment.pop("DBUS_SYSTEM_BUS_ADDRESS", None)
    prepare = f"mkdir /run/test && mount --bind '{tmp_path}' /run/test"

    def run(action, setup=":", user="tester"):
        return session.run(*elsewhere("/run /usr/local /etc", f"{prepare} && {setup}", "/run/test/bin/quorlinctl",
                                      "helper", action, user=user))
    return run


SYSTEMD_RUNS = "mkdir -p /run/systemd/system"


def test_after_installing_the_helper_quorlinctl_says_how_to_switch_it_on(change_helper):
    assert change_helper("install", SYSTEMD_RUNS).stdout == (
        "bundled --install\nThe core helper is installed. To switch it on: quorlinctl enable core\n")


@pytest.mark.parametrize("setup, pkexec, code, said", [
    (":", "exec $@", 1, "systemd does not run here"),
    (SYSTEMD_RUNS, "echo a warning >&2", 0, "quorlinctl: a warning\n"),
    (SYSTEMD_RUNS, "echo No authentication agent found. >&2; exit 127", 127,
     "try: sudo /run/test/libexec/quorlin-sensors/quorlin-core-helper --install\n"),
    (SYSTEMD_RUNS, "exit 126", 126, "permission was refused")])
def test_a_user_is_told_why_nothing_was_installed(change_helper, tmp_path, setup, pkexec, code, said):
    (tmp_path / "bin/pkexec").write_text(f"#!/bin/sh\ntouch $0.run\n{pkexec}\n")
    ended = change_helper("install", setup, user="user")
    assert ended.returncode == code
    assert said in ended.stderr
    assert (tmp_path / "bin/pkexec.run").exists() == (setup == SYSTEMD_RUNS)


INSTALLED = """mkdir /usr/local/libexec; helper=/usr/local/libexec/quorlin-core-helper
               printf '#!/bin/sh\\necho "installed $1"; exit {}\\n' > $helper; chmod 755 $helper"""
UNIT_IS_LEFT = "mkdir -p /etc/systemd/system; touch /etc/systemd/system/quorlin-core-helper.service"
REMOVED = "The core helper is removed.\n"
ABSENT = "quorlinctl: the core helper is not installed\n"


@pytest.mark.parametrize("setup, user, code, said", [
    (INSTALLED.format(0), "root", 0, "installed --remove\n" + REMOVED),
    (INSTALLED.format(69), "root", 69, "installed --remove\n"),
    (UNIT_IS_LEFT, "root", 0, "bundled --remove\n" + REMOVED),
    (":", "root", 1, ABSENT),
    (":", "user", 1, ABSENT),
    (INSTALLED.format(0), "user", 1, "quorlinctl: there is no system bus, over which to ask the core helper; try: "
                                     "sudo quorlinctl helper remove\n")])
def test_without_a_system_bus_root_removes_the_helper(change_helper, setup, user, code, said):
    ended = change_helper("remove", setup, user=user)
    assert (ended.returncode, ended.stdout + ended.stderr) == (code, said)


@pytest.mark.parametrize("arguments, code", [(["--help"], 0), (["watch", "--help"], 0), (["doctor", "--help"], 0),
                                             (["--version"], 0), ([], 2), (["nonsense"], 2),
                                             (["watch", "--sometimes"], 2), (["watch", "--timeout", "soon"], 2)])
def test_the_command_line_explains_itself(session, arguments, code):
    ended = session.run("quorlinctl", *arguments)
    assert ended.returncode == code
    assert (ended.stdout if code == 0 else ended.stderr).strip()
    assert not (ended.stderr if code == 0 else ended.stdout)
