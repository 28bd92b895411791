#!/usr/bin/env bash
# Mutation check. SI/ has required behaviours that look like mistakes. Each patch under
# scripts/mutations replaces one of them by what would look right; then a test must fail. Called by
# ./run mutate [NAME...]; a NAME is the beginning of a patch's name. Exits 1 when no test failed, or
# when a patch does not apply or compile. Works on a copy and does not change the checkout.
set -euo pipefail
shopt -s nullglob
cd "$(dirname "$0")/.."

work=$PWD/build/mutate
tree=$work/src
build=$work/build
log=$work/log

say() { printf '%s\n' "$*"; }

patches=()
if [ $# -eq 0 ]; then
    patches=("$PWD"/scripts/mutations/*.patch)
fi
for name in "$@"; do
    found=("$PWD/scripts/mutations/$name"*.patch)
    [ ${#found[@]} -gt 0 ] || { say "mutate: no mutation's name begins with '$name'"; exit 1; }
    patches+=("${found[@]}")
done
[ ${#patches[@]} -gt 0 ] || { say "mutate: there are no mutations"; exit 1; }

# Copies only files that differ. The copies get the present time, so they are compiled again; this
# includes files that an interrupted run left changed.
copy_tree() {
    mkdir -p "$tree" "$log"
    find SI platform tests/support tests/unit/si -type f | sort >"$work/files"
    (cd "$tree" && find . -type f -printf '%P\n' | sort) | comm -13 "$work/files" - |
        while read -r gone; do rm "$tree/$gone"; done
    while read -r file; do
        cmp -s "$file" "$tree/$file" || install -D -m 644 "$file" "$tree/$file"
    done <"$work/files"
}

# The copy is inside a git repository. Without this, git would apply the patch to the repository.
patch_tree() { (cd "$tree" && GIT_CEILING_DIRECTORIES=$work git apply "$@"); }

compile() { cmake --build "$build" -j "$(nproc)" --target "$1"; }
try() {
    ctest --test-dir "$build" -j "$(nproc)" --stop-on-failure --output-on-failure \
        --no-tests=error "$@"
}

# verdict PATCH: applies the patch and prints the result. The test program that the patch's line "#
# First:" names runs first, because it is the most likely to fail.
verdict() {
    local first
    first=$(sed -n 's/^# First: //p' "$1")
    patch_tree "$1" || { echo "DOES NOT APPLY"; return; }
    compile "$first" >&2 || { echo "DOES NOT COMPILE"; return; }
    if try -L "^$first\$" >&2; then
        compile all >&2 || { echo "DOES NOT COMPILE"; return; }
        if try >&2; then
            echo "NOT NOTICED"
            return
        fi
    fi
    # The test must fail a second time: a test that fails only sometimes proves nothing.
    if try --rerun-failed >&2; then
        echo "NOTICED NOW AND THEN"
        return
    fi
    # ctest's list of the tests that failed: "<number>:<name>".
    local failed
    failed=$(sed 's/^[0-9]*://' "$build/Testing/Temporary/LastTestsFailed.log" | head -n 1)
    echo "noticed by ${failed:?no test failed}"
}

copy_tree
{
    cmake -S scripts/mutations -B "$build" -G Ninja -DSI_TREE="$tree" && compile all && try
} >"$log/unchanged" 2>&1 || {
    cat "$log/unchanged"
    say "mutate: the tests do not build or do not pass without a mutation"
    exit 1
}

bad=0
for patch in "${patches[@]}"; do
    name=$(basename "$patch" .patch)
    result=$(verdict "$patch" 2>"$log/$name")
    copy_tree
    say "$name: $result"
    case $result in
        "noticed by "*) ;;
        *)
            bad=$((bad + 1))
            say "  see ${log#"$PWD/"}/$name"
            ;;
    esac
done

say "mutate: ${#patches[@]} mutations, $((${#patches[@]} - bad)) noticed"
[ "$bad" -eq 0 ]
