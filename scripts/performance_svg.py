#!/usr/bin/env python3
"""Draws the curves of docs/performance.md from Google Benchmark's JSON.

    performance_svg.py RESULT.json... FOLDER      writes FOLDER/filters.svg, pids.svg, subscriptions.svg
    performance_svg.py --self-test

RESULT.json: build/release/bin/bench_NAME --benchmark_out=RESULT.json.
"""

import json
import math
import pathlib
import re
import sys

# file: title, axes, and name of the line -> benchmark whose last argument is x
CHARTS = {
    "filters": ("Filters on one PID", "filters", "ns a section",
                {"compiled": "FiltersCompiled", "byte by byte": "FiltersNaive"}),
    "pids": ("Packets looked up by PID", "wanted PIDs", "GB/s", {"demux": "Demux"}),
    "subscriptions": ("Subscribe and unsubscribe", "other subscriptions", "microseconds",
                      {"manager": "SubscribeAndUnsubscribe"}),
}
NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
WIDTH, HEIGHT, LEFT, BOTTOM, TOP, RIGHT = 640, 360, 70, 50, 40, 120
COLOURS = ["#1b6ca8", "#c8553d", "#3a7d44"]


def points(benchmarks, name, unit):
    """The points [(x, y)] of one line."""
    found = []
    for run in benchmarks:
        match = re.match(rf"{name}/(?:\w+:)?(\d+)(?:/|$)", run["name"])
        if not match or run.get("error_occurred"):
            continue
        nanoseconds = run["real_time"] * NANOSECONDS[run["time_unit"]]
        value = {"GB/s": run.get("bytes_per_second", 0) / 1e9, "microseconds": nanoseconds / 1e3,
                 "ns a section": nanoseconds}[unit]
        found.append((int(match[1]), value))
    return sorted(found)


def step(largest):
    """A round distance for the grid lines, so that there are about five."""
    power = 10 ** math.floor(math.log10(largest / 5))
    return next(power * factor for factor in (1, 2, 5, 10) if power * factor * 5 >= largest)


def chart(title, x_axis, y_axis, lines):
    """An SVG document. The x axis has powers of two, the y axis begins at 0."""
    largest_x = max(x for line in lines.values() for x, _ in line)
    largest_y = max(y for line in lines.values() for _, y in line) or 1
    right, top = WIDTH - RIGHT, TOP

    def across(x):
        return LEFT + (right - LEFT) * math.log2(x + 1) / math.log2(largest_x + 1)

    distance = step(largest_y)
    highest = distance * math.ceil(largest_y / distance)

    def up(y):
        return HEIGHT - BOTTOM - (HEIGHT - BOTTOM - top) * y / highest

    out = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" '
           'font-family="sans-serif" font-size="12">',
           f'<rect width="{WIDTH}" height="{HEIGHT}" fill="white"/>',
           f'<text x="{LEFT}" y="22" font-size="15">{title}</text>',
           f'<text x="{(LEFT + right) / 2}" y="{HEIGHT - 10}" text-anchor="middle">{x_axis}</text>',
           f'<text x="16" y="{HEIGHT / 2}" text-anchor="middle" '
           f'transform="rotate(-90 16 {HEIGHT / 2})">{y_axis}</text>']
    for number in range(round(highest / distance) + 1):
        y = number * distance
        out.append(f'<path d="M{LEFT} {up(y):.1f}H{right}" stroke="#ddd"/>')
        out.append(f'<text x="{LEFT - 6}" y="{up(y) + 4:.1f}" text-anchor="end">{y:g}</text>')
    for x in sorted({x for line in lines.values() for x, _ in line}):
        out.append(f'<text x="{across(x):.1f}" y="{HEIGHT - BOTTOM + 16}" '
                   f'text-anchor="middle">{x}</text>')
    for (name, line), colour in zip(lines.items(), COLOURS):
        path = " ".join(f"{across(x):.1f},{up(y):.1f}" for x, y in line)
        out.append(f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="2"/>')
        out += [f'<circle cx="{across(x):.1f}" cy="{up(y):.1f}" r="3" fill="{colour}"/>'
                for x, y in line]
        out.append(f'<text x="{right + 8}" y="{up(line[-1][1]) + 4:.1f}" fill="{colour}">{name}</text>')
    return "\n".join([*out, "</svg>", ""])


def self_test():
    runs = [{"name": "Demux/wanted_pids:64", "real_time": 1, "time_unit": "us",
             "bytes_per_second": 2e9},
            {"name": "SubscribeAndUnsubscribe/others:0/real_time", "real_time": 30,
             "time_unit": "us"},
            {"name": "FiltersCompiled/4", "real_time": 40, "time_unit": "ns"}]
    assert points(runs, "Demux", "GB/s") == [(64, 2.0)]
    assert points(runs, "SubscribeAndUnsubscribe", "microseconds") == [(0, 30.0)]
    assert points(runs, "FiltersCompiled", "ns a section") == [(4, 40.0)]
    assert step(1.0) == 0.2 and step(40) == 10
    assert "<polyline" in chart("t", "x", "y", {"line": [(0, 1), (64, 2)]})


def main():
    if sys.argv[1:] == ["--self-test"]:
        return self_test()
    if len(sys.argv) < 3:
        print(__doc__, file=sys.stderr)
        return 64
    benchmarks = [run for file in sys.argv[1:-1]
                  for run in json.loads(pathlib.Path(file).read_text())["benchmarks"]]
    folder = pathlib.Path(sys.argv[-1])
    folder.mkdir(parents=True, exist_ok=True)
    for file, (title, x_axis, y_axis, names) in CHARTS.items():
        lines = {line: points(benchmarks, name, y_axis) for line, name in names.items()}
        lines = {line: found for line, found in lines.items() if found}
        if not lines:
            print(f"performance-svg: no results for {file}.svg", file=sys.stderr)
            return 1
        (folder / f"{file}.svg").write_text(chart(title, x_axis, y_axis, lines))
    return 0


if __name__ == "__main__":
    sys.exit(main())
