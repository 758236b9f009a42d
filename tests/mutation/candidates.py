# SPDX-License-Identifier: Apache-2.0
"""What can be changed in a source file: one small change of its text each, found with libclang.

A candidate has two names. Its id, FILE:LINE:COLUMN:KIND, is short but moves with every line above
it. Its key, `FILE FUNCTION: LINE OF CODE WITH {OLD => NEW}`, stays the same as long as the line does;
the choice of mutants and the list of equivalent ones go by it.
"""

import collections
import re
from dataclasses import dataclass, field

from clang.cindex import CursorKind, Index

FLAGS = ("-std=c++17",)
COMPARISONS = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="}
OPERATORS = {
    "+": ("arithmetic", "-"), "-": ("arithmetic", "+"), "*": ("arithmetic", "/"),
    "/": ("arithmetic", "*"), "%": ("arithmetic", "/"),
    "<<": ("shift", ">>"), ">>": ("shift", "<<"),
    "&": ("bits", "|"), "|": ("bits", "&"), "^": ("bits", "|"),
    "&&": ("logic", "||"), "||": ("logic", "&&"),
}
ASSIGNMENTS = {operator + "=": (kind, other + "=")
               for operator, (kind, other) in OPERATORS.items() if kind != "logic"}
STEPS = {"++": "--", "--": "++"}
LITERAL = re.compile(r"(0[xX][0-9a-fA-F]+|[0-9]+)([uUlL]*)$")
FUNCTIONS = {CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.CONSTRUCTOR,
             CursorKind.FUNCTION_TEMPLATE}
HOLDERS = {CursorKind.VAR_DECL, CursorKind.ENUM_DECL, CursorKind.STRUCT_DECL}


@dataclass
class Candidate:
    file: str  # from the root of the sources
    offset: int  # bytes
    old: str
    new: str
    kind: str
    function: str  # that the change is in, or the constant, record or enumeration
    line: int = 0
    column: int = 0
    key: str = field(default="")

    @property
    def id(self):
        return f"{self.file}:{self.line}:{self.column}:{self.kind}"


class _Finder:
    def __init__(self, file, path, text):
        self.file = file
        self.path = path
        self.text = text  # bytes: libclang counts them
        self.found = []
        self.functions = {}  # where they are defined by their names

    def _add(self, offset, old, new, kind, function):
        if self.text[offset:offset + len(old)] == old.encode():
            self.found.append(Candidate(self.file, offset, old, new, kind, function))

    def _source(self, cursor):
        return self.text[cursor.extent.start.offset:cursor.extent.end.offset].decode()

    def _replace(self, cursor, new, kind, function):
        old = self._source(cursor)
        if old and "\n" not in old and old.count("(") == old.count(")"):
            self._add(cursor.extent.start.offset, old, new, kind, function)

    def _operator(self, cursor):
        """Offset and text of a binary operator; it stands between its two operands."""
        children = list(cursor.get_children())
        if len(children) != 2:
            return None
        begin, end = children[0].extent.end.offset, children[1].extent.start.offset
        between = re.sub(rb"//[^\n]*", lambda m: b" " * len(m.group()), self.text[begin:end])
        operator = between.strip()
        if not re.fullmatch(rb"[-+*/%<>=!&|^]+", operator):
            return None  # within a macro
        return begin + between.index(operator), operator.decode(), children

    def _binary(self, cursor, function, in_bound):
        found = self._operator(cursor)
        if found is None:
            return
        offset, operator, children = found
        if operator in COMPARISONS:
            kind = "bound" if in_bound else "comparison"
            self._add(offset, operator, COMPARISONS[operator], kind, function)
            if in_bound:
                # `i < n + 1` would be `i <= n` again.
                limit = self._source(children[1])
                changes = {"<": ("- 1",), ">=": ("- 1",), "<=": ("+ 1",), ">": ("+ 1",)}
                for change in changes.get(operator, ("+ 1", "- 1")):
                    self._replace(children[1], f"{limit} {change}",
                                  "bound" + change.replace(" ", ""), function)
        elif operator in OPERATORS or operator in ASSIGNMENTS:
            kind, other = OPERATORS.get(operator) or ASSIGNMENTS[operator]
            self._add(offset, operator, other, kind, function)

    def _unary(self, cursor, function, in_step):
        start, end = cursor.extent.start.offset, cursor.extent.end.offset
        text = self.text[start:end].decode()
        for operator, other in STEPS.items():
            if in_step:
                break  # a loop that runs the wrong way only ends with the timeout
            if text.startswith(operator):
                self._add(start, operator, other, "step", function)
                return
            if text.endswith(operator):
                self._add(end - 2, operator, other, "step", function)
                return
        if text[:1] in ("!", "~") or (text[:1] == "-" and text[:2] != "--"):
            self._add(start, text[0], "", "negation", function)

    def _literal(self, cursor, function, in_start):
        match = LITERAL.match(self._source(cursor))
        if match is None:
            return  # within a macro
        digits, suffix = match.groups()
        octal = len(digits) > 1 and digits[0] == "0" and digits[1] not in "xX"
        if octal:
            return
        number = int(digits, 0)
        kind = "bound-start" if in_start else "constant"
        write = hex if digits[:2] in ("0x", "0X") else str
        for change, other in (("+1", number + 1), ("-1", number - 1)):
            if other >= 0:
                self._add(cursor.extent.start.offset, match.group(), write(other) + suffix,
                          kind + change, function)

    def _condition(self, cursor, function, values):
        for value in values:
            self._replace(cursor, value, "condition-" + value, function)

    def visit(self, cursor, function="", in_bound=False, in_start=False, in_step=False):
        kind = cursor.kind
        if cursor.location.file is not None and cursor.location.file.name != self.path:
            return
        # A claim about the code, and what has no value at run time.
        if kind in (CursorKind.STATIC_ASSERT, CursorKind.CXX_UNARY_EXPR, CursorKind.TYPE_REF):
            return
        if kind == CursorKind.VAR_DECL and "QORFP_REPEAT" in self._source(cursor):
            return  # tens of thousands of entries from a macro
        if kind in FUNCTIONS or (kind in HOLDERS and not function):
            function = cursor.spelling
        if kind in FUNCTIONS and cursor.is_definition():
            self.functions[function] = (cursor.extent.start.offset, cursor.extent.end.offset)
        children = list(cursor.get_children())
        if kind in (CursorKind.VAR_DECL, CursorKind.FIELD_DECL) and "[" in cursor.type.spelling:
            # How long an array is.
            children = [c for c in children if c.kind == CursorKind.INIT_LIST_EXPR]
        if kind == CursorKind.INTEGER_LITERAL:
            self._literal(cursor, function, in_start)
        elif kind in (CursorKind.BINARY_OPERATOR, CursorKind.COMPOUND_ASSIGNMENT_OPERATOR):
            self._binary(cursor, function, in_bound)
            # The bound is what the loop's variable is compared with, not what is computed in it.
            nested = in_bound and self._operator(cursor) and \
                self._operator(cursor)[1] in ("&&", "||")
            for child in children:
                self.visit(child, function, nested, in_start, in_step)
            return
        elif kind == CursorKind.UNARY_OPERATOR:
            self._unary(cursor, function, in_step)
        elif kind == CursorKind.IF_STMT and children:
            self._condition(children[0], function, ("true", "false"))
        elif kind == CursorKind.CONDITIONAL_OPERATOR and children:
            self._condition(children[0], function, ("true", "false"))
        elif kind == CursorKind.WHILE_STMT and children:
            self._condition(children[0], function, ("false",))
        elif kind == CursorKind.FOR_STMT and len(children) == 4:
            self.visit(children[0], function, in_start=True)
            self.visit(children[1], function, in_bound=True)
            self.visit(children[2], function, in_step=True)
            self.visit(children[3], function)
            return
        for child in children:
            self.visit(child, function, in_bound, in_start, in_step)


def _only_claims(functions, text):
    """Functions that only a static_assert uses, or one of these."""
    without = re.sub(rb"static_assert\(.*?\);", lambda m: b" " * len(m.group()), text, flags=re.S)
    claims = set()
    while True:
        more = {name for name, (begin, end) in functions.items() if name not in claims and
                not re.search(rb"\b%s\b" % name.encode(), without[:begin] + without[end:]) and
                re.search(rb"\b%s\b" % name.encode(), text[:begin] + text[end:])}
        if not more:
            return claims
        claims |= more
        for name in more:
            begin, end = functions[name]
            without = without[:begin] + b" " * (end - begin) + without[end:]


def _name(candidates, text):
    """Sets line, column and key."""
    seen = collections.Counter()
    for candidate in sorted(candidates, key=lambda c: (c.offset, c.kind, c.new)):
        begin = text.rfind(b"\n", 0, candidate.offset) + 1
        end = text.index(b"\n", candidate.offset)
        candidate.line = text.count(b"\n", 0, candidate.offset) + 1
        candidate.column = candidate.offset - begin + 1
        before = text[begin:candidate.offset].decode()
        after = text[candidate.offset + len(candidate.old.encode()):end].decode()
        code = " ".join(f"{before}{{{candidate.old} => {candidate.new}}}{after}".split())
        code = re.sub(r"\s*//.*", "", code) if "//" not in before else code
        key = f"{candidate.file} {candidate.function}: {code}"
        seen[key] += 1
        candidate.key = key if seen[key] == 1 else f"{key} #{seen[key]}"


def find(root, file):
    """The candidates of a file below `root`, by offset, and the names of the functions in it."""
    path = str(root / file)
    text = (root / file).read_bytes()
    unit = Index.create().parse(path, args=["-x", "c++", *FLAGS, f"-I{root}"])
    errors = [str(d) for d in unit.diagnostics if d.severity >= 3]
    if errors:
        raise SystemExit(f"libclang does not understand {file}:\n" + "\n".join(errors))
    finder = _Finder(file, path, text)
    for cursor in unit.cursor.get_children():
        finder.visit(cursor)
    claims = set() if file.endswith(".h") else _only_claims(finder.functions, text)
    unique = {(c.offset, c.old, c.new): c for c in finder.found if c.function not in claims}
    candidates = sorted(unique.values(), key=lambda c: (c.offset, c.kind, c.new))
    _name(candidates, text)
    return candidates, set(finder.functions)
