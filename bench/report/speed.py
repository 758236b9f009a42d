# SPDX-License-Identifier: Apache-2.0
"""Reads what measure_speed has written, and compares it with the targets."""

import json
import pathlib
import statistics

TARGETS = pathlib.Path(__file__).resolve().parent.parent / "targets.json"


class Runs:
    """The repetitions of one work: nanoseconds a call, by the clock and of the processor."""

    def __init__(self):
        self.wall = []
        self.cpu = []

    def spread(self):
        """Half the distance between the quartiles, as a share of the median."""
        if len(self.wall) < 2:
            return 0.0
        low, _, high = statistics.quantiles(self.wall, n=4)
        return (high - low) / 2 / statistics.median(self.wall)


def read(path):
    """Context and runs by work of a JSON file."""
    with open(path, encoding="utf-8") as file:
        data = json.load(file)
    works = {}
    for entry in data["benchmarks"]:
        name = entry["name"].replace("/manual_time", "")
        if entry.get("error_occurred"):
            raise SystemExit(f"{name}: {entry['error_message']}")
        if entry["run_type"] == "iteration":
            runs = works.setdefault(name, Runs())
            runs.wall.append(entry["wall"])
            runs.cpu.append(entry["cpu"])
    return data["context"], works


def targets():
    """The table of targets, by work."""
    with open(TARGETS, encoding="utf-8") as file:
        return {target["work"]: target for target in json.load(file)}


def limit_of(target, works):
    """The nanoseconds that a work may take; None without a limit."""
    if target is None:
        return None
    if "times" in target:
        base = works.get(target["of"])
        return target["times"] * statistics.median(base.wall) if base else None
    return target["nanoseconds"]


def time_text(nanoseconds):
    """1234567 -> '1.23 ms'."""
    for unit, factor in (("s", 1e9), ("ms", 1e6), ("us", 1e3)):
        if nanoseconds >= factor:
            return f"{nanoseconds / factor:.3g} {unit}" if nanoseconds < 1000 * factor else (
                f"{nanoseconds / factor:.0f} {unit}")
    return f"{nanoseconds:.3g} ns"
