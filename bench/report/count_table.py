#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""count_table.py [--check] MACHINE FOLDER JSON: tables of the counts of a machine (host, armhf,
armhf-plain or memory), and the same as JSON. FOLDER holds a file of functions (.callgrind or .tsv) for each
work, and beside it the number of calls (.calls). With --check the exit status is 1 when a target is
not met."""

import dataclasses
import json
import pathlib
import sys

import counts
import speed

SMALLEST_SHARE = 0.004  # of a call, to be shown
TARGET_KEYS = {"host": ("instructions", None),
               "armhf": ("armhf_instructions", "armhf_divisions")}


def runs(folder):
    """Work, file of functions and number of calls of each run."""
    for calls_file in sorted(pathlib.Path(folder).glob("*.calls")):
        functions = next(path for path in map(calls_file.with_suffix, (".callgrind", ".tsv"))
                         if path.exists())
        yield calls_file.stem.replace("+", "/"), str(functions), int(calls_file.read_text())


def verdict(number, target):
    """What a number is against its target; empty without one."""
    return "" if target is None else (
        f" (target {target:,}: {'met' if number <= target else 'NOT met'})")


def show_divisions(count, target):
    """Prints who divides at run time. True when the target is met."""
    total = count.functions[counts.ROOT].divisions / count.calls
    print(f"  divisions at run time: {total:,.1f} a call{verdict(total, target)}")
    for name, function in sorted(count.functions.items(), key=lambda i: -i[1].own_divisions):
        if function.own_divisions >= count.calls:
            print(f"    {function.own_divisions / count.calls:12,.1f} in {name}")
    return target is None or total <= target


def show(machine, work, count):
    """Prints a work's tables. True when its targets are met."""
    keys = TARGET_KEYS.get(machine, (None, None))
    target, division_target = [speed.targets().get(work, {}).get(key) for key in keys]
    total = count.total()
    print(f"\n{work} on {machine}: {total:,.0f} instructions a call{verdict(total, target)}")
    print(f"  {'function, with what it calls':34} {'times':>9} {'instructions':>13} {'share':>7} "
          f"{'its own':>12}")
    for name, function in sorted(count.functions.items(), key=lambda item: -item[1].inclusive):
        share = function.inclusive / count.functions[counts.ROOT].inclusive
        if counts.is_of_library(name) and share >= SMALLEST_SHARE:
            print(f"  {name[:34]:34} {function.calls / count.calls:9,.2f} "
                  f"{function.inclusive / count.calls:13,.0f} {100 * share:6.1f} % "
                  f"{function.own / count.calls:12,.0f}")
    divides_little = machine == "host" or show_divisions(count, division_target)
    return divides_little and (target is None or total <= target)


def per_call(count):
    """The numbers of a work as JSON, each divided by the calls."""
    return {
        "calls": count.calls,
        "instructions": count.total(),
        "divisions": count.functions[counts.ROOT].divisions / count.calls,
        "functions": {
            name: {key: value / count.calls for key, value in dataclasses.asdict(function).items()}
            for name, function in count.functions.items() if counts.is_of_library(name)},
    }


def show_traffic(works):
    """Prints what calls read and write."""
    print(f"\n{'data of a call, simulated':32} {'reads':>12} {'writes':>12} "
          f"{'missed in L1':>13} {'missed in L2':>13}")
    for work, events in works.items():
        print(f"{work:32} {events['Dr']:12,.0f} {events['Dw']:12,.0f} "
              f"{events['D1mr'] + events['D1mw']:13,.1f} {events['DLmr'] + events['DLmw']:13,.1f}")


def main():
    arguments = sys.argv[1:]
    is_check = arguments[0] == "--check"
    machine, folder, out = arguments[is_check:]
    result = {}
    are_met = True
    for work, path, calls in runs(folder):
        if machine == "memory":
            result[work] = {name: number / calls
                            for name, number in counts.read_traffic(path).items()}
        else:
            count = counts.read(path, calls)
            are_met = show(machine, work, count) and are_met
            result[work] = per_call(count)
    if machine == "memory":
        show_traffic(result)
    pathlib.Path(out).write_text(json.dumps(result, indent=1) + "\n", encoding="utf-8")
    return 1 if is_check and not are_met else 0


if __name__ == "__main__":
    sys.exit(main())
