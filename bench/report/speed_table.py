#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""speed_table.py SPEED.json: a line for each work, with its target."""

import statistics
import sys

import speed


def main():
    context, works = speed.read(sys.argv[1])
    targets = speed.targets()
    load = context["load_avg"][0] if context.get("load_avg") else 0.0
    print(f"{context.get('machine', context['host_name'])}, {context.get('compiler', '')}, "
          f"revision {context.get('revision', '?')}; load {load:.1f} at the start")
    print(f"{'work':32} {'median':>9} {'spread':>8} {'processor':>10} {'runs':>5} "
          f"{'target':>9}  met")
    for name, runs in works.items():
        median = statistics.median(runs.wall)
        limit = speed.limit_of(targets.get(name), works)
        verdict = "" if limit is None else "yes" if median <= limit else "NO"
        print(f"{name:32} {speed.time_text(median):>9} {'±%.1f %%' % (100 * runs.spread()):>8} "
              f"{speed.time_text(statistics.median(runs.cpu)):>10} {len(runs.wall):5} "
              f"{'' if limit is None else speed.time_text(limit):>9}  {verdict}")


if __name__ == "__main__":
    main()
