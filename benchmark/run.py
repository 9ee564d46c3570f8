"""Runs the benchmark on a bus of its own, then weighs the agent and, on request, its peers."""
import os
import pathlib
import re
import resource
import shutil
import signal
import statistics
import subprocess
import sys
import tempfile
import time
import urllib.request

HERE = pathlib.Path(__file__).resolve().parent
BUILD = pathlib.Path(sys.argv[1]).resolve()
TICKS = 4
REPETITIONS = 9
INPUTS = 66


def start_bus():
    daemon = subprocess.Popen(["dbus-daemon", "--session", "--nofork", "--nosyslog", "--print-address"],
                              stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    os.environ["DBUS_SESSION_BUS_ADDRESS"] = daemon.stdout.readline().strip()
    return daemon


def configure(folder):
    settings = folder / "quorlin-sensors/settings.conf"
    settings.parent.mkdir(parents=True)
    settings.write_text("[Settings]\nautostart=1\n")
    os.environ["XDG_CONFIG_HOME"] = str(folder)


def cpu_microseconds(pid):
    """Of all its threads, from the scheduler's own count."""
    tasks = pathlib.Path(f"/proc/{pid}/task").iterdir()
    return sum(int((task / "schedstat").read_text().split()[0]) for task in tasks) / 1000


def weigh():
    """The memory of the real agent in the background, without consumers."""
    agent = subprocess.Popen([BUILD / "src/programs/quorlin-sensors", "-silent"], stderr=subprocess.DEVNULL)
    time.sleep(3 * TICKS)
    before = cpu_microseconds(agent.pid)
    time.sleep(3 * TICKS)
    idle = (cpu_microseconds(agent.pid) - before) / TICKS
    smaps = pathlib.Path(f"/proc/{agent.pid}/smaps_rollup").read_text()
    kilobytes = {key: int(value) for key, value in re.findall(r"^(\w+): +(\d+) kB", smaps, re.MULTILINE)}
    agent.send_signal(signal.SIGTERM)
    agent.wait()
    print("\nThe agent in the background, without consumers")
    print(f"  processor time a tick, microseconds        {idle:12.1f}")
    print("\nIts memory                                                    MB    wanted")
    print(f"  resident                                   {kilobytes['Rss'] / 1024:12.2f}      <= 8")
    print(f"  private and dirty                          {kilobytes['Private_Dirty'] / 1024:12.2f}      <= 1")


def main():
    with tempfile.TemporaryDirectory(dir="/dev/shm") as folder:
        configure(pathlib.Path(folder))
        daemon = start_bus()
        try:
            subprocess.run([BUILD / "benchmark/quorlin-bench"], check=True)
            weigh()
            if "--peers" in sys.argv:
                import peers
                peers.compare(BUILD, pathlib.Path(folder))
        finally:
            daemon.kill()
            daemon.wait()


if __name__ == "__main__":
    main()
