#!/usr/bin/env python3
"""Makes the performance table from what qiv_bench measured: table.py RESULTS [FOLDER]

Prints the table; with a folder writes performance.md and images/performance.svg there."""

import json
import os
import platform
import subprocess
import sys


def read(path):
    """The rows in their order: operation -> {way: median nanoseconds}, and the targets."""
    with open(path) as file:
        results = json.load(file)
    rows, targets = {}, {}
    for run in sorted(results["benchmarks"], key=lambda run: run["family_index"]):
        if run.get("aggregate_name") != "median":
            continue
        operation, way = run["run_name"].removesuffix("/real_time").split("|")
        rows.setdefault(operation, {})[way] = run["real_time"]
        if way == "ours":
            targets[operation] = run["target"]
    # What a filter found by a peer's name alone has no ratio.
    return results["context"], {row: rows[row] for row in rows if row in targets}, targets


def time(nanoseconds):
    for unit in ("ns", "µs", "ms"):
        if nanoseconds < 1000 or unit == "ms":
            return f"{nanoseconds:.3g} {unit}" if nanoseconds < 1000 else f"{nanoseconds:.0f} {unit}"
        nanoseconds /= 1000


def prefixed(ways, prefix):
    return {way.removeprefix(prefix): value for way, value in ways.items() if way.startswith(prefix)}


def listed(ways):
    return ", ".join(f"{name} {time(value)}" for name, value in sorted(ways.items(), key=lambda item: item[1]))


def ratio(ways):
    return ways["ours"] / min(prefixed(ways, "peer ").values())


def table(rows, targets):
    lines = ["| operation | ours | ours / best peer | target | peers | plain way | limit |",
             "|---|---|---|---|---|---|---|"]
    for operation, ways in rows.items():
        reached = ratio(ways)
        mark = f"**{reached:.2f}**" if reached <= targets[operation] else f"{reached:.2f}"
        plain = time(ways["plain"]) if "plain" in ways else ""
        lines.append(f"| {operation} | {time(ways['ours'])} | {mark} | {targets[operation]:g} | "
                     f"{listed(prefixed(ways, 'peer '))} | {plain} | {listed(prefixed(ways, 'limit '))} |")
    return "\n".join(lines)


def plot(rows, path):
    data = "".join(f'"{operation}" {ratio(ways):.3f}\n' for operation, ways in reversed(rows.items()))
    commands = f"""
set terminal svg size 900,{120 + 22 * len(rows)} font "sans-serif,12" background "white"
set output "{path}"
set title "Time of ours / time of the best peer (shorter is better)"
set xrange [0:*]
set yrange [-0.7:{len(rows) - 0.3}]
set grid xtics
set style fill solid 0.8
set arrow from 1,graph 0 to 1,graph 1 nohead lc "#b71c1c"
$data << EOD
{data}EOD
plot $data using ($2/2):0:($2/2):(0.35):ytic(1) with boxxyerror lc "#0277bd" notitle
"""
    subprocess.run(["gnuplot"], input=commands, text=True, check=True)


def machine():
    with open("/proc/cpuinfo") as info:
        return next(line.split(":")[1].strip() for line in info if line.startswith("model name"))


def main():
    context, rows, targets = read(sys.argv[1])
    text = table(rows, targets)
    print(text)
    if len(sys.argv) < 3:
        return
    folder = sys.argv[2]
    compiler = subprocess.run(["c++", "--version"], capture_output=True, text=True).stdout.split("\n")[0]
    reached = sum(ratio(ways) <= targets[operation] for operation, ways in rows.items())
    with open(os.path.join(folder, "performance.md"), "w") as file:
        file.write(f"""# Performance

Made by `script/bench` on {context["date"][:10]}: {machine()}, {context["num_cpus"]} cores, Linux
{platform.release()}, {compiler}.
Medians of {os.environ["QIV_BENCH_REPETITIONS"]} repetitions; every way of a row ran interleaved in one program, files in a
memory file system. Bold: the ratio reaches its target ({reached} of {len(rows)}).

![Ratios](images/performance.svg)

{text}
""")
    plot(rows, os.path.join(folder, "images/performance.svg"))


main()
