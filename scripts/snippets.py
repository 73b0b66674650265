#!/usr/bin/env python3
"""Keeps the code in docs/ equal to the compiled examples.

    scripts/snippets.py [--check]

A line "<!-- FILE NAME -->" in a page stands in front of a code block that shows the part NAME of FILE, the lines
between two lines "//! [NAME]". Writes the blocks anew; with --check only says which differ.
"""

import pathlib
import re
import sys
import textwrap

ROOT = pathlib.Path(__file__).resolve().parent.parent
BLOCK = re.compile(r"<!-- (\S+) (\S+) -->\n```cpp\n(.*?)```\n", re.DOTALL)


def part(file, name):
    parts = re.split(rf"^ *//! \[{re.escape(name)}\]\n", (ROOT / file).read_text(encoding="utf-8"), flags=re.MULTILINE)
    if len(parts) != 3:
        sys.exit(f"snippets: {file} has no part {name}")
    return textwrap.dedent(parts[1])


differ = []
for page in sorted((ROOT / "docs").glob("*.md")):
    text = page.read_text(encoding="utf-8")
    wanted = BLOCK.sub(lambda block: f"<!-- {block[1]} {block[2]} -->\n```cpp\n{part(block[1], block[2])}```\n", text)
    if page.name == "guide.md" and len(BLOCK.findall(text)) != text.count("```cpp\n"):
        differ.append(f"{page.name} has code of its own")
    if wanted != text:
        differ.append(f"{page.name} differs from the examples; scripts/snippets.py writes it anew")
        if "--check" not in sys.argv:
            page.write_text(wanted, encoding="utf-8")
if "--check" in sys.argv and differ:
    sys.exit("snippets: " + "; ".join(differ))
