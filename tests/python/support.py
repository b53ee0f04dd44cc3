"""What the tests of the Python package share: the package itself, golden files, the second codec.

Room: tests.
"""

import ctypes
import json
import os
import pathlib
import re
import sys
import unittest

sys.dont_write_bytecode = True
SETTINGS = json.loads(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8"))
os.environ["MESH_FIB6_LIBRARY"] = SETTINGS["library"]
GOLDEN = pathlib.Path(SETTINGS["source"], "tests", "golden")
sys.path.insert(0, str(pathlib.Path(SETTINGS["source"], "python")))


class Accounts(ctypes.Structure):
    """osal_host_accounts of host/osal_host.h."""
    _fields_ = [(name, ctypes.c_uint64) for name in (
        "allocations", "releases", "live_blocks", "live_bytes", "peak_blocks", "peak_bytes",
        "failed_allocations", "wrong_releases", "log_lines", "injected_failures", "overruns")]


def load_for_all(name):
    """A library whose functions the others find: before the package is imported."""
    return ctypes.CDLL(SETTINGS[name], mode=ctypes.RTLD_GLOBAL)


def reference():
    """The second codec."""
    return ctypes.CDLL(SETTINGS["reference"])


def member(record, name):
    """What is called so in a record: a member, or an element of one: 'f1' or 'f1[0]'."""
    name, _, index = name.rstrip("]").partition("[")
    value = getattr(record, name)
    return value[int(index)] if index else value


def set_line(record, line):
    """Does what a line of a golden file's record says; tests/golden/README.md."""
    path, value = re.fullmatch(r"(\S+) (?:= )?(.*)", line).groups()
    *owners, last = re.split(r"\.(?![^\[]*\])", path)
    for owner in owners:
        record = member(record, owner)
    name, first, end = re.fullmatch(r"(f\d+)(?:\[(\d+)\.\.(\d+)\])?", last).groups()
    kind = {each.name: each.kind for each in members_of(type(record))}[name]
    there = getattr(record, name)
    if value.startswith("count "):
        count = int(value.removeprefix("count "))
        if isinstance(kind, Vector):
            setattr(record, name, [kind.type() for _ in range(count)])
        elif isinstance(kind, ByteVector):
            setattr(record, name, bytes(count))
        return
    if isinstance(there, int):
        setattr(record, name, int(value, 0))
        return
    items = list(there)
    first, end = (int(first), int(end) + 1) if first else (0, len(items))
    given = [int(word, 16) for word in value.split()]
    if len(given) != end - first:
        raise ValueError(f"{line}: {end - first} items, not {len(given)}")
    items[first:end] = given
    setattr(record, name, type(there)(items))


class Image:
    """Bytes of a golden file, and the record that they are."""

    def __init__(self, name, record):
        self.name, self.record = name, record
        self.is_fixed = name.endswith("_fixed")
        self.data = b""

    def __repr__(self):
        return f"{type(self.record).__name__} {self.name}"


def images_of(message):
    """Those in the common byte order: no other is set in a process of Python's."""
    path = GOLDEN / f"{message.__name__}.txt"
    records, images, here, is_record = {}, [], None, False
    for line in path.read_text(encoding="ascii").splitlines():
        line = line.strip()
        if not line or line.startswith("#"):
            continue
        section = re.fullmatch(r"\[(record )?(\w+)\]", line)
        if section:
            is_record, name = bool(section[1]), section[2]
            if is_record:
                here = records[name] = message()
            else:
                here = Image(name, records[re.sub(r"_swap_\d$", "", name).removesuffix("_fixed")])
                images.append(here)
        elif is_record:
            set_line(here, line)
        else:
            here.data += bytes.fromhex(line.split("|")[1])
    return [image for image in images if "_swap_" not in image.name]


def all_images():
    return [image for message in messages.values() for image in images_of(message)]


def main(cases):
    """Runs one case: SCRIPT SETTINGS_JSON CASE."""
    suite = unittest.TestSuite([cases("test_" + sys.argv[2])])
    return 0 if unittest.TextTestRunner().run(suite).wasSuccessful() else 1


# What has to be in the process before the library binds to it.
if "memory_test" in sys.argv[0]:
    OSAL = load_for_all("osal")
if "golden_test" in sys.argv[0]:
    MESH = load_for_all("mesh")

from mesh_fib6 import messages  # noqa: E402
from mesh_fib6._record import ByteVector, Vector, members_of  # noqa: E402
