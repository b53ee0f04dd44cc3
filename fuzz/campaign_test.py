"""Campaigns: that they execute what they say, the same each time, and find what is wrong.

Room: attacks. Runs the programs that scripts/campaign runs, for less than a second each, and one of
which it is known what goes wrong.

usage: campaign_test.py SETTINGS_JSON CASE
"""

import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

SETTINGS = {}
DEPTHS = ("parameters", "refused", "failed", "decoded")
RUNS = 60000


class Campaigns(unittest.TestCase):

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.work = pathlib.Path(folder.name)

    def start(self, program, *arguments):
        return subprocess.run([*SETTINGS["emulator"].split(), SETTINGS[program], "--findings", self.work / "found",
                               *map(str, arguments)], capture_output=True, text=True, check=False)

    def campaign(self, target, **options):
        words = [word for name, value in options.items() for word in (f"--{name}", value)]
        done = self.start(target, *words, *SETTINGS[f"known_{target}"])
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        result = json.loads(done.stdout)
        del result["processor_seconds"]
        return result

    def test_TheSameSeedExecutesTheSameInputs(self):
        for target in ("decode", "mutated"):
            with self.subTest(target):
                first = self.campaign(target, seed=7, runs=5000)
                self.assertEqual(self.campaign(target, seed=7, runs=5000), first)
                self.assertNotEqual(self.campaign(target, seed=8, runs=5000)["digest"], first["digest"])

    def test_WhatIsSplitIsWhatIsWhole(self):
        for target in ("decode", "mutated"):
            with self.subTest(target):
                whole, *parts = (self.campaign(target, **{"from": start}, runs=runs)["messages"]
                                 for start, runs in ((100, 5000), (100, 1), (101, 2999), (3100, 2000)))
                for name, depths in whole.items():
                    for depth, count in depths.items():
                        self.assertEqual(sum(part[name][depth] for part in parts), count, (name, depth))

    def test_EveryMessageIsReadToItsEndAndRefusedInTheMiddle(self):
        for target in ("decode", "mutated"):
            with self.subTest(target):
                result = self.campaign(target, runs=RUNS)
                self.assertEqual(result["executions"], RUNS)
                self.assertEqual(result["findings"], 0)
                rows = result["messages"].values()
                self.assertEqual(len(rows), int(SETTINGS["messages"]))
                self.assertEqual(sum(row[depth] for row in rows for depth in DEPTHS), RUNS)
                # What needs no second decoder is not counted as compared.
                self.assertEqual(result["compared"], RUNS - sum(row["parameters"] for row in rows))
                self.assertGreater(result["compared"], 0.8 * RUNS)
                for row in rows:
                    self.assertGreater(row["failed"], 0)
                    self.assertGreater(row["decoded"], 0)

    def find(self, letter):
        """What the campaign says of a known input with that letter, and what the input is that it keeps."""
        known = self.work / "known"
        known.write_bytes(b"\0\0\0\0\0" + letter + b"12345678")
        done = self.start("probe", "--runs", 1000, known)
        self.assertEqual(done.returncode, 1, done.stderr)
        found, = (self.work / "found").iterdir()
        self.assertEqual(found.read_bytes()[5:6], letter)
        self.assertIn(str(found), done.stderr)
        again = done.stderr.split("again: ")[1].split()
        bytes_found = found.read_bytes()
        found.unlink()
        once_more = self.start("probe", *again, known)
        self.assertEqual((once_more.returncode, once_more.stderr.splitlines()[0]), (1, done.stderr.splitlines()[0]))
        kept, = (self.work / "found").iterdir()
        self.assertEqual(kept.read_bytes(), bytes_found)
        return done

    def test_WhatIsWrongEndsItAndIsKeptAndIsFoundAgainByItsNumber(self):
        done = self.find(b"f")
        self.assertIn("finding: known to be wrong", done.stderr)
        self.assertEqual(json.loads(done.stdout)["findings"], 1)

    def test_AByteReadBehindTheBufferIsAFinding(self):
        self.assertIn("finding: memory is touched that is nobody's", self.find(b"r").stderr)

    def test_WhatEndsTheProcessIsAFinding(self):
        self.assertIn("finding: the process would have been ended", self.find(b"e").stderr)

    def test_WrongUsageIsToldFromAFinding(self):
        (self.work / "empty").mkdir()
        for arguments, said in (
                ((), "no input"), (("--runs",), "usage: "), (("--no-such", "1"), "usage: "),
                (("--runs", "some", "x"), "whole number, not 'some'"),
                ((self.work / "nothing",), "expected a file or a folder"), ((self.work / "empty",), "no input")):
            with self.subTest(arguments):
                done = self.start("decode", *arguments)
                self.assertEqual((done.returncode, done.stdout), (2, ""))
                self.assertIn(said, done.stderr)


if __name__ == "__main__":
    if len(sys.argv) != 3:
        print("usage: campaign_test.py SETTINGS_JSON CASE", file=sys.stderr)
        sys.exit(2)
    SETTINGS = json.loads(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8"))
    unittest.main(argv=[sys.argv[0], f"Campaigns.test_{sys.argv[2]}"])
