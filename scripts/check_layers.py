#!/usr/bin/env python3
"""Checks from the includes alone that every file uses only what stands below it.

The kernel is a ladder of rooms: a file may include files of its own room and of rooms on lower
floors. Everything beside the ladder names the folders it may see. Only platform/ and library/ know
the operating system, and the one header of the client that loads a library.
"""
import pathlib
import re
import subprocess
import sys

# Lowest floor first. Rooms on one floor do not know each other.
LADDER = [
    ["include"],
    ["platform"],
    ["services/text", "kernel/base"],
    ["services/tables"],
    ["kernel/errors"],
    ["memory", "variant", "variant/time"],
    ["modules", "services/files"],
    ["kernel/entry"],
    ["library"],
]

# (from, to): why this room may look at a room of its own floor.
EXCEPTIONS = {
    ("variant", "variant/time"): "a sub-folder of its own that stands below it",
}

# The C++ client lies in the public header's folder, but the kernel does not know it.
CLIENT = "include/qm"

# Beside the ladder: what each folder may include. The others (unit tests, benchmarks, fuzz targets)
# look inside the kernel on purpose.
BESIDE = {
    CLIENT: ["include"],
    "toolkit": ["include", "toolkit"],
    "examples": ["include", "toolkit/qmproperty/qmproperty.h", "examples"],
    "tests/contract": ["include", "tests/contract", "tests/modules", "tests/support"],
    "tests/modules": ["include", "tests/modules"],
    "tests/toolkit": ["include", "toolkit", "examples", "tests/toolkit", "tests/contract/support",
                      "tests/modules", "tests/support"],
}

KNOWS_THE_SYSTEM = {"platform", "library", "include/qm/kernel_library.hpp"}
TELLS_SYSTEMS_APART = KNOWS_THE_SYSTEM | {"include"}
# The public header is C; the kernel's own headers are C++.
C_HEADERS_OF_INCLUDE = {"stdint.h"}

FLOORS = {room: floor for floor, rooms in enumerate(LADDER) for room in rooms}
INCLUDE = re.compile(r'\s*#\s*include\s*([<"])([^">]+)[>"]')
SYSTEM_TEST = re.compile(r"\s*#\s*(el)?if.*\b(_WIN32|_WIN64|__linux__|__unix__|_MSC_VER|__MINGW\w+)")


def sources():
    listing = subprocess.run(
        ["git", "ls-files", "--cached", "--others", "--exclude-standard", "*.h", "*.hpp", "*.c",
         "*.cpp"],
        check=True, capture_output=True, text=True)
    paths = map(pathlib.PurePosixPath, listing.stdout.splitlines())
    return {path for path in paths if pathlib.Path(path).is_file()}


def innermost(path, folders):
    """The deepest of `folders` that holds `path`, or None."""
    holding = [folder for folder in folders if path.is_relative_to(folder)]
    return max(holding, key=len, default=None)


def room_of(path):
    """The room on the ladder that holds `path`, or None."""
    room = innermost(path, [*FLOORS, CLIENT])
    return None if room == CLIENT else room


def resolve(name, source, known):
    """The project file that an include names, or None for a header from outside."""
    for candidate in [source.parent / name, pathlib.PurePosixPath(name)]:
        if candidate in known:
            return candidate
    # An include folder of the target's own: any file of that name tells the room.
    return min((file for file in known if file.match(name)), default=None)


def why_not_inside(source, target):
    """Why one file of the project must not include another, or None."""
    room = room_of(source)
    if room is None:
        folder = innermost(source, BESIDE)
        if folder is None or innermost(target, BESIDE[folder]):
            return None
        return f"{folder}/ may use only {', '.join(BESIDE[folder])}"
    other = room_of(target)
    if other is None:
        return "the kernel knows nothing beside the ladder"
    if room == other or FLOORS[other] < FLOORS[room] or (room, other) in EXCEPTIONS:
        return None
    return f"{other}/ does not stand below {room}/"


def why_not_outside(source, name):
    """Why a file must not include a header from outside the project, or None."""
    room = innermost(source, [*FLOORS, CLIENT])
    if room is None or innermost(source, KNOWS_THE_SYSTEM):
        return None
    if room == "include" and name in C_HEADERS_OF_INCLUDE:
        return None
    return "only the C++ library may be used here" if re.search(r"[./]", name) else None


def problems_of_line(source, line, known):
    include = INCLUDE.match(line)
    if include:
        name = include[2]
        target = resolve(name, source, known)
        if target:
            yield why_not_inside(source, target)
        elif include[1] == '"':
            yield f"{name} is no file of the project"
        else:
            yield why_not_outside(source, name)
    room = innermost(source, FLOORS)
    if room and room not in TELLS_SYSTEMS_APART and SYSTEM_TEST.match(line):
        yield "only platform/ and library/ tell systems apart"


def main():
    known = sources()
    found = 0
    for source in sorted(known):
        lines = pathlib.Path(source).read_text(encoding="utf-8").splitlines()
        for number, line in enumerate(lines, 1):
            for problem in filter(None, problems_of_line(source, line, known)):
                print(f"{source}:{number}: {line.strip()}: {problem}")
                found += 1
    print(f"{len(known)} files, {found} broken layer rules")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
