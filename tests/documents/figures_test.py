"""docs/figures.md is what scripts/figures makes of its files, and what is not so is noticed.

Room: tests. Runs scripts/figures in copies of the folders that it reads.

usage: figures_test.py [CASE]
"""

import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

SOURCE = pathlib.Path(__file__).resolve().parents[2]


def stated_version():
    text = (SOURCE / "CMakeLists.txt").read_text(encoding="utf-8")
    return re.search(r"(?m)^project\(mesh_fib6 VERSION (\d+\.\d+\.\d+) ", text)[1]


class Figures(unittest.TestCase):

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="mesh-fib6-figures.")
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name) / "tree"
        for name in ("scripts", "bench/figures"):
            shutil.copytree(SOURCE / name, self.root / name, ignore=shutil.ignore_patterns("__pycache__"))
        for name in ("CMakeLists.txt", "docs/figures.md", "bench/baseline.json", "bench/host-load.json", "fuzz/campaign.json"):
            if (SOURCE / name).exists():
                (self.root / name).parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(SOURCE / name, self.root / name)
        self.newest = self.root / f"bench/figures/{stated_version()}.json"
        self.document = self.root / "docs/figures.md"

    def run_script(self, *arguments):
        done = subprocess.run([self.root / "scripts/figures", *arguments], text=True, capture_output=True, check=False)
        self.assertNotIn("Traceback", done.stderr)
        return done

    def edit(self, path, change):
        content = json.loads(path.read_text(encoding="utf-8"))
        change(content)
        path.write_text(json.dumps(content, indent=1) + "\n", encoding="utf-8")

    def test_OfTheDocumentAreWhatTheFilesSay(self):
        done = self.run_script("--check")
        self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)

    def test_ThatSomebodyTypedAreNoticed(self):
        text = self.document.read_text(encoding="utf-8")
        figure = re.search(r"\| ([\d,.]+) \|$", text, re.M)
        self.document.write_text(text[:figure.start(1)] + "1" + text[figure.start(1):], encoding="utf-8")
        done = self.run_script("--check")
        self.assertEqual(done.returncode, 1)
        self.assertIn("docs/figures.md is not what bench/figures says", done.stdout)

    def test_ThatWereMeasuredSinceAreNoticed(self):
        def change(baseline):
            baseline["aarch64"]["routes-600/typical/decode"] += 1
        self.edit(self.root / "bench/baseline.json", change)
        done = self.run_script("--check")
        self.assertEqual(done.returncode, 1)
        self.assertIn("instructions was measured since", done.stdout)

    def test_OfAVersionThatHasNoFileAreAskedFor(self):
        self.newest.unlink()
        done = self.run_script("--check")
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertRegex(done.stderr, r"^figures: there is no bench/figures/\d+\.\d+\.\d+\.json\. Measure")

    def test_AreTakenFromWhatScriptsLeave(self):
        self.edit(self.newest, lambda parts: [parts.pop(part, None) for part in ("coverage", "mcdc")])
        left = self.root / "build/figures"
        left.mkdir(parents=True)
        left.joinpath("coverage.json").write_text(json.dumps(
            {"commit": "0123456789ab", "date": "2026-01-02", "figures": {"lines that can be reached": 12.5}}), encoding="utf-8")
        done = self.run_script("--write", "--no-build")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn("mcdc: not measured (scripts/mcdc)", done.stderr)
        text = self.document.read_text(encoding="utf-8")
        self.assertIn("`scripts/coverage`, 2026-01-02, 0123456789ab.\n\n| | ", text)
        self.assertIn("\n| lines that can be reached | 12.5 |\n", text)
        self.assertIn("Not measured (`scripts/mcdc`).", text)
        self.assertEqual(self.run_script("--check").returncode, 0)

    def test_OfACampaignAreTakenByTargetAndArchitecture(self):
        (self.root / "fuzz").mkdir(exist_ok=True)
        (self.root / "fuzz/campaign.json").write_text(json.dumps(
            {"campaigns": [{"codec": codec, "target": "decode", "architecture": "aarch64", "last": last, "seed": seed,
                            "executions": compared + 5, "compared": compared, "findings": 0}
                           for codec, last, seed, compared in (("old", "2026-01-02", 1, 9000000), ("new", "2026-01-03", 1, 1234000),
                                                               ("new", "2026-01-03", 2, 567))],
             "corpora": [{"target": "decode", "edges_before": 3, "edges_after": 5}]}), encoding="utf-8")
        self.assertIn("executions was measured since", self.run_script("--check").stdout)
        self.assertEqual(self.run_script("--write", "--no-build").returncode, 0)
        text = self.document.read_text(encoding="utf-8")
        self.assertIn("\n| decode, aarch64, compared | 1,234,567 |\n", text)
        self.assertIn("\n| decode, edges that the kept inputs reach | 5 |\n", text)

    def test_OfAVersionStandBesideThoseOfTheOneBefore(self):
        for version, size in (("0.0.9", 200), ("0.0.10", 400)):
            (self.root / f"bench/figures/{version}.json").write_text(json.dumps({"size": {
                "commit": "0123456789ab", "date": "2026-01-02",
                "figures": {"text of the library, amd64, bytes": size, "text of the library, vax, bytes": 7}}}), encoding="utf-8")

        def change(parts):
            parts["size"] = {"commit": "fedcba987654", "date": "2026-02-03",
                             "figures": {"text of the library, amd64, bytes": 300, "text of the library, arm64, bytes": 5}}
        self.edit(self.newest, change)
        self.assertEqual(self.run_script("--write", "--no-build").returncode, 0)
        text = self.document.read_text(encoding="utf-8")
        self.assertIn(f"## {stated_version()}, beside 0.0.10\n", text)
        self.assertIn(f"| | {stated_version()} | 0.0.10 | change |\n|---|---|---|---|\n"
                      "| text of the library, amd64, bytes | 300 | 400 | -25.0% |\n"
                      "| text of the library, arm64, bytes | 5 | not measured | |\n"
                      "| text of the library, vax, bytes | not measured | 7 | |\n", text)

    def test_InAFileThatIsNoneAreRefusedByName(self):
        for text, told in (("no JSON", "expected JSON"), ('{"speed of light": {}}', "parts that nobody knows: speed of light"),
                           ("[]", "expected the parts"), ('{"size": 3}', "expected commit, date and figures"),
                           ('{"size": {"commit": "", "date": "", "figures": {"a": "1"}}}', "which are numbers")):
            with self.subTest(told=told):
                self.newest.write_text(text, encoding="utf-8")
                done = self.run_script("--check")
                self.assertEqual((done.returncode, done.stdout), (1, ""))
                self.assertIn(told, done.stderr)
                self.assertIn(self.newest.name, done.stderr)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0]] + [f"Figures.test_{case}" for case in sys.argv[1:]])
