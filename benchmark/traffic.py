"""nettop compared with ss at three numbers of connections, in a network namespace of its own: python3 traffic.py BUILD

Each connection is one end of a pair that a process of its own holds, on an address that is not loopback.
"""
import os
import resource
import socket
import statistics
import subprocess
import sys

ADDRESS = "10.99.0.1"
REPETITIONS = 31
WANTED = {100: "", 1000: "   wanted <= 0.20", 5000: "   wanted <= 0.28"}
NETTOP = ["-Px", "-k", "interface,state,rx_ooo,rx_dupe,re-tx,rtt_avg,rcvsize,tx_win,tc_class,tc_mgt,cc_algo,P,C,R,W",
          "-l", "1", "-t", "external"]
SETUP = f'ip link set lo up && ip address add {ADDRESS}/32 dev lo && exec "$@"'


def run(build):
    """Prints the table, in a namespace that root, or a user who may, can make."""
    unshare = ["unshare", *([] if os.geteuid() == 0 else ["--map-root-user"]), "--net"]
    if subprocess.run([*unshare, "true"], check=False).returncode != 0:
        print("\nTraffic by process: left out, since this user may make no network namespace", flush=True)
        return
    subprocess.run([*unshare, "sh", "-c", SETUP, "sh", sys.executable, "-B", __file__, build], check=True)


def hold(count):
    """Opens the connections, says so and keeps them until its input ends."""
    limit = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
    resource.setrlimit(resource.RLIMIT_NOFILE, (max(limit, count + 64) if os.geteuid() == 0 else limit,) * 2)
    ends = []
    with socket.create_server((ADDRESS, 0)) as listener:
        while len(ends) < count:
            ends += [socket.create_connection(listener.getsockname()), listener.accept()[0]]
            ends[-1].sendall(b"x" * 100)
    print(flush=True)
    sys.stdin.read()


def microseconds(command):
    """Processor time of the whole command."""
    output = (os.POSIX_SPAWN_OPEN, 1, "/dev/null", os.O_WRONLY, 0)
    child = os.posix_spawnp(command[0], command, os.environ, file_actions=[output])
    _, status, usage = os.wait4(child, 0)
    assert status == 0, command
    return (usage.ru_utime + usage.ru_stime) * 1e6


def main():
    if sys.argv[1] == "--hold":
        hold(int(sys.argv[2]))
        return
    commands = [[f"{sys.argv[1]}/src/libexec/quorlin-sensors/nettop", *NETTOP], ["ss", "-tinpH"]]
    print(f"\n{'Traffic by process, the whole command':46} {'ours (us)':>12} {'ss (us)':>12} {'ratio':>8}")
    for count, wanted in WANTED.items():
        with subprocess.Popen([sys.executable, "-B", __file__, "--hold", str(count)], stdin=subprocess.PIPE,
                              stdout=subprocess.PIPE) as holder:
            assert holder.stdout.readline(), "the connections could not be opened"
            rounds = [[microseconds(command) for command in commands] for _ in range(REPETITIONS)]
            holder.communicate()
        ours, peer = (statistics.median(column) for column in zip(*rounds))
        print(f"  {f'{count} connections':44} {ours:12.1f} {peer:12.1f} {ours / peer:8.3f}{wanted}", flush=True)


if __name__ == "__main__":
    main()
