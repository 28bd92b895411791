#!/usr/bin/env bash
# The SI layer needs nothing but the platform's headers and the standard library: a copy of SI/ and
# platform/ alone compiles without a warning under every compiler at hand, for 32 bits too. Nothing
# is linked or run.
set -euo pipefail
cd "$(dirname "$0")/.."

fail() { echo "portability: $*" >&2; exit 1; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -R SI platform "$work"
cd "$work"
mkdir out

# The standard's headers have neither a dot nor a folder in their names; the one exception is for
# builds under ThreadSanitizer alone.
foreign=$(grep -rnE '^\s*#\s*include\s*<' SI platform --include='*.h' --include='*.cpp' |
    grep -vE '<([a-z_0-9]+|sanitizer/tsan_interface\.h)>') || true
[ -z "$foreign" ] || fail "not of the standard library: $foreign"

export flags='-std=c++20 -fno-plt -O2 -D_GLIBCXX_ASSERTIONS -Wall -Wextra -Wconversion -Werror -I.'

# The files of a dependency list that lie outside of the copy.
outside() { sed -E 's/^[^ ]*://; s/\\$//' "$1" | tr -s ' ' '\n' | grep '^/' | sort -u; }

# compile SOURCE TARGET: the target is a compiler with the options that choose its processor.
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
    # It is there when it makes a program, with all of the standard library's headers.
    # shellcheck disable=SC2086
    if printf '#include <bits/stdc++.h>\nint main() {}\n' |
        $target $flags -MD -x c++ - -o out/probe 2>out/probe.log; then
        targets+=("$target")
        outside out/probe.d >"out/$target.standard"
    else
        echo "portability: not under $target, which makes no program here"
    fi
done
[ ${#targets[@]} -gt 0 ] || fail "no compiler makes a program"

find SI -name '*.cpp' | LC_ALL=C sort >out/sources
[ -s out/sources ] || fail "no sources under SI/"
while read -r source; do
    printf "$source\0%s\0" "${targets[@]}"
done <out/sources | xargs -0 -n 2 -P "$(nproc)" bash -uc 'compile "$@"' compile || exit 1
echo "portability: $(wc -l <out/sources) sources pass under $(printf '%s, ' "${targets[@]}" | sed 's/, $//')"
