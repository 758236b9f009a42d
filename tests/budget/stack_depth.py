#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The most stack that each exported call of a finished 32-bit ARM library takes.

Frames and calls come from the compiler (.ci files beside the object files) and from the machine code
of the library; both must tell the same story, so that the objects are those of the library. Refused
are recursion, frames of variable size, and calls through pointers for which there is no function to
be called. A call through a pointer is taken to reach every function whose address is taken. What
functions of the C library take is not counted.

  stack_depth.py --objects FILE --exports FILE [--nm ...] [--objdump ...] [--readelf ...] LIBRARY

FILE of --objects names one object file a line. Prints each exported call with its depth, and the
deepest path.
"""
import argparse
import pathlib
import sys

sys.dont_write_bytecode = True  # the sources may be read-only
import call_graph
from machine_code import Library, NotUnderstood

# GCC does not count where a function with variable arguments stores those that came in registers.
ARGUMENT_REGISTERS_BYTES = 16


class Refused(Exception):
    """The library has no fixed stack depth, or its objects are not those that were looked at."""


class StackGraph:
    """The functions of a library with their frames and all that they may call."""

    def __init__(self, library, nodes, address_taken):
        self.frames = {}  # bytes, by function
        self.calls = {}  # functions by function
        self._depths = {}
        by_pointer = {function for symbol in address_taken for function in library.named(symbol)}
        compiled = {function: node for symbol, node in nodes.items()
                    for function in library.named(symbol)}
        for function in library.functions:
            calls = set(function.calls)
            # What the compiler's run-time library brings is known by its machine code only.
            self.frames[function] = function.lowered
            if function in compiled:
                node = compiled[function]
                self._compare(function, node, library)
                if call_graph.INDIRECT in node.calls:
                    if not by_pointer:
                        raise Refused(
                            f"{function.name} calls a pointer, and no function's address is taken")
                    calls.update(by_pointer)
            self.calls[function] = sorted(calls, key=lambda callee: callee.name)

    @staticmethod
    def _compare(function, node, library):
        lowered = function.lowered
        if not any(frame <= lowered <= frame + ARGUMENT_REGISTERS_BYTES for frame in node.frames):
            raise Refused(
                f"{function.name} has a frame of {max(node.frames)} bytes in the objects and of "
                f"{lowered} in the library: these are not its objects")
        in_objects = set(node.calls)
        for symbol in node.calls:
            in_objects.add(symbol + "@plt")
            in_objects.update(callee.name for callee in library.named(symbol))
        others = {callee.name for callee in function.calls} - in_objects
        if others:
            raise Refused(
                f"{function.name} calls {', '.join(sorted(others))} in the library, but not in the "
                f"objects: these are not its objects")

    def deepest(self, function, above=()):
        """Depth in bytes and the path from `function` down."""
        if function in above:
            cycle = [one.name for one in (*above[above.index(function):], function)]
            raise Refused(f"recursion: {' > '.join(cycle)}")
        if function not in self._depths:
            below = [self.deepest(callee, (*above, function)) for callee in self.calls[function]]
            depth, path = max(below, key=lambda one: one[0], default=(0, []))
            self._depths[function] = (depth + self.frames[function], [function, *path])
        return self._depths[function]

    def imports(self):
        """The C library's functions below those whose depth has been asked for."""
        return sorted(
            function.name.removesuffix("@plt") for function in self._depths if function.is_import)


def add_arguments(parser):
    """The arguments that measure() needs."""
    parser.add_argument("--objects", required=True, help="file with one object file a line")
    parser.add_argument("--exports", required=True, help="file with one exported name a line")
    for tool in ("nm", "objdump", "readelf"):
        parser.add_argument(f"--{tool}", default=tool)
    parser.add_argument("library")


def measure(arguments):
    """(graph, {exported name: (depth, path)}), or an exception."""
    object_paths = pathlib.Path(arguments.objects).read_text(encoding="utf-8").split()
    exports = pathlib.Path(arguments.exports).read_text(encoding="utf-8").split()
    nodes = call_graph.read_call_graph(object_paths)
    for symbol, node in nodes.items():
        if node.kinds != {"static"}:
            kinds = ", ".join(sorted(node.kinds))
            raise Refused(f"{symbol} has a frame of variable size ({kinds})")
    library = Library(arguments.library, arguments.nm, arguments.objdump)
    taken = call_graph.functions_with_address_taken(object_paths, arguments.readelf)
    graph = StackGraph(library, nodes, taken & set(nodes))
    depths = {}
    for export in exports:
        functions = library.named(export)
        if len(functions) != 1 or export not in nodes:
            raise Refused(f"{export} is not in the library and its objects")
        depths[export] = graph.deepest(functions[0])
    return graph, depths


def main():
    parser = argparse.ArgumentParser(description="Stack depth of the exported calls.")
    add_arguments(parser)
    try:
        graph, depths = measure(parser.parse_args())
    except (Refused, NotUnderstood) as error:
        print(f"stack_depth: {error}")
        return 1
    for name, (depth, _) in sorted(depths.items(), key=lambda one: -one[1][0]):
        print(f"{depth:6} bytes  {name}")
    _, path = max(depths.values(), key=lambda one: one[0])
    print("deepest path:")
    for function in path:
        if not function.is_import:
            print(f"{graph.frames[function]:6} bytes  {function.name}")
    print("not counted, of the C library:", ", ".join(graph.imports()))
    return 0


if __name__ == "__main__":
    sys.exit(main())
