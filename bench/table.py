#!/usr/bin/env python3
"""Prints the results of benchmark programs as a Markdown page section.

usage: table.py COMMAND RESULT.json...
"""
import datetime
import json
import sys

UNITS = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}


def medians(result):
    """(operation, data, entry) in the order in which they ran: the medians of a program's repetitions, or the entries
    of a program that takes medians itself."""
    for entry in result["benchmarks"]:
        if entry.get("error_occurred"):
            sys.exit(f"error: {entry['name']}: {entry['error_message']}")
        if entry.get("aggregate_name", "median") == "median":
            operation, data = entry["run_name"].split("/")[:2]
            yield operation.replace("|", "\\|"), data, entry


def seconds(entry):
    return entry["real_time"] * UNITS[entry["time_unit"]]


def time_text(value):
    """Three digits and a unit."""
    for unit, scale in (("s", 1.0), ("ms", 1e-3), ("µs", 1e-6), ("ns", 1e-9)):
        if value >= scale or unit == "ns":
            number = value / scale
            return f"{number:.{max(0, 2 - len(str(int(number))) + 1)}f} {unit}"


def row(operation, data, entry):
    limit = entry.get("limit")
    label = entry.get("label", "")
    if limit is None:
        return f"| {operation} | {data} | {time_text(seconds(entry))} | {label} | |"
    if limit == 0:
        return f"| {operation} | {data} | {time_text(seconds(entry))} | no voxels to touch | |"
    ratio = seconds(entry) / limit
    return f"| {operation} | {data} | {time_text(seconds(entry))} | {time_text(limit)} ({label}) | {ratio:.2g} |"


def bars(entry):
    """What our time is held against: (name, its seconds, ratio, bar)."""
    for key, ratio in entry.items():
        if key.startswith("ratio to "):
            name = key.removeprefix("ratio to ")
            yield name, entry[f"time of {name}"], ratio, entry[f"bar of {name}"]


def bar_rows(operation, data, entry):
    """The rows of an operation that has bars; a failed one is marked."""
    if "figure" in entry:
        value, bar = entry["figure"], entry["figure bar"]
        mark = "" if value <= bar else " **missed**"
        yield f"| {operation} | {data} | | {value:.3g} {entry['label']} | promised | {bar:g} {entry['label']} | {value / bar:.2f} | 1{mark} |"
        return
    threads = entry["run_name"].split("/")[2].removeprefix("threads ")
    for name, time, ratio, bar in bars(entry):
        mark = "" if ratio <= bar else " **missed**"
        yield (f"| {operation} | {data} | {threads} | {time_text(seconds(entry))} | {name} | {time_text(time)} "
               f"| {ratio:.2f} | {bar:g}{mark} |")


def has_bars(entry):
    return "figure" in entry or any(bars(entry))


def print_bars(result):
    lines = [line for operation, data, entry in medians(result) if has_bars(entry)
             for line in bar_rows(operation, data, entry)]
    if not lines:
        return
    print("| Operation | Data | Threads | Time | Against | Its time | Ratio | Bar |")
    print("|---|---|--:|--:|---|--:|--:|--:|")
    print("\n".join(sorted(lines, key=lambda line: line.split(" | ")[:3])))
    missed = sum("**missed**" in line for line in lines)
    print(f"\n{len(lines)} bars, {missed} missed.\n")


def print_limits(result):
    lines = [row(*values) for values in medians(result) if not has_bars(values[2])]
    if not lines:
        return
    print("| Operation | Data | Time | Limit | Ratio |")
    print("|---|---|--:|---|--:|")
    print("\n".join(lines) + "\n")


def processor():
    with open("/proc/cpuinfo", encoding="ascii", errors="replace") as lines:
        for line in lines:
            if line.startswith("model name"):
                return line.split(":", 1)[1].strip()
    return "unknown processor"


def memory_gib():
    with open("/proc/meminfo", encoding="ascii") as lines:
        return round(int(lines.readline().split()[1]) / 2**20)


def main():
    command, paths = sys.argv[1], sys.argv[2:]
    results = []
    for path in paths:
        with open(path, encoding="utf-8") as file:
            results.append(json.load(file))
    cores = results[0]["context"]["num_cpus"]
    print(f"Made by `{command}` on {datetime.date.today()}: {cores} cores of {processor()}, {memory_gib()} GiB, "
          "medians of five.\n")
    for result in results:
        print_bars(result)
        print_limits(result)


main()
