#!/usr/bin/env bash
# Format, room arrows, each public header alone, tidy. Called by ./run check.
set -euo pipefail
cd "$(dirname "$0")/.."

# Git knows which files belong to the repository. In an unpacked tarball there is no git: then all
# files outside the build folder do.
if git rev-parse --is-inside-work-tree >/dev/null 2>&1 && [ -e .git ]; then
    mapfile -t sources < <(git ls-files --cached --others --exclude-standard --deduplicate \
        '*.h' '*.cpp' | while read -r file; do [ ! -e "$file" ] || echo "$file"; done)
else
    mapfile -t sources < <(find . -path ./build -prune -o \( -name '*.h' -o -name '*.cpp' \) -print)
fi
if [ ${#sources[@]} -eq 0 ]; then
    echo "check: found no source files" >&2
    exit 1
fi

echo "check: format"
clang-format --dry-run --Werror "${sources[@]}"

echo "check: room arrows"
python3 scripts/check_rooms.py --self-test
python3 scripts/check_rooms.py

echo "check: SI/ logs only through its own macros"
if git grep --untracked -nE '\bLOG\(' -- SI ':!SI/Common/Log.h'; then
    echo "check: use SI_LOG or another macro of SI/Common/Log.h to log" >&2
    exit 1
fi

echo "check: self-tests of the scripts"
for script in check_speed bench_peers performance_svg; do
    python3 scripts/$script.py --self-test
done

echo "check: each public header compiles alone, from C++14 on"
public=(SI/Include/*.h platform/*.h softplatform/service/{Counter,SoftwarePlatform}.h)
printf '%s\0' "${public[@]}" | xargs -0 -P "$(nproc)" -I{} bash -euc '
    for compiler in g++ clang++; do
        for standard in c++14 c++20; do
            echo "#include \"{}\"" | "$compiler" -std=$standard -I. -fsyntax-only -Wall -Wextra \
                -Wpedantic -Wshadow -Wconversion -Werror -x c++ -
        done
    done'

echo "check: tidy"
# clang-tidy reads the files of the unity build, which takes a fifth of the time. Two checks for
# unused names only look at main files and find nothing this way. The unity files are in the build
# folder, so clang-tidy must be given the path of .clang-tidy. Tests are not checked, because most
# findings there come from GoogleTest.
cmake --preset release -B build/tidy -DTORVELSI_UNITY=ON >build/tidy.configure.log
python3 -c 'import json
for command in json.load(open("build/tidy/compile_commands.json")):
    print(command["file"], end="\0")' |
    xargs -0 -P "$(nproc)" -n 1 clang-tidy -p build/tidy --quiet --config-file=.clang-tidy \
        --warnings-as-errors='*' --extra-arg=-Wno-unknown-warning-option \
        2> >(grep -v 'warnings generated\|Suppressed\|Use -header-filter\|^$' >&2)

echo "check: all well"
