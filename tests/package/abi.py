#!/usr/bin/env python3
"""The libraries' binary interfaces, against those that are checked in beside this file.

    abi.py BUILD_DIR               both libraries, built with debug information in BUILD_DIR
    abi.py --self-test BUILD_DIR   that a swap of two virtual operations does not pass
    abi.py --update BUILD_DIR      writes headers.abi, torvelsi.abi and tvservice.abi anew

headers.abi is what the public headers declare, by a function for each class that takes one: through
the libraries' own functions not all of them are reached.

The check fails for every change that a client built earlier can notice: a removed symbol, another layout,
another order of virtual operations. It passes for additions. The dumps are those of GCC on a 64-bit x86 processor;
of the C++ library's types they keep the names and sizes. Exit status 77: abidw is not installed.
"""

import pathlib
import re
import shutil
import subprocess
import sys
import xml.etree.ElementTree as ElementTree

HERE = pathlib.Path(__file__).resolve().parent
ROOT = HERE.parents[1]
HEADERS = {
    "torvelsi": ["--headers-dir", "SI/Include", "--headers-dir", "platform"],
    "tvservice": ["--headers-dir", "platform",
                  "--header-file", "softplatform/service/Counter.h",
                  "--header-file", "softplatform/service/SoftwarePlatform.h"],
}
STANDARD = ("std", "__gnu_cxx", "__cxxabiv1")
# Types that are there only because something refers to them.
DERIVED = ("type-decl", "pointer-type-def", "reference-type-def", "qualified-type-def",
           "array-type-def", "function-type")


def run(*command, **options):
    done = subprocess.run([str(word) for word in command], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, check=False, **options)
    if done.returncode != 0:
        sys.exit(f"abi: {' '.join(map(str, command))}\n{done.stdout}")
    return done.stdout


def build(folder):
    """Builds both libraries; no path of this machine gets into the debug information."""
    flags = (f"-O2 -g -fno-lto -ffile-prefix-map={folder}/= "
             f"-ffile-prefix-map={ROOT}/=")
    run("cmake", "-G", "Ninja", "-S", ROOT, "-B", folder, "-DCMAKE_CXX_COMPILER=g++",
        "-DCMAKE_BUILD_TYPE=None", f"-DCMAKE_CXX_FLAGS={flags}", "-DTORVELSI_BUILD_TOOL=OFF",
        "-DTORVELSI_BUILD_TESTS=OFF")
    run("cmake", "--build", folder, "--target", *HEADERS)


def classes(header, namespace):
    """The classes that a header defines, those within others too, as code of others names them."""
    outer = None
    for indent, name in re.findall(r"^( *)(?:class|struct) (?:[A-Z_]+_API )?(\w+)[^;{()]*{",
                                   header.read_text(), re.M):
        if indent:
            yield f"{outer}::{name}"
        else:
            outer = f"{namespace}::{name}"
            yield outer


def dump_headers(source, folder, path):
    """What the public headers under `source` declare."""
    public = [(header, "TORVEL_MW") for header in sorted(source.glob("SI/Include/*.h"))]
    public += [(header, "") for header in sorted(source.glob("platform/*.h"))]
    public += [(source / "softplatform/service/SoftwarePlatform.h", "tvservice")]
    lines = [f'#include "{header.relative_to(source)}"' for header, _ in public]
    names = [name for header, namespace in public for name in classes(header, namespace)]
    if len(names) < len(public) // 2:
        sys.exit("abi: found too few classes in the public headers")
    lines += [f"void Take({name}&) {{}}" for name in names]
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "headers.cpp").write_text("\n".join(lines) + "\n")
    run("g++", "-std=c++20", "-g", "-femit-class-debug-always", "-fPIC", "-shared",
        f"-ffile-prefix-map={folder}/=", f"-ffile-prefix-map={source}/=", f"-I{source}",
        folder / "headers.cpp", "-o", folder / "libheaders.so")
    dump("headers", folder / "libheaders.so", path)


def prune_standard(scope):
    """Leaves the C++ library's classes their names and sizes."""
    for element in list(scope):
        if element.tag == "namespace-decl":
            prune_standard(element)
        elif element.tag == "function-decl":
            scope.remove(element)
        elif element.tag in ("class-decl", "union-decl"):
            for member in list(element):
                if member.tag == "member-type":
                    prune_standard(member)
                else:
                    element.remove(member)


def prune_unreferenced(scope, used, standard=False):
    """Removes what no id in `used` names and says whether there was anything to remove."""
    pruned = False
    for element in list(scope):
        within = standard or (element.tag == "namespace-decl" and element.get("name") in STANDARD)
        if element.tag in ("namespace-decl", "class-decl", "union-decl", "member-type", "abi-instr"):
            pruned |= prune_unreferenced(element, used, within)
        children = len(element) > 0
        gone = element.get("id") is not None and element.get("id") not in used and (
            element.tag in DERIVED or standard and not children)
        gone |= element.tag in ("namespace-decl", "member-type", "abi-instr") and not children
        if gone:
            scope.remove(element)
            pruned = True
    return pruned


def dump(library, shared_object, path):
    """The interface of a library, without what belongs to nobody but the C++ library."""
    run("abidw", *HEADERS.get(library, ()), "--no-show-locs", "--no-comp-dir-path",
        "--no-corpus-path", "--drop-private-types", "--exported-interfaces-only",
        "--no-parameter-names", "--type-id-style", "hash", "--out-file", path.resolve(),
        shared_object.resolve(), cwd=ROOT)
    corpus = ElementTree.parse(path).getroot()
    for unit in corpus.iter("abi-instr"):
        for namespace in unit.findall("namespace-decl"):
            if namespace.get("name") in STANDARD:
                prune_standard(namespace)
    pruned = True
    while pruned:
        used = {value for element in corpus.iter() for key, value in element.items() if key != "id"}
        pruned = prune_unreferenced(corpus, used)
    ElementTree.indent(corpus, " ")
    path.write_text(ElementTree.tostring(corpus, encoding="unicode") + "\n")


def changes(library, path):
    """What of the checked-in interface is another one in the dump at `path`; empty for nothing."""
    done = subprocess.run(["abidiff", "--no-added-syms", HERE / f"{library}.abi", path],
                          capture_output=True, text=True, check=False)
    return (done.stdout + done.stderr or "abidiff failed") if done.returncode else ""


def check(folder, update):
    build(folder)
    bad = 0
    for library in ("headers", *HEADERS):
        path = HERE / f"{library}.abi" if update else folder / f"{library}.abi"
        if library == "headers":
            dump_headers(ROOT, folder, path)
        else:
            dump(library, folder / f"lib/lib{library}.so.0", path)
        if re.search(rf"{re.escape(str(ROOT))}|{re.escape(str(folder))}", path.read_text()):
            sys.exit(f"abi: {path} has paths of this machine")
        found = "" if update else changes(library, path)
        print(f"abi: {library}: {'written' if update else found or 'unchanged'}")
        bad += found != ""
    return bad


# Header, and two operations of it, the first further up.
SWAPS = [
    ("SI/Include/ISectionManager.h", "Subscribe", "Unsubscribe"),
    ("SI/Include/ISectionObserver.h", "OnSectionReceived", "OnSectionTimeout"),
    ("SI/Include/IPATParser.h", "IsComplete", "TransportStreamId"),
    ("platform/ISectionSubscriber.h", "SubscribeTable", "SubscribeFilter"),
]


def self_test(folder):
    """Each swap in a copy of the headers; without one nothing has changed."""
    bad = 0
    for header, *operations in [("",), *SWAPS]:
        copy = folder / "self_test"
        shutil.rmtree(copy, ignore_errors=True)
        for name in ("SI/Include", "platform", "softplatform/service"):
            shutil.copytree(ROOT / name, copy / name)
        if header:
            text = (copy / header).read_text()
            first, second = (rf"^    virtual \w[^;]*\b{name}\([^;]*;\n" for name in operations)
            swapped = re.sub(rf"({first})(.*?)({second})", r"\3\2\1", text, count=1,
                             flags=re.S | re.M)
            if swapped == text:
                sys.exit(f"abi: {header} has not the operations {operations}")
            (copy / header).write_text(swapped)
        dump_headers(copy, folder / "self_test", folder / "self_test/headers.abi")
        found = changes("headers", folder / "self_test/headers.abi")
        if header:
            print(f"abi: {header}, {operations} swapped: {'noticed' if found else 'NOT NOTICED'}")
        elif found:
            print(f"abi: without a swap: {found}")
        bad += (found != "") != (header != "")
    return bad


def main(arguments):
    mode = arguments.pop(0) if arguments[0].startswith("--") else ""
    folder = pathlib.Path(arguments[0]).resolve()
    if shutil.which("abidw") is None or shutil.which("abidiff") is None:
        print("abi: abidw and abidiff (abigail-tools) are not installed")
        return 77
    bad = self_test(folder) if mode == "--self-test" else check(folder, mode == "--update")
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
