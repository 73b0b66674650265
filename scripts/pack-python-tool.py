#!/usr/bin/env python3
"""Packs a Python package into one executable file that starts fast.

    pack-python-tool.py PACKAGE_DIR INTERPRETER OUTPUT

The file is a "#!INTERPRETER" line followed by a zip archive, which Python runs by
itself. Beside each source lies its bytecode, so that nothing is compiled at start;
the sources stay in for an interpreter whose bytecode differs. The same input gives
the same bytes. Run it with INTERPRETER itself: the bytecode is that of the running one.
"""

import _imp
import importlib._bootstrap_external as bootstrap
import os
import sys
import zipfile

# Bytecode is stored: unpacking it would cost more than reading it. Sources are rarely read.
STORED, DEFLATED = zipfile.ZIP_STORED, zipfile.ZIP_DEFLATED


def bytecode(source, name):
    """The .pyc of a source, tied to it by a hash that Python doesn't check at start."""
    code = compile(source, name, "exec", dont_inherit=True, optimize=0)
    source_hash = _imp.source_hash(bootstrap._RAW_MAGIC_NUMBER, source)
    return bootstrap._code_to_hash_pyc(code, source_hash, False)


def package_files(package):
    """(path, name in the archive) of every file of the package, in a fixed order."""
    parent = os.path.dirname(os.path.abspath(package))
    for folder, folders, names in os.walk(os.path.abspath(package)):
        folders[:] = sorted(name for name in folders if name != "__pycache__")
        for name in sorted(names):
            path = os.path.join(folder, name)
            yield path, os.path.relpath(path, parent).replace(os.sep, "/")


def pack(package, interpreter, output):
    entries = [(os.path.join(package, "__main__.py"), "__main__.py"), *package_files(package)]
    with open(output, "wb") as file:
        file.write(b"#!" + os.fsencode(interpreter) + b"\n")
        with zipfile.ZipFile(file, "w") as archive:

            def put(name, data, method):
                info = zipfile.ZipInfo(name)  # dated 1980, whatever the clock says
                info.external_attr = 0o644 << 16
                archive.writestr(info, data, method)

            for path, name in entries:
                with open(path, "rb") as source:
                    data = source.read()
                if name.endswith(".py"):
                    put(name + "c", bytecode(data, name), STORED)
                put(name, data, DEFLATED)
    os.chmod(output, 0o755)


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    pack(*sys.argv[1:])
