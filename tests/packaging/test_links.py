"""The libraries that the root helper loads: each is code that runs as root."""
import pathlib
import re
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "fixtures"))
from harness import BUNDLE, PATIENCE  # noqa: E402

ALLOWED = {"libsystemd.so.0", "libc.so.6", "libm.so.6", "libstdc++.so.6", "libgcc_s.so.1"}


def loaded_by(file):
    """What ldd lists for a program or a library: {name: where it is found, or nothing}."""
    listed = subprocess.run(["ldd", file], timeout=PATIENCE, check=True, text=True, stdout=subprocess.PIPE).stdout
    rows = (re.fullmatch(r"\s*(\S+)(?: => (\S+))? \(0x[0-9a-f]+\)", line) for line in listed.splitlines())
    return {row[1]: row[2] for row in rows}


def test_the_helper_loads_libsystemd_and_what_every_program_has():
    loaded = loaded_by(BUNDLE / "quorlin-core-helper")
    # The loader and the kernel's vdso are in every list.
    allowed = ALLOWED | set(loaded_by(loaded["libsystemd.so.0"]))
    sanitizers = {name for name in loaded if re.fullmatch(r"lib[a-z]+san\.so\.\d+", name)}
    assert set(loaded) - allowed - sanitizers == set()
