"""Counts the library's instructions in the work of bench_counts.

Room: bench. Two counters, one result: {workload: {"library": per entry, "all": per entry or None}}.
"library" is what the library executes itself, with all that is inlined into it; "all" adds what it
calls (libc's memcpy, malloc, free).
"""

import os
import re
import subprocess
import tempfile
from pathlib import Path


class CountError(Exception):
    pass


def announced(text):
    """What bench_counts prints: (from, to) of the library, the mark's address, [(name, entries)]."""
    library = [(int(a, 16), int(b, 16)) for a, b in re.findall(r"^library (\w+) (\w+)$", text, re.M)]
    mark = re.search(r"^mark (\w+)$", text, re.M)
    workloads = [(n, int(e)) for n, e in re.findall(r"^workload (\S+) (\d+)$", text, re.M)]
    if not library or not mark or not workloads:
        raise CountError("bench_counts does not say what it did; its output:\n" + text)
    return library, int(mark[1], 16), workloads


def of_dump(path):
    """(the library's, all) instructions of one callgrind dump."""
    library = everything = 0
    inside = call = False
    for line in path.read_text(encoding="utf-8", errors="replace").splitlines():
        if line.startswith("ob="):
            inside = line.endswith("/libmesh_fib6.so")
        elif line.startswith("calls="):
            call = True  # the next line is the callee's cost, which stands under its own name
        elif line[:1] in "0123456789+-*" and line:
            if not call:
                cost = int(line.split()[1])
                everything += cost
                library += cost if inside else 0
            call = False
    return library, everything


def with_callgrind(executable):
    with tempfile.TemporaryDirectory(prefix="mesh-fib6-counts-") as folder:
        out = Path(folder) / "dump"
        done = subprocess.run(
            ["valgrind", "--tool=callgrind", "--dump-before=bench_mark", "--compress-strings=no",
             "--compress-pos=no", f"--callgrind-out-file={out}", str(executable)],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False)
        if done.returncode != 0:
            raise CountError(f"{executable} failed under valgrind:\n{done.stderr}")
        _, _, workloads = announced(done.stdout)
        # Every mark ends a dump: the odd ones hold what lies before the work, the even ones the work.
        counts = {}
        for i, (name, entries) in enumerate(workloads):
            dump = Path(f"{out}.{2 * i + 2}")
            if not dump.exists():
                raise CountError(f"callgrind has not counted '{name}': the mark was not reached")
            library, everything = of_dump(dump)
            counts[name] = {"library": library / entries, "all": everything / entries}
        return counts


def with_emulator(executable, emulator="qemu-aarch64-static"):
    """One instruction a block, each block logged as it is executed; only the library's are kept."""
    found = subprocess.run([emulator, str(executable)], stdout=subprocess.PIPE, text=True, check=False)
    if found.returncode != 0:
        raise CountError(f"{executable} failed under {emulator}")
    library, mark, workloads = announced(found.stdout)
    ranges = [f"{a:#x}..{b - 1:#x}" for a, b in library] + [f"{mark:#x}..{mark + 3:#x}"]
    command = [emulator, "-singlestep", "-d", "exec,nochain", "-dfilter", ",".join(ranges), str(executable)]
    with tempfile.TemporaryFile("w+") as said:
        process = subprocess.Popen(command, stdout=said, stderr=subprocess.PIPE, text=True)
        counts, counting, n = [], False, 0
        at_mark = f"/{mark:016x}/"
        for line in process.stderr:
            if at_mark in line:
                if counting:
                    counts.append(n)
                counting, n = not counting, 0
            elif counting and line.startswith("Trace"):
                n += 1
        if process.wait() != 0:
            raise CountError(f"{executable} failed under {emulator} while it was traced")
        said.seek(0)
        if announced(said.read()) != (library, mark, workloads):
            raise CountError("the library was loaded at another address than in the run before")
    if len(counts) != len(workloads):
        raise CountError(f"{len(workloads)} workloads, but {len(counts)} pairs of marks in the trace")
    return {name: {"library": count / entries, "all": None}
            for (name, entries), count in zip(workloads, counts)}
