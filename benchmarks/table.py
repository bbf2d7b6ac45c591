#!/usr/bin/env python3
"""Makes the performance tables from what qiv_bench measured: table.py RESULTS [PROGRAMS FOLDER]

Prints the table. With the folder of the programs that only start, measures these, too, and writes
performance.md and images/performance.svg into the other folder."""

import json
import os
import platform
import re
import statistics
import subprocess
import sys
import time

PROGRAMS = {"giomm": "giomm alone", "libxml++": "giomm, libxml++", "libxslt": "giomm, libxml++, libxslt",
            "qivcommon": "this library, using only `split`"}


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


def shown(nanoseconds):
    for unit in ("ns", "µs", "ms"):
        if nanoseconds < 1000 or unit == "ms":
            return f"{nanoseconds:.3g} {unit}" if nanoseconds < 1000 else f"{nanoseconds:.0f} {unit}"
        nanoseconds /= 1000


def prefixed(ways, prefix):
    return {way.removeprefix(prefix): value for way, value in ways.items() if way.startswith(prefix)}


def listed(ways):
    return ", ".join(f"{name} {shown(value)}" for name, value in sorted(ways.items(), key=lambda item: item[1]))


def ratio(ways):
    return ways["ours"] / min(prefixed(ways, "peer ").values())


def table(rows, targets):
    lines = ["| operation | ours | ours / best peer | target | peers | plain way | limit |",
             "|---|---|---|---|---|---|---|"]
    for operation, ways in rows.items():
        reached = ratio(ways)
        mark = f"**{reached:.2f}**" if reached <= targets[operation] else f"{reached:.2f}"
        plain = shown(ways["plain"]) if "plain" in ways else ""
        lines.append(f"| {operation} | {shown(ways['ours'])} | {mark} | {targets[operation]:g} | "
                     f"{listed(prefixed(ways, 'peer '))} | {plain} | {listed(prefixed(ways, 'limit '))} |")
    return "\n".join(lines)


def output(*command):
    return subprocess.run(command, capture_output=True, text=True, check=True).stdout


def start(path):
    begin = time.perf_counter_ns()
    os.waitpid(os.posix_spawn(path, [path], os.environ), 0)
    return time.perf_counter_ns() - begin


def starting(folder):
    """A table of what whole processes cost, turn by turn, and what is loaded beside giomm."""
    paths = {program: os.path.join(folder, f"start_with_{program}") for program in PROGRAMS}
    rounds = [{program: start(path) for program, path in paths.items()} for _ in range(201)]
    times = {program: statistics.median(turn[program] for turn in rounds) for program in paths}
    loaded = {program: [line.split()[0] for line in output("ldd", path).splitlines() if "=>" in line]
              for program, path in paths.items()}
    lines = ["| program linked with | libraries loaded | start to end | / giomm alone |", "|---|---|---|---|"]
    lines += [f"| {name} | {len(loaded[program])} | {shown(times[program])} | "
              f"{times[program] / times['giomm']:.2f} |" for program, name in PROGRAMS.items()]
    beside = ", ".join(name for name in loaded["qivcommon"] if name not in loaded["giomm"])
    return "\n".join(lines) + f"\n\nBeside those of giomm it loads {beside}."


def plot(rows, path):
    data = "".join(f'"{operation}" {ratio(ways):.3f}\n' for operation, ways in reversed(rows.items()))
    commands = f"""
set terminal svg size 900,{120 + 22 * len(rows)} font "sans-serif,12" background "white"
set output "{path}"
set title "Time of ours / time of the best peer (shorter is better)"
set xrange [0:*]
set yrange [-0.7:{len(rows) - 0.3}]
set style fill solid 0.8
set arrow from 1,graph 0 to 1,graph 1 nohead lc "#b71c1c"
$data << EOD
{data}EOD
plot $data using ($2/2):0:($2/2):(0.35):ytic(1) with boxxyerror lc "#0277bd" notitle
"""
    subprocess.run(["gnuplot"], input=commands, text=True, check=True)


def main():
    context, rows, targets = read(sys.argv[1])
    text = table(rows, targets)
    print(text)
    if len(sys.argv) < 3:
        return
    programs, folder = sys.argv[2:]
    commit = output("git", "describe", "--always", "--dirty").strip() # as long as nothing is written
    processor = re.search("Model name: *(.*)", output("lscpu"))[1]
    reached = sum(ratio(ways) <= targets[operation] for operation, ways in rows.items())
    with open(os.path.join(folder, "performance.md"), "w") as file:
        file.write(f"""# Performance

Made by `script/bench` on {context["date"][:10]} of commit {commit}: {processor},
{context["num_cpus"]} cores, Linux {platform.release()}, {output("c++", "--version").splitlines()[0]}, -O2.
Medians of {os.environ["QIV_BENCH_REPETITIONS"]} repetitions; every way of a row ran interleaved in one program, files in a
memory file system. Bold: the ratio reaches its target ({reached} of {len(rows)}). The peers of the Base64 rows
are no SIMD libraries; ours uses AVX2 where the processor has it.

![Ratios](images/performance.svg)

{text}

## Linking and starting

Whole processes that do nothing else, medians of 201. libcurl is opened by the first upload only.

{starting(programs)}
""")
    plot(rows, os.path.join(folder, "images/performance.svg"))


main()
