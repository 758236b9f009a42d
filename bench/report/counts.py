# SPDX-License-Identifier: Apache-2.0
"""Instruction counts by function, as callgrind and the emulator's counter write them."""

import dataclasses
import re

ROOT = "CountedRun"


@dataclasses.dataclass
class Function:
    """Sums over a run. Inclusive and divisions: with what the function calls."""

    calls: int = 0
    inclusive: int = 0
    own: int = 0
    divisions: int = 0
    own_divisions: int = 0


@dataclasses.dataclass
class Count:
    """What a work executes: `calls` library calls, and the functions by name."""

    calls: int
    functions: dict

    def total(self):
        """Instructions a library call."""
        return self.functions[ROOT].inclusive / self.calls


def plain_name(name):
    """A function's name without namespaces, arguments and the compiler's suffixes."""
    name = name.replace("(anonymous namespace)::", "").replace("qorfp::", "")
    return re.sub(r"\(.*|\[clone.*|@.*|'.*", "", name).strip() or name


def is_of_library(name):
    """False for the measuring program's own functions."""
    return not re.match(r"std::|measure::|\(below main\)|main$|_start|__libc_start|0x|" + ROOT,
                        name)


def _functions():
    table = {}
    return table, lambda name: table.setdefault(plain_name(name), Function())


def read_callgrind(path):
    """Functions of a file that callgrind has written."""
    table, function = _functions()
    names = {}

    def named(text):
        number, _, name = text.partition(" ")
        if name:
            names[number] = name
        return names[number]

    current = called = None
    with open(path, encoding="utf-8", errors="replace") as file:
        for line in file:
            if line.startswith("fn="):
                current = named(line[3:].rstrip("\n"))
            elif line.startswith("cfn="):
                called = named(line[4:].rstrip("\n"))
            elif line.startswith("calls="):
                function(called).calls += int(line[6:].split()[0])
                function(current).inclusive += int(next(file).split()[1])
            elif re.match(r"[+*\-\d]", line):
                cost = int(line.split()[1]) if len(line.split()) > 1 else 0
                function(current).own += cost
                function(current).inclusive += cost
    return table


def read_emulator(path):
    """Functions of a file that the emulator's counter has written."""
    table, function = _functions()
    with open(path, encoding="utf-8") as file:
        for line in file:
            name, *numbers = line.rstrip("\n").split("\t")
            entry = function(name)
            for field, number in zip(dataclasses.fields(Function), numbers):
                setattr(entry, field.name, getattr(entry, field.name) + int(number))
    own = sum(entry.own for entry in table.values())
    if own != table[ROOT].inclusive:
        raise SystemExit(f"{path}: {own} instructions in all functions, "
                         f"{table[ROOT].inclusive} in {ROOT}: calls were not followed")
    return table


def read(path, calls):
    """The count of a work."""
    reader = read_emulator if path.endswith(".tsv") else read_callgrind
    return Count(calls, reader(path))


def read_traffic(path):
    """What a run reads and writes, from a file of callgrind with simulated caches: events by name
    (Dr and Dw: data read and written; D1m, DLm and r or w: missed in the first and in the last
    cache)."""
    events = {}
    with open(path, encoding="utf-8", errors="replace") as file:
        for line in file:
            if line.startswith("events:"):
                names = line.split()[1:]
            elif line.startswith("totals:"):
                events = dict(zip(names, map(int, line.split()[1:])))
    return events
