#!/usr/bin/env bash
# Installs the build tree into a folder of its own. Against it, through find_package from C++14 on
# and through pkg-config, it builds and runs the programs of examples/ (one is the README's) and a
# program that includes every installed header. It also builds and runs a program that uses the
# software platform alone.
# usage: package_test.sh SOURCE_DIR BUILD_DIR
set -euo pipefail
export CMAKE_GENERATOR=Ninja  # the one that ./run installs
source_dir=$1
build_dir=$2
work=$build_dir/package_test
prefix=$work/prefix
rm -rf "$work"
mkdir -p "$work"

fail() { echo "package_test: $*" >&2; exit 1; }

# shows PAGE PROGRAM: checks that the page shows exactly this example.
shows() {
    awk '/^```cpp$/ {code = 1; next} /^```$/ {code = 0} code' "$source_dir/$1" |
        cmp - "$source_dir/examples/$2" || fail "the program in $1 differs from examples/$2"
}
shows README.md pat_programs.cpp
shows docs/faults.md faults.cpp

cmake --install "$build_dir" --prefix "$prefix" >"$work/install.log"
for file in include/torvelsi/ISectionManager.h include/tvservice/SoftwarePlatform.h \
    include/tvservice/Counter.h bin/torvelsi \
    share/doc/torvelsi/LICENSE share/doc/torvelsi/README.md share/doc/torvelsi/docs/limits.md; do
    [ -e "$prefix/$file" ] || fail "$file was not installed"
done
schemas=("$prefix"/share/torvelsi/torvelsi-scan-*.schema.json)
[ -s "${schemas[0]}" ] || fail "no schema was installed"
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

# A program that includes every installed header once.
{
    (cd "$prefix/include" && find . -name '*.h' | LC_ALL=C sort | sed 's|^\./\(.*\)|#include <\1>|')
    cat <<'MAIN'
int main(int argc, char** argv) {
    std::string error;
    return argc == 2 && tvservice::OpenSource(argv[1], error) && TORVEL_MW::IPATParser::CreatePATParser() ? 0 : 1;
}
MAIN
} >"$work/every_header.cpp"
[ "$(grep -c '^#include' "$work/every_header.cpp")" -gt 50 ] || fail "fewer headers were installed than expected"

programs=("$source_dir"/examples/*.cpp "$work/every_header.cpp")
options=(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -pthread)

# check FOLDER: runs each program in the folder.
check() {
    local program printed
    for program in "${programs[@]}"; do
        program=$1/$(basename "$program" .cpp)
        printed=$(LD_LIBRARY_PATH=$lib LD_PRELOAD=${TORVELSI_WATCHDOG:-} TORVELSI_TEST_LIMIT=50 \
            "$program" "$work/demo.ts") ||
            fail "$program ended with status $?"
        case $(basename "$program") in
            pat_programs) [ "$printed" = "$(cat "$work/expected")" ] ;;
            faults) grep -q '^refuse-subscribe 1 ' <<<"$printed" &&
                grep -q '^[1-9][0-9]* whole sections$' <<<"$printed" ;;
        esac || fail "$program printed: $printed"
    done
}

export PKG_CONFIG_PATH=$lib/pkgconfig
for compiler in g++ clang++; do
    for standard in 14 17 20; do
        build=$work/find_package-$compiler-$standard
        cmake -S "$source_dir/tests/package/consumer" -B "$build" -DCMAKE_CXX_COMPILER="$compiler" \
            -DCMAKE_CXX_STANDARD=$standard -DCMAKE_PREFIX_PATH="$prefix" \
            -DPROGRAMS="$(IFS=';'; echo "${programs[*]}")" >"$build.log" 2>&1 &&
            cmake --build "$build" >>"$build.log" 2>&1 ||
            { cat "$build.log" >&2; fail "find_package with $compiler, C++$standard"; }
        check "$build"
    done

    # pkg-config gives the same flags for every standard.
    build=$work/pkg-config-$compiler
    mkdir "$build"
    for program in "${programs[@]}"; do
        # shellcheck disable=SC2046
        "$compiler" -std=c++17 "${options[@]}" "$program" -o "$build/$(basename "$program" .cpp)" \
            $(pkg-config --cflags --libs torvelsi) -Wl,-rpath,"$(pkg-config --variable=libdir torvelsi)" ||
            fail "pkg-config with $compiler: $program"
    done
    lib='' check "$build"  # as the README tells: the programs know where the libraries are
done

# The README's program reports what is wrong with its input.
LD_LIBRARY_PATH=$lib "$work/pkg-config-g++/pat_programs" "$work/no-such-file" 2>"$work/error" &&
    fail "pat_programs accepted a file that does not exist"
grep -q no-such-file "$work/error" || fail "pat_programs said: $(cat "$work/error")"

platform_program=$source_dir/tests/package/consumer/platform_alone/platform_alone.cpp
build=$work/platform_alone
{
    cmake -S "$(dirname "$platform_program")" -B "$build" -DCMAKE_PREFIX_PATH="$prefix" &&
        cmake --build "$build" &&
        g++ -std=c++14 "${options[@]}" "$platform_program" -o "$build/by_pkg_config" \
            $(pkg-config --cflags --libs tvservice)
} >"$build.log" 2>&1 || { cat "$build.log" >&2; fail "tvservice alone"; }
for program in platform_alone by_pkg_config; do
    readelf -d "$build/$program" | grep -q libtorvelsi && fail "$program needs libtorvelsi"
    LD_LIBRARY_PATH=$lib LD_PRELOAD=${TORVELSI_WATCHDOG:-} TORVELSI_TEST_LIMIT=50 \
        "$build/$program" "$work/demo.ts" || fail "$program ended with status $?"
done
echo "package_test: ${#programs[@]} programs and the platform's, passed"
