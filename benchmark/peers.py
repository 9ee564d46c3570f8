"""collectd and node_exporter reading the same described machine as the agent: processor time a sample.

All three see the machine in place of /sys and its disk counters in place of /proc/diskstats, through a mount
namespace of their own, which needs root.
"""
import os
import pathlib
import re
import statistics
import subprocess
import time
import urllib.request

REPETITIONS = 9
SAMPLES = 20
COLLECTD_INTERVAL = 0.2

COLLECTD = """
BaseDir "{folder}"
PIDFile "{folder}/collectd.pid"
Interval {interval}
ReadThreads 1
WriteThreads 1
LoadPlugin sensors
LoadPlugin disk
LoadPlugin csv
<Plugin csv>
  DataDir "{folder}/csv"
</Plugin>
"""


def in_machine(machine, command):
    """The command, run where the described machine is mounted."""
    script = 'mount --rbind "$1/proc/diskstats" /proc/diskstats && mount --rbind "$1/sys" /sys && shift && exec "$@"'
    return ["unshare", "--mount", "--propagation", "private", "bash", "-c", script, "bash", machine, *command]


def cpu_microseconds(pid):
    """Of all threads, to the nanosecond."""
    total = 0
    for task in pathlib.Path(f"/proc/{pid}/task").iterdir():
        total += int((task / "schedstat").read_text().split()[0])
    return total / 1000


def compare(ours, machine, folder):
    """Prints the ratios; ours is the agent's time for reading the same sensors and disks."""
    print(f"\n{'Sensors and disks beside peers, a sample':46} {'ours (us)':>12} {'peer (us)':>12} {'ratio':>8}")
    for name, measure in (("collectd, sensors and disk plug-ins", collectd), ("node_exporter, one scrape", node_exporter)):
        peer = measure(machine, folder)
        print(f"  {name:44} {ours:12.1f} {peer:12.1f} {ours / peer:8.3f}")
