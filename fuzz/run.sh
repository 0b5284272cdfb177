#!/usr/bin/env bash
# Builds the libFuzzer targets with clang (the whole project instrumented, with AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs each target for SECONDS (default 60).
#
#   fuzz/run.sh [SECONDS]          build dir: build-fuzz/ (FUZZ_BUILD_DIR overrides it)
#
# FUZZ_BUILD_TESTS=ON configures the test suite into the same build, so that one instrumented build
# serves the suite under the sanitizers and the fuzz targets (CI does so). Targets run FUZZ_JOBS at a
# time (default 2): libFuzzer keeps one core busy per target.
#
# Seeds are copied at run time into the build dir: the tests' documents, the example, the regression
# inputs, when present the shared corpus of real documents, and random schema-valid documents of every
# global element of both schemas from tools/instancegen/instance_gen.py (FUZZ_GENERATED_PER_ELEMENT of
# each, default 3; the value target gets the numbers, dates and booleans written in them, edge forms
# included). Inputs that grow coverage stay in
# <build>/corpus/<target>/ between runs. A crash, leak, timeout or round-trip mismatch fails the run
# and leaves its input in <build>/artifacts/.
set -euo pipefail
cd "$(dirname "$0")/.."
repo=$(pwd)
seconds=${1:-60}
build=${FUZZ_BUILD_DIR:-$repo/build-fuzz}
targets=(fuzz_top_roundtrip fuzz_top_continuing fuzz_cli_summary fuzz_catalog_rules fuzz_values)

mkdir -p "$build"
cmake -S "$repo" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_C_COMPILER=clang-14 -DCMAKE_CXX_COMPILER=clang++-14 \
  -DCMAKE_C_FLAGS=-fsanitize=fuzzer-no-link -DCMAKE_CXX_FLAGS=-fsanitize=fuzzer-no-link \
  -DIPXACT_SANITIZE=ON -DIPXACT_FUZZ=ON -DIPXACT_BUILD_TESTS="${FUZZ_BUILD_TESTS:-OFF}" -DIPXACT_BUILD_BENCH=OFF -DIPXACT_WERROR=ON >"$build/configure.log" 2>&1 ||
  { cat "$build/configure.log"; exit 1; }
cmake --build "$build" -j2 --target "${targets[@]}" >"$build/build.log" 2>&1 ||
  { tail -n 60 "$build/build.log"; exit 1; }

documents=$build/seeds/documents
values=$build/seeds/values
rm -rf "$build/seeds" "$build/artifacts"
mkdir -p "$documents" "$values" "$build/artifacts" "$build/logs"
cp tests/schema/samples/*.xml examples/*.xml "$documents/"
cp tests/hostile/inputs/* "$documents/" 2>/dev/null || true
if [ -d ../shared/corpus-1685-2009 ]; then
  find ../shared/corpus-1685-2009 -name '*.xml' -exec cp {} "$documents/" \;
else
  echo "fuzz: ../shared/corpus-1685-2009 not found; seeding from the repository's documents only" >&2
fi
n=0
for text in 0 -0 +17 9223372036854775807 9223372036854775808 -9223372036854775809 000123 \
            1.5e308 1e400 -INF NaN 4.9e-324 2009-12-31 -0044-03-15Z 2009-12-31T23:59:60 \
            2009-02-28T24:00:00+14:00 2009-06-01T12:00:00.000125-05:30 0x1F; do
  printf '%s' "$text" >"$values/seed$((n++))"
done
# Generated documents reach what the samples and the corpus seldom hold: every global element as a
# document root, vendor blocks, xsi:type, empty lists and texts, values at their limits.
shared_schema=../shared/ipxact-1685-2009
if ! command -v python3 >/dev/null 2>&1; then
  echo "fuzz: python3 not found; no generated documents among the seeds" >&2
elif [ ! -d "$shared_schema" ]; then
  echo "fuzz: $shared_schema not found; no generated documents among the seeds" >&2
else
  generated=$build/seeds/generated
  python3 tools/instancegen/instance_gen.py --all --count "${FUZZ_GENERATED_PER_ELEMENT:-3}" --out-dir "$generated" \
    --ieee "$shared_schema" >"$build/logs/generate.log" 2>&1 || { cat "$build/logs/generate.log"; exit 1; }
  for file in "$generated"/*.xml; do
    cp "$file" "$documents/generated-$(basename "$file")"
  done
  python3 - "$generated" "$values" <<'PYTHON'
import os, re, sys
import xml.etree.ElementTree as ET
source, target = sys.argv[1:]
# Texts and attribute values that read as numbers, dates or booleans; names and prose are left out.
looks_like_a_value = re.compile(r"[-+]?[0-9.]+([eE][-+]?[0-9]+)?|-?[0-9]{4,}-[0-9].*|INF|-INF|NaN|true|false|"
                                r"[+-]?(0x|0X|#)?[0-9a-fA-F]+[kmgtKMGT]?|")
texts = set()
for name in sorted(os.listdir(source)):
    if name.endswith(".xml"):
        for element in ET.parse(os.path.join(source, name)).iter():
            for text in list(element.attrib.values()) + ([element.text or ""] if len(element) == 0 else []):
                if len(text) <= 40 and looks_like_a_value.fullmatch(" ".join(text.split())):
                    texts.add(text)
for number, text in enumerate(sorted(texts)):
    with open(os.path.join(target, "generated%d" % number), "w", encoding="utf-8") as out:
        out.write(text)
PYTHON
  echo "fuzz: seeds include $(ls "$generated" | grep -c '\.xml$') generated documents" \
       "and $(ls "$values" | grep -c '^generated') values from them"
fi

fuzz_target() {
  local target=$1 corpus=$build/corpus/$1 seeds=$documents log=$build/logs/$1.log
  mkdir -p "$corpus"
  local options=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -print_final_stats=1
                 -artifact_prefix="$build/artifacts/$target-")
  if [ "$target" = fuzz_values ]; then
    seeds=$values
  else
    options+=(-dict="$repo/fuzz/ipxact.dict")
  fi
  "$build/fuzz/$target" "${options[@]}" "$corpus" "$seeds" >"$log" 2>&1
}

report() {
  local target=$1 result=$2 log=$build/logs/$1.log
  [ "$result" = ok ] || tail -n 40 "$log"
  local runs rate
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
  rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -n 1)
  echo "fuzz: $target: $result, ${runs:-?} executions in ${seconds} s (${rate:-?}/s), corpus $(ls "$build/corpus/$target" | wc -l) inputs"
}

status=0
jobs=${FUZZ_JOBS:-2}
for ((first = 0; first < ${#targets[@]}; first += jobs)); do
  batch=("${targets[@]:first:jobs}")
  pids=()
  for target in "${batch[@]}"; do
    fuzz_target "$target" &
    pids+=($!)
  done
  for i in "${!batch[@]}"; do
    if wait "${pids[$i]}"; then
      report "${batch[$i]}" ok
    else
      report "${batch[$i]}" FAILED
      status=1
    fi
  done
done
if [ $status -ne 0 ]; then
  echo "fuzz: inputs that failed are in $build/artifacts/:" >&2
  ls "$build/artifacts" >&2
fi
exit $status
