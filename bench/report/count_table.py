#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""count_table.py [--json FILE] TITLE FOLDER: tables of the counts of a machine. FOLDER holds a file
of functions (.callgrind or .tsv) for each work, and beside it the number of calls (.calls)."""

import json
import pathlib
import sys

import counts
import speed

SMALLEST_SHARE = 0.004  # of a call, to be shown


def target_of(title, work):
    """The most instructions that a call may take; None without a target."""
    keys = {"host": "instructions", "armhf": "armhf_instructions"}
    return speed.targets().get(work, {}).get(keys.get(title, ""))


def show(title, work, count):
    """Prints a work's table."""
    total = count.total()
    target = target_of(title, work)
    verdict = "" if target is None else (
        f" (target {target:,}: {'met' if total <= target else 'NOT met'})")
    print(f"\n{work} on {title}: {total:,.0f} instructions a call{verdict}")
    print(f"  {'function, with what it calls':34} {'times':>9} {'instructions':>13} {'share':>7} "
          f"{'its own':>12} {'divisions':>10}")
    for name, function in sorted(count.functions.items(), key=lambda item: -item[1].inclusive):
        share = function.inclusive / count.functions[counts.ROOT].inclusive
        if counts.is_of_library(name) and share >= SMALLEST_SHARE:
            print(f"  {name[:34]:34} {function.calls / count.calls:9,.2f} "
                  f"{function.inclusive / count.calls:13,.0f} {100 * share:6.1f} % "
                  f"{function.own / count.calls:12,.0f} "
                  f"{function.divisions / count.calls if function.divisions else 0:10,.1f}")


def main():
    arguments = sys.argv[1:]
    out = arguments.pop(0) and arguments.pop(0) if arguments[0] == "--json" else None
    title, folder = arguments
    result = {}
    for calls_file in sorted(pathlib.Path(folder).glob("*.calls")):
        work = calls_file.stem.replace("+", "/")
        functions = next(path for path in map(calls_file.with_suffix, (".callgrind", ".tsv"))
                         if path.exists())
        count = counts.read(str(functions), int(calls_file.read_text()))
        show(title, work, count)
        result[work] = {
            "calls": count.calls, "instructions": count.total(),
            "functions": {name: {"times": function.calls / count.calls,
                                 "inclusive": function.inclusive / count.calls,
                                 "own": function.own / count.calls,
                                 "divisions": function.divisions / count.calls}
                          for name, function in count.functions.items()
                          if counts.is_of_library(name)}}
    if out:
        pathlib.Path(out).write_text(json.dumps({title: result}, indent=1) + "\n",
                                     encoding="utf-8")


if __name__ == "__main__":
    main()
