#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Changes the library in one place at a time and looks whether a test fails. See scripts/mutate.sh."""

import argparse
import collections
import concurrent.futures
import queue
import shutil
import sys
import threading
import time
from pathlib import Path

sys.dont_write_bytecode = True
try:
    import candidates
except ImportError:
    print("The Python bindings of libclang are missing (Debian: python3-clang-14).")
    sys.exit(77)
import choice
import equivalent
from build import Build
from trial import Suites, Trial

ROOT = Path(__file__).resolve().parents[2]
FOLDERS = ("api", "engine", "preprocess", "extract", "match")
LIST = Path(__file__).with_name("equivalent.txt")


def arguments():
    parser = argparse.ArgumentParser(prog="mutate.py", description=__doc__)
    parser.add_argument("--build", type=Path, required=True, help="folder with the tests built")
    parser.add_argument("--count", type=int, default=450, help="about so many mutants")
    parser.add_argument("--sample", type=int, help="this many, of all files but headers")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--only", default="", metavar="PREFIX", help="files that start so")
    parser.add_argument("--list", action="store_true", help="print ids and keys only")
    parser.add_argument("--resume", action="store_true", help="go on with an interrupted run")
    parser.add_argument("ids", nargs="*", metavar="ID", help="FILE:LINE:COLUMN:KIND")
    return parser.parse_args()


def find_all(only, pool):
    files = sorted(str(path.relative_to(ROOT)) for folder in FOLDERS
                   for path in (ROOT / folder).iterdir() if path.suffix in (".cpp", ".h"))
    files = [file for file in files if file.startswith(only)]
    found = dict(zip(files, pool.map(candidates.find, [ROOT] * len(files), files)))
    names = {file: {Path(file).stem, *functions, *(c.function for c in own)}
             for file, (own, functions) in found.items()}
    return [c for own, _ in found.values() for c in own], names


def mutated(candidate):
    text = (ROOT / candidate.file).read_bytes()
    end = candidate.offset + len(candidate.old.encode())
    return text[:candidate.offset] + candidate.new.encode() + text[end:]


class Run:
    """Verdicts over mutants, several at a time."""

    def __init__(self, trials, names, known, log, skipped):
        self.trials = trials
        self.names = names  # of functions and constants by file
        self.known = known  # verdicts of an interrupted run by key
        self.log = log
        self.skipped = skipped  # keys
        self.lock = threading.Lock()
        self.stopped = False
        self.results = []  # candidate, state, by, seconds

    def one(self, candidate):
        if candidate.key in self.known:
            result = (candidate, *self.known[candidate.key])
        else:
            trial = self.trials.get()
            try:
                verdict = trial.run(candidate.file, mutated(candidate), self.names[candidate.file],
                                    candidate.function)
            finally:
                self.trials.put(trial)
            result = (candidate, verdict.state, verdict.by, f"{verdict.seconds:.1f}")
            with self.lock:
                print(*result[1:], candidate.id, candidate.key, sep="\t", file=self.log, flush=True)
        with self.lock:
            self.results.append(result)
            if result[1] == "survived":
                print(f"survived: {candidate.id}\n  {candidate.key}", flush=True)
        return result[1]

    def draw(self, drawn):
        """Judges as many of a list as are to be drawn. One that does not compile, or to the same
        code, gives way to the next."""
        while True:
            with self.lock:
                candidate = next(drawn.found, None) if drawn.left > 0 and not self.stopped else None
                if candidate is None:
                    return
                if candidate.key in self.skipped:
                    continue
                drawn.left -= 1
            if self.one(candidate) in ("refused", "same"):
                with self.lock:
                    drawn.left += 1


class Drawn:
    """A list from which several workers draw."""

    def __init__(self, found, share):
        self.found = iter(found)
        self.left = share


def control(trial):
    """Tests that fail over the unchanged library kill every mutant."""
    failed = trial.control("engine/Template.cpp")
    if failed:
        raise SystemExit(f"The unchanged library fails too: {failed}")


def table(results, reasons):
    def row(name, counts):
        return f"{name:16}" + "".join(f"{counts[c]:>12}" for c in columns)

    columns = ("mutants", "killed", "survived", "equivalent")
    by_folder, by_kind, total = (collections.defaultdict(collections.Counter) for _ in range(3))
    for candidate, state, *_ in results:
        if state in ("refused", "same"):
            continue
        if state == "survived" and candidate.key in reasons:
            state = "equivalent"
        folder = candidate.file.split("/")[0]
        kind = candidate.kind.rstrip("+-1").removesuffix("-true").removesuffix("-false")
        for counts in (by_folder[folder], by_kind[kind], total["all"]):
            counts.update(("mutants", state))
    print(f"{'':16}" + "".join(f"{c:>12}" for c in columns))
    for group in (by_folder, by_kind, total):
        for name in sorted(group):
            print(row(name, group[name]))
    return total["all"]


def main():
    started = time.monotonic()
    options = arguments()
    reasons = equivalent.read(LIST)
    with concurrent.futures.ProcessPoolExecutor(options.jobs) as pool:
        everything, names = find_all(options.only, pool)
    keys = {c.key for c in everything}
    for key in reasons:
        if key not in keys and key.startswith(options.only):
            print(f"equivalent.txt names code that is no more: {key}")
    if options.ids:
        drawn = [([c], 1) for c in everything if c.id in options.ids or c.key in options.ids]
        if len(drawn) != len(set(options.ids)):
            raise SystemExit("Some of these do not exist; --list prints the names.")
    elif options.sample:
        drawn = choice.sample(everything, options.sample, options.seed)
    else:
        drawn = choice.by_file(everything, options.count, options.seed)
    if options.list:
        for found, share in drawn:
            for candidate in found[:share]:
                print(candidate.id, candidate.key, sep="\t")
        return 0
    print(f"{len(everything)} candidates", flush=True)

    build = Build(ROOT, options.build.resolve())
    folder = options.build.resolve() / "mutation"
    shutil.rmtree(folder, ignore_errors=True) if not options.resume else None
    folder.mkdir(exist_ok=True)
    suites = Suites(ROOT)
    trials = queue.Queue()
    for worker in range(options.jobs):
        trials.put(Trial(build, suites, folder / f"worker-{worker}"))
    log_path = folder / "verdicts.tsv"
    known = {}
    if log_path.exists():
        for line in log_path.read_text().splitlines():
            state, by, seconds, _, key = line.split("\t")
            known[key] = (state, by, seconds)
    with open(log_path, "a", encoding="utf-8") as log, \
            concurrent.futures.ThreadPoolExecutor(options.jobs + 1) as pool:
        run = Run(trials, names, known, log, set(reasons) if options.sample else set())
        waiting = [pool.submit(control, Trial(build, suites, folder / "control"))]
        workers = options.jobs if len(drawn) == 1 else 1
        waiting += [pool.submit(run.draw, part)
                    for part in map(Drawn, *zip(*drawn)) for _ in range(workers)]
        for done in concurrent.futures.as_completed(waiting):
            if done.exception():
                pool.shutdown(wait=False, cancel_futures=True)
                run.stopped = True
            done.result()

    print(f"\n{time.monotonic() - started:.0f} s; verdicts in {log_path.relative_to(ROOT)}\n")
    counts = table(run.results, reasons)
    judged = counts["killed"] + counts["survived"]
    print(f"\n{counts['killed']} of {judged} killed that are not equivalent: "
          f"{100 * counts['killed'] / max(judged, 1):.1f} %")
    failed = False
    for candidate, state, by, _ in run.results:
        if state == "survived" and candidate.key not in reasons:
            print(f"survived: {candidate.id}\n  {candidate.key}")
            failed = True
        elif state == "killed" and candidate.key in reasons:
            print(f"equivalent.txt is wrong, {by} tells it: {candidate.key}")
            failed = True
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
