"""Agent, root helper and quorlinctl together: the battery's charge, power metrics, commands by URL."""
import json
import re
import signal
import subprocess
import urllib.parse

import pytest
from gi.repository import GLib

from harness import PATIENCE, Consumer, wait_until
from system_bus import Client
from test_core_helper import END, is_held

LIMIT = 80


@pytest.fixture
def laptop(session, system_bus):
    """The session of a laptop with both buses, the core helper on, and a charge limit."""
    system_bus.start()
    session.environment["DBUS_SYSTEM_BUS_ADDRESS"] = system_bus.address
    session.environment["QUORLIN_SYSFS_ROOT"] = str(system_bus.tree / "sys")
    session.configure(autostart=1, coreAutostart=1, batterylimit=LIMIT)
    return session


def start_and_hold(laptop, system_bus):
    """An agent that holds the charge, and the consumer for which it does."""
    before = system_bus.battery(END)
    system_bus.charge(LIMIT + 1, "Charging")
    agent, consumer = laptop.start_and_greet("-silent", name="brellwick.Quorlin")
    wait_until(lambda: is_held(system_bus), "the hold")
    wait_until(lambda: laptop.stored().get("powerLimitEnabled") == "true", "the hold is noted")
    system_bus.battery("status", "Not charging")
    return agent, consumer, before


@pytest.mark.parametrize("end", ["quits", "is killed", "has no consumer left", "gets a limit of 100",
                                 "sees a charge below the limit"])
def test_the_charge_is_held_at_the_limit_and_let_go_when_the_agent(laptop, system_bus, end):
    agent, consumer, before = start_and_hold(laptop, system_bus)
    wait_until(lambda: laptop.logged(f"BAT0: the charge is held at {LIMIT + 1} %"), "the helper's answer in the log")
    if end == "quits":
        agent.send_signal(signal.SIGTERM)
        assert agent.wait(PATIENCE) == 0
        assert system_bus.battery(END) == before, "it left before the helper had answered"
        assert laptop.stored()["powerLimitEnabled"] == "false"
        assert laptop.stored()["terminatedPeacefully"] == "1"
    elif end == "is killed":
        agent.kill()
    elif end == "has no consumer left":
        consumer.leave()
    elif end == "gets a limit of 100":
        assert laptop.run("quorlinctl", "battery-limit", "100").returncode == 0
    else:
        system_bus.charge(LIMIT - 1, "Not charging")
        wait_until(lambda: laptop.stored()["powerLimitEnabled"] == "false", "the release is noted")
    wait_until(lambda: system_bus.battery(END) == before, "the release")


@pytest.mark.parametrize("fate", ["refuses", "does not answer", "is busy with other callers"])
def test_the_charge_is_let_go_though_the_helper(laptop, system_bus, fate):
    _, consumer, before = start_and_hold(laptop, system_bus)
    others = []
    if fate == "is busy with other callers":
        system_bus.polkit.answer = "wait"
        others = [Client(system_bus.address) for _ in range(4)]
        for other in others:
            for _ in range(4):
                other.send("GetVersion")
        wait_until(lambda: len(system_bus.polkit.waiting) >= 16, "sixteen questions")
    else:
        # As in a session that is not active.
        system_bus.polkit.answer = "deny" if fate == "refuses" else "wait"
    consumer.leave()
    wait_until(lambda: system_bus.battery(END) == before, "the release")
    wait_until(lambda: laptop.stored()["powerLimitEnabled"] == "false", "the release is noted")
    for other in others:
        other.leave()


def test_a_new_limit_takes_effect_at_once(laptop, system_bus):
    laptop.configure(autostart=1, coreAutostart=1)
    system_bus.charge(LIMIT, "Charging")
    agent, _ = laptop.start_and_greet("-silent", name="brellwick.Quorlin")
    assert laptop.run("quorlinctl", "battery-limit", "50").returncode == 2
    told = laptop.run("quorlinctl", "battery-limit", f"{LIMIT}%")
    assert is_held(system_bus)
    assert laptop.stored()["batterylimit"] == str(LIMIT)
    assert re.fullmatch(rf"Limit: {LIMIT} %\nBAT0: {LIMIT} %, charging\n"
                        rf"Hold: BAT0: the charge is held at {LIMIT} % \({END}\), for process {agent.pid} of user \w+\.\n",
                        told.stdout)
    assert (told.returncode, told.stderr) == (0, "")
    assert laptop.examine()["charge-limit"]["finding"] in told.stdout


def test_a_limit_that_is_not_held_is_told_with_its_reason(laptop, system_bus):
    laptop.configure(autostart=1, coreAutostart=1)
    system_bus.charge(LIMIT + 1, "Charging")
    _, consumer = laptop.start_and_greet("-silent", name="brellwick.Quorlin")
    consumer.leave()
    told = laptop.run("quorlinctl", "battery-limit", str(LIMIT), "--json")
    assert told.returncode == 3
    assert json.loads(told.stdout)["finding"] == "No program runs for which the agent holds the charge."
    consumer = Consumer(laptop, "brellwick.Quorlin")
    # A firmware that takes no value: its file cannot even be written to.
    end = system_bus.tree / "sys/class/power_supply/BAT0" / END
    end.unlink()
    end.mkdir()
    laptop.run("quorlinctl", "battery-limit", str(LIMIT))
    told = laptop.run("quorlinctl", "battery-limit")
    assert (told.returncode, told.stderr) == (3, "")
    assert "Hold: BAT0: " in told.stdout
    assert laptop.run("quorlinctl", "battery-limit", "100").stdout.endswith("Hold: The charge is not limited.\n")
    consumer.leave()


def test_power_metrics_are_published(laptop, system_bus):
    _, consumer = laptop.start_and_greet("-silent", name="brellwick.Quorlin")
    sender, published = consumer.wait_for("QuorlinSensorsCoreData")
    assert (sender, published["version"], published["batteryLimit"]) == ("QuorlinSensorsCoreAgent", 12, LIMIT)
    assert "Package Power: " in published["coreData"]


def test_without_a_helper_the_core_is_off_for_this_run_only(laptop, system_bus):
    (system_bus.folder / "services" / "com.brellwick.Quorlin-Core-Helper.service").unlink()
    system_bus.charge(LIMIT + 1, "Charging")
    _, consumer = laptop.start_and_greet("-silent", name="brellwick.Quorlin")
    wait_until(lambda: laptop.logged("connection invalidated"), "the helper is missed")
    consumer.wait_for("QuorlinSensorsActiveM", 3)
    assert "QuorlinSensorsCoreData" not in consumer.names()
    assert laptop.stored()["coreAutostart"] == "1"


def test_commands_reach_applications_shells_and_workflows(laptop, tmp_path):
    laptop.start_and_greet("-silent")
    done = tmp_path / "done"
    script = tmp_path / "work flow"
    script.write_text(f"#!/bin/sh\necho workflow >> {done}\n")
    script.chmod(0o755)
    assert laptop.run("quorlinctl", "terminal", f"echo 'a/b ä%' >> {done}").returncode == 0
    wait_until(lambda: done.exists() and done.read_text() == "a/b ä%\n", "the command has run")
    assert laptop.run("quorlinctl", "workflow", "work flow", cwd=tmp_path).returncode == 0
    wait_until(lambda: done.read_text().endswith("workflow\n"), "the workflow has run")

    plain = subprocess.Popen(["sleep", "600"])
    application = subprocess.Popen(
        ["/usr/bin/python3", "-c", "from gi.repository import Gio, GLib; import sys;"
         "bus = Gio.bus_get_sync(Gio.BusType.SESSION);"
         "Gio.bus_own_name_on_connection(bus, 'brellwick.Quorlin-Pro', 0, lambda *_: print('ready', flush=True));"
         "GLib.MainLoop().run()"], env=laptop.environment, stdout=subprocess.PIPE, text=True)
    laptop.children += [plain, application]
    with application.stdout:
        assert application.stdout.readline() == "ready\n"
    assert laptop.run("quorlinctl", "force-terminate", str(plain.pid)).returncode == 0
    assert laptop.run("quorlinctl", "force-terminate", str(application.pid)).returncode == 0
    assert application.wait(PATIENCE) == -signal.SIGKILL
    assert plain.poll() is None


def test_urls_with_another_key_do_nothing(laptop, system_bus, tmp_path):
    agent, consumer = laptop.start_and_greet("-silent")
    for key in ("00000000", system_bus.key()):
        command = urllib.parse.quote(f"touch {tmp_path / key}", safe="")
        url = f"brellwick.QuorlinSensors.quorlinio://{key}/terminalcommand/{command}"
        consumer.call("brellwick.QuorlinSensors", "/brellwick/QuorlinSensors", "org.freedesktop.Application", "Open",
                      GLib.Variant("(asa{sv})", ([url], {})))
    wait_until(lambda: (tmp_path / system_bus.key()).exists(), "the one that is right")
    agent.send_signal(signal.SIGTERM)  # it starts what it has begun to before it leaves
    assert agent.wait(PATIENCE) == 0
    assert not (tmp_path / "00000000").exists()


def test_the_agent_is_made_the_handler_of_its_urls(laptop):
    laptop.start_and_greet("-silent")
    listed = (laptop.folder / "config/mimeapps.list").read_text()
    assert "x-scheme-handler/brellwick.QuorlinSensors.quorlinio=brellwick.QuorlinSensors.desktop" in listed
