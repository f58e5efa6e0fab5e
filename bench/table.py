#!/usr/bin/env python3
"""Prints the table of scripts/bench from Google Benchmark's JSON files and bars.tsv, and draws the ratios as SVG.

A benchmark is named "<area>: <case>/<who>". Who is "zqcore27", "zqcore27, <variant>", a peer, or "limit: <what>". A
processor time is the fastest of the repetitions, since other work on the machine only adds to it. A time by the clock,
which also differs with the turns that threads take, and any other figure is their lower quartile: bursts of other work
of a few seconds may cover more than half of them. Below the table stands what limits.tsv says of each bar that isn't
held, and a note on each of its lines that is out of date: its bar is held with a fifth to spare. Fails if a bar of the
areas asked for has no result, if a benchmark failed, and if a bar is missed by more than runs of one build differ with
no limit named.
"""

import argparse
import json
import math
import re
import subprocess
import sys
from collections import defaultdict
from pathlib import Path

OURS = "zqcore27"
# What Google Benchmark appends to a name.
SUFFIX = re.compile(r"(/(real_time|process_time|manual_time|threads:\d+|iterations:\d+|repeats:\d+|min_time:[\d.]+s?"
                    r"|min_warmup_time:[\d.]+s?))+$")
NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
# The keys of a result in JSON that aren't counters.
FIXED = {"repetitions", "repetition_index", "iterations", "real_time", "cpu_time", "threads", "family_index",
         "per_family_instance_index", "items_per_second", "bytes_per_second"}
# A ratio below this part of its bar is held with room.
ROOM = 0.8
# Runs of one build differ by as much.
NOISE = 1.05


def lower_quartile(values):
    return sorted(values)[len(values) // 4]


class Results:
    """By case, who and figure ("time" in ns, or a counter's name), and the benchmarks that failed."""

    def __init__(self, files):
        self.cases = defaultdict(lambda: defaultdict(dict))
        self.failed = []
        self.machine = ""
        samples = defaultdict(list)
        of_processor = set()
        for file in files:
            content = json.loads(Path(file).read_text())
            context = content["context"]
            self.machine = f"{context['num_cpus']} processors at {context['mhz_per_cpu']} MHz"
            for run in content["benchmarks"]:
                if run.get("run_type") == "aggregate":
                    continue
                name = run["name"]
                case, _, who = SUFFIX.sub("", name).rpartition("/")
                if run.get("error_occurred"):
                    self.failed.append(f"{name}: {run['error_message']}")
                    continue
                wall = "/real_time" in name or "/manual_time" in name
                time = run["real_time" if wall else "cpu_time"] * NANOSECONDS[run["time_unit"]]
                samples[case, who, "time"].append(time)
                if not wall:
                    of_processor.add((case, who, "time"))
                for key, value in run.items():
                    if key not in FIXED and isinstance(value, (int, float)):
                        samples[case, who, key].append(value)
        for (case, who, figure), values in samples.items():
            typical = min if (case, who, figure) in of_processor else lower_quartile
            self.cases[case][who][figure] = typical(values)


def quantity(value, figure):
    """With three digits: a time with its unit, a counter as a number."""
    if value is None:
        return "-"
    if figure != "time":
        return f"{value:.3g}" if abs(value) < 1000 else f"{value:,.0f}"
    for unit, size in (("s", 1e9), ("ms", 1e6), ("us", 1e3)):
        if value >= size:
            return f"{value / size:.3g} {unit}"
    return f"{value:.3g} ns"


def read_lines(file, wanted):
    """The fields of each line, `wanted` in number."""
    lines = [line.split("\t") for line in Path(file).read_text().splitlines() if line and not line.startswith("#")]
    for fields in lines:
        if len(fields) != wanted:
            sys.exit(f"{file}: {wanted} fields are wanted: {fields}")
    return lines


def read_bars(file):
    """(case, peers, figure, bar, aim) of each line."""
    return [(case, [p.strip() for p in peers.split(",")], figure, float(bar), aim)
            for case, peers, figure, bar, aim in read_lines(file, 5)]


def read_limits(file, bars):
    """What limits a figure of a case, by both."""
    limits = {(case, figure): limit for case, figure, limit in read_lines(file, 3)}
    for without in set(limits) - {(case, figure) for case, _, figure, _, _ in bars}:
        sys.exit(f"{file}: no bar of {without}")
    return limits


def by_name(item):
    """For sorting: numbers within a name by their value."""
    return [int(part) if part.isdigit() else part for part in re.split(r"(\d+)", item[0])]


def row_of(case, figures, ours_name, figure, peers, bar, aim):
    """One line of the table, and the ratio. Without named peers all count."""
    ours = figures[ours_name].get(figure)
    peers = peers or [w for w in figures if not w.startswith((OURS, "limit: "))]
    others = {w: figures[w][figure] for w in peers if figure in figures.get(w, {})}
    limits = {w: f[figure] for w, f in figures.items() if w.startswith("limit: ") and figure in f}
    best = min(others, key=others.get, default=None)
    ratio = ours / others[best] if best and others[best] > 0 else None
    if bar is None:
        held = ""
    elif ratio is None:
        held = "no peer"
    else:
        held = "yes" if ratio <= bar else "NO"
    area, _, work = case.partition(": ")
    if ours_name != OURS:
        work += " (" + ours_name.removeprefix(OURS).strip(", ") + ")"
    if figure != "time":
        work += ": " + figure.replace("_", " ")
    limit = "; ".join(f"{w.removeprefix('limit: ')} {quantity(v, figure)}" for w, v in limits.items())
    if aim in figures and figure in figures[aim]:
        aim += f" {ours / figures[aim][figure]:.2f}"
    return [area, work, quantity(ours, figure), f"{best} {quantity(others[best], figure)}" if best else "-",
            f"{ratio:.2f}" if ratio is not None else "-", f"{bar:g}" if bar is not None else "", held,
            aim, limit], ratio


def print_table(rows):
    heads = ["area", "case", "ours", "peer", "ratio", "bar", "held", "aim", "limit"]
    widths = [max(len(r[i]) for r in [heads, *rows]) for i in range(len(heads))]
    right = {2, 4, 5}

    def line(cells):
        return "| " + " | ".join(c.rjust(w) if i in right else c.ljust(w)
                                 for i, (c, w) in enumerate(zip(cells, widths))) + " |"

    print(line(heads))
    print("|" + "|".join("-" * (w + 1) + (":" if i in right else "-") for i, w in enumerate(widths)) + "|")
    for row in rows:
        print(line(row))


def draw(chart, drawn):
    """The ratios as bars from 1, to the left where the library is ahead; a mark where the bar stands."""
    drawn = drawn[::-1]
    low = 10 ** math.floor(math.log10(min([r for _, r, _ in drawn] + [0.1])))
    high = max([r for _, r, _ in drawn] + [b for _, _, b in drawn if b] + [2]) * 1.2
    tics = ", ".join('"%s" %d' % (case.replace('"', "'").replace("%", "%%"), i) for i, (case, _, _) in enumerate(drawn))
    data = "\n".join(f"{i} {ratio:.6g} {bar or 'NaN'}" for i, (_, ratio, bar) in enumerate(drawn))
    script = f"""
set terminal svg size 1100,{80 + 18 * len(drawn)} font "sans-serif,11" background rgb "white" noenhanced
set output "{chart}"
set logscale x
set xrange [{low}:{high}]
set yrange [-0.7:{len(drawn) - 0.3}]
set ytics ({tics})
set xlabel "cost against the best peer: below 1 the library is ahead"
set grid x
set key outside top
$data << END
{data}
END
plot $data using 2:1:(1):2:($1-0.35):($1+0.35) with boxxyerror fill solid 0.7 linecolor rgb "#4477aa" title "ratio", \\
     $data using 3:1 with points pointtype 7 pointsize 0.5 linecolor rgb "#cc3311" title "bar"
"""
    try:
        subprocess.run(["gnuplot"], input=script, text=True, check=True)
    except FileNotFoundError:
        print("no chart: gnuplot isn't installed", file=sys.stderr)


def main():
    arguments = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    arguments.add_argument("bars")
    arguments.add_argument("limits")
    arguments.add_argument("results", nargs="+")
    arguments.add_argument("--areas", default="", help="only the bars of these, parted by commas")
    arguments.add_argument("--chart", help="where to draw the ratios")
    given = arguments.parse_args()
    areas = [a for a in given.areas.split(",") if a]
    results = Results(given.results)
    bars = read_bars(given.bars)
    limits = read_limits(given.limits, bars)
    bars = [b for b in bars if not areas or b[0].partition(": ")[0] in areas]

    rows, drawn, notes, errors = [], [], [], list(results.failed)
    barred = set()
    for case, peers, figure, bar, aim in bars:
        barred.add(case)
        figures = results.cases.get(case, {})
        if figure not in figures.get(OURS, {}):
            errors.append(f"no result for the bar: {case} ({figure})")
            continue
        row, ratio = row_of(case, figures, OURS, figure, peers, bar, aim)
        rows.append(row)
        if ratio is not None:
            drawn.append((f"{row[0]}: {row[1]}", ratio, bar))
            limit = limits.get((case, figure))
            if ratio > bar and limit:
                notes.append(f"not held: {row[0]}: {row[1]}: {limit}")
            elif ratio > bar * NOISE:
                errors.append(f"not held, and no limit is named: {row[0]}: {row[1]}")
            elif ratio < bar * ROOM and limit:
                notes.append(f"held, though a limit is named: {row[0]}: {row[1]}")
        notes += [f"no peer: {case}: {p}" for p in peers if figure not in figures.get(p, {})]
    for case, figures in sorted(results.cases.items(), key=by_name):
        for who in sorted(figures):
            if who.startswith(OURS) and (who != OURS or case not in barred):
                rows.append(row_of(case, figures, who, "time", None, None, "")[0])

    print(f"{results.machine}. A ratio is ours against the best peer, below 1 is faster.\n")
    print_table(rows)
    behind = sum(r[6] == "NO" for r in rows)
    print(f"\n{len(drawn)} bars measured, {behind} not held.")
    for note in notes:
        print(f"- {note}")
    if given.chart and drawn:
        draw(given.chart, drawn)
    for error in errors:
        print(f"error: {error}", file=sys.stderr)
    sys.exit(1 if errors else 0)


if __name__ == "__main__":
    main()
