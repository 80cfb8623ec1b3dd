#!/usr/bin/env python3
"""Makes tables of ratios from benchmark results.

Usage: performance.py RESULTS_FOLDER [DOCUMENT]

RESULTS_FOLDER holds a JSON file of Google Benchmark per program. Benchmarks are named
Workload/Subject[/variant...]; a program's first subject that is of this library (see OWN) is what the others are
compared with. Replaces the lines between the markers of DOCUMENT, or prints the tables.
"""
import json
import pathlib
import re
import sys

BEGIN, END = "<!-- tables: begin -->", "<!-- tables: end -->"
OWN = re.compile(r"QV|pooled$|StackInfo$")
NANOSECONDS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}


def parse_name(name):
    """Splits a benchmark's name into (row, subject)."""
    parts = [part for part in name.split("/") if not re.match(r"(repeats|min_time|iterations|real_time|process_time)", part)]
    subject = parts.pop(1) if len(parts) > 1 and not re.fullmatch(r"\d+|\w+:\d+", parts[1]) else ""
    return " / ".join(parts), subject


def read_medians(path):
    """Returns the subjects of a program and {row: {subject: amount}}, both in order of registration.

    Amounts are nanoseconds; in rows of benchmarks with a counter named "bytes" (see is_memory) they are bytes.
    """
    rows, subjects = {}, []
    runs = json.loads(path.read_text(encoding="utf-8"))["benchmarks"]
    medians = [run for run in runs if run.get("aggregate_name") == "median" or "bytes" in run]
    medians.sort(key=lambda run: (run["family_index"], run["per_family_instance_index"]))
    for run in medians:
        row, subject = parse_name(run["run_name"])
        wall = "real_time" in run["run_name"].split("/") or run.get("threads", 1) > 1
        time = run["real_time" if wall else "cpu_time"] * NANOSECONDS[run["time_unit"]]
        rows.setdefault(row, {})[subject] = run.get("bytes", time)
        if subject not in subjects:
            subjects.append(subject)
    subjects.sort(key=lambda subject: not OWN.match(subject))
    return subjects, rows


def is_memory(row):
    return row.startswith("Resident")


def format_bytes(count):
    return f"{count / 1e6:.3g} MB"


def format_time(nanoseconds):
    for unit, size in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if nanoseconds >= size:
            return f"{nanoseconds / size:.3g} {unit}"
    return f"{nanoseconds:.3g} ns"


def format_cell(row, times, subject, own):
    if subject not in times:
        return ""
    text = (format_bytes if is_memory(row) else format_time)(times[subject])
    if subject == own or own not in times or not times[own]:
        return text
    return f"{text} (×{times[subject] / times[own]:.2f})"


def table_of(path):
    subjects, rows = read_medians(path)
    if not rows:
        return []
    title = re.sub(r"Benchmark$", "", path.stem)
    lines = [f"### {title}", "", "| workload | " + " | ".join(name or "time" for name in subjects) + " |",
             "|---|" + "---:|" * len(subjects)]
    for row, times in rows.items():
        cells = (format_cell(row, times, subject, subjects[0]) for subject in subjects)
        lines.append(f"| {row} | " + " | ".join(cells) + " |")
    return lines + [""]


def describe_machine():
    processor = re.search(r"model name\s*: (.*)", pathlib.Path("/proc/cpuinfo").read_text())
    return f"Measured on: {processor.group(1) if processor else 'an unnamed processor'}."


def main():
    results = pathlib.Path(sys.argv[1])
    lines = [describe_machine(), ""]
    for path in sorted(results.glob("*.json")):
        lines += table_of(path)
    text = "\n".join(lines)
    if len(sys.argv) < 3:
        print(text)
        return
    document = pathlib.Path(sys.argv[2])
    before, rest = document.read_text(encoding="utf-8").split(BEGIN)
    after = rest.split(END)[1]
    document.write_text(f"{before}{BEGIN}\n{text}{END}{after}", encoding="utf-8")


if __name__ == "__main__":
    main()
