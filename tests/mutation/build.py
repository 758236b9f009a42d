# SPDX-License-Identifier: Apache-2.0
"""A build folder of Ninja's, as far as mutants need it: how an object file is compiled, which ones a
header is part of, how a program is linked. Nothing in it is changed."""

import collections
import json
import os
import re
import shlex
import subprocess
from pathlib import Path

LIBRARY = "CMakeFiles/qorfp_objects.dir/"


class Build:
    def __init__(self, root, folder):
        self.root = root
        self.folder = folder
        self._commands = {entry["output"]: entry for entry in json.loads(self._ninja("compdb"))}
        self._users = collections.defaultdict(list)  # of a source file: the object files
        for line in self._ninja("deps").splitlines():
            if line and not line[0].isspace():
                output = line.split(":", 1)[0]
            elif line.strip():
                path = os.path.normpath(folder / line.strip())
                if path.startswith(f"{root}/"):
                    self._users[os.path.relpath(path, root)].append(output)
        self._links = {}
        self.shared = next(o for o in self._commands if re.fullmatch(r"libqorfp\.so(\.\d+){3}", o))

    def _ninja(self, *tool):
        return subprocess.run(["ninja", "-C", self.folder, "--quiet", "-t", *tool], check=True,
                              text=True, stdout=subprocess.PIPE).stdout

    def library_objects(self, file):
        return [o for o in self._users[file] if o.startswith(LIBRARY)]

    def test_objects(self, file):
        """Those of tests/unit that a header is part of, and their sources."""
        return {o: self._commands[o]["file"] for o in self._users[file]
                if o.startswith("tests/CMakeFiles/unit_tests.dir/unit/")}

    def compile(self, output, changed, folder):
        """Compiles an object file with the sources below `changed` before the real ones; gives its
        path, or None when the compiler refuses. At -O1, without warnings; and a wrong index into an
        array ends the program, as it does where the tests run with sanitizers."""
        entry = self._commands[output]
        source = os.path.relpath(os.path.normpath(self.folder / entry["file"]), self.root)
        arguments = []
        words = iter(shlex.split(entry["command"]))
        for word in words:
            if word in ("-MF", "-MT", "-o"):
                next(words)
            elif Path(word).name == "ccache" or word in ("-MD", "-g", "-Werror"):
                pass
            elif word == entry["file"]:
                arguments.append(str(self._first(source, changed)))
            else:
                arguments.append("-O1" if word[:2] == "-O" and word != "-O0" else word)
        target = folder / output.replace("/", "_")
        arguments[1:1] = [f"-I{changed}"]
        arguments += ["-fsanitize=bounds", "-fsanitize-undefined-trap-on-error", "-w", "-o", str(target)]
        done = subprocess.run(arguments, cwd=self.folder, capture_output=True)
        return target if done.returncode == 0 else None

    def _first(self, source, changed):
        return changed / source if (changed / source).exists() else self.root / source

    def _link_words(self, target):
        if target not in self._links:
            command = self._ninja("commands", "-s", target).strip().splitlines()[-1]
            words = shlex.split(command.removeprefix(": && "))
            if "&&" in words:
                words = words[:words.index("&&")]
            self._links[target] = [w for w in words if Path(w).name != "ccache" and w != "-g"]
        return self._links[target]

    def link(self, target, replaced, result):
        """Links a program or the shared library with other object files: `replaced` has their paths
        by those of the originals. In front of a program's own objects they win over the archive's."""
        words = list(self._link_words(target))
        words[words.index("-o") + 1] = str(result)
        first = next(i for i, word in enumerate(words) if word.endswith(".o"))
        in_place = [str(replaced.get(word, word)) for word in words]
        others = [str(path) for original, path in replaced.items() if original not in words]
        in_place[first:first] = others
        subprocess.run([*in_place, "-Wl,-S"], cwd=self.folder, check=True, capture_output=True)
        return result
