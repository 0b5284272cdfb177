#!/usr/bin/env python3
"""Command line of the binding generator.

    python3 tools/ipxgen/ipxgen.py [--ieee DIR] [--vendor DIR] --dump-model FILE

Pipeline: load the schemas (xsd_loader) -> build the model (build_model) ->
write it out. Today the only output is the model as JSON; the C++ emitters
plug in at emit_outputs().
"""

from __future__ import annotations

import argparse
import json
import os
import sys

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

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


def emit_outputs(model: Model, arguments: argparse.Namespace) -> None:
    """Everything produced from the model. The C++ emitters are added here."""
    if arguments.dump_model:
        dump_model(model, arguments.dump_model)


def parse_arguments(argv: list) -> argparse.Namespace:
    parser = argparse.ArgumentParser(description="Generate the IP-XACT binding from its schemas.")
    parser.add_argument("--ieee", default=DEFAULT_IEEE_DIR,
                        help="directory of the IEEE 1685-2009 schema files (default: %(default)s)")
    parser.add_argument("--vendor", default=DEFAULT_VENDOR_DIR,
                        help="directory of the vendor schema; skipped when it has no %s "
                             "(default: %%(default)s)" % VENDOR_ROOT_FILE)
    parser.add_argument("--dump-model", metavar="FILE", help="write the model as JSON to FILE")
    arguments = parser.parse_args(argv)
    if not arguments.dump_model:
        parser.error("nothing to do: give --dump-model FILE")
    return arguments


def main(argv: list) -> int:
    arguments = parse_arguments(argv)
    try:
        model = build_model(load(arguments.ieee, arguments.vendor))
        emit_outputs(model, arguments)
    except (SchemaError, ModelError, NumberingError, OSError) as error:
        print("ipxgen: %s" % error, file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
