#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""check_blocks.py SOURCE BUILD CC PAGE...: compiles or runs every code block of the pages.

A page is followed from top to bottom in a folder of its own that holds links to the sources and
build/release, the finished build. What happens depends on the kind of a block:

    c        compiled, strictly; with a main function linked to the library, too
    cmake    used in a project around it, which is built
    console  each line that begins with "$ " is run; what it prints, on both streams, must be what
             follows (a line "..." stands for any lines)
    sh       run; every command must succeed
    text     output; left alone

Another kind is an error. A comment on the line before a block says more, and is not shown:

    <!-- first: COMMAND -->       run before the block, like sh
    <!-- not run here: WHY -->    for sh: only read; its programs must be there
    <!-- run by TEST -->          left to the ctest of that name
    <!-- same as FILE -->         must be that file of the sources, too
    <!-- save as FILE -->         kept under that name, for later blocks
"""
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile

STRICT = ["-std=c99", "-pedantic", "-Wall", "-Wextra", "-Wshadow", "-Wconversion", "-Werror"]
FENCE = re.compile(r"^( *)```(.*)$")
NOTE = re.compile(r"^ *<!-- (first:|not run here:|run by|same as|save as) (.+) -->$")
PROJECT = "cmake_minimum_required(VERSION 3.16)\nproject(page C)\nadd_executable(program program.c)\n"


class Wrong(Exception):
    pass


class Block:
    def __init__(self, line, kind, notes):
        self.line = line
        self.kind = kind
        self.notes = notes
        self.lines = []

    @property
    def text(self):
        return "".join(line + "\n" for line in self.lines)


def blocks_of(text):
    blocks, notes, block, indent = [], {}, None, ""
    for number, line in enumerate(text.splitlines(), 1):
        fence = FENCE.match(line)
        if block is not None:
            if fence and not fence[2]:
                block = None
            else:
                block.lines.append(line.removeprefix(indent))
        elif fence:
            indent = fence[1]
            block = Block(number, fence[2].strip(), notes)
            blocks.append(block)
            notes = {}
        elif note := NOTE.match(line):
            notes[note[1].rstrip(":")] = note[2]
        elif notes:
            raise Wrong(f"line {number}: no block follows the comment")
    if block is not None or notes:
        raise Wrong("the last block does not end")
    return blocks


class Follower:
    def __init__(self, source, build, compiler, folder):
        self.source = pathlib.Path(source).resolve()
        self.compiler = compiler
        self.folder = pathlib.Path(folder)
        for entry in self.source.iterdir():
            if entry.name != "build" and not entry.name.startswith("."):
                (self.folder / entry.name).symlink_to(entry)
        (self.folder / "build").mkdir()
        build = pathlib.Path(build).resolve()
        (self.folder / "build/release").symlink_to(build)
        # The programs where a reader finds them: by the search path of the first page.
        guide = (self.source / "docs/getting-started.md").read_text(encoding="utf-8")
        path = re.search(r'^PATH="\$PATH:(.*)"$', guide, re.MULTILINE)[1]
        programs = path.replace("$PWD", str(self.folder)).split(":")
        # The compiler of this build under the name that the pages use.
        (self.folder / "build/bin").mkdir()
        (self.folder / "build/bin/cc").symlink_to(shutil.which(compiler))
        path = [self.folder / "build/bin", *programs, os.environ["PATH"]]
        self.environment = {**os.environ, "LC_ALL": "C.UTF-8", "PATH": ":".join(map(str, path))}
        self.names = "\n".join(path.read_text(encoding="utf-8")
                               for path in self.source.glob("tests/**/CMakeLists.txt"))

    def run(self, command):
        """Runs a shell command; returns its exit status and what it printed."""
        done = subprocess.run(["bash", "-euo", "pipefail", "-c", command], cwd=self.folder,
                              env=self.environment, stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        return done.returncode, done.stdout.decode("utf-8", "replace")

    def must_run(self, command):
        status, output = self.run(command)
        if status != 0:
            raise Wrong(f"exit status {status}:\n{command}\n{output}")

    def check(self, block):
        notes = dict(block.notes)
        if "first" in notes:
            self.must_run(notes.pop("first"))
        if "run by" in notes:
            test = notes.pop("run by")
            if not re.search(rf"NAME {re.escape(test)}\b", self.names):
                raise Wrong(f"there is no test {test}")
            return
        if "same as" in notes:
            name = notes.pop("same as")
            if block.text != (self.source / name).read_text(encoding="utf-8"):
                raise Wrong(f"differs from {name}")
        if "save as" in notes:
            (self.folder / notes.pop("save as")).write_text(block.text, encoding="utf-8")
        if "not run here" in notes and block.kind == "sh":
            notes.pop("not run here")
            self.read_shell(block.text)
            return
        if notes:
            raise Wrong(f"\"{', '.join(notes)}\" does not go with this kind of block")
        checks = {"c": self.compile, "cmake": self.build, "console": self.compare,
                  "sh": lambda block: self.must_run(block.text), "text": lambda block: None}
        if block.kind not in checks:
            raise Wrong(f"the kind \"{block.kind}\" is not known")
        checks[block.kind](block)

    def read_shell(self, text):
        status, output = self.run(f"bash -n <<'END'\n{text}\nEND")
        if status != 0 or output:
            raise Wrong(output)
        for command in re.split(r"\n|&&|;", text.replace("\\\n", " ")):
            words = shlex.split(command, comments=True)
            if words and shutil.which(words[0], path=self.environment["PATH"]) is None and \
                    not os.access(self.folder / words[0], os.X_OK):
                raise Wrong(f"there is no program {words[0]}")

    def compile(self, block):
        has_main = re.search(r"^int main\(", block.text, re.MULTILINE)
        library = self.folder / "build/release"
        how = ["-o", "build/program", f"-L{library}", "-lqorfp"] if has_main else ["-fsyntax-only"]
        shown = self.folder / "build/shown.c"
        shown.write_text(block.text, encoding="utf-8")
        self.must_run(shlex.join(["cc", *STRICT, "-Iinclude", str(shown), *how]))

    def build(self, block):
        project = self.folder / "build/project"
        project.mkdir()
        shutil.copy(self.folder / "program.c", project)
        (project / "CMakeLists.txt").write_text(PROJECT + block.text, encoding="utf-8")
        self.must_run("cmake -S build/project -B build/project/out -DCMAKE_PREFIX_PATH=\"$PWD/DIR\""
                      " && cmake --build build/project/out")

    def compare(self, block):
        """Runs the commands of a transcript and compares what they print."""
        if not block.text.startswith("$ "):
            raise Wrong("does not begin with a command")
        for step in re.split(r"^\$ ", block.text, flags=re.MULTILINE)[1:]:
            lines = step.split("\n")
            count = 1
            while lines[count - 1].endswith("\\"):
                count += 1
            command, wanted = "\n".join(lines[:count]), "\n".join(lines[count:])
            status, output = self.run(command)
            pattern = "\n".join(re.escape(line) for line in wanted.split("\n"))
            pattern = pattern.replace(re.escape("...") + "\n", "(?:.*\n)*")
            if status > 1 or not re.fullmatch(pattern, output):
                raise Wrong(f"exit status {status}: {command}\n--- prints\n{output}--- not\n{wanted}")


def main():
    source, build, compiler, *pages = sys.argv[1:]
    failed = False
    for page in pages:
        counts = {}
        try:
            with tempfile.TemporaryDirectory(prefix="qorfp-page-") as folder:
                follower = Follower(source, build, compiler, folder)
                for block in blocks_of(pathlib.Path(page).read_text(encoding="utf-8")):
                    try:
                        follower.check(block)
                    except Wrong as wrong:
                        raise Wrong(f"line {block.line}, {block.kind}: {wrong}") from wrong
                    counts[block.kind] = counts.get(block.kind, 0) + 1
        except Wrong as wrong:
            print(f"{page}: {wrong}")
            failed = True
        print(f"{page}: {', '.join(f'{n} {kind}' for kind, n in counts.items()) or 'no block'}")
    sys.exit(1 if failed else 0)


if __name__ == "__main__":
    main()
