# SPDX-License-Identifier: Apache-2.0
"""What the machine code of a finished 32-bit ARM library says about its functions: how far each one
lowers the stack pointer, and which functions it calls directly."""
import bisect
import re
import subprocess

LABEL = re.compile(r"^([0-9a-f]+) <(.*)>:$")
BRANCH = re.compile(
    r"^(b|bl|blx)(eq|ne|cs|cc|mi|pl|vs|vc|hi|ls|ge|lt|gt|le)?(\.[nw])?$|^cbn?z$")
TARGET = re.compile(r"([0-9a-f]+) <[^>]*>$")
# Where GCC puts the unlikely part of a function.
COLD_PART = re.compile(r"\.cold(\.\d+)?$")


class NotUnderstood(Exception):
    """The input is not what this program can read."""


def _run(command):
    try:
        done = subprocess.run(command, capture_output=True, text=True, check=False)
    except OSError as error:
        raise NotUnderstood(f"{command[0]}: {error.strerror}") from error
    if done.returncode != 0:
        raise NotUnderstood(f"{' '.join(command)}: {done.stderr.strip()}")
    return done


def run(*command):
    """Standard output of a command that must succeed."""
    return _run(command).stdout


def run_for_stderr(*command):
    """Standard error of a command that must succeed."""
    return _run(command).stderr


def count_registers(register_list):
    """How many registers "{r4, r6-r8, lr}" names."""
    count = 0
    for part in register_list.strip("{} ").split(","):
        ends = [re.sub(r"^\D+", "", end) for end in part.strip().split("-")]
        count += int(ends[1]) - int(ends[0]) + 1 if len(ends) == 2 else 1
    return count


def lowering(mnemonic, operands):
    """By how many bytes an instruction lowers the stack pointer."""
    name = mnemonic.split(".")[0]
    if name in ("push", "vpush") or (name in ("stmdb", "vstmdb") and operands.startswith("sp!")):
        width = 4
        if name.startswith("v"):
            width = 8 if "{d" in operands else 4
        return width * count_registers(operands[operands.index("{"):])
    written_back = re.search(r"\[sp, #-(\d+)\]!", operands)
    if written_back:
        return int(written_back[1])
    subtracted = re.match(r"sp, (?:sp, )?#(\d+)$", operands)
    if name in ("sub", "subw", "subs") and subtracted:
        return int(subtracted[1])
    if name in ("add", "addw") and re.match(r"sp, (?:sp, )?#\d+$", operands):
        return 0
    if re.match(r"(sub|add|rsb|mov|bic|and|ldr)s?w?$", name) and operands.startswith("sp,"):
        # Such a form has no place in a frame of fixed size.
        raise NotUnderstood(f"change of the stack pointer not understood: {mnemonic} {operands}")
    return 0


class Function:
    """One function of the library, or one entry of its procedure linkage table."""

    def __init__(self, name):
        self.name = name  # unique: a second function of that name has "#ADDRESS" behind it
        self.is_import = name.endswith("@plt")
        self.lowered = 0  # bytes, over all instructions: at least the frame
        self.calls = set()  # functions


class Library:
    """The functions of a library that is not stripped."""

    def __init__(self, path, nm, objdump):
        self.functions = []  # in the order of their addresses
        self._starts = []  # addresses at which a function or its unlikely part begins
        self._at = []  # the functions that begin there
        self._by_symbol = {}
        disassembly = run(objdump, "-d", "--no-show-raw-insn", path)
        if "file format elf32-littlearm" not in disassembly:
            raise NotUnderstood(f"{path}: not 32-bit ARM, or {objdump} cannot read it")
        self._read_symbols(run(nm, "-S", path), disassembly)
        self._read_instructions(disassembly)

    def named(self, symbol):
        """The functions with that symbol: several where files have local ones of one name."""
        return self._by_symbol.get(symbol, [])

    def _read_symbols(self, symbols, disassembly):
        by_address = {}
        self._ends = {}  # of the functions whose size is known, by where they begin
        for line in symbols.splitlines():
            fields = line.split()  # address, size unless it is 0, type, name
            if len(fields) >= 3 and fields[-2] in "tTwW" and not fields[-1].startswith("$"):
                address = int(fields[0], 16)
                by_address.setdefault(address, []).append(fields[-1])
                if len(fields) == 4:
                    self._ends[address] = address + int(fields[1], 16)
        for line in disassembly.splitlines():
            label = LABEL.match(line)
            if label and label[2].endswith("@plt"):
                by_address[int(label[1], 16)] = [label[2]]
        at = {}
        cold_parts = {}
        for address, names in sorted(by_address.items()):
            name = min(names)
            if COLD_PART.search(name):
                cold_parts[address] = COLD_PART.sub("", name)
                continue
            at[address] = Function(name if name not in self._by_symbol else f"{name}#{address:x}")
            for symbol in names:
                self._by_symbol.setdefault(symbol, []).append(at[address])
        for address, name in cold_parts.items():
            if len(self.named(name)) != 1:
                raise NotUnderstood(f"whose unlikely part is that of {name}?")
            at[address] = self.named(name)[0]
        self._starts = sorted(at)
        self._at = [at[address] for address in self._starts]
        self.functions = list(dict.fromkeys(self._at))

    def _function_at(self, address):
        return self._at[max(bisect.bisect_right(self._starts, address) - 1, 0)]

    def _is_behind_function(self, address):
        start = self._starts[max(bisect.bisect_right(self._starts, address) - 1, 0)]
        return address >= self._ends.get(start, address + 1)

    def _reached(self, address, detours):
        """The functions to which a branch to the address leads. The linker puts detours without a
        name behind a function, for branches that some cores get wrong where they cross a page."""
        leads_to = []
        while address in detours:
            mnemonic, target, address = detours[address]
            leads_to += self._reached(target, detours)
            if BRANCH.match(mnemonic)[2] is None:
                return leads_to
        return leads_to + [self._function_at(address)]

    def _read_instructions(self, disassembly):
        detours = {}  # branches behind functions: mnemonic, target, address of the next instruction
        branches = []
        for line in disassembly.splitlines():
            fields = line.split("\t")
            if len(fields) < 3 or not re.match(r"^ *[0-9a-f]+:$", fields[0]):
                continue
            address = int(fields[0].strip(" :"), 16)
            target = TARGET.search(fields[2].strip())
            is_branch = BRANCH.match(fields[1]) and target
            if self._is_behind_function(address):
                if is_branch and fields[1].startswith("b"):
                    width = 2 if fields[1].endswith(".n") else 4
                    detours[address] = (fields[1], int(target[1], 16), address + width)
                continue
            function = self._function_at(address)
            if function.is_import:
                continue
            operands = fields[2].strip()
            function.lowered += lowering(fields[1], operands)
            if is_branch:
                branches.append((function, int(target[1], 16)))
        for function, target in branches:
            for callee in self._reached(target, detours):
                # An exported function of the library itself may be called by way of the table.
                own = self.named(callee.name.removesuffix("@plt"))
                callee = own[0] if callee.is_import and own else callee
                if callee is not function:
                    function.calls.add(callee)
