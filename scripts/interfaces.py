#!/usr/bin/env python3
"""Compares the virtual operations of the public interfaces, in their order, with those last accepted.

    scripts/interfaces.py [--update]

Programs that are built already call a virtual operation by its place: one that is inserted, moved, taken away or
given other arguments breaks them without a word of the compiler or the linker. cmake/interfaces.txt has the accepted
ones; --update accepts them as they are now.
"""

import difflib
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
ACCEPTED = ROOT / "cmake" / "interfaces.txt"
CLASS = re.compile(r"^class HV_EXPORT (\w+[^{;]*)\{(.*?)^\};", re.MULTILINE | re.DOTALL)
VIRTUAL = re.compile(r"\bvirtual\s([^;{]*)[;{]")

lines = []
for header in sorted((ROOT / "include" / "Reelhaul").glob("*.h")):
    code = re.sub(r"//[^\n]*", "", header.read_text(encoding="utf-8"))
    for name, body in CLASS.findall(code):
        operations = [" ".join(operation.split()) for operation in VIRTUAL.findall(body)]
        if operations:
            lines += [" ".join(name.split())] + [f"    {operation}" for operation in operations]
if "--update" in sys.argv:
    ACCEPTED.write_text("\n".join(lines) + "\n", encoding="utf-8")
    sys.exit()
accepted = ACCEPTED.read_text(encoding="utf-8").splitlines()
difference = list(difflib.unified_diff(accepted, lines, "accepted: cmake/interfaces.txt", "the headers", lineterm=""))
if difference:
    print("\n".join(difference), file=sys.stderr)
    sys.exit("Virtual operations have changed, which breaks programs that are built already.\n"
             "If that is meant, with a new major version, accept it: scripts/interfaces.py --update")
