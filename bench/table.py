#!/usr/bin/env python3
"""Prints the results of benchmark programs as a Markdown page section.

usage: table.py COMMAND RESULT.json...
"""
import datetime
import json
import sys

UNITS = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}


def medians(result):
    """The medians of a program's repetitions: (operation, data, entry), in the order in which they ran."""
    for entry in result["benchmarks"]:
        if entry.get("error_occurred"):
            sys.exit(f"error: {entry['name']}: {entry['error_message']}")
        if entry.get("aggregate_name") == "median":
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
        print("| Operation | Data | Time | Limit | Ratio |")
        print("|---|---|--:|---|--:|")
        for operation, data, entry in medians(result):
            print(row(operation, data, entry))
        print()


main()
