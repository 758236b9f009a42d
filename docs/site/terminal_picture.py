#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""terminal_picture.py TITLE: what a terminal showed, from standard input, as SVG on standard output.

The picture names common fonts and holds none: it looks alike everywhere, because every line has its
length written down, and fetches nothing.
"""
import io
import re
import sys

from rich.console import Console
from rich.terminal_theme import TerminalTheme
from rich.text import Text

COLUMNS = 92
THEME = TerminalTheme(
    (27, 31, 36), (222, 226, 230),
    [(27, 31, 36), (255, 123, 114), (126, 231, 135), (242, 204, 96),
     (121, 192, 255), (210, 168, 255), (165, 214, 255), (222, 226, 230)])


def main():
    shown = sys.stdin.buffer.read().decode("utf-8").replace("\r\n", "\n")
    if re.search(r"[\r\x08]", shown):
        raise SystemExit("terminal_picture: what moves in its line cannot be shown in a still picture")
    console = Console(width=COLUMNS, record=True, file=io.StringIO(), force_terminal=True,
                      color_system="truecolor", legacy_windows=False)
    for line in shown.rstrip("\n").split("\n"):
        console.print(Text.from_ansi(line), soft_wrap=False, highlight=False)
    console.print()    # the frame cuts into the last line
    picture = console.export_svg(title=sys.argv[1], theme=THEME, unique_id="demo")
    picture = re.sub(r"\n *@font-face \{.*?\}", "", picture, flags=re.DOTALL)
    picture = picture.replace("Fira Code, monospace", "DejaVu Sans Mono, Menlo, Consolas, monospace")
    if "http" in picture.replace("http://www.w3.org/", "").replace("https://www.textualize.io", ""):
        raise SystemExit("terminal_picture: the picture refers to something outside")
    print(re.sub(r"[ \t]+$", "", picture, flags=re.MULTILINE))


if __name__ == "__main__":
    main()
