"""collectd and node_exporter on the machine that the agent's tick was measured on: processor time a sample.

collectd knows no other root than /sys, so it runs in a mount namespace in which the machine is mounted there; that
needs root. Neither peer has its caches evicted, unlike the agent.
"""
import pathlib
import statistics
import subprocess
import time
import urllib.request

SAMPLES = 9
PACE = 3  # seconds
PORT = 19100

COLLECTD = """
BaseDir "{folder}"
PIDFile "{folder}/collectd.pid"
Interval {pace}
ReadThreads 1
WriteThreads 1
LoadPlugin sensors
LoadPlugin disk
LoadPlugin csv
<Plugin csv>
  DataDir "{folder}/csv"
</Plugin>
"""


def cpu_microseconds(pid):
    """Of all threads of a process, from the scheduler's own count."""
    tasks = pathlib.Path(f"/proc/{pid}/task").iterdir()
    return sum(int((task / "schedstat").read_text().split()[0]) for task in tasks) / 1000


def samples_of(pid, act):
    """Processor time of each of the samples that act() takes or waits for, after a first one."""
    taken = []
    before = None
    for _ in range(SAMPLES + 1):
        act()
        now = cpu_microseconds(pid)
        if before is not None:
            taken.append(now - before)
        before = now
    return statistics.median(taken)


def collectd(build, machine, folder):
    config = folder / "collectd.conf"
    config.write_text(COLLECTD.format(folder=folder, pace=PACE))
    script = 'mount --rbind "$1" /sys && export LD_PRELOAD=$2 && exec collectd -f -C "$3"'
    peer = subprocess.Popen(["unshare", "--mount", "--propagation", "private", "bash", "-c", script, "bash",
                             machine / "sys", build / "benchmark/libfake-sysfs.so", config],
                            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    try:
        time.sleep(2.5 * PACE)
        taken = samples_of(peer.pid, lambda: time.sleep(PACE))
        # A file a temperature and day.
        return taken, len({path.name[:-11] + str(path.parent) for path in folder.glob("csv/*/sensors-*/temperature-*")})
    finally:
        peer.terminate()
        peer.wait()


def node_exporter(_build, machine, _folder):
    peer = subprocess.Popen(["prometheus-node-exporter", f"--path.sysfs={machine / 'sys'}",
                             "--collector.disable-defaults", "--collector.hwmon", "--collector.diskstats",
                             f"--web.listen-address=127.0.0.1:{PORT}"], stderr=subprocess.DEVNULL)
    page = ""

    def scrape():
        nonlocal page
        time.sleep(PACE)
        with urllib.request.urlopen(f"http://127.0.0.1:{PORT}/metrics", timeout=10) as answer:
            page = answer.read().decode()

    try:
        return samples_of(peer.pid, scrape), page.count("\nnode_hwmon_temp_celsius{")
    finally:
        peer.terminate()
        peer.wait()


def compare(tick, build, machine, folder):
    """Prints the cost of a sample to the peers, compared with the agent's whole tick, in microseconds."""
    print(f"\n{'The whole tick beside peers':46} {'ours (us)':>12} {'peer (us)':>12} {'ratio':>8}")
    for name, measure, wanted in (("collectd, sensors and disks", collectd, 0.35),
                                  ("node_exporter, a scrape of sensors and disks", node_exporter, 0.25)):
        peer, temperatures = measure(build, machine, folder)
        print(f"  {name:44} {tick:12.1f} {peer:12.1f} {tick / peer:8.3f}   wanted <= {wanted}; "
              f"it read {temperatures} temperatures", flush=True)
