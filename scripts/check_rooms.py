#!/usr/bin/env python3
"""Checks the arrows between the rooms: who may include whom.

The table below is the table of docs/house.md. A file belongs to the room with the longest path that
its own path begins with. Each #include in quotes, of <torvelsi/...>, of <tvservice/...> or of a room in
angle brackets is an arrow to the room of the included file.
"""

import itertools
import pathlib
import re
import sys
import tempfile

PLATFORM = "platform"
SI = "SI/Include"
SERVICE_HEADER = "softplatform/service/SoftwarePlatform.h"
COUNTER = "softplatform/service/Counter.h"
SECTION_VIEW = "softplatform/section/SectionView.h"

# room -> the rooms that it may include besides itself and the standard library
ROOMS = {
    "platform": [],
    "SI/Include": [],
    "SI/Common": [PLATFORM],
    "SI/SectionFilter": ["SI/Common", SI, PLATFORM],
    "SI/PARSER": ["SI/Common", SI, PLATFORM],
    "softplatform/base": [COUNTER],
    "softplatform/ts": ["softplatform/base"],
    "softplatform/section": ["softplatform/ts", "softplatform/base"],
    "softplatform/descriptor": ["softplatform/base", PLATFORM],
    "softplatform/table": ["softplatform/descriptor", "softplatform/section", "softplatform/base",
                           PLATFORM],
    "softplatform/input": ["softplatform/base", SERVICE_HEADER],
    "softplatform/fault": ["softplatform/input", "softplatform/section", "softplatform/base"],
    "softplatform/log": ["softplatform/base", PLATFORM],
    "softplatform/service": [PLATFORM, "softplatform"],
    "softplatform/text": ["softplatform/base"],
    "syntax": ["softplatform/base", "softplatform/text"],
    "generator": ["softplatform/base", "softplatform/text"],
    "client": [SI, PLATFORM, SERVICE_HEADER, "softplatform/text"],
    "tools": ["client", "generator", "syntax", SI, PLATFORM, SERVICE_HEADER, SECTION_VIEW,
              "softplatform/text"],
    "tests": ["*"],
    "bench": ["*"],
    "fuzz": ["*"],
    "examples": [SI, PLATFORM, SERVICE_HEADER],
}

TOPS = "|".join(sorted({room.split("/")[0] for room in ROOMS}))
INCLUDE = re.compile(
    rf'^\s*#\s*include\s*(?:"([^"]+)"|<((?:torvelsi|tvservice|{TOPS})/[^>]+)>)')


def room_of(path):
    best = max((r for r in ROOMS if path == r or path.startswith(r + "/")), key=len, default=None)
    return best


def resolve(top, source, quoted, angled):
    """The path of the included file, from the top of the repository; None if it is outside."""
    if angled:
        folder, name = angled.split("/", 1)
        if folder == "torvelsi":
            return f"SI/Include/{name}"
        if folder != "tvservice":
            return angled
        if (top / "platform" / name).exists():
            return f"platform/{name}"
        return f"softplatform/service/{name}"
    sibling = source.parent / quoted
    if sibling.exists():
        return sibling.resolve().relative_to(top.resolve()).as_posix()
    if (top / quoted).exists():
        return quoted
    return None


def allowed(room, target):
    if target.startswith("tests/") or target.startswith("tools/"):
        if room not in ("tests", "bench", "fuzz") and room_of(target) != room:
            return False
    if target == room or target.startswith(room + "/"):
        return True
    return any(a == "*" or target == a or target.startswith(a + "/") for a in ROOMS[room])


def check(top):
    errors = []
    files = 0
    for source in sorted(top.rglob("*")):
        if source.suffix not in (".h", ".cpp"):
            continue
        path = source.relative_to(top).as_posix()
        if path.startswith("build/"):
            continue
        files += 1
        room = room_of(path)
        if room is None:
            errors.append(f"{path}: stands in no room")
            continue
        for number, line in enumerate(source.read_text(encoding="utf-8").splitlines(), 1):
            found = INCLUDE.match(line)
            if not found:
                continue
            target = resolve(top, source, found.group(1), found.group(2))
            if target is None:
                errors.append(f"{path}:{number}: {found.group(1)} is not in the house")
            elif not allowed(room, target):
                errors.append(f"{path}:{number}: {room} may not include {target}")
    return files, errors


def self_test():
    """Adds forbidden arrows and checks that each is found."""
    planted = [
        ("SI/PARSER/a.cpp", "softplatform/base/b.h"),
        ("SI/PARSER/a.cpp", "SI/SectionFilter/b.h"),
        ("SI/SectionFilter/a.cpp", "SI/PARSER/b.h"),
        ("SI/Include/a.h", "platform/b.h"),
        ("SI/Common/a.h", "SI/Include/b.h"),
        ("softplatform/base/a.h", "softplatform/ts/b.h"),
        ("softplatform/ts/a.h", "SI/Include/b.h"),
        ("client/a.cpp", "softplatform/service/Pump.h"),
        ("generator/a.cpp", "tools/b.h"),
        ("syntax/a.cpp", "softplatform/ts/b.h"),
        ("softplatform/input/a.cpp", "softplatform/service/Pump.h"),
        ("tools/a.cpp", "softplatform/section/SectionAssembler.h"),
        ("client/a.cpp", "tests/b.h"),
    ]
    for (source, target), include in itertools.product(planted, ('"{}"', "<{}>")):
        with tempfile.TemporaryDirectory() as folder:
            top = pathlib.Path(folder)
            for name, text in ((target, ""), (source, f"#include {include.format(target)}\n")):
                (top / name).parent.mkdir(parents=True, exist_ok=True)
                (top / name).write_text(text, encoding="utf-8")
            if not check(top)[1]:
                sys.exit(f"check_rooms: self-test: {source} -> {target} was not found")


def main():
    if sys.argv[1:] == ["--self-test"]:
        self_test()
        return
    files, errors = check(pathlib.Path(__file__).resolve().parent.parent)
    if errors:
        sys.exit("\n".join(errors))
    print(f"  {files} files, every #include is allowed by the table")


if __name__ == "__main__":
    main()
