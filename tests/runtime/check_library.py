"""The built shared library, looked at from outside: what it needs, exports, how it is linked, and
how its code is hardened.

Room: tests. Reads the library and its objects with the tools of the architecture they were built for.
"""

import argparse
import json
import os
import re
import shlex
import subprocess
import sys
import tempfile

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


def check_imports(nm, library):
    """The link on aarch64 lets undefined names pass, so they are looked at here: a name that is not
    weak and has no version of libc's is the mesh's, or the loader's guard word."""
    rows = [line.split() for line in run(nm, "--dynamic", "--undefined-only", library).splitlines()]
    return [f"needs {name} from nobody" for kind, name in (row[-2:] for row in rows)
            if kind == "U" and "@GLIBC_" not in name and not name.startswith("MESH_")
            and name != "__stack_chk_guard"]


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


def functions(objdump, library):
    """{name: [instruction with operands]} of the library's text."""
    found, body = {}, []
    for line in run(objdump, "-d", "--no-show-raw-insn", library).splitlines():
        head = re.match(r"[0-9a-f]+ <(.*)>:$", line)
        if head:
            body = found.setdefault(head.group(1), [])
        elif re.match(r"\s+[0-9a-f]+:\s", line):
            body.append(" ".join(line.split(":", 1)[1].split()))
    return found


def check_landing_pads(objdump, library, machine, list_path):
    """An indirect call may only land where the code says so: at the first instruction of an export.
    On aarch64 a function that saves its return address signs it first."""
    pads = {"x86": r"endbr64", "arm": r"(bti (c|jc)|paci[ab]sp)"}[machine]
    text = functions(objdump, library)
    with open(list_path, encoding="ascii") as file:
        names = file.read().split()
    problems = [f"{name} begins with '{text.get(name, ['nothing'])[0]}'" for name in names
                if not re.match(pads, text.get(name, [""])[0])]
    if machine == "arm":
        # The C library's start-up objects are the toolchain's, and not signed there.
        start_up = {"_init", "_fini", "call_weak_fn", "__do_global_dtors_aux",
                    "deregister_tm_clones", "register_tm_clones", "frame_dummy"}
        problems += [f"{name} saves its return address unsigned" for name, body in text.items()
                     if name not in start_up and not name.startswith((".plt", "$"))
                     and any(re.match(r"st[pr] .*\bx30\b.*\[sp", row) for row in body)
                     and not any(row.startswith("paciasp") for row in body)]
    return problems


def check_notes(readelf, objects, machine):
    """The linker keeps the note only when every object has it, and Debian's crti.o has none. So the
    objects are looked at: on a toolchain with full start-up files the library gets the note."""
    wanted = {"x86": r"x86 feature: IBT, SHSTK", "arm": r"AArch64 feature: BTI, PAC"}[machine]
    return [f"{os.path.basename(name)} is not compiled for branch protection" for name in objects
            if not re.search(wanted, run(readelf, "--wide", "--notes", name))]


def check_stack_protector(nm, readelf, library, objects):
    problems = []
    if "__stack_chk_fail" not in run(nm, "--dynamic", "--undefined-only", library):
        problems.append("has no stack protector")
    guarded, sending = set(), set()
    for name in objects:
        for section in re.split(r"^Relocation section ", run(readelf, "--wide", "--relocs", name),
                                flags=re.M)[1:]:
            title = section.split("'")[1]
            # Holds the largest array of the library, the image of a flat message.
            if "send_image" in title and ".text" in title:
                sending.add(title)
                if "__stack_chk_fail" in section:
                    guarded.add(title)
    if not sending:
        problems.append("has no send_image, whose stack is to be guarded")
    problems += [f"{title} holds an array and no stack guard" for title in sending - guarded]
    return problems


PROBE = """#include <cstring>
void *probe(const void *from, unsigned long size, void (*use)(char *)) {
  char area[8];
  memcpy(area, from, size);
  use(area);
  return nullptr;
}
"""


def check_fortified(nm, compile_commands, objects):
    """Every size in the library is that of a caller's buffer, which the compiler cannot know, so no
    checked call stands in it. That its options would put one is shown by a function that has one."""
    problems, commands = [], []
    with open(compile_commands, encoding="utf-8") as file:
        for entry in json.load(file):
            words = shlex.split(entry["command"])
            place = words.index("-o") + 1
            output = os.path.join(entry["directory"], words[place])
            if os.path.realpath(output) in {os.path.realpath(name) for name in objects}:
                commands.append((entry, words, place))
    if len(commands) != len(objects):
        return [f"{len(objects)} objects, but the commands of {len(commands)}"]
    for entry, words, place in commands:
        with tempfile.TemporaryDirectory() as folder:
            source = os.path.join(folder, "probe.cpp")
            with open(source, "w", encoding="ascii") as file:
                file.write(PROBE)
            output = os.path.join(folder, "probe.o")
            words = [source if word == entry["file"] else word for word in words]
            words[place] = output
            subprocess.run(words, cwd=entry["directory"], check=True, capture_output=True)
            undefined = run(nm, "--undefined-only", output)
        problems += [f"{entry['file']} is compiled without {name}"
                     for name in ("__memcpy_chk", "__stack_chk_fail") if name not in undefined]
    return problems


def machine_of(readelf, library):
    text = run(readelf, "--file-header", library)
    return "arm" if "AArch64" in text else "x86"


def check_constructors(entries):
    sizes = values(entries, "INIT_ARRAYSZ")
    count = int(sizes[0].split()[0]) // POINTER if sizes else 0
    if count != CONSTRUCTORS:
        return [f"has {count} constructors, not {CONSTRUCTORS}"]
    return []


def main():
    parser = argparse.ArgumentParser()
    for name in ("--nm", "--readelf", "--objdump", "--exports", "library"):
        parser.add_argument(name, **({"required": True} if name.startswith("--") else {}))
    parser.add_argument("--objects", nargs="+", required=True)
    parser.add_argument("--compile-commands", help="of a build that is fortified")
    arguments = parser.parse_args()
    library = arguments.library
    entries = dynamic_entries(arguments.readelf, library)
    machine = machine_of(arguments.readelf, library)
    problems = (check_needed(entries) + check_soname(entries)
                + check_exports(arguments.nm, library, arguments.exports)
                + check_imports(arguments.nm, library)
                + check_hardening(arguments.readelf, library, entries)
                + check_constructors(entries)
                + check_landing_pads(arguments.objdump, library, machine, arguments.exports)
                + check_notes(arguments.readelf, arguments.objects, machine)
                + check_stack_protector(arguments.nm, arguments.readelf, library,
                                        arguments.objects))
    if arguments.compile_commands:
        problems += check_fortified(arguments.nm, arguments.compile_commands, arguments.objects)
    for problem in problems:
        print(f"{library}: {problem}")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
