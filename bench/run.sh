#!/usr/bin/env bash
# Builds in Release mode and measures, on synthetic components of 1, 10 and 100 MB, a bare pass of
# each candidate parser over the file (libxml2 pull and SAX2, expat), our read into HIPGSComponent
# with the release of the object, our write of that object, the peak memory of the read and the
# whole `ipxact check` and `ipxact info` processes; prints a table and checks the targets.
# Method: docs/performance.md.
#
#   bench/run.sh            from the repository root
#   bench/run.sh --quick    1 and 10 MB only (targets that need the 100 MB document are not judged)
#
# Environment: BUILD_DIR (default build-release), JOBS (parallel compile jobs, default 2).
# Exit status: 0 when every target holds, 1 when one is missed or a measurement failed, 2 on misuse.
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

sizes=(1 10 100)
case "${1:-}" in
  "") ;;
  --quick) sizes=(1 10) ;;
  *) echo "usage: bench/run.sh [--quick]" >&2; exit 2 ;;
esac

build=${BUILD_DIR:-build-release}
jobs=${JOBS:-2}
data="$build/bench-data"
bin="$build/bench"
schema="$root/../shared/ipxact-1685-2009/index.xsd"

note() { printf 'run.sh: %s\n' "$*" >&2; }

# ---------------------------------------------------------------- build
# A build directory configured already keeps its options (a developer's build keeps its tests).
if [ -f "$build/CMakeCache.txt" ]; then
  cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release >/dev/null
else
  cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DIPXACT_BUILD_TESTS=OFF >/dev/null
fi
targets=(parser_floor)
have_library=0
if [[ -f ipxact/spirit/HIPGSComponent.h ]]; then
  targets+=(read_write_component ipxact)
  have_library=1
fi
mkdir -p "$data"
note "building ${targets[*]} (Release, -j$jobs)"
if ! cmake --build "$build" -j"$jobs" --target "${targets[@]}" >"$data/build.log" 2>&1; then
  tail -n 40 "$data/build.log" >&2
  note "the build failed; the whole log is $data/build.log"
  exit 1
fi

# ---------------------------------------------------------------- documents
for size in "${sizes[@]}"; do
  doc="$data/component-${size}mb.xml"
  if [[ ! -s "$doc" ]]; then
    note "generating $doc"
    python3 bench/make_component.py --size-mb "$size" --seed 1685 -o "$doc.tmp"
    mv "$doc.tmp" "$doc"
  fi
done

validate() {
  if [[ ! -f "$schema" ]]; then
    note "schema check skipped: $schema is missing"
    return 0
  fi
  if ! command -v xmllint >/dev/null; then
    note "xmllint is needed for the schema check (Debian package libxml2-utils)"
    exit 1
  fi
  if ! xmllint --noout --schema "$schema" "$1" 2>"$data/xmllint.log"; then
    note "$1 is not valid against the official schema:"
    head -n 5 "$data/xmllint.log" >&2
    exit 1
  fi
  note "$1 is valid against the official schema"
}
validate "$data/component-1mb.xml"

# ---------------------------------------------------------------- measurements
# A library that cannot read the documents yet still leaves the floor worth measuring.
if ((have_library)) && ! "$bin/read_write_component" read "$data/component-1mb.xml" >/dev/null; then
  note "the library cannot read the 1 MB document: measuring the parsers' floors only"
  have_library=0
fi

results="$data/results.txt"
: >"$results"

# Runs one measuring program and files its key=value line under the document size.
measure() {
  local size=$1
  shift
  local line
  if ! line=$("$@"); then
    note "measurement failed: $*"
    exit 1
  fi
  printf 'size=%s %s\n' "$size" "$line" >>"$results"
}

# The whole process a user waits for, start to exit, in the same key=value form.
measure_process() {
  local size=$1 mode=$2
  shift 2
  local start end
  start=$(date +%s.%N)
  "$@" >/dev/null || [[ $? -eq 1 ]] || { note "process failed: $*"; exit 1; }  # 1: faults found
  end=$(date +%s.%N)
  printf 'size=%s mode=%s seconds=%s\n' "$size" "$mode" "$(python3 -c "print($end - $start)")" >>"$results"
}

for size in "${sizes[@]}"; do
  doc="$data/component-${size}mb.xml"
  out="$data/written-${size}mb.xml"
  reps=5
  cat "$doc" >/dev/null  # every repetition, the first included, reads from the page cache
  # Repetitions interleave the programs so that a change in machine load hits all of them alike.
  for ((r = 1; r <= reps; r++)); do
    note "$size MB: repetition $r of $reps"
    measure "$size" "$bin/parser_floor" "$doc"
    measure "$size" "$bin/parser_floor" --sax2 "$doc"
    measure "$size" "$bin/parser_floor" --expat "$doc"
    if ((have_library)); then
      measure "$size" "$bin/read_write_component" read "$doc"
      measure "$size" "$bin/read_write_component" write "$doc" "$out"
      measure_process "$size" check "$build/cli/ipxact" check "$doc"
      measure_process "$size" info "$build/cli/ipxact" info "$doc"
    fi
  done
  if ((have_library)) && [[ $size == 1 ]]; then
    validate "$out"
  fi
  rm -f "$out"
done

if [[ ! -f ipxact/spirit/HIPGSComponent.h ]]; then
  note "ipxact/spirit/HIPGSComponent.h does not exist: only the parsers' floors were measured"
fi

# ---------------------------------------------------------------- table and targets
python3 - "$results" "${sizes[*]}" <<'EOF'
import statistics
import sys

results_path, sizes_text = sys.argv[1], sys.argv[2]
sizes = sizes_text.split()
runs = {}
for line in open(results_path):
    fields = dict(item.split("=", 1) for item in line.split())
    runs.setdefault((fields["size"], fields["mode"]), []).append(fields)


def median(size, mode, key):
    values = [float(run[key]) for run in runs.get((size, mode), [])]
    return statistics.median(values) if values else None


# Other work on the machine only ever adds time, and not to every program of a repetition alike:
# each time is the best of its repetitions, the run least disturbed.
def best(size, mode, key="seconds"):
    values = [float(run[key]) for run in runs.get((size, mode), [])]
    return min(values) if values else None


def cell(value, form):
    return "-" if value is None else form.format(value)


def per_run(size, mode, keys):
    """Best over the repetitions of the sum of `keys`: the read with the release of its object."""
    values = [sum(float(run[k]) for k in keys) for run in runs.get((size, mode), [])]
    return min(values) if values else None


print()
print("| document | bytes | libxml2 pull MB/s | libxml2 SAX2 MB/s | expat MB/s | read + release ms "
      "| read + release / pull | check / pull | info / pull | write / read | peak RSS / input byte "
      "| growth / input byte |")
print("|---|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|---:|")
measured = {}
for size in sizes:
    bytes_ = int(runs[(size, "pull")][0]["bytes"])
    pull = best(size, "pull")
    sax2 = best(size, "sax2")
    expat = best(size, "expat")
    read = per_run(size, "read", ("seconds", "destroy_seconds"))
    write = best(size, "write")
    check = best(size, "check")
    info = best(size, "info")
    peak = median(size, "read", "peak_rss_kb")
    before = median(size, "read", "rss_before_kb")
    mb = bytes_ / 1e6

    def over(value, base):
        return value / base if value and base else None

    row = {
        "read_over_pull": over(read, pull),
        "check_over_pull": over(check, pull),
        "info_over_pull": over(info, pull),
        "write_over_read": over(write, read),
        "read_ms": read * 1e3 if read else None,
        "memory": peak * 1024 / bytes_ if peak else None,
        "growth": (peak - before) * 1024 / bytes_ if peak and before is not None else None,
    }
    measured[size] = row
    print(f"| {size} MB | {bytes_} | {cell(mb / pull, '{:.0f}')} | {cell(mb / sax2, '{:.0f}')} "
          f"| {cell(mb / expat if expat else None, '{:.0f}')} | {cell(row['read_ms'], '{:.1f}')} "
          f"| {cell(row['read_over_pull'], '{:.2f}')} | {cell(row['check_over_pull'], '{:.2f}')} "
          f"| {cell(row['info_over_pull'], '{:.2f}')} | {cell(row['write_over_read'], '{:.2f}')} "
          f"| {cell(row['memory'], '{:.2f}')} | {cell(row['growth'], '{:.2f}')} |")
print()
print("Times are the best of the repetitions, memory their median; MB/s is megabytes (10^6) of input")
print("document per second. The read includes releasing the object; check and info are whole")
print("processes, start to exit.")
print()

# (what, document size, measured key, limit)
targets = [
    ("read + release / libxml2 pull pass", "100", "read_over_pull", 1.0),
    ("ipxact check process / libxml2 pull pass", "100", "check_over_pull", 1.2),
    ("write / read", "100", "write_over_read", 0.5),
    ("peak memory per input byte", "100", "memory", 4.0),
    ("read + release of the 1 MB document, ms", "1", "read_ms", 5.0),
]
failed = False
for what, size, key, limit in targets:
    if size not in measured:
        print(f"  not judged  {what} (needs the {size} MB document; run without --quick)")
        continue
    value = measured[size][key]
    if value is None:
        print(f"  MISSING     {what} on {size} MB: not measured")
        failed = True
    elif value <= limit:
        print(f"  met         {what} on {size} MB: {value:.2f} <= {limit:g}")
    else:
        print(f"  MISSED      {what} on {size} MB: {value:.2f} > {limit:g}")
        failed = True
sys.exit(1 if failed else 0)
EOF
