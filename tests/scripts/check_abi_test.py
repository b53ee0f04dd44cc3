"""What scripts/check-abi takes for a broken interface and what not.

Room: tests. Compiles a library of two functions and changes it as a library is changed.

usage: check_abi_test.py CASE
"""

import pathlib
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
CHECK = ROOT / "scripts" / "check-abi"
RECORD = "struct hop { unsigned index; unsigned weight; unsigned char gateway[16]; };\n"
FIRST = "unsigned send(const struct hop *of) { return of->weight; }\n"
SECOND = "unsigned forget(struct hop *of) { return of->index; }\n"


class CheckAbi(unittest.TestCase):

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.work = pathlib.Path(folder.name)
        self.baseline = self.work / "baseline.abi"
        self.check(self.library(RECORD + FIRST + SECOND), "--update")

    def library(self, source, name="lib.so", debug="-g"):
        path = self.work / name
        subprocess.run(["gcc", "-shared", "-fPIC", debug, "-Wl,-soname,lib.so", "-x", "c", "-", "-o", path],
                       input=source, text=True, check=True)
        return path

    def check(self, library, *options, status=0):
        libraries = library if isinstance(library, list) else [library]
        done = subprocess.run([CHECK, "--baseline", self.baseline, *options,
                               *(f"--library={path}" for path in libraries)], capture_output=True, text=True, check=False)
        self.assertEqual(done.returncode, status, done.stdout + done.stderr)
        return done.stdout + done.stderr

    def test_AcceptsWhatIsAsItWas(self):
        told = self.check(self.library("/* elsewhere */\n\n" + RECORD + SECOND + FIRST))
        self.assertIn("lib.so: compatible\n", told)

    def test_AcceptsAFunctionMoreAndTellsIt(self):
        told = self.check(self.library(RECORD + FIRST + SECOND + "unsigned count(void) { return 0; }\n"))
        self.assertIn("compatible, with additions", told)
        self.assertIn("count", told)

    def test_RefusesAFunctionLess(self):
        told = self.check(self.library(RECORD + FIRST), status=1)
        self.assertIn("incompatible", told)
        self.assertIn("forget", told)

    def test_RefusesAMemberMore(self):
        told = self.check(self.library(RECORD.replace("gateway[16];", "gateway[16]; unsigned metric;") + FIRST + SECOND),
                          status=1)
        self.assertIn("metric", told)

    def test_RefusesMembersThatChangedPlaces(self):
        source = RECORD.replace("index; unsigned weight;", "weight; unsigned index;") + FIRST + SECOND
        self.assertIn("offset changed", self.check(self.library(source), status=1))

    def test_RefusesAMemberOfAnotherTypeOfTheSameSize(self):
        self.assertIn("weight", self.check(self.library(RECORD.replace("unsigned weight", "float weight") + FIRST + SECOND),
                                           status=1))

    def test_RefusesAParameterMore(self):
        source = RECORD + FIRST.replace("of)", "of, unsigned flags)") + SECOND
        self.assertIn("parameter 2", self.check(self.library(source), status=1))

    def test_RefusesAnotherResult(self):
        self.check(self.library(RECORD + "unsigned long" + FIRST.removeprefix("unsigned") + SECOND), status=1)

    def test_RefusesOneOfTwoLibraries(self):
        good = self.library(RECORD + FIRST + SECOND)
        bad = self.library(RECORD + FIRST, "other.so")
        told = self.check([good, bad], status=1)
        self.assertIn("lib.so: compatible", told)
        self.assertIn("other.so: incompatible", told)

    def test_RecordsNothingWhereTwoLibrariesDiffer(self):
        before = self.baseline.read_text()
        told = self.check([self.library(RECORD + FIRST + SECOND), self.library(RECORD + FIRST, "other.so")],
                          "--update", status=1)
        self.assertIn("nothing was recorded", told)
        self.assertEqual(self.baseline.read_text(), before)

    def test_ComparesNoLibraryWithoutTypes(self):
        self.assertIn("expected a library with debug information",
                      self.check(self.library(RECORD + FIRST + SECOND, debug="-g0"), status=1))

    def test_SaysWhatIsMissing(self):
        self.assertIn("no such file", self.check(self.work / "none.so", status=1))
        self.baseline.unlink()
        self.assertIn("no such file, expected the recorded interface",
                      self.check(self.library(RECORD + FIRST + SECOND), status=1))

    def test_HoldsTodaysRecordToBeThatOfTheListOfExports(self):
        recorded = (ROOT / "abi" / "libmesh_fib6.abi").read_text()
        names = [line.split("'")[1] for line in recorded.splitlines() if line.lstrip().startswith("<elf-symbol ")]
        self.assertEqual(names, (ROOT / "abi" / "exports.txt").read_text().split())


if __name__ == "__main__":
    sys.argv[1:] = [f"CheckAbi.test_{case}" for case in sys.argv[1:]]
    unittest.main()
