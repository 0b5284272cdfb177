#!/usr/bin/env python3
"""Fails when a source file includes a header of a layer it may not use.

The layers, lowest first: the XML runtime and the host support layer know nothing above them; the
binding uses both; the catalog uses the binding; the command line, tests, benchmarks, examples and
fuzz targets may use everything. A header reached through a quoted include must live in the
including file's own folder, so quoted includes cannot cross a layer either.

    tools/check_layers.py [REPOSITORY]
"""
import os
import re
import sys

# Folder -> the library folders (under ipxact/) whose headers its files may include.
ALLOWED = {
    "ipxact/lmx60": {"lmx60"},
    "ipxact/common": {"common"},
    "ipxact/spirit": {"lmx60", "common", "spirit"},
    "ipxact/catalog": {"lmx60", "common", "spirit", "catalog"},
}
SOURCE_SUFFIXES = (".h", ".hpp", ".cpp", ".cc")
ANGLED = re.compile(r'^\s*#\s*include\s*<ipxact/([^/>]+)/')
QUOTED = re.compile(r'^\s*#\s*include\s*"([^"]+)"')


def faults_of_file(path: str, folder: str, allowed: set) -> list:
    faults = []
    with open(path, encoding="utf-8", errors="replace") as source:
        for number, line in enumerate(source, 1):
            angled = ANGLED.match(line)
            if angled and angled.group(1) not in allowed:
                faults.append("%s:%d: %s may not include ipxact/%s/" % (path, number, folder, angled.group(1)))
            quoted = QUOTED.match(line)
            if quoted and not os.path.isfile(os.path.join(os.path.dirname(path), quoted.group(1))):
                faults.append("%s:%d: quoted include \"%s\" is not beside the file" % (path, number, quoted.group(1)))
    return faults


def faults_of_repository(root: str) -> list:
    faults = []
    for folder, allowed in sorted(ALLOWED.items()):
        for directory, _, names in sorted(os.walk(os.path.join(root, folder))):
            for name in sorted(names):
                if name.endswith(SOURCE_SUFFIXES):
                    path = os.path.join(directory, name)
                    faults += faults_of_file(path, folder, allowed)
    return faults


def main() -> int:
    root = sys.argv[1] if len(sys.argv) > 1 else os.path.join(os.path.dirname(os.path.abspath(__file__)), "..")
    faults = faults_of_repository(root)
    for fault in faults:
        print(fault, file=sys.stderr)
    if not faults:
        print("layers: every include stays within what its layer may use")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
