#!/usr/bin/env python3
"""Counts the test cases of a CTest run and names those that failed.

Usage: count_results.py JUNIT_FILE RESULTS_FOLDER

A CTest test that left a GoogleTest report RESULTS_FOLDER/NAME.json counts by its test cases; any other one
counts as one. A program that ended early counts by what it printed, and as one failure more; so does one that
failed although none of its cases did (a leak, say). Prints "passed failed" as the last line.
"""
import json
import pathlib
import re
import sys
import xml.etree.ElementTree as ElementTree


def cases_of(report):
    """Yields (name, passed) for every case that ran."""
    for suite in json.loads(report.read_text(encoding="utf-8", errors="replace")).get("testsuites", []):
        for case in suite.get("testsuite", []):
            if case.get("result") == "COMPLETED":
                yield f"{suite['name']}.{case['name']}", not case.get("failures")


def count_printed(name, output):
    """Returns (passed, failed cases) of a program that ended before its report, from what it printed."""
    started = re.findall(r"^\[ RUN      \] (\S+)", output, re.MULTILINE)
    passed = re.findall(r"^\[       OK \] (\S+)", output, re.MULTILINE)
    failed = re.findall(r"^\[  FAILED  \] ([^\s,]+).* \(\d+ ms\)$", output, re.MULTILINE)
    unfinished = [case for case in started if case not in set(passed) | set(failed)]
    where = f"ended early in {unfinished[-1]}" if unfinished else "did not complete"
    return len(passed), [f"{name}: {case}" for case in failed] + [f"{name}: {where}"]


def count(test, results):
    """Returns (passed, failed cases) of one CTest test."""
    name, succeeded = test.get("name"), test.get("status") == "run"
    report = results / f"{name}.json"
    if not report.exists():
        return (1, []) if succeeded else count_printed(name, test.findtext("system-out") or "")
    cases = list(cases_of(report))
    failed = [f"{name}: {case}" for case, passed in cases if not passed]
    if not succeeded and not failed:
        failed = [f"{name}: failed outside its test cases"]
    if succeeded and not cases:
        failed = [f"{name}: ran no test case"]
    return sum(passed for _, passed in cases), failed


def main():
    junit, results = sys.argv[1:]
    total_passed, all_failed = 0, []
    for test in ElementTree.parse(junit).getroot().iter("testcase"):
        passed, failed = count(test, pathlib.Path(results))
        total_passed += passed
        all_failed += failed
    for name in all_failed:
        print(f"  FAILED {name}")
    print(total_passed, len(all_failed))


if __name__ == "__main__":
    main()
