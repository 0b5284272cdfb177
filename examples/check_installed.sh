#!/usr/bin/env bash
# Installs a build into a fresh prefix, then builds every example host program against that
# installation twice, once through find_package(HIPGSpirit) and once through pkg-config, runs both
# and compares what they print with the example's expected.txt.
#
#   examples/check_installed.sh BUILD_DIR WORK_DIR [C++ compiler]
set -euo pipefail

build_dir=$(cd "$1" && pwd)
mkdir -p "$2"
work_dir=$(cd "$2" && pwd)
cxx=${3:-c++}
examples_dir=$(cd "$(dirname "$0")" && pwd)
shared_schema="$examples_dir/../../shared/ipxact-1685-2009/index.xsd"

prefix="$work_dir/prefix"
rm -rf "$prefix" "$work_dir/out" "$work_dir/package"
mkdir -p "$work_dir/out"
cmake --install "$build_dir" --prefix "$prefix" > "$work_dir/install.log"

failures=0
fail() {
  echo "FAILED: $*"
  failures=$((failures + 1))
}

# The installed layout a host relies on.
for installed in include/ipxact/spirit/HIPGSpirit.h include/ipxact/lmx60/c_xml_reader.h \
                 include/ipxact/common/ComMsgMgr.h include/ipxact/catalog/catalog.h \
                 share/ipxact/schema/vorlix.xsd bin/ipxact; do
  [ -e "$prefix/$installed" ] || fail "not installed: $installed"
done
libdir=$(dirname "$(find "$prefix" -name hipgspirit.pc)")/..
libdir=$(cd "$libdir" && pwd)
for library in libhipgspirit libtvo_common liblmx6.0 libipxact_catalog; do
  soname=$(objdump -p "$libdir/$library.so" | awk '/SONAME/ { print $2 }')
  [ "$soname" = "$library.so.0" ] || fail "$library.so has SONAME '$soname'"
done
"$prefix/bin/ipxact" > "$work_dir/out/ipxact.txt" || fail "installed ipxact did not run"

# The CMake package names the installed schema directory.
mkdir -p "$work_dir/package-probe"
cat > "$work_dir/package-probe/CMakeLists.txt" <<'PROBE'
cmake_minimum_required(VERSION 3.16)
project(package_probe NONE)
find_package(HIPGSpirit CONFIG REQUIRED)
if(NOT EXISTS "${HIPGSpirit_SCHEMA_DIR}/vorlix.xsd")
  message(FATAL_ERROR "HIPGSpirit_SCHEMA_DIR is '${HIPGSpirit_SCHEMA_DIR}', which holds no vorlix.xsd")
endif()
PROBE
cmake -S "$work_dir/package-probe" -B "$work_dir/package-probe/build" -DCMAKE_PREFIX_PATH="$prefix" \
  > "$work_dir/package-probe.log" 2>&1 || { cat "$work_dir/package-probe.log"; fail "the CMake package's schema directory"; }

# The Debian package carries the libraries, the tool, the headers and the CMake package.
(cd "$work_dir" && cpack --config "$build_dir/CPackConfig.cmake" -G DEB -B "$work_dir/package" > cpack.log 2>&1) ||
  { cat "$work_dir/cpack.log"; fail "cpack did not build the Debian package"; }
package_contents=$(dpkg-deb -c "$work_dir"/package/*.deb 2>/dev/null | awk '{ print $6 }')
for packaged in ./usr/bin/ipxact ./usr/lib/libhipgspirit.so.0 ./usr/include/ipxact/spirit/HIPGSTop.h \
                ./usr/lib/cmake/HIPGSpirit/HIPGSpiritConfig.cmake ./usr/lib/pkgconfig/hipgspirit.pc \
                ./usr/lib/libipxact_catalog.so.0 ./usr/lib/pkgconfig/ipxact_catalog.pc; do
  grep -qxF "$packaged" <<< "$package_contents" || fail "not in the Debian package: $packaged"
done

arguments() {
  case "$1" in
    list_registers) echo "uart_component.xml" ;;
    create_bus_definition) echo "$work_dir/out/$2" ;;
    edit_design) echo "soc_design.xml $work_dir/out/$2/soc_design.xml" ;;
    read_any) echo "uart_component.xml soc_design.xml broken_component.xml" ;;
    check_library) echo "uart_component.xml soc_design.xml broken_component.xml" ;;
  esac
}

# Runs one build of an example from the examples directory, so the documents are named as the
# expected output names them, and compares its output and exit status.
run_example() {
  local example=$1 program=$2 variant=$3
  local output="$work_dir/out/$example.$variant.txt"
  mkdir -p "$work_dir/out/$variant"
  local status=0
  (cd "$examples_dir" && "$program" $(arguments "$example" "$variant")) > "$output" 2>&1 || status=$?
  echo "exit status $status" >> "$output"
  sed -i "s|$work_dir/out/$variant/||g" "$output"
  diff -u "$examples_dir/$example/expected.txt" "$output" || fail "$example ($variant) printed something else"
}

export PKG_CONFIG_PATH="$libdir/pkgconfig"
for example in list_registers create_bus_definition edit_design read_any check_library; do
  source_dir="$examples_dir/$example"
  package=hipgspirit
  [ "$example" = check_library ] && package=ipxact_catalog

  cmake_build="$work_dir/$example-cmake"
  if cmake -S "$source_dir" -B "$cmake_build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$cxx" \
       > "$cmake_build.log" 2>&1 && cmake --build "$cmake_build" >> "$cmake_build.log" 2>&1; then
    run_example "$example" "$cmake_build/$example" find_package
  else
    cat "$cmake_build.log"; fail "$example did not build with find_package"
  fi

  pkg_program="$work_dir/$example-pkg-config"
  if "$cxx" -std=c++17 -O1 -o "$pkg_program" "$source_dir/$example.cpp" \
       $(pkg-config --cflags --libs $package) -Wl,-rpath,"$(pkg-config --variable=libdir $package)"; then
    run_example "$example" "$pkg_program" pkg-config
  else
    fail "$example did not build with pkg-config"
  fi
done

# What the examples wrote must be valid against the standard's schema, when it is at hand.
if [ -f "$shared_schema" ]; then
  for written in "$work_dir"/out/find_package/*.xml; do
    xmllint --noout --schema "$shared_schema" "$written" 2> "$work_dir/xmllint.log" ||
      { cat "$work_dir/xmllint.log"; fail "$(basename "$written") is not schema-valid"; }
  done
else
  echo "skipping schema validation of the examples' output: $shared_schema is missing"
fi

[ "$failures" -eq 0 ] && echo "all examples built, ran and printed what was expected"
exit $((failures > 0))
