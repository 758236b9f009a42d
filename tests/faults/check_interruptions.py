#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""check_interruptions.py QORFP FIXTURE FAILING_CALLS: every command that writes a file is killed,
ended, refused and cut short at each of the system calls with which it writes. Whatever happens, a file
holds what it held before or the whole new content, with the permissions that it had; a call that fails
is told; only a kill may leave a temporary file, and the next run removes it. Two writers and a reader of one file at once see whole files only.

Exit status: 0 all is well, 1 it is not."""

import errno
import os
import pathlib
import re
import shutil
import signal
import stat
import subprocess
import sys
import tempfile

TEMPORARY = re.compile(r"\..*\.\d+\.tmp")
FEWEST_CALLS = 5  # open, lock, write, synchronise, rename
TIMEOUT = 60

# Command, and the files that it writes.
COMMANDS = {
    "extract": ("extract finger.pgm -o new.bin", ["new.bin"]),
    "extract over another": ("extract finger.pgm -o other.bin", ["other.bin"]),
    "enroll": ("enroll finger.pgm noisy.pgm -o new.bin", ["new.bin"]),
    "improve": ("improve finger.bin noisy.pgm", ["finger.bin"]),
    "check": ("check --write old1.bin old2.bin", ["old1.bin", "old2.bin"]),
    "export": ("export finger.bin --format ansi378 -o new.fmr", ["new.fmr"]),
    "import": ("import finger.fmr -o new.bin", ["new.bin"]),
    "draw": ("draw finger.pgm -o new.png", ["new.png"]),
    "match": ("match finger.pgm noisy.pgm -o new.png", ["new.png"]),
}


class Failure(Exception):
    """What is wrong."""


def require(condition, message):
    """Raises Failure unless the condition holds."""
    if not condition:
        raise Failure(message)


def content(folder):
    """Names, permissions and bytes of all files."""
    return {path.name: (stat.S_IMODE(path.stat().st_mode), path.read_bytes())
            for path in folder.iterdir()}


class Bench:
    """Runs commands in copies of one folder."""

    def __init__(self, tool, fixture, failing_calls, scratch):
        self.tool = tool
        self.failing_calls = failing_calls
        self.model = scratch / "model"
        self.work = scratch / "work"
        self.mark = scratch / "mark"
        self.model.mkdir()
        for kind in ("finger1", "noisy1", "finger2"):
            name = {"finger1": "finger", "noisy1": "noisy", "finger2": "second"}[kind]
            subprocess.run([fixture, "p5", kind, "256", "360", f"{name}.pgm"], cwd=self.model,
                           check=True, timeout=TIMEOUT)
        for name in ("finger", "second"):
            self.run(f"extract {name}.pgm -o {name}.bin", self.model)
        self.run("export finger.bin --format iso19794-2 -o finger.fmr", self.model)
        template = (self.model / "finger.bin").read_bytes()
        for name in ("old1", "old2"):
            (self.model / f"{name}.bin").write_bytes(b"300" + template[3:370] + bytes(142))
        (self.model / "other.bin").write_bytes(b"something else")
        (self.model / "other.bin").chmod(0o640)

    def run(self, command, folder, fault=None, at=0):
        """Exit status (negative: the signal) and the lines of standard error."""
        environment = dict(os.environ, LC_ALL="C")
        if fault is not None:
            environment.update(LD_PRELOAD=self.failing_calls, FAULT=str(fault), FAULT_AT=str(at),
                               FAULT_MARK=str(self.mark))
        done = subprocess.run([self.tool, *command.split()], cwd=folder, env=environment,
                              stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True,
                              check=False, timeout=TIMEOUT)
        return done.returncode, done.stderr.splitlines()

    def fresh(self):
        """A copy of the folder, without faults so far."""
        shutil.rmtree(self.work, ignore_errors=True)
        shutil.copytree(self.model, self.work)
        self.mark.unlink(missing_ok=True)
        return self.work


def check_files(before, after, wanted, targets, most_temporaries):
    """Every file is the old or the new one, and no other is there."""
    extra = set(after) - set(before) - set(targets)
    require(all(TEMPORARY.fullmatch(name) for name in extra) and len(extra) <= most_temporaries,
            f"left behind: {sorted(extra)}")
    for name in before:
        require(name in after, f"{name} is gone")
    for name, (mode, data) in after.items():
        if name not in extra:
            require((mode, data) in (before.get(name), wanted[name]),
                    f"{name} is neither the old nor the new file: {len(data)} bytes, mode {mode:o}")


def check_fault(bench, command, targets, wanted, fault, at):
    """One fault at one call. False when the command makes fewer calls."""
    folder = bench.fresh()
    before = content(folder)
    status, messages = bench.run(command, folder, fault, at)
    if not bench.mark.exists():
        require(content(folder) == wanted, "without a fault, another result")
        return False
    after = content(folder)
    check_files(before, after, wanted, targets, 1 if fault == "kill" else 0)
    if fault == "kill":
        require(status == -signal.SIGKILL, f"status {status} after SIGKILL")
        require(bench.run(command, folder)[0] in (0, 1), "the next run fails")
        require(set(content(folder)) == set(wanted), "the next run leaves the temporary file")
    elif fault == "terminate":
        require(status == -signal.SIGTERM, f"status {status} after SIGTERM")
    elif fault == "short" or bench.mark.read_text() == "flock":  # not every file system has locks
        require(status == 0 and after == wanted, f"status {status}: {messages}")
    else:
        require(status == 2 and len(messages) == 1, f"status {status}: {messages}")
        require(os.strerror(fault) in messages[0], messages[0])
    return True


def check_command(bench, name, command, targets):
    """Every fault at every call. Returns how many there were."""
    folder = bench.fresh()
    bench.run(command, folder)
    before, wanted = content(bench.model), content(folder)
    require(all(wanted[target] != before.get(target) for target in targets),
            f"{name}: writes nothing new")
    require(all(wanted[target][0] == before[target][0] for target in targets if target in before),
            f"{name}: does not keep the permissions")
    faults = 0
    for fault in ("kill", "terminate", "short", errno.ENOSPC, errno.EIO):
        at = 1
        try:
            while check_fault(bench, command, targets, wanted, fault, at):
                at += 1
            require(at > FEWEST_CALLS * len(targets), f"only {at - 1} calls")
        except Failure as failure:
            raise Failure(f"{name}, fault {fault} at call {at}: {failure}") from None
        faults += at - 1
    return faults


def check_writers(bench):
    """Two that write one file again and again, and who reads it meanwhile."""
    folder = bench.fresh()
    target = folder / "t.bin"
    whole = {(folder / name).read_bytes() for name in ("finger.bin", "second.bin")}
    shutil.copy(folder / "finger.bin", target)
    known = set(content(folder))
    loop = 'for i in 1 2 3 4 5 6 7 8 9 10; do "$0" extract "$1" -o t.bin || exit; done'
    writers = [subprocess.Popen(["sh", "-c", loop, bench.tool, f"{name}.pgm"], cwd=folder,
                                stdout=subprocess.DEVNULL) for name in ("finger", "second")]
    seen = set()
    while any(writer.poll() is None for writer in writers):
        seen.add(target.read_bytes())
    require(all(writer.returncode == 0 for writer in writers), "a writer has failed")
    require(seen <= whole, "a reader has seen a half-written file")
    require(set(content(folder)) == known, "the writers have left files behind")


def main():
    tool, fixture, failing_calls = (str(pathlib.Path(path).resolve()) for path in sys.argv[1:])
    with tempfile.TemporaryDirectory() as scratch:
        bench = Bench(tool, fixture, failing_calls, pathlib.Path(scratch))
        try:
            for name, (command, targets) in COMMANDS.items():
                faults = check_command(bench, name, command, targets)
                print(f"{name}: {faults} faults")
            check_writers(bench)
        except Failure as failure:
            print(f"FAILED {failure}")
            return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
