"""How scripts/mcdc judges what llvm-cov says: what counts as shown, which reasons it takes, what it refuses.

Room: tests. Runs the script's own judgement on words of llvm-cov written here, in a folder of its own.

usage: mcdc_test.py CASE
"""

import contextlib
import importlib.machinery
import importlib.util
import io
import pathlib
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.dont_write_bytecode = True
# Four conditions, so that 'three of four' is 75.0 %.
SOURCE = "if (a && b)\n  f();\nif (c || d)\n  g();\n"
SHOWN = """{file}:
  |---> MC/DC Decision Region (1:5) to (1:11)
  |  Number of Conditions: 2
  |     Condition C1 --> (1:5)
  |     Condition C2 --> (1:10)
  |  C1-Pair: {0}
  |  C2-Pair: {1}
  |---> MC/DC Decision Region (3:5) to (3:11)
  |  Number of Conditions: 2
  |     Condition C1 --> (3:5)
  |     Condition C2 --> (3:10)
  |  C1-Pair: {2}
  |  C2-Pair: {3}
"""
YES, NO, KNOWN = "covered: (1,2)", "not covered", "constant folded"


class Mcdc(unittest.TestCase):

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)
        (self.root / "wire").mkdir()
        (self.root / "wire/codec.cpp").write_text(SOURCE, encoding="utf-8")
        sys.path.insert(0, str(ROOT / "scripts"))
        loader = importlib.machinery.SourceFileLoader("mcdc", str(ROOT / "scripts/mcdc"))
        self.mcdc = importlib.util.module_from_spec(importlib.util.spec_from_loader("mcdc", loader))
        loader.exec_module(self.mcdc)
        self.figures = {}
        self.mcdc.ROOT = str(self.root)
        self.mcdc.UNSHOWN = str(self.root / "unshown.txt")
        self.mcdc.WANTED = 50.0
        self.mcdc.leave_figures.leave = lambda name, figures: self.figures.update({name: figures})

    def judge(self, *instances, reasons=()):
        """(what is printed, what is wrong) of instances of the source, four verdicts each."""
        (self.root / "unshown.txt").write_text("# a comment\n\n" + "".join(f"{line}\n" for line in reasons),
                                               encoding="utf-8")
        conditions = self.mcdc.Conditions()
        for verdicts in instances:
            conditions.add(SHOWN.format(*verdicts, file=self.root / "wire/codec.cpp"))
        with contextlib.redirect_stdout(io.StringIO()) as printed:
            wrong = self.mcdc.judge(conditions)
        return printed.getvalue(), wrong

    def figure(self):
        return self.figures["mcdc"]["of which are shown"], self.figures["mcdc"]["conditions in decisions of several"]

    def test_CountsWhatSomeInstanceShows(self):
        self.assertEqual(self.judge((YES, NO, YES, NO), (NO, YES, NO, YES))[1], [])
        self.assertEqual(self.figure(), (4, 4))

    def test_CountsNothingThatTheCompilerKnowsInEveryInstance(self):
        self.assertEqual(self.judge((YES, YES, KNOWN, KNOWN), (YES, YES, KNOWN, YES))[1], [])
        self.assertEqual(self.figure(), (3, 3))

    def test_RefusesAConditionThatIsNotShownWithoutAReason(self):
        self.assertEqual(self.judge((YES, YES, YES, NO))[1],
                         ["wire/codec.cpp:3:10: d): no test shows that it matters, and no reason is given"])

    def test_TakesAReasonForAConditionThatIsNotShownAndTellsIt(self):
        printed, wrong = self.judge((YES, YES, YES, NO), reasons=["wire/codec.cpp ~ d) ~ cannot be"])
        self.assertEqual(wrong, [])
        self.assertIn("not shown: wire/codec.cpp:3:10: d): cannot be\n", printed)
        self.assertEqual(self.figure(), (3, 4))

    def test_RefusesAReasonForWhatIsShownAndForWhatIsNot(self):
        for condition in ("d)", "e)"):
            wrong = self.judge((YES, YES, YES, YES), reasons=[f"wire/codec.cpp ~ {condition} ~ cannot be"])[1]
            self.assertEqual(wrong, [f"{self.root}/unshown.txt: 'wire/codec.cpp ~ {condition}' is shown, "
                                     "or there is no such condition"])

    def test_HasOneResultForAConditionThatThreadsShowByChance(self):
        reasons = ["wire/codec.cpp ~ d) ~ by chance: another thread comes between"]
        results = [self.judge((YES, YES, YES, verdict), reasons=reasons) for verdict in (YES, NO)]
        self.assertEqual(results[0], results[1])
        self.assertEqual(results[0][1], [])
        self.assertEqual(self.figure(), (3, 4))

    def test_RefusesAReasonOfChanceForWhatThereIsNot(self):
        self.assertEqual(len(self.judge((YES, YES, YES, YES), reasons=["wire/codec.cpp ~ e) ~ by chance: x"])[1]), 1)

    def test_RefusesTooLittle(self):
        wrong = self.judge((YES, NO, NO, NO), reasons=[f"wire/codec.cpp ~ {text} ~ x" for text in ("b)", "c ||", "d)")])[1]
        self.assertEqual(wrong, ["25.0 % are shown, expected 50 %"])

    def test_RefusesALineOfReasonsThatHasNone(self):
        for line in ("wire/codec.cpp ~ d)", "wire/codec.cpp ~ d) ~ ", "nonsense"):
            with self.assertRaises(SystemExit) as end:
                self.judge((YES, YES, YES, NO), reasons=[line])
            self.assertIn("expected 'FILE ~ TEXT ~ REASON'", str(end.exception))

    def test_RefusesToSeeNoConditions(self):
        with self.assertRaises(SystemExit) as end:
            self.judge()
        self.assertIn("knows no condition", str(end.exception))


if __name__ == "__main__":
    sys.argv[1:] = [f"Mcdc.test_{case}" for case in sys.argv[1:]]
    unittest.main()
