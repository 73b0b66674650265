#!/usr/bin/env python3
"""Makes single-file tools as they are released, of sources alone, out of the real one.

    older_tool.py TOOL VERSION OUTPUT [SOURCE=TEXT ...]

OUTPUT is TOOL with another version, no bytecode, and no mark of who has packed it, which would keep it from
updating itself. TEXT is added to the source of that name.
"""

import os
import re
import sys
import zipfile

tool, version, output = sys.argv[1:4]
added = dict(pair.split("=", 1) for pair in sys.argv[4:])
with open(output, "wb") as file, zipfile.ZipFile(tool) as archive:
    file.write(b"#!/usr/bin/env python3\n")
    with zipfile.ZipFile(file, "w", zipfile.ZIP_DEFLATED) as made:
        for name in archive.namelist():
            if name.endswith(".pyc"):
                continue
            source = archive.read(name)
            if name == "yt_dlp/version.py":
                source = re.sub(rb"(?m)^(VARIANT|UPDATE_HINT) = .*", rb"\1 = None", source)
                source = re.sub(rb"(?m)^(__version__) = .*", rb"\1 = '%s'" % version.encode(), source)
            made.writestr(name, source + added.get(name, "").encode())
os.chmod(output, 0o755)
