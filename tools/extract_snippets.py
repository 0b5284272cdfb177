#!/usr/bin/env python3
"""Writes every ```cpp block of a Markdown guide to its own source file.

A block is a fence of its own at the start of a line, "```cpp", up to the
next line that is only "```".

    tools/extract_snippets.py GUIDE OUTDIR

The files are OUTDIR/snippet_01.cpp, snippet_02.cpp, ... in the order the
blocks appear, and their paths are printed one per line, so that a build can
compile each block as a translation unit of its own. Each file starts with a
#line directive: a compiler error then names the line of the guide, which is
where the fix belongs.

A file is rewritten only when its text changed, so re-running the extraction
does not make the build recompile every snippet. Snippet files of an earlier
run that the guide no longer yields are removed.
"""

import re
import sys
from pathlib import Path

OPENING_FENCE = re.compile(r"^```cpp\s*$")
CLOSING_FENCE = re.compile(r"^```\s*$")
SNIPPET_NAME = re.compile(r"^snippet_\d+\.cpp$")


class GuideError(Exception):
    pass


def cpp_blocks(lines):
    """(first line number of the code, code text) for every ```cpp block."""
    blocks = []
    start = None
    body = []
    for number, line in enumerate(lines, start=1):
        if start is None:
            if OPENING_FENCE.match(line):
                start, body = number + 1, []
        elif CLOSING_FENCE.match(line):
            blocks.append((start, "".join(body)))
            start = None
        else:
            body.append(line)
    if start is not None:
        raise GuideError("the ```cpp block opened at line %d is never closed" % (start - 1))
    return blocks


def snippet_text(guide_path, first_line, code):
    # Forward slashes keep the directive valid on every host; backslashes would be escapes.
    return '#line %d "%s"\n%s' % (first_line, guide_path.as_posix(), code)


def write_if_changed(path, text):
    if path.exists() and path.read_text(encoding="utf-8") == text:
        return
    path.write_text(text, encoding="utf-8")


def extract(guide_path, out_dir):
    lines = guide_path.read_text(encoding="utf-8").splitlines(keepends=True)
    blocks = cpp_blocks(lines)
    if not blocks:
        raise GuideError("%s has no ```cpp block" % guide_path)
    out_dir.mkdir(parents=True, exist_ok=True)
    width = max(2, len(str(len(blocks))))
    written = []
    for index, (first_line, code) in enumerate(blocks, start=1):
        path = out_dir / ("snippet_%0*d.cpp" % (width, index))
        write_if_changed(path, snippet_text(guide_path.resolve(), first_line, code))
        written.append(path)
    for stale in out_dir.iterdir():
        if SNIPPET_NAME.match(stale.name) and stale not in written:
            stale.unlink()
    return written


def main(argv):
    if len(argv) != 3:
        sys.stderr.write("usage: %s GUIDE OUTDIR\n" % argv[0])
        return 2
    try:
        written = extract(Path(argv[1]), Path(argv[2]))
    except (GuideError, OSError) as error:
        sys.stderr.write("extract_snippets: %s\n" % error)
        return 1
    for path in written:
        print(path.as_posix())
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
