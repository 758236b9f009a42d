# SPDX-License-Identifier: Apache-2.0
"""What the site shows beyond the Markdown of the repository:

- names of calls and result codes, and links to the header, lead to the page of the C interface;
- `<!-- stages A to B -->` becomes the pictures with these numbers that `qorfp stages` made. Every
  picture has to be shown once;
- `<!-- pages of this folder -->` becomes the list that a forge shows by itself.
"""
import pathlib
import posixpath
import re

from mkdocs.exceptions import PluginError

INTERFACE = "docs/c-interface.md"
STAGES = "docs/images/stages"
FOLDER = "<!-- pages of this folder -->"
MARK = re.compile(r"<!-- stages (\d+) to (\d+) -->")


def figures(page, pictures, first, last):
    size = "large" if last - first < 2 else "small"
    lines = [f'<div class="stages {size}">']
    for number in range(first, last + 1):
        if number not in pictures:
            raise PluginError(f"{page}: stage {number} has no picture, or is shown twice")
        picture = pictures.pop(number)
        name = picture.stem.split("_", 1)[1]
        link = posixpath.relpath(f"{STAGES}/{picture.name}", posixpath.dirname(page))
        lines.append(f'<figure><a href="{link}"><img src="{link}" alt="After {name}"></a>'
                     f"<figcaption>{number} {name}</figcaption></figure>")
    return "\n".join(lines + ["</div>"])


def listed(folder):
    lines = []
    for path in sorted(folder.glob("[!R]*.md")):
        title = path.read_text(encoding="utf-8").split("\n", 1)[0].lstrip("# ")
        lines.append(f"- [{title}]({path.name})")
    return "\n".join(lines)


def on_page_markdown(markdown, page, config, **_):
    source = page.file.src_uri
    if source != INTERFACE:
        if posixpath.basename(INTERFACE) in markdown:
            raise PluginError(f"{source}: leads to {INTERFACE}, which the repository does not hold; "
                              "the names of calls become links by themselves")
        link = posixpath.relpath(INTERFACE, posixpath.dirname(source) or ".")
        names = re.findall(r"\{#(QORFP_\w+)\}|<span id=\"(QORFP_\w+)\">",
                           pathlib.Path(config["docs_dir"], INTERFACE).read_text(encoding="utf-8"))
        known = "|".join(sorted(call or code for call, code in names))
        markdown = re.sub(rf"(?<!\[)`({known})`", rf"[`\1`]({link}#\1)", markdown)
        markdown = re.sub(r"\]\((\.\./)*include/QORFPApi\.h\)", f"]({link})", markdown)
    if FOLDER in markdown:
        folder = pathlib.Path(config["docs_dir"], source).parent
        markdown = markdown.replace(FOLDER, listed(folder))
    if MARK.search(markdown):
        found = pathlib.Path(config["docs_dir"], STAGES).glob("[0-9][0-9]_*.png")
        pictures = {int(picture.name[:2]): picture for picture in found}
        markdown = MARK.sub(
            lambda mark: figures(source, pictures, int(mark[1]), int(mark[2])), markdown)
        if pictures:
            raise PluginError(f"{source}: shows no picture of stage {', '.join(map(str, pictures))}")
    return markdown
