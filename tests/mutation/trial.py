# SPDX-License-Identifier: Apache-2.0
"""One mutant: compile, link, run the tests until one fails."""

import os
import re
import shutil
import signal
import subprocess
import time
from dataclasses import dataclass

# Suites of other things than the library, or of one of its files for seconds.
ELSEWHERE = "Synth*:*/Synth*:SortTies*"
REPLAYS = ("check_feature", "check_finger", "codec", "enroll", "extract", "improve", "index",
           "search", "sort", "stages", "verify")
# Processor seconds and seconds by the clock after which a program counts as hanging: at least ten
# times what it takes.
LIMITS = {"tests/chain/chain_tests": (5, 60), "tests/unit_tests": (120, 600)}
USUAL_LIMIT = (60, 300)


@dataclass
class Verdict:
    state: str  # killed, survived, refused (by the compiler) or same (machine code)
    by: str = ""  # the test
    seconds: float = 0


class Suites:
    """Which suites of tests/unit are about a source file: those of the files that mention one of the
    functions or constants in it."""

    def __init__(self, root):
        self._files = {}
        for path in sorted((root / "tests/unit").glob("*Test.cpp")):
            text = path.read_text()
            self._files[path.name] = (set(re.findall(r"\w{4,}", text)),
                                      set(re.findall(r"^TEST(?:_F|_P)?\((\w+),", text, re.M)))

    def files_about(self, names):
        return [file for file, (words, _) in self._files.items() if words & names]

    def about(self, names):
        return sorted(set().union(*(self._files[file][1] for file in self.files_about(names)),
                                  set()))


class Trial:
    def __init__(self, build, suites, folder):
        self.build = build
        self.suites = suites
        self.folder = folder

    def run(self, file, text, names, name):
        """The verdict over `file` with the contents `text` instead of its own; `names` are the
        functions and constants in it, `name` the one that differs."""
        started = time.monotonic()
        shutil.rmtree(self.folder, ignore_errors=True)
        changed = self.folder / "source"
        (changed / file).parent.mkdir(parents=True)
        (changed / file).write_bytes(text)
        verdict = self._judge(file, changed, names, name)
        verdict.seconds = time.monotonic() - started
        shutil.rmtree(self.folder, ignore_errors=True)
        return verdict

    def control(self, file):
        """The test that fails with `file` compiled in this way as it is, "" when all is well."""
        shutil.rmtree(self.folder, ignore_errors=True)
        self.folder.mkdir(parents=True)
        objects = {output: self.build.compile(output, self.folder, self.folder)
                   for output in self.build.library_objects(file)}
        likely, others = self._programs(file, set())
        failed = self._first_failure(likely + others, objects)
        shutil.rmtree(self.folder, ignore_errors=True)
        return failed

    def _judge(self, file, changed, names, name):
        objects = {}
        for output in self.build.library_objects(file):
            objects[output] = self.build.compile(output, changed, self.folder)
            if objects[output] is None:
                return Verdict("refused")
        likely, others = self._programs(file, names)
        failed = self._first_failure(likely, objects)
        if not failed and self._is_same(objects):
            return Verdict("same")
        failed = failed or self._first_failure(others, objects)
        if failed:
            return Verdict("killed", failed)
        if file.endswith(".h"):
            return self._judge_by_users(file, changed, name, objects)
        return Verdict("survived")

    def _first_failure(self, programs, objects):
        for program, arguments in programs:
            failed = self._fails(program, arguments, objects)
            if failed:
                return failed
        return ""

    def _is_same(self, objects):
        """Whether the compiler makes the same of the unchanged source."""
        unchanged = self.folder / "unchanged"
        unchanged.mkdir()
        return all(self.build.compile(output, unchanged, unchanged).read_bytes() ==
                   path.read_bytes() for output, path in objects.items())

    def _judge_by_users(self, file, changed, name, objects):
        """Tests of a header's inline functions have been compiled with the unchanged ones."""
        concerned = self.suites.files_about({name})
        for output, source in self.build.test_objects(file).items():
            if os.path.basename(source) in concerned:
                compiled = self.build.compile(output, changed, self.folder)
                if compiled:
                    objects[output] = compiled
        about = _filter(self.suites.about({name}))
        (self.folder / "unit_tests").unlink()
        failed = about and self._fails("tests/unit_tests", [f"--gtest_filter={about}"], objects)
        return Verdict("killed", failed) if failed else Verdict("survived")

    def _programs(self, file, names):
        """Those that are likely to fail, and the others."""
        about = _filter(self.suites.about(names))
        chain = [("tests/chain/chain_tests", [])]
        unit = [("tests/unit_tests", [f"--gtest_filter={about}"])] if about else []
        rest = [("tests/unit_tests", [f"--gtest_filter=-{ELSEWHERE}{':' if about else ''}{about}"])]
        calls = [("tests/api/api_tests", []), ("tests/api/api_before_initial_tests", []),
                 ("tests/search/search_tests", []), ("tests/search/search_memory_tests", [])]
        replays = [(f"fuzz/replay_{name}", [str(self.build.root / "fuzz/corpus" / name)])
                   for name in REPLAYS]
        if file.startswith("api/"):
            return chain + unit + calls, rest + replays
        return chain + unit, rest + calls + replays

    def _fails(self, program, arguments, objects):
        """The test of a program that fails, "" when none does."""
        environment = dict(os.environ, GTEST_FAIL_FAST="1", GTEST_BREAK_ON_FAILURE="1")
        if program.startswith("tests/api/"):
            library = self.folder / "lib"
            if not library.exists():
                library.mkdir()
                self.build.link(self.build.shared, self._only_library(objects),
                                library / "libqorfp.so.1")
            environment["LD_LIBRARY_PATH"] = str(library)
            path = self.build.folder / program
        else:
            path = self.folder / os.path.basename(program)
            if not path.exists():
                used = objects if program == "tests/unit_tests" else self._only_library(objects)
                self.build.link(program, used, path)
        cpu, clock = LIMITS.get(program, USUAL_LIMIT)
        with open(self.folder / "output", "w+b") as output:
            process = subprocess.Popen(
                ["prlimit", f"--cpu={cpu}:{cpu + 1}", "--core=0", "--fsize=268435456",
                 path, *arguments],
                stdout=output, stderr=subprocess.STDOUT, env=environment, cwd=self.folder,
                stdin=subprocess.DEVNULL, start_new_session=True)
            try:
                status = process.wait(timeout=clock)
            except subprocess.TimeoutExpired:
                status = -signal.SIGXCPU
            _end_session(process)
            if status == 0:
                return ""
            output.seek(0)
            text = output.read().decode(errors="replace")
        names = re.findall(r"^\[  FAILED  \] (\S+?),? ", text, re.M)[:1] or \
            re.findall(r"^\[ RUN      \] (\S+)", text, re.M)[-1:]
        name = " ".join([os.path.basename(program), *names])
        return name + _how(status)

    def _only_library(self, objects):
        return {o: path for o, path in objects.items() if not o.startswith("tests/")}


def _filter(suites):
    return ":".join(f"*{suite}.*" for suite in suites)


def _end_session(process):
    """Also what a test has started and left behind."""
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    process.wait()


def _how(status):
    if status >= 0 or -status == signal.SIGTRAP:  # a failed expectation
        return ""
    if -status in (signal.SIGXCPU, signal.SIGKILL):
        return " (hangs)"
    return f" ({signal.Signals(-status).name})"
