#!/usr/bin/env python3
"""What a shared library offers to others and wants of them, against the lists in this folder.

    symbols_test.py [--update] exports LIBRARY LIST
    symbols_test.py [--update] imports LIBRARY LIST

Imports of the C and C++ libraries are left out: what remains is the platform's. --update writes the
list anew, in groups by the header that declares the class.
"""

import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
HEADERS = sorted([*ROOT.glob("platform/*.h"), *ROOT.glob("SI/Include/*.h"),
                  *ROOT.glob("softplatform/service/SoftwarePlatform.h")])


def nm(*options):
    lines = subprocess.run(["nm", "--dynamic", "--format=posix", *options], check=True,
                           capture_output=True, text=True).stdout.splitlines()
    return [line.split(" ")[0:2] for line in lines]


def demangled(names):
    return sorted(set(subprocess.run(["c++filt"], input="\n".join(names), check=True,
                                     capture_output=True, text=True).stdout.splitlines()))


def symbols(kind, library):
    if kind == "exports":
        return demangled(name for name, _ in nm("--defined-only", library))
    # Versioned symbols are those of the C and C++ libraries; weak ones may be missing.
    return demangled(name for name, type_ in nm("--undefined-only", library)
                     if "@" not in name and type_ not in "wv")


def header_of(symbol):
    words = re.findall(r"\w+", re.sub(r"^((typeinfo( name)?|vtable) for|non-virtual thunk to) ", "", symbol))
    classes = [word for word in words[:2] if word not in ("TORVEL_MW", "tvservice")]
    for header in HEADERS:
        text = header.read_text()
        for name in classes[:1]:
            if (re.search(rf"^\s*(class|struct)( \w+)? {name}\b[^;]*{{", text, re.M) or
                    re.search(rf"\b{name}\(", text)):
                return str(header.relative_to(ROOT))
    return "nowhere"


def main(arguments):
    update = arguments[0] == "--update"
    kind, library, path = arguments[1:] if update else arguments
    found = symbols(kind, library)
    path = pathlib.Path(path)
    if update:
        groups = {}
        for symbol in found:
            groups.setdefault(header_of(symbol), []).append(symbol)
        path.write_text("\n\n".join("\n".join([f"# {header}", *groups[header]])
                                    for header in sorted(groups)) + "\n")
    listed = [line for line in path.read_text().splitlines() if line and not line.startswith("#")]
    for symbol in sorted(set(found) - set(listed)):
        print(f"{kind}: not in the list: {symbol}")
    for symbol in sorted(set(listed) - set(found)):
        print(f"{kind}: only in the list: {symbol}")
    return 0 if listed and sorted(listed) == found else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
