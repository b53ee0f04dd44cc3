"""What scripts/package makes packages of: the tree, its version, and that each installed file is in one
package. The packages themselves are tried by scripts/try-packages.

Room: tests. Runs scripts/package; reads debian/; knows the library only as a list of installed files.

usage: packages_test.py SETTINGS_JSON CASE
"""

import fnmatch
import hashlib
import os
import pathlib
import re
import subprocess
import sys

sys.dont_write_bytecode = True

from installation_test import COMPONENTS, ON_DEMAND, SETTINGS, Installation, expected_files, main  # noqa: E402


class Packages(Installation):

    def prepare(self, name, *options, umask=0o022):
        """The source tree of the packages."""
        place = self.work / name
        done = subprocess.run([self.source("scripts/package"), "--prepare", place, *options], text=True,
                              capture_output=True, check=False, umask=umask)
        self.assertEqual(done.returncode, 0, done.stderr)
        return place

    @staticmethod
    def source(path):
        return pathlib.Path(SETTINGS["source"]) / path

    def check_version(self, tree, version):
        changes = (tree / "debian/changelog").read_text(encoding="utf-8")
        self.assertEqual(changes.splitlines()[0], f"mesh-fib6 ({version}) stable; urgency=medium")
        self.assertRegex((tree / "CMakeLists.txt").read_text(encoding="utf-8"),
                         f"(?m)^project[(]mesh_fib6 VERSION {re.escape(version)} ")

    def package_names(self):
        control = self.source("debian/control").read_text(encoding="utf-8")
        return re.findall("(?m)^Package: (.*)$", control)

    def test_HaveTheProjectsVersion(self):
        self.check_version(self.prepare("tree"), SETTINGS["version"])

    def test_HaveAnotherVersionThroughoutWhereOneIsNamed(self):
        self.check_version(self.prepare("tree", "--as-version", "98.76.54"), "98.76.54")

    def test_NameTheLibraryAfterTheMajorVersion(self):
        major = SETTINGS["version"].split(".", maxsplit=1)[0]
        self.assertIn(f"libmesh-fib6-{major}", self.package_names())

    def test_AreMadeOfTheSameTreeWhateverTheUmaskWas(self):
        trees = [self.prepare("open", umask=0o002), self.prepare("closed", umask=0o077)]
        told = []
        for tree in trees:
            rows = {}
            for path in sorted(tree.rglob("*")):
                seen = path.lstat()
                content = hashlib.sha256(path.read_bytes()).hexdigest() if path.is_file() else ""
                rows[str(path.relative_to(tree))] = (oct(seen.st_mode), int(seen.st_mtime), content)
            told.append(rows)
        self.assertIn("debian/changelog", told[0])
        self.assertNotIn(".git", told[0])
        self.assertNotIn("build", told[0])
        self.assertEqual(told[0], told[1])

    def test_HoldEachInstalledFileOnce(self):
        SETTINGS["lib"] = "lib/aarch64-linux-gnu"
        SETTINGS["include"], SETTINGS["share"] = "include", "share"
        SETTINGS["data"], SETTINGS["doc"] = "share/mesh_fib6", "share/doc/mesh_fib6"
        SETTINGS["python"] = "lib/python3/dist-packages"
        files = [f"usr/{path}" for path in expected_files(*COMPONENTS, *ON_DEMAND)]
        holders, useless = {path: [] for path in files}, []
        for package in self.package_names():
            for line in self.source(f"debian/{package}.install").read_text(encoding="utf-8").splitlines():
                pattern = line.split()[0]
                # A * of dh_install stays in its folder; a folder is taken with all that is in it.
                expression = re.compile(fnmatch.translate(pattern).replace(".*", "[^/]*").replace(r"\Z", "(/.*)?$"))
                found = [path for path in files if expression.match(path)]
                for path in found:
                    holders[path].append(package)
                if not found:
                    useless.append((package, pattern))
        self.assertEqual({path: names for path, names in holders.items() if len(names) != 1}, {})
        self.assertEqual(useless, [])

    def test_AreNotMadeInAFolderThatIsThereAlready(self):
        done = subprocess.run([self.source("scripts/package"), "--prepare", self.work], text=True,
                              capture_output=True, check=False)
        self.assertEqual((done.returncode, done.stderr),
                         (1, f"package: --prepare: '{self.work}' is there already\n"))
        self.assertEqual(os.listdir(self.work), ["manifests"])


if __name__ == "__main__":
    sys.exit(main(Packages))
