#!/usr/bin/env bash
# Checks that the SI layer needs only the platform's headers and the standard library: a copy of SI/
# and platform/ alone must compile without a warning with every installed compiler, for 32 bits too.
# Nothing is linked or run.
set -euo pipefail
cd "$(dirname "$0")/.."

fail() { echo "portability: $*" >&2; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -R SI platform "$work"
cd "$work"
mkdir out

# A header of the standard library has neither a dot nor a folder in its name. The one exception is
# used only in builds under ThreadSanitizer.
foreign=$(grep -rnE '^\s*#\s*include\s*<' SI platform --include='*.h' --include='*.cpp' |
    grep -vE '<([a-z_0-9]+|sanitizer/tsan_interface\.h)>') || true
[ -z "$foreign" ] || fail "these headers are not of the standard library: $foreign"

export flags='-std=c++20 -fno-plt -O2 -D_GLIBCXX_ASSERTIONS -Wall -Wextra -Wconversion -Werror -I.'

# Lists the files of a dependency list that are outside the copy.
outside() { sed -E 's/^[^ ]*://; s/\\$//' "$1" | tr -s ' ' '\n' | grep '^/' | sort -u; }

# compile SOURCE TARGET: TARGET is a compiler with the options that choose the processor.
compile() {
    local output foreign
    output=out/$(tr ' /' '__' <<<"$2 $1")
    # shellcheck disable=SC2086
    if ! $2 $flags -MD -c "$1" -o "$output.o" 2>"$output.log"; then
        { echo "portability: $1 under $2"; cat "$output.log"; } >&2
        return 1
    fi
    foreign=$(comm -23 <(outside "$output.d") "out/$2.standard")
    [ -z "$foreign" ] || { echo "portability: $1 under $2 reaches $foreign" >&2; return 1; }
}
export -f compile outside

targets=()
for target in g++ clang++ 'g++ -m32' 'clang++ -m32' arm-linux-gnueabihf-g++; do
    # A target counts as installed when it compiles a program with all headers of the standard
    # library.
    # shellcheck disable=SC2086
    if printf '#include <bits/stdc++.h>\nint main() {}\n' |
        $target $flags -MD -x c++ - -o out/probe 2>out/probe.log; then
        targets+=("$target")
        outside out/probe.d >"out/$target.standard"
    else
        echo "portability: skipped: $target cannot make a program here"
    fi
done
[ ${#targets[@]} -gt 0 ] || fail "no compiler can make a program"

find SI -name '*.cpp' | LC_ALL=C sort >out/sources
[ -s out/sources ] || fail "found no source files under SI/"
while read -r source; do
    printf "$source\0%s\0" "${targets[@]}"
done <out/sources | xargs -0 -n 2 -P "$(nproc)" bash -uc 'compile "$@"' compile || exit 1
echo "portability: $(wc -l <out/sources) sources pass under $(printf '%s, ' "${targets[@]}" | sed 's/, $//')"
