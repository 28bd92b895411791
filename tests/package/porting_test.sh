#!/usr/bin/env bash
# What docs/porting.md tells a receiver maker to take is all that the contract suite needs: in a
# folder with just the files that are listed there, a rig of the maker's own and each file of the
# suite compile. usage: porting_test.sh SOURCE_DIR WORK_DIR
set -euo pipefail
source_dir=$1
work=$2

fail() { echo "porting_test: $*" >&2; exit 1; }

rm -rf "$work"
mkdir -p "$work"
work=$(cd "$work" && pwd)

# The first block of the chapter without a language: a pattern or a folder a line, of a folder
# perhaps "without NAME, NAME and NAME".
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
        [ -e "$work/suite/${what%\*}$name" ] || fail "docs/porting.md leaves out $name, which there is not"
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
[ ${#sources[@]} -gt 1 ] || fail "there is no suite"
for compiler in g++ clang++; do
    printf '%s\0' "${sources[@]}" |
        xargs -0 -n 1 -P "$(nproc)" "$compiler" -std=c++20 -I. -fsyntax-only -Wall -Wextra -Werror ||
        fail "the suite does not compile under $compiler from what docs/porting.md lists"
done
echo "porting_test: $(find . -type f | wc -l) files, ${#sources[@]} of them compiled, passed"
