#!/usr/bin/env python3
"""Says which includes break the order of the rooms: one line for each, exit status 1 where there is any.

A room includes the rooms on lower floors, itself, and the public headers. The public headers include each other and the
standard library, the command the public headers alone. What belongs to one operating system stands in sources that
end in .posix.cpp, .linux.cpp or .macos.cpp.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
FLOORS = [["foundation"], ["model", "tools"], ["cookies"], ["options", "browser"], ["task"], ["control"]]
FLOOR = {room: number for number, rooms in enumerate(FLOORS) for room in rooms}
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]')
SYSTEM_ONLY = re.compile(r"__attribute__|__APPLE__|__linux__|\bvasprintf\b")
# Headers with ".h" in angle brackets that belong to a library, not to a system.
LIBRARIES = re.compile(r"^(rapidjson|curl|CLI|Reelhaul|sqlite3)\b")
SUFFIXED = re.compile(r"\.(posix|linux|macos)\.cpp$")


def room_of(path):
    return path.relative_to(ROOT).parts[0]


def main():
    files = sorted(path for room in [*FLOOR, "cli", "include"] for path in (ROOT / room).rglob("*")
                   if path.suffix in (".h", ".cpp"))
    where = {path.name: room_of(path) for path in files if path.suffix == ".h"}
    faults = []

    def check(path, number, quoted, name):
        room, target = room_of(path), where.get(pathlib.PurePath(name).name)
        own = target if quoted or name.startswith("Reelhaul/") else None
        if own is None and quoted:
            fault = "is no header of ours"
        elif own is None:
            system = name.endswith(".h") and not LIBRARIES.match(name) and not SUFFIXED.search(path.name)
            fault = "belongs to an operating system" if system else None
        elif room == "include":
            fault = None if own == "include" else "is not public"
        elif room == "cli":
            fault = None if own in ("cli", "include") else "is not public"
        elif own in (room, "include"):
            fault = None
        else:
            fault = None if own in FLOOR and FLOOR[own] < FLOOR[room] else f"stands in {own}/, which is not below {room}/"
        if fault:
            faults.append(f'{path.relative_to(ROOT)}:{number}: "{name}" {fault}')

    for path in files:
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            if found := INCLUDE.match(line):
                check(path, number, found[1] == '"', found[2])
            elif SYSTEM_ONLY.search(line) and not SUFFIXED.search(path.name) and path.name != "HVExport.h":
                faults.append(f"{path.relative_to(ROOT)}:{number}: belongs into a source for one system: {line.strip()}")
    print("\n".join(faults) if faults else f"The includes of {len(files)} files are in order.")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
