"""What an installation of the agent leaves for the bus, the desktop and the user's systemd."""
import os
import re
import subprocess

BUILD = os.environ["QUORLIN_BUILD"]


def run(*command, **variables):
    ended = subprocess.run(command, env={**os.environ, **variables}, text=True, check=False, stdout=subprocess.PIPE,
                           stderr=subprocess.STDOUT)
    assert ended.returncode == 0, ended.stdout
    return ended.stdout


def test_every_file_names_the_programs_of_its_own_installation(tmp_path):
    prefix = tmp_path / "local"
    run("cmake", "--install", BUILD, "--prefix", prefix)
    agent, launcher = prefix / "bin/quorlin-sensors", prefix / "libexec/quorlin-sensors/quorlin-sensors-launcher"
    started = {"applications/brellwick.QuorlinSensors.desktop": agent,
               "dbus-1/services/brellwick.QuorlinSensors.service": agent,
               "systemd/user/quorlin-sensors.service": agent,
               "systemd/user/quorlin-sensors-launcher.service": launcher}
    for file, program in started.items():
        text = (prefix / "share" / file).read_text()
        assert re.findall("^(?:Try)?Exec(?:Start)?=(.*?)(?: %U)?$", text, re.MULTILINE) == [str(program)], file
        assert os.access(program, os.X_OK)
    assert run("desktop-file-validate", *(prefix / "share/applications").iterdir()) == ""
    units = list((prefix / "share/systemd/user").iterdir())
    # systemd finds it beside them, where no package has brought the session's bus.
    (units[0].parent / "dbus.socket").write_text("[Socket]\nListenStream=%t/bus\n")
    said = run("systemd-analyze", "--user", "verify", "--man=no", *units, XDG_RUNTIME_DIR=str(tmp_path))
    assert "quorlin" not in said


def test_a_package_puts_the_units_where_packages_do(tmp_path):
    run("cmake", "--install", BUILD, "--prefix", "/usr", DESTDIR=str(tmp_path))
    unit = tmp_path / "usr/lib/systemd/user/quorlin-sensors.service"
    assert "ExecStart=/usr/bin/quorlin-sensors\n" in unit.read_text()
