"""Who includes whom: the rule of each room, tried on each other room, and that the build keeps it."""
import os
import pathlib
import re
import subprocess

import pytest

SOURCE = pathlib.Path(__file__).resolve().parents[2]
BUILD = pathlib.Path(os.environ["QUORLIN_BUILD"])
PLATFORM = {"platform", "platform/values"}
BEHAVIOUR = {"core", "helper", "commands", "inspect", "probes", "maintenance"}


class Room:
    def __init__(self, rule):
        self.rule = rule
        values = dict(re.findall(r"set\((\w+) (.*)\)", rule.read_text()))
        self.folders = set(values["folders"].split(";"))
        self.may_include = set(values["may_include"].split(";"))
        self.standard_only = values["standard_only"] == "TRUE"

    def refused(self, folder, *lines):
        """Those of the lines that a file of the room must not have."""
        probe = folder / "Probe.cpp"
        probe.write_text("".join(f"{line}\n" for line in lines))
        checked = subprocess.run(["cmake", "-P", SOURCE / "cmake/CheckIncludes.cmake", self.rule, probe], text=True,
                                 capture_output=True, check=False)
        shown = {line: re.sub(r"[\[\];]", "~", line).replace("\\", "^") for line in lines}
        found = {line for line in lines if f"must not have the line: {shown[line]}\n" in checked.stderr}
        assert (checked.returncode != 0) == bool(found)
        return found


ROOMS = {rule.stem: Room(rule) for rule in sorted((BUILD / "rooms").glob("*.cmake"))}
PROGRAMS = {name for name, room in ROOMS.items() if any(f.startswith("programs/") for f in room.folders)}


@pytest.mark.parametrize("name", ROOMS)
def test_a_room_includes_those_that_it_sees_and_no_other(tmp_path, name):
    folders = {folder for room in ROOMS.values() for folder in room.folders}
    includes = {f'#include "{folder}/Header.h"': folder for folder in folders}
    bracketed = {f"#include <{folder}/Header.h>" for folder in folders}
    refused = ROOMS[name].refused(tmp_path, *includes, *bracketed)
    assert {includes[line] for line in refused & set(includes)} == folders - ROOMS[name].may_include
    assert refused >= bracketed


@pytest.mark.parametrize("lines", [
    ['#include "../platform/Log.h"'], ['#include "Log.h"'], ['#include "/usr/include/glib.h"'], ["#include HEADER"],
    ['#import "platform/Log.h"'], ['#include_next "platform/Log.h"'], ['# include "programs/nettop/Connections.h"'],
    ["#include <glib.h>"], ["#include <sys/stat.h>"], ["/**/#include <glib.h>"], ["#/**/include <glib.h>"],
    ["%:include <glib.h>"], ["??=include <glib.h>"], ["#\finclude <glib.h>"], ['#include "platform/Log.h"  // ^'],
    ["#^", "include <glib.h>"], ["#inc^", "lude <glib.h>"], ["#include <string>^", "#include <glib.h>"],
    ["# /*", "*/ include <glib.h>"], ["#include <../src/platform/Log.h>"], ["#include <./platform/Log.h>"],
    ["#include <sys/../platform/Log.h>"]])
def test_no_other_way_of_including_gets_past_the_rule(tmp_path, lines):
    written = [line.replace("^", "\\" if len(lines) > 1 else "[") for line in lines]
    for room in ROOMS.values():
        # A room that knows the system includes its headers, so there another line stands for what is refused.
        wrong = written if room.standard_only else [re.sub("<glib.h>|<sys/stat.h>", "<core/Hidden.h>", line)
                                                    for line in written]
        allowed = ["#include <string>", f'#include "{min(room.may_include)}/Header.h"']
        refused = room.refused(tmp_path, allowed[0], *wrong, allowed[1])
        assert refused and not refused & set(allowed), room.rule


def test_arrows_point_one_way():
    for name, room in ROOMS.items():
        others = room.may_include - room.folders
        if name in PROGRAMS:
            assert not any(folder.startswith("programs/") for folder in others), name
        elif name == "behaviour":
            assert room.folders == BEHAVIOUR and others == PLATFORM
        elif name == "platform":
            assert not others
        else:
            assert all(folder == "platform" or folder.startswith("platform/") for folder in others), name
    assert {name for name, room in ROOMS.items() if room.standard_only} == {"behaviour", "platform"}


def test_every_file_belongs_to_one_room():
    folders = [folder for room in ROOMS.values() for folder in room.folders]
    assert len(folders) == len(set(folders))
    files = {str(file.parent.relative_to(SOURCE / "src")) for suffix in ("h", "cpp")
             for file in (SOURCE / "src").rglob(f"*.{suffix}")}
    assert files <= set(folders)


def test_the_behaviour_names_no_path_of_a_system():
    for folder in ROOMS["behaviour"].folders | ROOMS["platform"].folders:
        for file in (SOURCE / "src" / folder).glob("*.[hc]*"):
            assert not re.search(r'"/(proc|sys)/', file.read_text()), file


def test_a_wrong_include_ends_the_build(tmp_path):
    for file, text in {
            "CMakeLists.txt": 'cmake_minimum_required(VERSION 3.25)\nproject(House CXX)\n'
                              f'include("{SOURCE}/cmake/Rooms.cmake")\n'
                              "quorlin_room(cellar FOLDERS cellar)\nquorlin_room(attic FOLDERS attic SEES ${SEES})\n",
            "src/cellar/Wine.h": "#pragma once\n", "src/cellar/Wine.cpp": '#include "cellar/Wine.h"\n',
            "src/attic/Trunk.cpp": '#include "cellar/Wine.h"\nint trunk = 0;\n'}.items():
        (tmp_path / file).parent.mkdir(parents=True, exist_ok=True)
        (tmp_path / file).write_text(text)

    def build(sees):
        subprocess.run(["cmake", "-S", tmp_path, "-B", tmp_path / "build", "-G", "Ninja", f"-DSEES={sees}"], check=True,
                       stdout=subprocess.DEVNULL)
        return subprocess.run(["cmake", "--build", tmp_path / "build"], check=False, text=True, capture_output=True)

    wrong = build("")
    assert wrong.returncode != 0
    assert f'{tmp_path}/src/attic/Trunk.cpp: attic must not have the line: #include "cellar/Wine.h"' in wrong.stdout
    assert not list((tmp_path / "build").rglob("Trunk.cpp.o"))
    right = build("cellar")
    assert right.returncode == 0, right.stdout
