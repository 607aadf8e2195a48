#!/usr/bin/env python3
"""Finds the kernels that the compiler has left without vectors: functions compiled for a processor target that have
loops, none of which holds a vector instruction. They must be those of a list, which gives the reasons.

The list has blocks: the reason, which ends with a full stop, then the kernels, one an indented line. A kernel that has
vectors on some targets is followed by those on which it has none: `room/file: Kernel<type> [NEON]`. A name with `*`
stands for helpers that the compiler may as well have put into their callers.

Finds, too, the functions that return with something in the upper halves of the registers. On some processors the next
instruction of the old encoding then takes hundreds of cycles. The compiler clears them, but not where a function gets
vectors or hands them to another one: such functions must be inlined.
"""
import argparse
import re
import subprocess
import sys
from collections import Counter
from dataclasses import dataclass, field
from fnmatch import fnmatchcase
from pathlib import Path

TARGET = re.compile(r"\bko::N_(\w+)::")
FUNCTION = re.compile(r"^[0-9a-f]+ <(.*)>:$")
INSTRUCTION = re.compile(r"^ *([0-9a-f]+):\t(\S+)\s*(.*)$")
BRANCH_GOAL = re.compile(r"(?:^|, *|\t)([0-9a-f]+) <")

# ARM names the lanes of a vector, or the whole register. A zero is not yet a vector at work.
ARM_BRANCH = re.compile(r"b\.|b$|cbn?z$|tbn?z$")
ARM_VECTOR = re.compile(r"\bv\d+\.\d+[bhsd]\b|\bq\d+\b")
ARM_IDLE = re.compile(r"movi|mvni|dup")
# On x86, scalars live in the same registers; the mnemonic tells, but for moves.
X86_BRANCH = re.compile(r"j[a-z]+$")
X86_VECTOR = re.compile(r"%[xyz]mm\d")
X86_IDLE = re.compile(r"v?(?:\w*(?:ss|sd)(?:2\w+)?|cvt\w*(?:si|ss|sd)\w*|mov[dq]|mova?[pu][sd]|pxor|xorp[sd])$")

X86_CLEAR = re.compile(r"vzero(?:upper|all)$")
X86_UPPER_HALF = re.compile(r"%[yz]mm\d+(?:\{[^}]*\})*\s*(?:#|$)")  # written, as the last operand


@dataclass
class Function:
    name: str
    instructions: list = field(default_factory=list)  # (address, mnemonic, operands)


def functions_of(objdump, objects):
    """The functions of object files, with the file that each is from."""
    for path in objects:
        listing = subprocess.run([objdump, "-dC", "--no-show-raw-insn", path], check=True, text=True,
                                 stdout=subprocess.PIPE).stdout
        function = None
        for line in listing.splitlines():
            if start := FUNCTION.match(line):
                if function:
                    yield path, function
                function = Function(start[1])
            elif function and (step := INSTRUCTION.match(line)):
                function.instructions.append((int(step[1], 16), step[2], step[3]))
        if function:
            yield path, function


def is_arm(function):
    return not any("%" in operands for _, _, operands in function.instructions)


def loops_of(function):
    """The instructions of every loop: from where a branch goes back to up to the branch."""
    branch = ARM_BRANCH if is_arm(function) else X86_BRANCH
    first = function.instructions[0][0]
    for at, (address, mnemonic, operands) in enumerate(function.instructions):
        goal = BRANCH_GOAL.search(operands) if branch.match(mnemonic) else None
        if goal and first <= int(goal[1], 16) <= address:
            start = int(goal[1], 16)
            yield [step for step in function.instructions[:at + 1] if step[0] >= start]


def leaves_upper_halves(function):
    """Whether a way through the function ends with the upper halves of registers in use."""
    places = {address: at for at, (address, _, _) in enumerate(function.instructions)}
    ways, seen = [(0, False)], set()
    while ways:
        at, used = ways.pop()
        if at == len(function.instructions) or (at, used) in seen:
            continue
        seen.add((at, used))
        _, mnemonic, operands = function.instructions[at]
        if mnemonic.startswith("ret"):
            if used:
                return True
            continue
        used = not X86_CLEAR.match(mnemonic) and (used or bool(X86_UPPER_HALF.search(operands)))
        goal = BRANCH_GOAL.search(operands) if X86_BRANCH.match(mnemonic) else None
        if goal and int(goal[1], 16) in places:
            ways.append((places[int(goal[1], 16)], used))
        if mnemonic != "jmp":
            ways.append((at + 1, used))
    return False


def has_vectors(loop, arm):
    vector, idle = (ARM_VECTOR, ARM_IDLE) if arm else (X86_VECTOR, X86_IDLE)
    return any(vector.search(operands) and not idle.match(mnemonic) for _, mnemonic, operands in loop)


def short_name(demangled):
    """Without namespaces, parameters and the result: `Row<unsigned char>`."""
    text = TARGET.sub("", demangled).replace("(anonymous namespace)::", "").replace("ko::", "")
    text = re.sub(r" \[clone [^]]*\]", "", text)
    depth, start, end = 0, 0, len(text)
    for at, letter in enumerate(text):
        if letter in "<([" and depth == 0 and letter == "(":
            end = at
            break
        depth += (letter in "<([") - (letter in ">)]" and text[at - 1] != "-")
        if letter == " " and depth == 0:
            start = at + 1
    return text[start:end]


def room_file(path):
    """`tone/lookup_kernels` of `.../tone/lookup_kernels.cpp.o`."""
    return "/".join(path.parts[-2:]).split(".")[0]


def read_list(path):
    """{(kernel, target)} of a list, with the target None where it is every one."""
    listed, reason = set(), ""
    for line in path.read_text().splitlines():
        if not line.startswith("    "):
            reason = line
        elif not reason.endswith("."):
            sys.exit(f"{path}: no reason for {line.strip()}")
        else:
            kernel, _, targets = line.strip().partition(" [")
            listed |= {(kernel, target) for target in targets.rstrip("]").split()} if targets else {(kernel, None)}
    return listed


def look_at(objdump, objects):
    """The kernels without vectors as {(kernel, target)}, how many functions with loops {(file, target)} have, and the
    functions that leave upper halves of registers in use."""
    found, seen, leaving = set(), Counter(), set()
    for path, function in functions_of(objdump, objects):
        target = TARGET.search(function.name)
        name = short_name(function.name)
        # A single lane has no vectors, and the function that hands out the table waits for its own first call.
        if not target or target[1] == "SCALAR" or name == "Kernels":
            continue
        file = room_file(path)
        if not is_arm(function) and leaves_upper_halves(function):
            leaving.add(f"{file}: {name} [{target[1]}]")
        loops = list(loops_of(function))
        if not loops:
            continue
        seen[file, target[1]] += 1
        if not any(has_vectors(loop, is_arm(function)) for loop in loops):
            found.add((f"{file}: {name}", target[1]))
    return found, seen, leaving


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("list", type=Path)
    parser.add_argument("objdump")
    parser.add_argument("objects", type=Path, nargs="+", help="those of kernels are looked at")
    args = parser.parse_args()
    found, seen, leaving = look_at(args.objdump, [path for path in args.objects if path.name.endswith("_kernels.cpp.o")])
    if not seen:
        sys.exit("no kernel has a loop")
    for target in sorted({target for _, target in seen}):
        functions = sum(count for (_, of), count in seen.items() if of == target)
        print(f"{target}: {functions} functions with loops, {sum(of == target for _, of in found)} without vectors")

    expected, listed = set(), read_list(args.list)
    helpers = [kernel for kernel, _ in listed if "*" in kernel]
    found = {(kernel, target) for kernel, target in found
             if not any(fnmatchcase(kernel, helper) for helper in helpers)}
    for kernel, only in (entry for entry in listed if entry[0] not in helpers):
        expected |= {(kernel, target) for file, target in seen
                     if kernel.startswith(f"{file}: ") and only in (None, target)}
    complaints = [f"{kernel} [{target}] has no vectors" for kernel, target in sorted(found - expected)]
    complaints += [f"{kernel} [{target}] has vectors or is gone" for kernel, target in sorted(expected - found)]
    if complaints:
        complaints.append(f"See {args.list}")
    complaints += [f"{function} leaves the upper halves of registers in use" for function in sorted(leaving)]
    if complaints:
        sys.exit("\n".join(complaints))


if __name__ == "__main__":
    main()
