#!/usr/bin/env python3
"""What a shared library offers to others and wants of them, against the lists in this folder.

    symbols_test.py [--update] exports LIBRARY LIST
    symbols_test.py [--update] imports LIBRARY LIST
    symbols_test.py [--update] libc LIBRARY LIST
    symbols_test.py [--update] needed LIBRARY LIST

"imports" leaves out what comes from the C and C++ libraries: the rest is the platform's. --update
writes the list anew, in groups by the header that declares the class; what no header declares fails
all the same, and so does a version among the imports that is not of the C or C++ library or the
compiler. "libc" is what may be used of the C library: anything that is not in the list fails. What
is in the list need not be used, since that differs from one compiler to the next. "needed" are the
libraries in the dynamic section, in their order.
"""

import functools
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
HEADERS = sorted([*ROOT.glob("platform/*.h"), *ROOT.glob("SI/Include/*.h"),
                  *ROOT.glob("softplatform/service/SoftwarePlatform.h")])


VERSIONS = ("GLIBC_", "GLIBCXX_", "CXXABI_", "GCC_")


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


def of_the_c_library(library):
    return sorted({name.split("@")[0] for name, _ in nm("--undefined-only", library)
                   if name.split("@")[-1].startswith("GLIBC_")})


def foreign_versions(library):
    return [name for name, _ in nm("--undefined-only", library)
            if "@" in name and not name.split("@")[-1].startswith(VERSIONS)]


def needed(library):
    section = subprocess.run(["readelf", "--dynamic", "--wide", library], check=True,
                             capture_output=True, text=True).stdout
    return re.findall(r"\(NEEDED\).*\[(.*)\]", section)


def comments(path):
    return [line for line in path.read_text().splitlines() if line.startswith("#")]


@functools.cache
def header_text(header):
    return header.read_text()


@functools.cache
def header_of_name(name):
    declaration = re.compile(rf"^\s*(class|struct)( \w+)? {name}\b[^;]*{{|\b{name}\(", re.M)
    for header in HEADERS:
        if declaration.search(header_text(header)):
            return str(header.relative_to(ROOT))
    return "nowhere"


def header_of(symbol):
    """The header that declares the class, or the function outside of one, of a demangled name."""
    words = re.findall(r"\w+", re.sub(r"^((typeinfo( name)?|vtable) for|non-virtual thunk to) ", "", symbol))
    names = [word for word in words[:2] if word not in ("TORVEL_MW", "tvservice")]
    return header_of_name(names[0]) if names else "nowhere"


def grouped(found):
    groups = {}
    for symbol in found:
        groups.setdefault(header_of(symbol), []).append(symbol)
    return "\n\n".join("\n".join([f"# {header}", *groups[header]]) for header in sorted(groups)) + "\n"


def main(arguments):
    update = arguments[0] == "--update"
    kind, library, path = arguments[1:] if update else arguments
    path = pathlib.Path(path)
    if kind == "needed":
        found = needed(library)
    elif kind == "libc":
        found = of_the_c_library(library)
    else:
        found = symbols(kind, library)
    if update:
        path.write_text(grouped(found) if kind in ("exports", "imports") else
                        "\n".join([*comments(path), *found, ""]))
    listed = [line for line in path.read_text().splitlines() if line and not line.startswith("#")]
    complaints = [f"not in the list: {symbol}" for symbol in sorted(set(found) - set(listed))]
    if kind == "libc":
        if not found:
            complaints.append("the library uses nothing of the C library: nothing was checked")
    else:
        complaints += [f"only in the list: {symbol}" for symbol in sorted(set(listed) - set(found))]
    if kind == "needed":
        if listed != found and not complaints:
            complaints.append(f"another order: {found}")
    elif kind != "libc":
        complaints += [f"no public header declares {symbol}" for symbol in found
                       if header_of(symbol) == "nowhere"]
        complaints += [f"of a library that is not allowed: {symbol}"
                       for symbol in foreign_versions(library)]
    for complaint in complaints:
        print(f"{kind}: {complaint}")
    return 1 if complaints or not listed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
