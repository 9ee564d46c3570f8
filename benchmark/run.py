"""Runs the benchmark on a bus of its own, then weighs the agent and, on request, its peers."""
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time

import peers
import traffic

BUILD = pathlib.Path(sys.argv[1]).resolve()
TICKS = 4
INTERVAL = 3  # seconds


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


def run_benchmark():
    """Passes the table on as it comes; returns the cost of the typical tick."""
    tick = None
    with subprocess.Popen([BUILD / "benchmark/quorlin-bench"], stdout=subprocess.PIPE, text=True) as benchmark:
        for line in benchmark.stdout:
            print(line, end="", flush=True)
            row = re.match(r"  66 inputs, .* processes +([0-9.]+)", line)
            tick = tick or row and float(row[1])
    assert benchmark.returncode == 0, "the benchmark failed"
    return tick


def weigh():
    """What the real agent takes in the background, without consumers."""
    agent = subprocess.Popen([BUILD / "src/programs/quorlin-sensors", "-silent"], stderr=subprocess.DEVNULL)
    time.sleep(INTERVAL * TICKS)
    before = peers.cpu_microseconds(agent.pid)
    time.sleep(INTERVAL * TICKS)
    idle = (peers.cpu_microseconds(agent.pid) - before) / TICKS
    smaps = pathlib.Path(f"/proc/{agent.pid}/smaps_rollup").read_text()
    megabytes = {key: int(value) / 1024 for key, value in re.findall(r"^(\w+): +(\d+) kB", smaps, re.MULTILINE)}
    agent.send_signal(signal.SIGTERM)
    agent.wait()
    print("\nThe agent in the background, without consumers")
    print(f"  processor time a tick, us  {idle:10.1f}")
    print(f"  resident, MB               {megabytes['Rss']:10.2f}   wanted <= 8")
    print(f"  private and dirty, MB      {megabytes['Private_Dirty']:10.2f}   wanted <= 1", flush=True)


def weigh_keeper():
    """What quorlin-keep takes while nothing happens on the bus."""
    keeper = subprocess.Popen([BUILD / "src/libexec/quorlin-sensors/quorlin-keep"])
    seconds = INTERVAL * TICKS
    status = pathlib.Path(f"/proc/{keeper.pid}/status")

    def counted(key):
        return int(re.search(rf"^{key}:\s+(\d+)", status.read_text(), re.MULTILINE)[1])

    time.sleep(INTERVAL)
    before = counted("voluntary_ctxt_switches")
    time.sleep(seconds)
    print("\nquorlin-keep")
    print(f"  wakeups in {seconds} seconds      {counted('voluntary_ctxt_switches') - before:10}   wanted 0")
    print(f"  resident, MB               {counted('VmRSS') / 1024:10.2f}   wanted < 3", flush=True)
    keeper.terminate()
    keeper.wait()


def main():
    with tempfile.TemporaryDirectory(dir="/dev/shm") as name:
        folder = pathlib.Path(name)
        configure(folder / "config")
        daemon = start_bus()
        try:
            tick = run_benchmark()
            traffic.run(BUILD)
            weigh()
            weigh_keeper()
            if "--peers" in sys.argv:
                subprocess.run([BUILD / "benchmark/quorlin-bench", "--write-machine", folder / "machine"], check=True)
                peers.compare(tick, BUILD, folder / "machine", folder)
        finally:
            daemon.terminate()
            daemon.wait()


if __name__ == "__main__":
    main()
