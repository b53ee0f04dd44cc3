"""CHANGELOG.md begins with the version of the project, or with what is not released yet; the packages' change
log agrees.

Room: tests. Reads documents; runs scripts/package, which builds nothing here.

usage: changes_test.py [CASE]
"""

import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(__file__).resolve().parents[2]
HEADING = re.compile(r"(?m)^## \[(Unreleased|\d+\.\d+\.\d+)\](?: - (\d{4}-\d\d-\d\d))?$")
KINDS = {"Added", "Changed", "Deprecated", "Removed", "Fixed", "Security", "Known limits"}


def numbers(version):
    return tuple(map(int, version.split(".")))


def stated_version():
    text = (SOURCE / "CMakeLists.txt").read_text(encoding="utf-8")
    return re.search(r"(?m)^project\(mesh_fib6 VERSION (\d+\.\d+\.\d+) ", text)[1]


class Changes(unittest.TestCase):

    def test_BeginWithTheProjectsVersionOrWithWhatIsNotReleased(self):
        text = (SOURCE / "CHANGELOG.md").read_text(encoding="utf-8")
        headings = HEADING.findall(text)
        self.assertEqual(len(headings), len(re.findall("(?m)^## ", text)))
        newest, date = headings[0]
        if newest == "Unreleased":
            self.assertEqual(date, "")
            self.assertIn(f"Becomes {stated_version()}", text)
        else:
            self.assertEqual(newest, stated_version())
        released = [version for version, _ in headings if version != "Unreleased"]
        self.assertEqual(released, sorted(set(released), key=numbers, reverse=True))
        self.assertTrue(all(date for version, date in headings if version != "Unreleased"))
        self.assertNotIn("Unreleased", [version for version, _ in headings[1:]])
        self.assertEqual(set(re.findall("(?m)^### (.*)$", text)) - KINDS, set())

    def test_OfThePackagesSayTheSameVersionAndWhereTheChangesAre(self):
        with tempfile.TemporaryDirectory(prefix="mesh-fib6-changes.") as folder:
            tree = pathlib.Path(folder) / "tree"
            subprocess.run([SOURCE / "scripts/package", "--prepare", tree], check=True, capture_output=True)
            changes = (tree / "debian/changelog").read_text(encoding="utf-8")
            self.assertTrue(changes.startswith(f"mesh-fib6 ({stated_version()}) "), changes)
            self.assertIn("CHANGELOG.md", changes)
            self.assertTrue((tree / "CHANGELOG.md").is_file())


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0]] + [f"Changes.test_{case}" for case in sys.argv[1:]])
