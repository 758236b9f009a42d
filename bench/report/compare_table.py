#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""compare_table.py OLD NEW FOLDER: the ratio of two versions that have run in turn. FOLDER holds
old-N.json and new-N.json for each round N; OLD and NEW are how the versions are called."""

import pathlib
import statistics
import sys

import speed


def rounds(folder, side):
    """The works of each round."""
    paths = sorted(pathlib.Path(folder).glob(f"{side}-*.json"),
                   key=lambda path: int(path.stem.split("-")[1]))
    return [speed.read(path)[1] for path in paths]


def spread(ratios):
    """Median and quartiles as text."""
    if len(ratios) < 2:
        return f"{ratios[0]:.3f}"
    low, middle, high = statistics.quantiles(ratios, n=4)
    return f"{middle:.3f} ({low:.3f}..{high:.3f})"


def main():
    old_name, new_name, folder = sys.argv[1:]
    old, new = rounds(folder, "old"), rounds(folder, "new")
    print(f"old: {old_name}, new: {new_name}; {len(old)} rounds; ratio new / old: median of the "
          "rounds (quartiles)")
    print(f"{'work':32} {'old':>9} {'new':>9}  {'ratio by the clock':24} ratio of processor time")
    for work in new[0]:
        if any(work not in round_ for round_ in old):
            continue
        wall = [n[work].wall[0] / o[work].wall[0] for o, n in zip(old, new)]
        cpu = [n[work].cpu[0] / o[work].cpu[0] for o, n in zip(old, new)]
        times = [statistics.median(r[work].wall[0] for r in side) for side in (old, new)]
        print(f"{work:32} {speed.time_text(times[0]):>9} {speed.time_text(times[1]):>9}  "
              f"{spread(wall):24} {spread(cpu)}")


if __name__ == "__main__":
    main()
