#!/usr/bin/env python3
"""Measures torvelsi-throughput beside its peers over streams of the generator.

    bench_peers.py BIN FOLDER [--rounds N] [--mib N] [--json FILE]
    bench_peers.py --self-test

BIN holds torvelsi-throughput and the programs peer-*. The streams are written to FOLDER. In every
round each program does each task once, one after the other, so that other load on the machine slows
down all of them alike. The output shows medians in GB of transport stream per second, with the spread
between the quartiles. The run fails when a program counts other sections than torvelsi-throughput,
because the two then do different work. A peer that reads fewer entries and descriptors is marked with
the share that it reads.
"""

import argparse
import json
import pathlib
import statistics
import subprocess
import sys

TASKS = [("a", "mixed"), ("b", "mixed"), ("b", "si"), ("p", "mixed"), ("p", "si"), ("d", "si"),
         ("c", "mixed"), ("c", "si"), ("C", "repeats")]
PEERS = {"libdvbpsi": "bp", "libbitstream": "abp"}


def parse(line):
    _, name, mode, _, seconds, size, sections, section_bytes, items, _ = line.split()
    return {"name": name, "mode": mode, "seconds": float(seconds), "bytes": int(size),
            "sections": (int(sections), int(section_bytes)), "items": int(items)}


def check(ours, peer):
    """The reason why the two cannot be compared; None if they can."""
    if ours["bytes"] != peer["bytes"]:
        return f"{peer['name']} read {peer['bytes']} bytes, not {ours['bytes']}"
    # Decoders that return whole tables do not count sections.
    if peer["sections"] != (0, 0) and peer["sections"] != ours["sections"]:
        return f"{peer['name']} saw {peer['sections']} sections and bytes, not {ours['sections']}"
    return None


def gigabytes(results):
    """Median and half the distance between the quartiles."""
    rates = [r["bytes"] / r["seconds"] / 1e9 for r in results]
    if len(rates) < 3:
        return statistics.median(rates), 0.0
    low, _, high = statistics.quantiles(rates, n=4)
    return statistics.median(rates), (high - low) / 2


def self_test():
    ours = parse("R torvelsi b si.ts 0.5 1000000000 10 900 0 0")
    assert ours["sections"] == (10, 900) and ours["bytes"] == 10**9
    peer = parse("R libx b si.ts 0.25 1000000000 10 900 0 0")
    assert check(ours, peer) is None
    assert "9, 900" in check(ours, {**peer, "sections": (9, 900)})
    assert "bytes" in check(ours, {**peer, "bytes": 5})
    assert gigabytes([ours, peer, peer])[0] == 4.0


def main():
    if sys.argv[1:] == ["--self-test"]:
        return self_test()
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("bin", type=pathlib.Path)
    parser.add_argument("folder", type=pathlib.Path)
    parser.add_argument("--rounds", type=int, default=7)
    parser.add_argument("--mib", type=int, default=256, help="of the mixed stream; others a quarter")
    parser.add_argument("--json", type=pathlib.Path)
    options = parser.parse_args()

    ours = options.bin / "torvelsi-throughput"
    options.folder.mkdir(parents=True, exist_ok=True)
    files = {}
    pids = {}
    for content in dict.fromkeys(content for _, content in TASKS):
        mib = options.mib if content == "mixed" else max(1, options.mib // 4)
        files[content] = options.folder / f"{content}-{mib}.ts"
        if not files[content].exists():
            subprocess.run([ours, "make", content, files[content], str(mib)], check=True)
        pids[content] = subprocess.run([ours, "pids", files[content]], check=True,
                                       capture_output=True, text=True).stdout.split()
    peers = {name: modes for name, modes in PEERS.items()
             if (options.bin / f"peer-{name}").exists()}
    results = {}
    for number in range(1, options.rounds + 1):
        for mode, content in TASKS:
            print(f"[{number}/{options.rounds}] {mode} {content}", file=sys.stderr, flush=True)
            commands = {"torvelsi": [ours, mode, files[content]]}
            for name, modes in peers.items():
                if mode in modes:
                    commands[name] = [options.bin / f"peer-{name}", mode, files[content],
                                      *pids[content]]
            for name, command in commands.items():
                out = subprocess.run(command, check=True, capture_output=True, text=True).stdout
                result = parse(out)
                results.setdefault((mode, content), {}).setdefault(name, []).append(result)
                why = check(results[mode, content]["torvelsi"][-1], result)
                if why:
                    print(f"bench-peers: {mode} {content}: {why}", file=sys.stderr)
                    return 1
    names = ["torvelsi", *peers]
    print("GB/s".ljust(12) + "".join(name.rjust(22) for name in names))
    for (mode, content), row in results.items():
        cells = []
        for name in names:
            if name not in row:
                cells.append("-")
                continue
            median, spread = gigabytes(row[name])
            cell = f"{median:.3f} +-{spread:.3f}"
            share = row[name][0]["items"] / max(1, row["torvelsi"][0]["items"])
            if name != "torvelsi" and mode == "p" and share < 0.999:
                cell += f" ({share:.0%})"
            cells.append(cell)
        print(f"{mode} {content}".ljust(12) + "".join(cell.rjust(22) for cell in cells))
    print("(x %): the share of the entries and descriptors that this peer reads")
    if options.json:
        options.json.write_text(json.dumps(
            {f"{mode} {content}": {name: gigabytes(runs) for name, runs in row.items()}
             for (mode, content), row in results.items()}, indent=1) + "\n")
    return 0


if __name__ == "__main__":
    sys.exit(main())
