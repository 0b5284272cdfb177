#!/usr/bin/env bash
# Generates a library of 10,000 documents (bench/make_catalog.py: components with memory maps and
# bus interfaces, bus and abstraction definitions, designs; a few hundred references left dangling)
# and measures, in one command, plain reading, the catalog's load (reading, index, resolution) and
# load plus every rule, with one thread and with one per core. Method and figures:
# docs/performance.md.
#
#   bench/catalog.sh [DOCUMENTS]     from the repository root; DOCUMENTS defaults to 10000
#
# Environment: BUILD_DIR (default build-release), JOBS (compile jobs, default 2), RUNS (default 3).
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
documents=${1:-10000}
build=${BUILD_DIR:-build-release}
data="$build/bench-data/catalog-$documents"

if [ ! -f "$build/CMakeCache.txt" ]; then
  cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DIPXACT_BUILD_TESTS=OFF >/dev/null
fi
cmake --build "$build" -j"${JOBS:-2}" --target catalog_bench ipxact >/dev/null
if [ ! -d "$data" ]; then
  python3 bench/make_catalog.py "$data" --documents "$documents"
fi
"$build/bench/catalog_bench" "$data" --runs "${RUNS:-3}"
# The command a user runs, once, for its summary.
"$build/cli/ipxact" catalog "$data" | sed -n '1,12p' || true
