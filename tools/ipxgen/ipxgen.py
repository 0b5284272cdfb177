#!/usr/bin/env python3
"""Command line of the binding generator.

    python3 tools/ipxgen/ipxgen.py [--ieee DIR] [--vendor DIR] [--dump-model FILE] [--check]

Pipeline: load the schemas (xsd_loader) -> build the model (build_model) ->
emit the C++ binding into ipxact/spirit/ (emit). With --check nothing is
written: the output is compared with the committed files and any difference
fails the run.
"""

from __future__ import annotations

import argparse
import json
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

import emit  # noqa: E402
from build_model import build_model  # noqa: E402
from class_places import ModelError  # noqa: E402
from model import Model  # noqa: E402
from numbering import NumberingError  # noqa: E402
from xsd_loader import SchemaError, SchemaSet  # noqa: E402

REPOSITORY_ROOT = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
DEFAULT_IEEE_DIR = os.path.join(REPOSITORY_ROOT, "..", "shared", "ipxact-1685-2009")
DEFAULT_VENDOR_DIR = os.path.join(REPOSITORY_ROOT, "schema")
IEEE_ROOT_FILE = "index.xsd"
VENDOR_ROOT_FILE = "vorlix.xsd"


def load(ieee_dir: str, vendor_dir: str) -> SchemaSet:
    """The IEEE schema, then the vendor schema when its root file exists.

    The IEEE schema goes first: the vendor schema imports its namespace, and
    loading it first makes that import resolve to this copy whatever
    location the vendor file names.
    """
    ieee_root = os.path.join(ieee_dir, IEEE_ROOT_FILE)
    if not os.path.exists(ieee_root):
        raise SchemaError("no %s in %s" % (IEEE_ROOT_FILE, ieee_dir))
    schemas = SchemaSet()
    schemas.load(ieee_root)
    vendor_root = os.path.join(vendor_dir, VENDOR_ROOT_FILE)
    if os.path.exists(vendor_root):
        schemas.load(vendor_root)
    return schemas


def dump_model(model: Model, path: str) -> None:
    text = json.dumps(model.to_json_data(), indent=1, sort_keys=True) + "\n"
    with open(path, "w", encoding="utf-8") as out:
        out.write(text)


def emit_outputs(model: Model, arguments: argparse.Namespace) -> int:
    """Everything produced from the model; with --check, only the comparison."""
    if arguments.dump_model:
        dump_model(model, arguments.dump_model)
    files = emit.generate(model)
    if arguments.check:
        differing = emit.differences(files, arguments.out)
        for path in differing:
            print("ipxgen: differs from the generator's output: %s" % path, file=sys.stderr)
        if differing:
            print("ipxgen: run python3 tools/ipxgen/ipxgen.py and commit the result", file=sys.stderr)
            return 1
        return 0
    emit.write(files, arguments.out)
    return 0


def parse_arguments(argv: list) -> argparse.Namespace:
    parser = argparse.ArgumentParser(description="Generate the IP-XACT binding from its schemas.")
    parser.add_argument("--ieee", default=DEFAULT_IEEE_DIR,
                        help="directory of the IEEE 1685-2009 schema files (default: %(default)s)")
    parser.add_argument("--vendor", default=DEFAULT_VENDOR_DIR,
                        help="directory of the vendor schema; skipped when it has no %s "
                             "(default: %%(default)s)" % VENDOR_ROOT_FILE)
    parser.add_argument("--dump-model", metavar="FILE", help="also write the model as JSON to FILE")
    parser.add_argument("--out", default=REPOSITORY_ROOT,
                        help="repository root that receives ipxact/spirit/ (default: %(default)s)")
    parser.add_argument("--check", action="store_true",
                        help="write nothing; fail when the committed generated files differ")
    return parser.parse_args(argv)


def main(argv: list) -> int:
    arguments = parse_arguments(argv)
    try:
        model = build_model(load(arguments.ieee, arguments.vendor))
        return emit_outputs(model, arguments)
    except (SchemaError, ModelError, NumberingError, OSError) as error:
        print("ipxgen: %s" % error, file=sys.stderr)
        return 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
