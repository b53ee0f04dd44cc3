"""What a bound unit costs a call: one load of a flag, one test of it, one branch not taken.

Room: tests. Reads the disassembly of the built library. Around every call of a binding's slow half
there is one conditional branch that leads past it (or to it, when the compiler has moved it out of
the way); in front of that branch stand a load of the flag and a test against zero, and between them
nothing that takes a lock or calls anybody.

usage: check_fast_path.py --objdump OBJDUMP LIBRARY
       check_fast_path.py --self-test
"""

import argparse
import re
import subprocess
import sys

SLOW = re.compile(r"<_ZN9mesh_fib67runtime\d+bind_(general|cache)_onceE\w*>$")
CALL = re.compile(r"(call|callq|bl|jmp|jmpq|b)\s")  # the last ones are tail calls
JUMP = re.compile(r"(j[a-z]+|b(\.\w+)?|cbn?z|tbn?z)\s")
ALWAYS = re.compile(r"(jmp|jmpq|b|ret|retq)\b(?!\.)")
STOPS = re.compile(r"(call|callq|bl|blr|lock|xchg|cmpxchg|mfence|ldaxr|stlxr|cas|dmb)\b")
# Comparing with zero in memory at once; a register with itself; on Arm the branch does it.
TEST_MEMORY = re.compile(r"cmpl?\s+\$(0x)?0,.*\)")
TEST_REGISTER = re.compile(r"(testl?\s+%(?P<x>\w+), ?%(?P=x)$|cmp\s+(?P<w>w\d+), #0x0)")
TEST_AND_BRANCH = re.compile(r"cbn?z\s+(?P<w>w\d+),")
# How far the scheduler may carry the parts of one test apart.
WINDOW = 8


def parse(text):
    """{function: [(address, instruction)]}"""
    found, body = {}, None
    for line in text.splitlines():
        head = re.match(r"[0-9a-f]+ <(.*)>:$", line)
        if head:
            body = found.setdefault(head.group(1), [])
            continue
        row = re.match(r"\s+([0-9a-f]+):\s+(.*)$", line)
        if row and body is not None:
            instruction = re.sub(r"\s+(//|#).*$", "", " ".join(row.group(2).split()))
            body.append((int(row.group(1), 16), instruction))
    return found


def target(instruction):
    match = re.search(r"\b(?:0x)?([0-9a-f]+) <", instruction)
    return int(match.group(1), 16) if match else None


def guards(body, at):
    """Indices of the conditional branches that decide whether the instruction at `at` is reached."""
    starts = {}
    for index, (_, instruction) in enumerate(body):
        if JUMP.match(instruction) and target(instruction) is not None:
            starts.setdefault(target(instruction), []).append(index)
    while at >= 0:
        into = [index for index in starts.get(body[at][0], [])]
        before = body[at - 1][1] if at > 0 else ""
        if into:
            falls = [] if at == 0 or ALWAYS.match(before) else [at - 1]
            return into + [index for index in falls if JUMP.match(body[index][1])]
        if at > 0 and JUMP.match(before) and not ALWAYS.match(before):
            return [at - 1]
        at -= 1
    return []


def is_flag_test(body, at):
    """Whether the branch at `at` stands behind one load and one test of it."""
    branch = body[at][1]
    window = [row for _, row in body[max(0, at - WINDOW):at]]
    registers = TEST_AND_BRANCH.match(branch)
    if registers:
        return loads(window, registers.group("w"))
    if not re.match(r"(jn?[ez]|b\.(eq|ne))\s", branch):
        return False
    for index in range(len(window) - 1, -1, -1):
        row = window[index]
        if STOPS.match(row) or JUMP.match(row):
            return False
        if TEST_MEMORY.match(row):
            return True
        test = TEST_REGISTER.match(row)
        if test:
            return loads(window[:index], test.group("x") or test.group("w"))
    return False


def loads(window, register):
    """Whether the register was last written by a load from memory, with nothing costly behind it."""
    for row in reversed(window):
        if re.match(rf"movl?\s+[^%$].*\), ?%{register}$", row) or \
                re.match(rf"(ldar|ldapr|ldr)\s+{register}, \[", row):
            return True
        if STOPS.match(row) or JUMP.match(row):
            return False
    return False


def check(text):
    """(problems, how many calls of the slow halves there are)"""
    problems, sites = [], 0
    for name, body in parse(text).items():
        for index, (address, instruction) in enumerate(body):
            if not CALL.match(instruction) or not SLOW.search(slow_name(instruction)):
                continue
            sites += 1
            deciding = guards(body, index)
            if not deciding:
                problems.append(f"{name} at {address:x}: calls the slow half without a test")
            problems += [f"{name} at {body[guard][0]:x}: '{body[guard][1]}' is no test of a flag"
                         for guard in deciding if not is_flag_test(body, guard)]
    return problems, sites


def slow_name(instruction):
    match = re.search(r"(<[^>]*>)$", instruction)
    return re.sub(r"(bind_(?:general|cache)_once)E\w*>", r"\1Ex>", match.group(1)) if match else ""


ONCE = "1 <_ZN9mesh_fib67runtime15bind_cache_onceERNS0_4unitE>"
X86 = """0000000000000010 <f>:
  10:\tmov    0x88(%rdi),%eax
  16:\ttest   %eax,%eax
  18:\tjne    1f <f+0xf>
  1a:\tcall   {once}
  1f:\tret
"""
X86_MOVED = """0000000000000010 <f>:
  10:\tmov    0x29294(%rip),%eax        # 550e0 <unit+0x88>
  16:\tmov    %rdi,%rbx
  18:\ttest   %eax,%eax
  1a:\tje     20 <f+0x10>
  1c:\tret
  20:\tmov    %rbx,%rdi
  23:\tjmp    {once}
"""
ARM = """0000000000000010 <f>:
  10:\tadd    x1, x0, #0x98
  14:\tldar   w1, [x1]
  18:\tcbnz   w1, 20 <f+0x10>
  1c:\tbl     {once}
  20:\tret
"""
# As LLVM's disassembler words it.
X86_LLVM = """0000000000000010 <f>:
      10: cmpl\t$0, 136(%rdi)
      16: je\t0x20 <f+0x10>
      18: retq
      20: jmp\t0x{once}
"""
LOCKED = X86.replace("  16:", "  14:\tlock cmpxchg %ecx,(%rdi)\n  16:")
CALLED = X86.replace("  16:", "  14:\tcall   99 <pthread_mutex_lock@plt>\n  16:")
UNTESTED = "0000000000000010 <f>:\n  10:\tpush   %rbx\n  11:\tcall   {once}\n  16:\tret\n"
OTHER = X86.replace("mov    0x88(%rdi),%eax", "mov    %esi,%eax")
ARM_CALLED = ARM.replace("  18:", "  16:\tbl     99 <pthread_mutex_lock@plt>\n  18:")


def self_test():
    wrong = []
    for title, text, good in (("x86", X86, True), ("x86, moved", X86_MOVED, True),
                              ("x86, llvm", X86_LLVM, True),
                              ("arm", ARM, True), ("x86, locked", LOCKED, False),
                              ("x86, calling", CALLED, False), ("untested", UNTESTED, False),
                              ("x86, no flag", OTHER, False), ("arm, calling", ARM_CALLED, False)):
        problems, sites = check(text.replace("{once}", ONCE))
        if sites != 1 or bool(problems) == good:
            wrong.append(f"{title}: {sites} calls, {problems or 'nothing found'}")
    return wrong


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--objdump", default="objdump")
    parser.add_argument("--self-test", action="store_true")
    parser.add_argument("library", nargs="?")
    arguments = parser.parse_args()
    if arguments.self_test:
        problems = self_test()
    elif arguments.library is None:
        parser.error("expected a library")
    else:
        text = subprocess.run([arguments.objdump, "-d", "--no-show-raw-insn", arguments.library],
                              check=True, capture_output=True, text=True).stdout
        problems, sites = check(text)
        if sites == 0:
            problems.append("no call of a slow half: does the library still have its symbols?")
        print(f"{sites} calls of the slow halves of a binding")
    for problem in problems:
        print(problem)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
