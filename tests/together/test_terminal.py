"""What others wrote cannot drive the terminal on which the real programs print it."""
import json
import os
import re
import subprocess

import pytest
from gi.repository import Gio, GLib

from harness import BUNDLE, PATIENCE, PROGRAMS, Consumer, wait_until
from system_bus import INTERFACE, NAME, OBJECT, Client

# A title, a colour, line ends and marks that turn the text around; well-formed, so that every bus carries it.
HOSTILE = "evil\x1b]0;title\x07\x9b31m\r\n\b\t\x7f\x85\u061c\u200e\u200f\u2028\u2029\u202e\u2066\u2069end"
MALFORMED = HOSTILE + "\udc9b\udcff"  # with bytes that are not UTF-8
DRIVING = re.compile("[\0-\x09\x0b-\x1f\x7f-\x9f\u061c\u200e\u200f\u2028-\u202e\u2066-\u2069]")

APPLICATION = """<node><interface name="org.freedesktop.Application">
  <method name="Open"><arg type="as" direction="in"/><arg type="a{sv}" direction="in"/></method>
</interface></node>"""
HELPER_TOOL = f"""<node><interface name="{INTERFACE}">
  <method name="ConnectWithEndpoint"><arg type="s" direction="out"/></method>
  <method name="GetVersion"><arg type="s" direction="out"/></method>
  <method name="UninstallHelper"><arg type="s" direction="in"/><arg type="s" direction="out"/></method>
  <method name="GetCoreMetrics"><arg type="s" direction="in"/><arg type="as" direction="in"/>
    <arg type="s" direction="out"/></method>
  <method name="LimitCharge"><arg type="s" direction="in"/><arg type="b" direction="in"/>
    <arg type="s" direction="out"/></method>
</interface></node>"""


def serve(consumer, path, description, answer):
    consumer.bus.register_object(path, Gio.DBusNodeInfo.new_for_xml(description).interfaces[0],
                                 lambda *call: answer(call[-1]), None, None)


def refuse(invocation):
    invocation.return_dbus_error("com.brellwick.Refusal", HOSTILE)


def reply(invocation):
    invocation.return_value(GLib.Variant("(s)", (HOSTILE,)))


def output_of(session, *command, during=lambda: None):
    """Both streams, while the test answers on the bus."""
    child = subprocess.Popen(command, env=session.environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    session.children.append(child)
    during()
    wait_until(lambda: child.poll() is not None, "its end")
    return child.communicate()[0]


def assert_inert(output):
    text = output.decode()
    lines = [line for line in text.split("\n") if "evil" in line]
    assert lines and all("end" in line for line in lines), text
    assert not DRIVING.search(text), text


@pytest.mark.parametrize("program, arguments", [
    ("quorlinctl", [MALFORMED]), ("quorlinctl", ["--" + MALFORMED]), ("quorlinctl", ["watch", "--" + MALFORMED]),
    ("quorlinctl", ["watch", MALFORMED]), ("quorlinctl", ["watch", "--timeout", MALFORMED]),
    ("quorlinctl", ["battery-limit", MALFORMED]), ("quorlinctl", ["helper", MALFORMED]),
    ("quorlin-sensors", ["-" + MALFORMED]), ("quorlin-sensors", [MALFORMED]),
    (BUNDLE / "quorlin-core-helper", ["-" + MALFORMED]), (BUNDLE / "quorlin-core-helper", [MALFORMED])])
def test_arguments(session, program, arguments):
    assert_inert(output_of(session, PROGRAMS / program, *arguments))


def test_an_argument_without_end(session):
    assert len(output_of(session, PROGRAMS / "quorlinctl", 5000 * "x")) < 2100


def test_what_is_ours_still_has_its_colours(session):
    del session.environment["NO_COLOR"]
    session.environment["TERM"] = "xterm"
    printed = output_of(session, "script", "-qec", f"{PROGRAMS / 'quorlinctl'} doctor", "/dev/null")
    assert b"\x1b[1msensors plug-in\x1b[0m" in printed


def test_file_names(session):
    folder = session.folder / MALFORMED
    session.environment["XDG_CONFIG_HOME"] = str(folder)
    session.settings = folder / "quorlin-sensors/settings.conf"
    session.configure(autostart=1)
    session.settings.write_text("no group")
    assert_inert(output_of(session, PROGRAMS / "quorlinctl", "doctor"))
    checks = output_of(session, PROGRAMS / "quorlinctl", "doctor", "--json")
    assert_inert(checks)
    assert any(HOSTILE in check["finding"] for check in json.loads(checks)["checks"]), "escaped, not changed"
    assert_inert(output_of(session, PROGRAMS / "quorlin-sensors"))


def test_sensor_labels(session):
    for label in session.folder.glob("machine/sys/**/temp1_label"):
        label.write_bytes(os.fsencode(MALFORMED))
    session.start_and_greet("-silent")
    for form in [], ["--json"]:
        assert_inert(output_of(session, PROGRAMS / "quorlinctl", "watch", "--once", "--timeout", str(PATIENCE), *form))


def test_notifications_as_json_decode_to_what_was_sent(session):
    agent = Consumer(session, "brellwick.QuorlinSensors")
    info = {"netapps": GLib.Variant("av", []), HOSTILE: GLib.Variant("s", HOSTILE)}

    def answer():
        agent.wait_for("QuorlinSensorsGetNetworkApp")
        agent.bus.emit_signal(None, "/brellwick/DistributedNotificationCenter",
                              "brellwick.DistributedNotificationCenter", "QuorlinSensorsNetDataW",
                              GLib.Variant("(sa{sv})", ("QuorlinSensorsAgent", info)))

    printed = output_of(session, PROGRAMS / "quorlinctl", "net", "--json", "--timeout", str(PATIENCE), during=answer)
    assert_inert(printed)
    assert json.loads(printed)["userInfo"] == {"netapps": [], HOSTILE: HOSTILE}


def test_who_owns_the_agents_name(session):
    serve(Consumer(session, "brellwick.QuorlinSensors"), "/brellwick/QuorlinSensors", APPLICATION, refuse)
    assert_inert(output_of(session, PROGRAMS / "quorlinctl", "battery-limit", "80%"))


def test_attributes_of_a_battery(system_bus):
    client = Client(system_bus.start().address)
    system_bus.battery("charge_control_end_threshold", HOSTILE)
    assert_inert(client.call("LimitCharge", system_bus.key(), False).encode())
    assert_inert(system_bus.log.read_bytes())
    client.leave()


@pytest.mark.parametrize("answer", [refuse, reply])
def test_who_owns_the_helpers_name(session, answer):
    session.environment["DBUS_SYSTEM_BUS_ADDRESS"] = session.address
    helper = Consumer(session, NAME)
    serve(helper, OBJECT, HELPER_TOOL, answer)
    assert_inert(output_of(session, PROGRAMS / "quorlinctl", "helper", "remove"))
    for form in [], ["--json"]:
        assert_inert(output_of(session, PROGRAMS / "quorlinctl", "doctor", *form))
    session.configure(autostart=1, coreAutostart=1, batterylimit=10, powerLimitEnabled=1)
    session.start_and_greet("-silent")
    watcher = Consumer(session, "brellwick.Quorlin")
    watcher.post("QuorlinActive")
    wait_until(lambda: "evil" in session.log.read_text(errors="replace"), "the answer in the agent's log")
    assert_inert(session.log.read_bytes())
