#!/usr/bin/env bash
# Installs the build tree into a folder of its own, then builds the README's program from there as a
# stranger would, through find_package and through pkg-config, and runs it.
# usage: package_test.sh SOURCE_DIR BUILD_DIR
set -euo pipefail
source_dir=$1
build_dir=$2
work=$build_dir/package_test
prefix=$work/prefix
example=$source_dir/examples/pat_programs.cpp
rm -rf "$work"
mkdir -p "$work"

fail() { echo "package_test: $*" >&2; exit 1; }

# The program that the README shows is this file, to the letter.
awk '/^```cpp$/ {code = 1; next} /^```$/ {code = 0} code' "$source_dir/README.md" >"$work/readme.cpp"
cmp "$work/readme.cpp" "$example" || fail "README.md shows another program than examples/"

cmake --install "$build_dir" --prefix "$prefix" >"$work/install.log"
for file in include/torvelsi/ISectionManager.h include/tvservice/SoftwarePlatform.h bin/torvelsi; do
    [ -e "$prefix/$file" ] || fail "$file was not installed"
done
lib=$(dirname "$(find "$prefix" -name libtorvelsi.so.0)")
[ -e "$lib/libtvservice.so.0" ] || fail "libtvservice.so.0 was not installed beside libtorvelsi.so.0"
readelf -d "$lib/libtorvelsi.so.0" | grep -q 'SONAME.*\[libtorvelsi.so.0\]' || fail "wrong SONAME"
readelf -d "$lib/libtorvelsi.so.0" | grep -q 'NEEDED.*\[libtvservice.so.0\]' ||
    fail "libtorvelsi.so.0 does not name libtvservice.so.0 as needed"

"$prefix/bin/torvelsi" generate "$work/demo.ts"
"$prefix/bin/torvelsi" scan "$work/demo.ts" --format json |
    python3 -c 'import json, sys
for program in json.load(sys.stdin)["pat"]["programs"]:
    print("%d: PID %d" % (program["program_number"], program["pmt_pid"]))' >"$work/expected"
[ -s "$work/expected" ] || fail "the demonstration multiplex has no programs"

check() {
    local programs
    programs=$(LD_LIBRARY_PATH=$lib "$1" "$work/demo.ts") || fail "$1 ended with status $?"
    [ "$programs" = "$(cat "$work/expected")" ] || fail "$1 printed: $programs"
}

for compiler in g++ clang++; do
    for standard in 14 17 20; do
        build=$work/find_package-$compiler-$standard
        cmake -S "$source_dir/tests/package/consumer" -B "$build" -DCMAKE_CXX_COMPILER="$compiler" \
            -DCMAKE_CXX_STANDARD=$standard -DCMAKE_PREFIX_PATH="$prefix" -DEXAMPLE="$example" \
            >"$build.log" 2>&1 && cmake --build "$build" >>"$build.log" 2>&1 ||
            { cat "$build.log" >&2; fail "find_package with $compiler, C++$standard"; }
        check "$build/pat_programs"
    done
    export PKG_CONFIG_PATH=$lib/pkgconfig
    # shellcheck disable=SC2046
    "$compiler" -std=c++14 "$example" -o "$work/pkg-config-$compiler" \
        $(pkg-config --define-variable=prefix="$prefix" --cflags --libs torvelsi) -pthread
    check "$work/pkg-config-$compiler"
done
echo "package_test: passed"
