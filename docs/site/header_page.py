#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""header_page.py HEADER.xml: the page of the public header, as Markdown on standard output.

HEADER.xml is what Doxygen writes of it. The page has an anchor of its name for every call, code and
constant. A mark that this program does not know is an error, so that nothing is left out silently.
"""
import sys
import xml.etree.ElementTree as ElementTree


def squeeze(text):
    return " ".join((text or "").split())


class Page:
    def __init__(self, root):
        self.members = root.findall(".//memberdef")
        self.file = root.find("compounddef")
        self.names = {node.get("id"): node.findtext("name")
                      for node in root.iter() if node.tag in ("memberdef", "enumvalue")}

    def inline(self, node):
        """The text of a node with its marks, without a list of parameters and the like."""
        parts = [self.escaped(node.text)]
        for child in node:
            if child.tag == "ref":
                name = self.names[child.get("refid")]
                parts.append(f"[`{squeeze(''.join(child.itertext()))}`](#{name})")
            elif child.tag == "bold":
                parts.append(f"**{self.inline(child)}**")
            elif child.tag == "computeroutput":
                parts.append(f"`{squeeze(''.join(child.itertext()))}`")
            elif child.tag not in ("parameterlist", "simplesect", "table"):
                raise SystemExit(f"header_page: the mark <{child.tag}> is not known")
            parts.append(self.escaped(child.tail))
        return "".join(parts)

    @staticmethod
    def escaped(text):
        text = (text or "").replace("\n", " ")
        return "".join("\\" + letter if letter in "\\`*_[]<>#|" else letter for letter in text)

    def line(self, node):
        return squeeze(" ".join(self.inline(para) for para in node.findall("para")))

    def table(self, node):
        rows = [[self.line(entry) for entry in row.findall("entry")] for row in node.findall("row")]
        rows.insert(1, ["---"] * len(rows[0]))
        return ["| " + " | ".join(row) + " |" for row in rows] + [""]

    def text(self, node):
        """The paragraphs and tables of a description."""
        lines = []
        for para in node.findall("para"):
            text = squeeze(self.inline(para))
            if text:
                lines += [text, ""]
            for table in para.findall("table"):
                lines += self.table(table)
        return lines

    def parameters(self, node):
        lines = []
        for item in node.findall(".//parameteritem"):
            name = item.find(".//parametername")
            way = {"in": "in", "out": "out", "inout": "in/out", None: "in"}[name.get("direction")]
            lines.append(f"| `{name.text}` | {way} | {self.line(item.find('parameterdescription'))} |")
        return ["| Parameter | | Meaning |", "|---|---|---|"] + lines + [""] if lines else []

    def result(self, node):
        returned = node.find(".//simplesect[@kind='return']")
        return ["**Returns** " + self.line(returned), ""]

    def call(self, member):
        name = member.findtext("name")
        parameters = []
        for param in member.findall("param"):
            kind = squeeze("".join(param.find("type").itertext())).replace(" *", "*")
            parameters.append(f"{kind} {param.findtext('declname')}")
        head = f"{member.findtext('type')} {name}("
        prototype = head + ", ".join(parameters) + ");"
        if len(prototype) > 76:
            prototype = head + "\n    " + ",\n    ".join(parameters) + ");"
        description = member.find("detaileddescription")
        return ([f"### {name} {{#{name}}}", "", "```c", prototype, "```", ""] +
                self.text(description) + self.parameters(description) + self.result(description))

    def listed(self, members, head):
        lines = [head, "|---|---|---|"]
        for member in members:
            name = member.findtext("name")
            value = member.findtext("initializer").lstrip("= ")
            lines.append(f"| <span id=\"{name}\">`{name}`</span> | {value} | "
                         f"{self.line(member.find('detaileddescription'))} |")
        return lines + [""]

    def write(self):
        kinds = {kind: [member for member in self.members if member.get("kind") == kind]
                 for kind in ("function", "enum", "define")}
        if sum(map(len, kinds.values())) != len(self.members):
            raise SystemExit("header_page: the header holds something that this page does not show")
        (codes,) = kinds["enum"]
        lines = ["# C interface", "", self.line(self.file.find("briefdescription")), "",
                 "Made from the comments of `QORFPApi.h`, the only header; installed, "
                 "`man QORFP_Extract` shows the same.", ""]
        lines += self.text(self.file.find("detaileddescription"))
        lines += ["## Calls", ""]
        for member in kinds["function"]:
            lines += self.call(member)
        lines += ["## Result codes", ""] + self.text(codes.find("detaileddescription"))
        lines += self.listed(codes.findall("enumvalue"), "| Code | Value | Meaning |")
        lines += ["## Constants", ""] + self.listed(kinds["define"], "| Constant | Value | Meaning |")
        print("\n".join(lines))


if __name__ == "__main__":
    Page(ElementTree.parse(sys.argv[1]).getroot()).write()
