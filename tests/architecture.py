"""Checks who includes whom: arrows point one way, and the behaviour knows no system."""

import pathlib
import re
import sys

BEHAVIOUR = {"core", "helper", "commands", "inspect", "probes", "maintenance", "ui"}
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.MULTILINE)
STANDARD = set(
    """algorithm array atomic bit cctype charconv chrono climits cmath compare concepts csignal cstddef cstdint cstdio
    cstdlib cstring deque exception filesystem fstream functional initializer_list iterator limits map memory mutex
    new numbers numeric optional ostream random ranges set span sstream stdexcept string string_view system_error thread
    tuple type_traits unordered_map unordered_set utility variant vector""".split()
)

# What a folder may include of the project, by the first matching prefix of its own path.
MAY_SEE = {
    "platform/linux": {"platform", "platform/linux", "platform/posix"},
    "platform/posix": {"platform", "platform/posix"},
    "platform": {"platform"},
    "engine": {"engine", "core", "platform", "platform/posix"},
    "programs": None,
    **{folder: BEHAVIOUR | {"platform"} for folder in BEHAVIOUR},
}
SYSTEM_FREE = BEHAVIOUR | {"platform"}


def folder_of(path):
    return str(pathlib.PurePosixPath(path).parent)


def complaints(source, text):
    folder = folder_of(source)
    room = next(room for room in MAY_SEE if folder == room or folder.startswith(room + "/"))
    for bracket, name in INCLUDE.findall(text):
        if bracket == '"':
            allowed = MAY_SEE[room]
            if allowed is not None and folder_of(name) not in allowed:
                yield f"{source}: {room} must not include {name}"
        elif room in SYSTEM_FREE and name not in STANDARD:
            yield f"{source}: {room} must not include <{name}>"
    if room in SYSTEM_FREE and re.search(r'"/(proc|sys)/', text):
        yield f"{source}: {room} must not name a path of a system"


def main():
    root = pathlib.Path(sys.argv[1])
    sources = sorted(p for p in root.rglob("*") if p.suffix in (".h", ".cpp"))
    assert sources, f"no sources in {root}"
    # The rule itself is tried on includes that it must refuse.
    for source, include in [("core/X.cpp", '"platform/linux/Bus.h"'), ("core/X.cpp", "<glib.h>"),
                            ("platform/X.h", '"core/X.h"'), ("engine/X.cpp", '"platform/linux/Bus.h"')]:
        assert list(complaints(source, f"#include {include}\n")), f"{source} may include {include}"
    found = [c for p in sources for c in complaints(p.relative_to(root).as_posix(), p.read_text())]
    print("\n".join(found))
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
