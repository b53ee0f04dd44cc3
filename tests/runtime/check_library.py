"""The built shared library, looked at from outside: what it needs, exports, and how it is linked.

Room: tests. Reads the library with the nm and readelf of the architecture it was built for.
"""

import argparse
import re
import subprocess
import sys

# Six units, one byte-order flag initialiser each, and the compiler's own frame_dummy.
CONSTRUCTORS = 6 + 1
POINTER = 8


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def dynamic_entries(readelf, library):
    """(tag, value) pairs of the dynamic section, as readelf words them."""
    text = run(readelf, "--wide", "--dynamic", library)
    return re.findall(r"^\s*0x[0-9a-f]+\s+\((\w+)\)\s*(.*)$", text, re.M)


def values(entries, tag):
    return [value for name, value in entries if name == tag]


def bracketed(entries, tag):
    return [re.search(r"\[(.*)\]", value).group(1) for value in values(entries, tag)]


def check_needed(entries):
    needed = set(bracketed(entries, "NEEDED"))
    expected = {"libtolvimesh.so", "libc.so.6"}
    return [] if needed == expected else [f"needs {sorted(needed)}, not {sorted(expected)}"]


def check_soname(entries):
    names = bracketed(entries, "SONAME")
    return [] if names == ["libmesh_fib6.so"] else [f"SONAME is {names}"]


def check_exports(nm, library, list_path):
    lines = run(nm, "--dynamic", "--defined-only", "--extern-only", library).splitlines()
    exported = [line.split()[-1] for line in lines]
    with open(list_path, encoding="ascii") as file:
        expected = file.read().split()
    problems = []
    if expected != sorted(set(expected)):
        problems.append(f"{list_path} is not sorted or repeats itself")
    if not expected:
        problems.append(f"{list_path} is empty")
    problems += [f"does not export {name}" for name in sorted(set(expected) - set(exported))]
    problems += [f"exports {name}, which is not listed"
                 for name in sorted(set(exported) - set(expected))]
    problems += [f"{line} is not a plain function"
                 for line in lines if line.split()[-2] != "T"]
    return problems


def segments(readelf, library):
    """(type, flags) of every program header."""
    text = run(readelf, "--wide", "--program-headers", library)
    rows = re.findall(r"^\s*([A-Z_]+)\s+0x\S+ 0x\S+ 0x\S+ 0x\S+ 0x\S+ ([R ][W ][E ])", text, re.M)
    return [(kind, flags.replace(" ", "")) for kind, flags in rows]


def check_hardening(readelf, library, entries):
    found = segments(readelf, library)
    flags = " ".join(values(entries, "FLAGS") + values(entries, "FLAGS_1"))
    problems = []
    if "GNU_RELRO" not in dict(found):
        problems.append("has no read-only-after-relocation segment")
    if "BIND_NOW" not in flags and "NOW" not in flags:
        problems.append("binds lazily: its relocations stay writable")
    if ("GNU_STACK", "RW") not in found:
        problems.append("asks for an executable stack, or does not say")
    if values(entries, "TEXTREL") or "TEXTREL" in flags:
        problems.append("relocates its text")
    problems += [f"maps a segment both writable and executable: {flags}"
                 for kind, flags in found if kind == "LOAD" and "W" in flags and "E" in flags]
    return problems


def check_constructors(entries):
    sizes = values(entries, "INIT_ARRAYSZ")
    count = int(sizes[0].split()[0]) // POINTER if sizes else 0
    if count != CONSTRUCTORS:
        return [f"has {count} constructors, not {CONSTRUCTORS}"]
    return []


def main():
    parser = argparse.ArgumentParser()
    for name in ("--nm", "--readelf", "--exports", "library"):
        parser.add_argument(name, **({"required": True} if name.startswith("--") else {}))
    arguments = parser.parse_args()
    library = arguments.library
    entries = dynamic_entries(arguments.readelf, library)
    problems = (check_needed(entries) + check_soname(entries)
                + check_exports(arguments.nm, library, arguments.exports)
                + check_hardening(arguments.readelf, library, entries)
                + check_constructors(entries))
    for problem in problems:
        print(f"{library}: {problem}")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
