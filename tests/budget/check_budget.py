#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Compares what a finished library takes with its budget, a file of lines "NAME BYTES":

  code          .text and .rodata
  data          .data and .data.rel.ro
  bss           .bss
  stack         deepest path from an exported call, see stack_depth.py
  stack_in_use  what the calls take when they run, with the C library's part (stack_use prints it)

  check_budget.py [--renew] --budget FILE --document FILE --objects FILE --exports FILE [--nm ...]
                  [--objdump ...] [--readelf ...] LIBRARY [EMULATOR...] STACK_USE

With --renew the budget is set to 3 % above what is measured now (data and bss: as it is fixed). No
budget may be above the ceilings below. The document has a row "| ... | `NAME` | BYTES |" for each line,
which has to say the same.
"""
import argparse
import pathlib
import re
import sys

sys.dont_write_bytecode = True  # the sources may be read-only
import stack_depth
from machine_code import NotUnderstood, run, run_for_stderr

WORK_BUFFER = 204800
CEILINGS = {
    "code": 128 * 1024,
    "data": 64,
    "bss": WORK_BUFFER + 256,
    "stack": 8 * 1024,
    "stack_in_use": 8 * 1024,
}
NOT_MEASURED = {"data", "bss"}  # their budgets are the ceilings
SECTIONS = {
    "code": r"\.(text|rodata)(\..*)?",
    "data": r"\.data(\..*)?",
    "bss": r"\.bss(\..*)?",
}


def section_sizes(library, readelf):
    """Bytes by budget line."""
    sizes = dict.fromkeys(SECTIONS, 0)
    listing = run(readelf, "-SW", library)
    rows = re.findall(r"^ +\[ *\d+\] (\.\S+) +[A-Z_]+ +[0-9a-f]+ [0-9a-f]+ ([0-9a-f]+) ", listing,
                      re.MULTILINE)
    for section, size in rows:
        for line, pattern in SECTIONS.items():
            if re.fullmatch(pattern, section):
                sizes[line] += int(size, 16)
    if sizes["code"] == 0 or sizes["bss"] < WORK_BUFFER:
        raise NotUnderstood(f"{library}: section list not understood")
    return sizes


def stack_in_use(command):
    """The most that a call took, from the lines "BYTES CALL" on standard error."""
    lines = run_for_stderr(*command).splitlines()
    return max(int(line.split()[0]) for line in lines)


def read_budget(path):
    """Bytes by line."""
    lines = pathlib.Path(path).read_text(encoding="utf-8").splitlines()
    rows = [line.split() for line in lines if line and not line.startswith("#")]
    budget = {name: int(number) for name, number in rows}
    if budget.keys() != CEILINGS.keys():
        raise NotUnderstood(f"{path}: lines wanted: {', '.join(CEILINGS)}")
    return budget


def write_budget(path, measured):
    """Keeps the comments."""
    budget_file = pathlib.Path(path)
    comments = [line for line in budget_file.read_text(encoding="utf-8").splitlines()
                if line.startswith("#")]
    rows = []
    for name, number in measured.items():
        budget = CEILINGS[name] if name in NOT_MEASURED else number + number * 3 // 100
        rows.append(f"{name:<13}{budget:>7}")
    budget_file.write_text("\n".join([*comments, *rows, ""]), encoding="utf-8")


DOCUMENT_ROW = re.compile(r"^(\|.*\| `(\w+)` \| )[\d,]+( \|)$", re.MULTILINE)


def with_numbers(text, budget):
    """A document's text with the budget in its rows."""
    return DOCUMENT_ROW.sub(
        lambda row: f"{row[1]}{budget[row[2]]:,}{row[3]}" if row[2] in budget else row[0], text)


def document_is_current(path, budget, renew):
    """Whether a document states the budget, after writing it there if asked."""
    document = pathlib.Path(path)
    text = document.read_text(encoding="utf-8")
    current = with_numbers(text, budget)
    if renew and text != current:
        document.write_text(current, encoding="utf-8")
        text = current
    rows = [row[2] for row in DOCUMENT_ROW.finditer(text)]
    return text == current and all(rows.count(name) == 1 for name in budget)


def main():
    parser = argparse.ArgumentParser(description="Compare a library with its budget.")
    parser.add_argument("--renew", action="store_true")
    parser.add_argument("--budget", required=True)
    parser.add_argument("--document", required=True)
    stack_depth.add_arguments(parser)
    parser.add_argument("stack_use", nargs="+")
    arguments = parser.parse_args()
    failed = False
    try:
        measured = section_sizes(arguments.library, arguments.readelf)
        depths = stack_depth.measure(arguments)[1]
        measured["stack"] = max(depth for depth, _ in depths.values())
        measured["stack_in_use"] = stack_in_use(arguments.stack_use)
        if arguments.renew:
            write_budget(arguments.budget, measured)
        budget = read_budget(arguments.budget)
        if not document_is_current(arguments.document, budget, arguments.renew):
            print(f"{arguments.document} does not state the budget: ninja renew_budget")
            failed = True
    except (stack_depth.Refused, NotUnderstood) as error:
        print(f"check_budget: {error}")
        return 1
    for name, number in measured.items():
        verdict = ""
        if budget[name] > CEILINGS[name]:
            verdict = f"the budget is above the ceiling, {CEILINGS[name]}"
        elif number > budget[name]:
            verdict = "above the budget"
        failed = failed or bool(verdict)
        print(f"{name:<13}{number:>7} of {budget[name]:>7} bytes  {verdict}".rstrip())
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
