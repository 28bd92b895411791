#!/usr/bin/env bash
# docs/porting.md lists the files that a receiver maker needs for the contract suite. This test
# copies just these files into a folder, adds a rig of its own, and compiles each file of the suite.
# usage: porting_test.sh SOURCE_DIR WORK_DIR
set -euo pipefail
source_dir=$1
work=$2

fail() { echo "porting_test: $*" >&2; exit 1; }

rm -rf "$work"
mkdir -p "$work"
work=$(cd "$work" && pwd)

# The list is the first code block of the chapter that has no language. Each line is a pattern or a
# folder; behind a folder there may be "without NAME, NAME and NAME".
awk '/^## / {chapter = $0 == "## Compile the suite"} chapter && /^```/ {if (inside || seen) exit
    inside = seen = 1; next} inside' "$source_dir/docs/porting.md" >"$work/files"
[ -s "$work/files" ] || fail "docs/porting.md lists no files"

mkdir "$work/suite"
while read -r what without names; do
    case "${without:-without}" in without) ;; *) fail "not understood: $what $without $names" ;; esac
    case $what in */) what+='*' ;; esac
    # A pattern of the list.
    # shellcheck disable=SC2086
    (cd "$source_dir" && cp --parents -t "$work/suite" $what)
    for name in $(sed -E 's/,| and / /g' <<<"$names"); do
        [ -e "$work/suite/${what%\*}$name" ] || fail "docs/porting.md excludes $name, which does not exist"
        rm "$work/suite/${what%\*}$name"
    done
done <"$work/files"

cd "$work/suite"
cat >OurRig.cpp <<'RIG'
#include "tests/contract/platform/PlatformRig.h"

namespace {

class OurRig final : public contract::PlatformRig {
  public:
    contract::Abilities abilities() const override { return {}; }
    void Send(const std::vector<contract::Broadcast>& broadcasts) override {
        packets_ = contract::ToPackets(broadcasts);
    }

  private:
    contract::Bytes packets_;
};

}  // namespace

std::unique_ptr<contract::PlatformRig> contract::MakePlatformRig() {
    return std::make_unique<OurRig>();
}
RIG

sources=(OurRig.cpp tests/contract/platform/*.cpp)
[ ${#sources[@]} -gt 1 ] || fail "the folder has no file of the suite"
for compiler in g++ clang++; do
    printf '%s\0' "${sources[@]}" |
        xargs -0 -n 1 -P "$(nproc)" "$compiler" -std=c++20 -I. -fsyntax-only -Wall -Wextra -Werror ||
        fail "the files that docs/porting.md lists do not compile with $compiler"
done
echo "porting_test: $(find . -type f | wc -l) files, ${#sources[@]} of them compiled, passed"
