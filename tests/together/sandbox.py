"""Runs a program in the sandbox that its systemd unit describes, where no systemd runs.

All is read from the unit file, so a program that a stricter unit breaks breaks in its tests too; a setting that is not
known here is an error. What is not imitated: IPAddressDeny= and DevicePolicy= (there is no network and no device to
begin with); ProtectControlGroups= beyond the read-only /sys; ProtectClock=, ProtectKernelLogs=, ProtectKernelModules=
and RestrictRealtime= beyond the capabilities and calls that other settings take; RestrictNamespaces=, RestrictSUIDSGID=
and LockPersonality=, which take what the helper has no use for. Only root gets a /proc as ProtectProc= and ProcSubset=
say; anybody else sees the system's own, read-only.
"""
import errno
import functools
import os
import pathlib
import socket
import subprocess

import seccomp

NOT_A_SANDBOX = {"Type", "BusName", "ExecStart", "ExecStopPost", "Restart", "TimeoutStopSec", "StateDirectoryMode"}
NOT_IMITATED = {"IPAddressDeny", "DevicePolicy", "ProtectClock", "ProtectKernelLogs", "ProtectKernelModules",
                "RestrictRealtime", "ProtectControlGroups", "RestrictNamespaces", "RestrictSUIDSGID", "LockPersonality"}
ALWAYS = {"NoNewPrivileges": "yes", "SystemCallArchitectures": "native", "ProtectSystem": "strict",
          "SystemCallErrorNumber": "EPERM"}
WRITE, EXECUTE, SHM_EXECUTE = 2, 4, 0o100000  # mmap(2), shmat(2)

# bwrap needs a mount at /, which a chroot does not have, and a /proc that hides things is for root to mount. Whatever
# the mounts outside do, those made here stay here: the first command fails in a chroot, the second does not.
AS_ROOT = """
    proc_options=$1 folder=$2
    shift 2
    mount --make-rprivate / 2>/dev/null
    mount --bind "$folder" "$folder" && mount --make-private "$folder" &&
        mount -t proc -o "$proc_options" proc "$folder/proc" && mount --rbind / "$folder/root" &&
        exec chroot "$folder/root" "$@"
"""


@functools.cache
def members(group):
    """The system calls of a group such as @system-service, those of the groups inside it too."""
    if not group.startswith("@"):
        return {group}
    lines = subprocess.run(["systemd-analyze", "--no-pager", "syscall-filter", group], check=True, text=True,
                           stdout=subprocess.PIPE).stdout.split("\n")[1:]
    names = (line.strip() for line in lines)
    return set().union(*(members(name) for name in names if name and not name.startswith("#")))


class Unit:
    """The [Service] section: {name: the values assigned to it, in order}."""

    def __init__(self, path):
        self.settings = {}
        service = pathlib.Path(path).read_text(encoding="utf-8").split("[Service]\n")[1].split("\n[")[0]
        for line in service.splitlines():
            if line and line[0] not in "#;":
                name, value = line.split("=", 1)
                self.settings.setdefault(name, []).append(value)
        self.unread = set(self.settings) - NOT_A_SANDBOX - NOT_IMITATED
        for name, value in ALWAYS.items():
            assert self.value(name) == value, f"{name}={self.value(name)} cannot be imitated"

    def values(self, name):
        """The words of a list, empty where it is not set."""
        self.unread.discard(name)
        return [word for value in self.settings.get(name, []) for word in value.split()]

    def value(self, name):
        return (self.values(name) or [None])[-1]

    def has(self, name):
        value = self.value(name)
        assert value in (None, "yes", "no"), f"{name}={value} cannot be imitated"
        return value == "yes"

    def system_calls(self):
        """The filter as {call: alternatives of conditions on its arguments}."""
        # As systemd.exec(5) says of a list of what is allowed: it begins with what is always allowed.
        allowed = set(members("@default"))
        for value in self.settings["SystemCallFilter"]:
            taken = value.startswith("~")
            named = set().union(*(members(word) for word in value.lstrip("~").split()))
            allowed = allowed - named if taken else allowed | named
        self.unread.discard("SystemCallFilter")
        conditions = {}
        families = self.values("RestrictAddressFamilies")
        if families:
            conditions["socket"] = [[seccomp.Arg(0, seccomp.EQ, getattr(socket, family))] for family in families]
        if self.has("MemoryDenyWriteExecute"):
            conditions["mmap"] = [[seccomp.Arg(2, seccomp.MASKED_EQ, WRITE | EXECUTE, bits)]
                                  for bits in (0, WRITE, EXECUTE)]
            for name, bit in (("mprotect", EXECUTE), ("pkey_mprotect", EXECUTE), ("shmat", SHM_EXECUTE)):
                conditions[name] = [[seccomp.Arg(2, seccomp.MASKED_EQ, bit, 0)]]
        return {name: conditions.get(name, [[]]) for name in sorted(allowed)}

    def filter(self):
        """The filter as a file that holds the kernel's program."""
        rules = seccomp.SyscallFilter(defaction=seccomp.ERRNO(errno.EPERM))
        for name, alternatives in self.system_calls().items():
            if seccomp.resolve_syscall(seccomp.Arch(), name) < 0:  # of another processor
                continue
            for conditions in alternatives:
                rules.add_rule(seccomp.ALLOW, name, *conditions)
        file = os.fdopen(os.memfd_create("filter"), "wb+")
        rules.export_bpf(file)
        file.seek(0)
        return file


class Sandbox:
    """What a unit leaves of the system. The folder is the test's own; "state" in it is the unit's state folder."""

    def __init__(self, unit, folder, sysfs=None, visible=()):
        """Another tree can stand at /sys. The visible folders are read-only, also below /tmp and /home."""
        self.unit = Unit(unit)
        self.folder = pathlib.Path(folder)
        self.state = self.folder / "state"
        for name in ("state", "proc", "root"):
            (self.folder / name).mkdir(exist_ok=True)
        self.options = self._namespaces() + self._mounts(pathlib.Path(sysfs or "/sys"), visible)
        self.umask = int(self.unit.value("UMask") or "0022", 8)
        self.filter = self.unit.filter()
        assert not self.unit.unread, f"cannot be imitated: {self.unit.unread}"

    def _namespaces(self):
        options = ["--new-session", "--die-with-parent"]
        options += ["--unshare-net"] * self.unit.has("PrivateNetwork") + ["--unshare-ipc"] * self.unit.has("PrivateIPC")
        if "CapabilityBoundingSet" in self.unit.settings:
            assert not self.unit.values("CapabilityBoundingSet"), "no capability can be left"
            options += ["--cap-drop", "ALL"]
        return options

    def _mounts(self, sysfs, visible):
        unit = self.unit
        sys_is_read_only = unit.has("ProtectKernelTunables")
        mounts = [("--ro-bind", "/", "/")]
        mounts += [("--dev", "/dev")] if unit.has("PrivateDevices") else [("--dev-bind", "/dev", "/dev")]
        mounts += [("--ro-bind" if sys_is_read_only else "--bind", sysfs, "/sys")]
        self.proc_options = [f"hidepid={unit.value('ProtectProc') or 'off'}"]
        self.proc_options += ["subset=pid"] if unit.value("ProcSubset") == "pid" else []
        if os.geteuid() == 0:
            mounts += [("--bind", self.folder / "proc", "/proc")]
        hidden = ["/home", "/root", "/run/user"] * unit.has("ProtectHome")
        hidden += ["/tmp", "/var/tmp"] * unit.has("PrivateTmp")
        mounts += [("--tmpfs", path) for path in hidden if os.path.isdir(path)]
        mounts += [("--ro-bind", path, path) for path in visible]
        mounts += [("--bind", sysfs / pathlib.Path(path).relative_to("/sys"), path)
                   for path in unit.values("ReadWritePaths")]
        state = f"/var/lib/{unit.value('StateDirectory')}"
        mounts += [("--tmpfs", "/var/lib"), ("--bind", self.state, state), ("--remount-ro", "/var/lib"),
                   ("--setenv", "STATE_DIRECTORY", state)]
        return [str(word) for mount in mounts for word in mount]

    def start(self, command, **options):
        """A process as of subprocess.Popen. It is the launcher's; a signal to it kills the program."""
        command = ["bwrap", *self.options, "--seccomp", str(self.filter.fileno()), "--", *command]
        if os.geteuid() == 0:
            command = ["unshare", "--mount", "--propagation", "unchanged", "sh", "-c", AS_ROOT, "sh",
                       ",".join(self.proc_options), str(self.folder), *command]
        self.filter.seek(0)
        return subprocess.Popen(command, pass_fds=[self.filter.fileno()], umask=self.umask, **options)
