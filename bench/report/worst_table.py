#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""worst_table.py FOLDER JSON: of the counts that worst_cases wrote under callgrind into FOLDER, prints
for each call the instructions of an ordinary input (the mean) and of the worst one, and writes the
same as JSON."""

import json
import pathlib
import statistics
import sys


def read(path):
    """Label and instructions of a file, or None for the one of the program's end."""
    label = count = None
    for line in path.read_text(encoding="utf-8", errors="replace").splitlines():
        if line.startswith("desc: Trigger: Client Request: "):
            label = line.partition("Request: ")[2]
        elif line.startswith("totals:"):
            count = int(line.split()[1])
    return (label, count) if label and count else None


def main():
    folder, out = sys.argv[1:]
    calls = {}
    for path in sorted(pathlib.Path(folder).glob("callgrind.out.*"),
                       key=lambda path: int(path.suffix[1:]) if path.suffix[1:].isdigit() else 0):
        found = read(path)
        if found:
            call, kind, ratio, name = found[0].split("|")
            calls.setdefault(call, {"ordinary": [], "worst": []})[kind].append(
                (found[1], name, float(ratio)))
    table = {}
    for call, inputs in calls.items():
        ordinary = statistics.mean(count for count, _, _ in inputs["ordinary"])
        count, name, time_ratio = max(inputs["worst"])
        table[call] = {"ordinary": ordinary, "worst": count, "ratio": count / ordinary,
                       "time_ratio": time_ratio, "input": name}
        print(f"{call:36} {ordinary:14,.0f} {count:14,.0f} {count / ordinary:7.2f}  {name}")
    pathlib.Path(out).write_text(json.dumps(table, indent=1) + "\n", encoding="utf-8")


if __name__ == "__main__":
    main()
