#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""check_demo.py SOURCE BUILD CC PICTURE: runs the commands that the terminal in the picture shows, and
compares what they print with the picture; times in seconds may differ.

Of scripts/setup-and-demo.sh only the demo is run, with the finished build; the headings of what comes
before must still stand in the script.
"""
import difflib
import re
import sys
import tempfile
import xml.etree.ElementTree as ElementTree

sys.dont_write_bytecode = True    # nothing among the sources
from check_blocks import Follower  # noqa: E402

LETTER_WIDTH = 12.2    # of the picture
SETUP = "scripts/setup-and-demo.sh"
DEMO = "3. "


def lines_of(picture):
    """The text of the terminal: its pieces by line, each at its column."""
    lines = {}
    for piece in ElementTree.parse(picture).iter("{http://www.w3.org/2000/svg}text"):
        place = re.fullmatch(r"url\(#demo-line-(\d+)\)", piece.get("clip-path", ""))
        text = (piece.text or "").replace("\u00a0", " ").rstrip("\n")
        if place and text:
            before = lines.get(int(place[1]), "")
            lines[int(place[1])] = before.ljust(round(float(piece.get("x")) / LETTER_WIDTH)) + text
    return [lines.get(number, "").rstrip() for number in range(max(lines) + 1)]


def steps_of(lines):
    """Pairs of a command and the lines that follow it."""
    steps = []
    for line in lines:
        if line.startswith("$ "):
            steps.append((line[2:], []))
        else:
            steps[-1][1].append(line)
    return steps


def without_times(lines):
    return [re.sub(r"\b\d+ s\b", "N s", line) for line in lines]


def main():
    source, build, compiler, picture = sys.argv[1:]
    steps = steps_of(lines_of(picture))
    failed = steps[0][0] != SETUP or len(steps) < 3
    with tempfile.TemporaryDirectory(prefix="qorfp-demo-") as folder:
        follower = Follower(source, build, compiler, folder)
        for command, shown in steps:
            run = command
            if command == SETUP:
                run = f"{SETUP} --built build/release"
                demo = [line.startswith(DEMO) for line in shown].index(True)
                script = (follower.source / SETUP).read_text(encoding="utf-8")
                for heading in (line for line in shown[:demo] if re.match(r"\d\. ", line)):
                    if f'echo "{heading}"' not in script:
                        print(f"{SETUP} no longer says: {heading}")
                        failed = True
                shown = shown[demo:]
            status, output = follower.run(run)
            printed = [line.rstrip() for line in output.splitlines()]
            if status != 0 or without_times(printed) != without_times(shown):
                failed = True
                print(f"$ {run}\nexit status {status}; the picture is out of date:")
                print("\n".join(difflib.unified_diff(shown, printed, "picture", "now", lineterm="")))
    if failed:
        print("scripts/record-demo.sh draws the picture anew")
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
