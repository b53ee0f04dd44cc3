"""Includes between the rooms of the source tree point one way.

Room: tests. Reads sources only; the table below is the one of docs/architecture.md.
usage: check_rooms.py TREE          prints every include that it forbids, fails if there is one
       check_rooms.py --self-test   plants forbidden includes in a tree of its own and finds them
"""

import os
import re
import sys
import tempfile

LIBRARY = ("include", "platform", "runtime", "wire", "transport", "modules")
# Whose sources a room may include, as patterns of paths from the root. The first pattern that
# matches a file says which room it is in. {m} is the module's own name.
MAY_INCLUDE = [
    # What users compile: plain C, nothing of the library's inside.
    (r"include/mesh_fib6/", [r"include/mesh_fib6/"]),
    (r"platform/", []),
    (r"runtime/", [r"runtime/", r"platform/"]),
    (r"wire/format/", [r"wire/format/", r"runtime/", r"platform/"]),
    (r"wire/general/", [r"wire/(general|format)/", r"runtime/", r"platform/"]),
    (r"wire/quick/", [r"wire/(quick|format)/", r"wire/general/handover\.h$", r"runtime/",
                      r"platform/"]),
    (r"wire/codec\.", [r"wire/", r"runtime/", r"platform/"]),
    (r"transport/", [r"transport/", r"wire/codec\.h$", r"wire/format/(schema|layout)\.h$",
                     r"runtime/", r"platform/"]),
    (r"modules/(?P<m>[^/]+)/", [r"modules/{m}/", r"include/mesh_fib6/{m}\.h$",
                                r"include/mesh_fib6/message_api\.h$", r"transport/",
                                r"wire/format/schema\.h$", r"runtime/", r"platform/"]),
    (r"host/", [r"host/", r"platform/"]),
    (r"tools/", [r"tools/", r"modules/[^/]+/schema\.h$", r"include/mesh_fib6/",
                 r"wire/format/(schema|layout)\.h$", r"transport/message\.h$", r"platform/mesh\.h$",
                 r"host/(status_file|directory)\.h$"]),
    (r"examples/", [r"host/(mesh|osal|memory)_host\.h$", r"platform/(mesh|osal)\.h$",
                    r"include/mesh_fib6/"]),
    (r"demo/", [r"demo/", r"host/(mesh|osal|memory)_host\.h$", r"platform/(mesh|osal)\.h$",
                r"include/mesh_fib6/"]),
    (r"fpm/", [r"fpm/", r"demo/", r"host/(mesh|osal)_host\.h$", r"platform/mesh\.h$",
               r"include/mesh_fib6/"]),
    # What the codec is compared with must not be made of it.
    (r"tests/reference/", [r"tests/reference/", r"tools/descriptors\.h$", r"include/mesh_fib6/"]),
]
# A processor's instructions are named in one file.
INTRINSICS = ("immintrin.h", "arm_neon.h")
LANES = "wire/quick/lanes.h"
# Folders that are searched for headers, and what users call those that are installed from elsewhere.
SEARCHED = ("", "include/")
INSTALLED = re.compile(r"mesh_fib6/((?:host|platform)/.*)")
INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*(?:"([^"\n]+)"|<([^>\n]+)>)', re.M)


def sources(tree):
    for room in (*LIBRARY, "host", "tools", "examples", "demo", "fpm", "tests/reference"):
        for folder, _, names in os.walk(os.path.join(tree, room)):
            for name in sorted(names):
                if name.endswith((".h", ".c", ".hpp", ".cpp")):
                    yield os.path.relpath(os.path.join(folder, name), tree)


def allowed(file, included):
    for room, patterns in MAY_INCLUDE:
        match = re.match(room, file)
        if match:
            own = match.groupdict().get("m") or ""
            return any(re.match(pattern.replace("{m}", re.escape(own)), included)
                       for pattern in patterns)
    return False


def target_of(tree, file, name, angled):
    """The path of what is included, from the root; None when it is not of this tree."""
    beside = os.path.normpath(os.path.join(os.path.dirname(file), name))
    choices = [os.path.normpath(folder + name) for folder in SEARCHED]
    choices += [match.group(1) for match in [INSTALLED.match(name)] if match]
    if not angled:
        choices.insert(0, beside)
    for choice in choices:
        if os.path.isfile(os.path.join(tree, choice)):
            return choice
    return None if angled else os.path.normpath(name)


def problems(tree):
    found = []
    for file in sources(tree):
        with open(os.path.join(tree, file), encoding="utf-8") as text:
            content = text.read()
        for match in INCLUDE.finditer(content):
            if match.group(2) in INTRINSICS and file != LANES:
                line = content.count("\n", 0, match.start()) + 1
                found.append(f"{file}:{line}: may not include {match.group(2)}, only {LANES} may")
                continue
            included = target_of(tree, file, match.group(1) or match.group(2),
                                 match.group(2) is not None)
            if included is None or allowed(file, included):
                continue
            if not os.path.isfile(os.path.join(tree, included)) and "/" not in included:
                continue  # made by the build, in a folder of its own
            line = content.count("\n", 0, match.start()) + 1
            found.append(f"{file}:{line}: may not include {included}")
    return found


# (file, what it includes, whether that is forbidden)
SAMPLES = [
    ("platform/a.h", "<stdint.h>", False),
    ("platform/a.h", '"platform/mesh.h"', True),
    ("platform/a.h", '"runtime/unit.h"', True),
    ("runtime/a.cpp", '"runtime/unit.h"', False),
    ("runtime/a.cpp", '"platform/osal.h"', False),
    ("runtime/a.cpp", '"wire/format/schema.h"', True),
    ("runtime/a.cpp", "<wire/format/schema.h>", True),
    ("wire/format/a.h", '"runtime/unit.h"', False),
    ("wire/format/a.h", '"schema.h"', False),
    ("wire/format/a.h", '"wire/general/reader.h"', True),
    ("wire/general/a.cpp", '"platform/memory.h"', False),
    ("wire/general/a.cpp", '"wire/format/schema.h"', False),
    ("wire/general/a.cpp", '"wire/quick/lanes.h"', True),
    ("wire/quick/a.h", '"wire/general/handover.h"', False),
    ("wire/quick/a.h", '"wire/general/reader.h"', True),
    ("wire/quick/a.h", '"../general/reader.h"', True),
    ("wire/quick/a.h", '"wire/codec.h"', True),
    ("wire/codec.h", '"wire/general/reader.h"', False),
    ("wire/codec.h", '"transport/send.h"', True),
    ("wire/format/a.h", '"transport/send.h"', True),
    ("wire/format/a.h", '"../../transport/send.h"', True),
    ("wire/format/a.h", "<mesh_fib6/one.h>", True),
    ("wire/format/a.h", '"tests/support/fake.h"', True),
    ("transport/a.cpp", '"wire/codec.h"', False),
    ("transport/a.cpp", '"wire/general/reader.h"', True),
    ("transport/a.cpp", '"wire/quick/lanes.h"', True),
    ("modules/one/one.cpp", '"wire/codec.h"', True),
    ("wire/general/a.cpp", "<arm_neon.h>", True),
    ("wire/quick/a.h", "<immintrin.h>", True),
    ("wire/quick/lanes.h", "<immintrin.h>", False),
    ("transport/a.cpp", '"wire/format/schema.h"', False),
    ("transport/a.cpp", '"platform/mesh.h"', False),
    ("transport/a.cpp", "<mesh_fib6/message_api.h>", True),
    ("transport/a.cpp", '"include/mesh_fib6/one.h"', True),
    ("modules/one/one.cpp", '"modules/one/schema.h"', False),
    ("modules/one/one.cpp", "<mesh_fib6/message_api.h>", False),
    ("modules/one/one.cpp", "<mesh_fib6/one.h>", False),
    ("modules/one/one.cpp", "<mesh_fib6/two.h>", True),
    ("modules/one/one.cpp", '"modules/two/schema.h"', True),
    ("modules/one/one.cpp", '"host/mesh_host.h"', True),
    ("modules/one/one.cpp", '"tools/descriptors.h"', True),
    ("modules/one/one.cpp", '"fuzz/seeds.h"', True),
    ("include/mesh_fib6/one.h", '"message_api.h"', False),
    ("include/mesh_fib6/one.h", "<stdint.h>", False),
    ("include/mesh_fib6/one.h", '"platform/mesh.h"', True),
    ("include/mesh_fib6/one.h", '"../../platform/mesh.h"', True),
    ("include/mesh_fib6/one.h", '"wire/format/schema.h"', True),
    ("host/a.cpp", '"platform/mesh.h"', False),
    ("host/a.h", '"../platform/mesh.h"', False),
    ("host/a.cpp", '"platform/osal.h"', False),
    ("host/a.cpp", "<mesh_fib6/one.h>", True),
    ("host/a.cpp", '"runtime/unit.h"', True),
    ("host/a.cpp", '"wire/format/schema.h"', True),
    ("tools/a.cpp", '"modules/one/schema.h"', False),
    ("tools/a.cpp", '"runtime/unit.h"', True),
    ("tools/a.cpp", '"host/mesh_host.h"', True),
    ("tools/a.cpp", '"host/status_file.h"', False),
    ("tools/a.cpp", '"host/directory.h"', False),
    ("examples/a.c", "<mesh_fib6/one.h>", False),
    ("examples/a.c", "<mesh_fib6/host/mesh_host.h>", False),
    ("examples/a.c", '"demo/text.h"', True),
    ("examples/a.c", "<mesh_fib6/host/connection.h>", True),
    ("demo/a.cpp", "<mesh_fib6/one.h>", False),
    ("demo/a.cpp", "<mesh_fib6/host/mesh_host.h>", False),
    ("demo/a.cpp", "<mesh_fib6/host/connection.h>", True),
    ("demo/a.cpp", "<mesh_fib6/platform/mesh.h>", False),
    ("demo/a.cpp", "<mesh_fib6/platform/memory.h>", True),
    ("demo/a.cpp", '"modules/one/schema.h"', True),
    ("demo/a.cpp", '"wire/format/schema.h"', True),
    ("demo/a.cpp", "<vector>", False),
    ("demo/a.cpp", '"fpm/feed.h"', True),
    ("fpm/a.cpp", '"fpm/feed.h"', False),
    ("fpm/a.cpp", '"demo/text.h"', False),
    ("fpm/a.cpp", "<mesh_fib6/host/mesh_host.h>", False),
    ("fpm/a.cpp", "<mesh_fib6/host/connection.h>", True),
    ("fpm/a.cpp", "<mesh_fib6/one.h>", False),
    ("fpm/a.cpp", '"wire/format/schema.h"', True),
    ("fpm/a.cpp", '"tools/descriptors.h"', True),
    ("tests/reference/a.cpp", '"tests/reference/b.h"', False),
    ("tests/reference/a.cpp", '"tools/descriptors.h"', False),
    ("tests/reference/a.cpp", "<mesh_fib6/one.h>", False),
    ("tests/reference/a.cpp", '"wire/format/schema.h"', True),
    ("tests/reference/a.cpp", '"transport/send.h"', True),
    ("tests/reference/a.cpp", '"runtime/unit.h"', True),
    ("tests/reference/a.cpp", '"tests/support/fake.h"', True),
    ("tests/reference/a.cpp", '"fuzz/seeds.h"', True),
]
THERE = ["include/mesh_fib6/message_api.h", "include/mesh_fib6/one.h", "include/mesh_fib6/two.h",
         "platform/mesh.h", "platform/osal.h", "platform/memory.h", "runtime/unit.h",
         "wire/format/schema.h", "wire/general/reader.h", "wire/general/handover.h",
         "wire/quick/lanes.h", "wire/codec.h", "transport/send.h", "modules/one/schema.h",
         "modules/two/schema.h", "host/mesh_host.h", "host/connection.h", "host/status_file.h",
         "host/directory.h", "demo/text.h", "fpm/feed.h", "tools/descriptors.h",
         "tests/reference/b.h", "tests/support/fake.h", "fuzz/seeds.h"]


def self_test():
    wrong = []
    for file, included, forbidden in SAMPLES:
        with tempfile.TemporaryDirectory() as tree:
            for name in dict.fromkeys([*THERE, file]):
                os.makedirs(os.path.join(tree, os.path.dirname(name)), exist_ok=True)
                with open(os.path.join(tree, name), "w", encoding="utf-8") as text:
                    text.write(f"#include {included}\n" if name == file else "\n")
            if bool(problems(tree)) != forbidden:
                wrong.append(f"{file} with {included}: {'not ' if forbidden else ''}objected to")
    return wrong


def main():
    if sys.argv[1:] in (["-h"], ["--help"]):
        print(__doc__.strip())
        return 0
    if len(sys.argv) != 2:
        print(__doc__.strip(), file=sys.stderr)
        return 2
    if sys.argv[1] == "--self-test":
        found = self_test()
    else:
        tree = sys.argv[1]
        if not any(True for _ in sources(tree)):
            sys.exit(f"check_rooms: no sources below {tree}")
        for room in LIBRARY:
            if not os.path.isdir(os.path.join(tree, room)):
                sys.exit(f"check_rooms: {tree} has no room {room}/")
        found = problems(tree)
    for problem in found:
        print(problem)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
