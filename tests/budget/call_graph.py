# SPDX-License-Identifier: Apache-2.0
"""What the compiler says about the functions of a set of object files: the .ci files that GCC writes
with -fcallgraph-info=su, and from the relocations the functions whose address is taken."""
import pathlib
import re

from machine_code import NotUnderstood, run

NODE = re.compile(r'^node: \{ title: "([^"]+)" label: "([^"]*)"')
EDGE = re.compile(r'^edge: \{ sourcename: "([^"]+)" targetname: "([^"]+)"')
FRAME = re.compile(r"\\n(\d+) bytes \(([^)]*)\)")
CALL_RELOCATIONS = {
    "R_ARM_CALL", "R_ARM_JUMP24", "R_ARM_PC24", "R_ARM_PLT32",
    "R_ARM_THM_CALL", "R_ARM_THM_JUMP24", "R_ARM_THM_JUMP19", "R_ARM_THM_JUMP11",
    "R_ARM_THM_JUMP8", "R_ARM_THM_JUMP6"}
# Sections whose references to functions are no values that a program can call.
TABLES = re.compile(r"^\.(debug_|ARM\.exidx|ARM\.extab|eh_frame|note)")
INDIRECT = "__indirect_call"


class Node:
    """A function as compiled, or several local ones of one name."""

    def __init__(self):
        self.frames = set()  # bytes
        self.kinds = set()  # "static" for a frame of fixed size
        self.calls = set()  # symbols


def symbol(title):
    """File-local functions stand as "FILE:SYMBOL"."""
    return title.rsplit(":", 1)[-1]


def read_call_graph(object_paths):
    """Node by symbol, of all functions that the objects define."""
    nodes = {}
    for object_path in object_paths:
        path = pathlib.Path(object_path).with_suffix(".ci")
        if not path.exists():
            raise NotUnderstood(f"{path} is missing: build with GCC and -fcallgraph-info=su")
        edges = []
        for line in path.read_text(encoding="utf-8").splitlines():
            node, edge = NODE.match(line), EDGE.match(line)
            frame = FRAME.search(node[2]) if node else None
            if frame:
                made = nodes.setdefault(symbol(node[1]), Node())
                made.frames.add(int(frame[1]))
                made.kinds.add(frame[2])
            elif edge:
                edges.append((symbol(edge[1]), symbol(edge[2])))
        for source, target in edges:
            nodes[source].calls.add(target)
    return nodes


def functions_with_address_taken(object_paths, readelf):
    """Symbols of functions to which something else than a call refers."""
    taken = set()
    section = ""
    for line in run(readelf, "-rW", *object_paths).splitlines():
        heading = re.match(r"Relocation section '\.rela?(\.[^']*)'", line)
        if heading:
            section = heading[1]
        fields = line.split()
        if TABLES.match(section) or len(fields) < 5 or not fields[2].startswith("R_"):
            continue
        if fields[2] not in CALL_RELOCATIONS:
            taken.add(re.sub(r"^\.text\.(unlikely\.|hot\.|startup\.)?", "", fields[4]))
    return taken
