#!/usr/bin/env python3
"""Counts the instructions of each task and compares them with bench/instructions.json.

    check_speed.py PROGRAM FOLDER            fails when a count grew by more than 3 %
    check_speed.py --update PROGRAM FOLDER   writes the baseline anew
    check_speed.py --self-test

PROGRAM is torvelsi-throughput. Streams and callgrind's output are written to FOLDER. For each count
that grew, the functions in which it grew are printed. Unlike times, counts hardly differ from run to
run. But they differ between compilers and processors, so the check needs a baseline of the same
compiler.
"""

import json
import pathlib
import re
import subprocess
import sys

BASELINE = pathlib.Path(__file__).resolve().parents[1] / "bench" / "instructions.json"
TOLERANCE = 0.03
FUNCTIONS = 60  # how many functions of a row are kept: the most expensive ones

STREAMS = {"mixed": 8, "si": 1, "repeats": 1}  # MiB
ROWS = {
    **{f"{mode} {stream}": [mode, stream] for mode in "abpdc" for stream in STREAMS
       if (mode, stream) != ("a", "repeats")},
    **{f"table {kind}": ["t", kind] for kind in
       ["pat", "pmt", "sdt", "nit", "eit-pf", "eit-schedule",
        "pat-si", "pmt-si", "sdt-si", "nit-si", "eit-pf-si"]},
}
SECTIONS = "640"  # of a table


def compiler():
    first = subprocess.run(["c++", "--version"], capture_output=True, text=True, check=True)
    machine = subprocess.run(["uname", "-m"], capture_output=True, text=True, check=True)
    return f"{first.stdout.splitlines()[0]}, {machine.stdout.strip()}"


def count(program, folder, row):
    """{function: instructions} of one row."""
    mode, what = ROWS[row]
    out = folder / f"callgrind.{mode}.{what}"
    arguments = [mode, what, SECTIONS] if mode == "t" else [
        mode, str(folder / f"{what}.ts"), "--passes", "1"]
    subprocess.run(["valgrind", "--tool=callgrind", f"--callgrind-out-file={out}", "-q",
                    str(program), *arguments], check=True, stdout=subprocess.DEVNULL)
    text = subprocess.run(["callgrind_annotate", "--threshold=100", "--show-percs=no", str(out)],
                          check=True, capture_output=True, text=True).stdout
    return functions_of(text)


def functions_of(annotated):
    functions = {}
    for line in annotated.splitlines():
        # "12,345  file:function [object]", or without the object; the total has neither.
        match = re.match(r"\s*([\d,]+)\s+\S*?:(.*?)(?: \[[^\]]*\])?$", line)
        if match:
            name = match[2].strip()
            functions[name] = functions.get(name, 0) + int(match[1].replace(",", ""))
    return functions


def entry(functions):
    largest = sorted(functions, key=functions.get, reverse=True)[:FUNCTIONS]
    return {"instructions": sum(functions.values()),
            "functions": {name: functions[name] for name in sorted(largest)}}


def compare(row, before, now):
    """Lines that say how the row grew; none if it did not grow."""
    total = sum(now.values())
    if total <= before["instructions"] * (1 + TOLERANCE):
        return []
    lines = [f"{row}: {total:,} instructions, {total / before['instructions'] - 1:+.1%}"]
    # A function that is not in the baseline cost at most as much as the cheapest one in it.
    floor = min(before["functions"].values())
    growth = {name: spent - before["functions"].get(name, floor) for name, spent in now.items()}
    for name in sorted(growth, key=growth.get, reverse=True)[:3]:
        if growth[name] > 0:
            lines.append(f"    {growth[name]:+,} in {name}")
    return lines


def self_test():
    text = """
    1,234,567  PROGRAM TOTALS
      800,000  ./a/File.cpp:ns::Class::Function(int, char const*) [/lib/lib.so]
      434,567  ???:0x0000 [/lib/libc.so.6]
    """
    functions = functions_of(text)
    assert functions == {"ns::Class::Function(int, char const*)": 800000, "0x0000": 434567}
    before = entry(functions)
    assert before["instructions"] == 1234567
    assert compare("row", before, functions) == []
    grown = {**functions, "ns::Class::Function(int, char const*)": 900000}
    found = compare("row", before, grown)
    assert len(found) == 2 and "+8.1%" in found[0] and "+100,000 in ns::Class" in found[1], found
    found = compare("row", before, {**functions, "New()": 2000000})
    assert "New()" in found[1]
    assert compare("row", before, {"ns::Class::Function(int, char const*)": 820000,
                                   "0x0000": 434567}) == []


def main():
    if sys.argv[1:] == ["--self-test"]:
        self_test()
        return 0
    arguments = [word for word in sys.argv[1:] if word != "--update"]
    update = "--update" in sys.argv[1:]
    if len(arguments) != 2:
        print(__doc__, file=sys.stderr)
        return 64
    program, folder = (pathlib.Path(word) for word in arguments)
    baseline = json.loads(BASELINE.read_text()) if BASELINE.exists() else None
    if not update and baseline is None:
        print("check-speed: the baseline is missing; --update writes one")
        return 1
    if not update and baseline["compiler"] != compiler():
        print(f"check-speed: the baseline is of {baseline['compiler']}; this is {compiler()}: "
              "nothing is compared")
        return 0
    folder.mkdir(parents=True, exist_ok=True)
    for content, mebibytes in STREAMS.items():
        subprocess.run([str(program), "make", content, str(folder / f"{content}.ts"),
                        str(mebibytes)], check=True)
    bad = []
    rows = {}
    for index, row in enumerate(ROWS, 1):
        functions = count(program, folder, row)
        rows[row] = entry(functions)
        print(f"[{index}/{len(ROWS)}] {row}: {rows[row]['instructions']:,}", flush=True)
        if not update:
            if row in baseline["rows"]:
                bad += compare(row, baseline["rows"][row], functions)
            else:
                bad.append(f"{row}: the baseline has no such row")
    if update:
        BASELINE.write_text(json.dumps({"compiler": compiler(), "rows": rows}, indent=1) + "\n")
        print(f"check-speed: wrote {BASELINE.name}")
        return 0
    if bad:
        print("check-speed: more instructions than the baseline allows:", *bad, sep="\n")
        return 1
    print(f"check-speed: {len(ROWS)} rows, none grew by more than {TOLERANCE:.0%}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
