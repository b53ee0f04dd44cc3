"""docs/host.md has a test behind each promise, and that test is there.

Room: tests. Reads sources and the document; runs nothing.

usage: host_promises_test.py [CASE]
"""

import pathlib
import re
import unittest

SOURCE = pathlib.Path(__file__).resolve().parents[2]
HEAD = "| promise | local | nats |"
# What is the same code on both ways is tried on one.
ELSEWHERE = "(by the same code)"


def promises():
    """The rows of the table: promise, tests by way."""
    lines = (SOURCE / "docs/host.md").read_text(encoding="utf-8").splitlines()
    rows = []
    for line in lines[lines.index(HEAD) + 2:]:
        if not line.startswith("|"):
            break
        rows.append([cell.strip() for cell in line.strip("|").split("|")])
    return rows


def tests():
    """The names of the tests of the host."""
    found = set()
    for path in (SOURCE / "tests/host").glob("*.cpp"):
        for suite, name in re.findall(r"TEST(?:_F|_P)?\((\w+),\s*(\w+)\)", path.read_text(encoding="utf-8")):
            found.add(f"{suite}.{name}")
    return found


class HostPromises(unittest.TestCase):

    def test_EachHasATestThatIsThere(self):
        known = tests()
        rows = promises()
        self.assertGreater(len(rows), 10)
        for promise, *ways in rows:
            with self.subTest(promise=promise):
                named = re.findall(r"`(\w+\.\w+)`", " ".join(ways))
                self.assertTrue(named, "no test")
                self.assertEqual([name for name in named if name not in known], [])

    def test_EachThatIsMadeForBothWaysIsTriedForBoth(self):
        both = {name for name in tests() if name.startswith("Promise.")}
        for promise, local, nats in promises():
            with self.subTest(promise=promise):
                for name in re.findall(r"`(Promise\.\w+)`", local + nats):
                    self.assertIn(name, both)
                    self.assertIn(f"`{name}`", nats)


if __name__ == "__main__":
    import sys
    unittest.main(argv=[sys.argv[0]] + [f"HostPromises.test_{case}" for case in sys.argv[1:]])
