"""scripts/host-load: that a run is complete and makes sense, that it notices what it should, and that the
document shows what was measured. Not how fast anything is.

Room: tests. Runs the script with programs that are built already.

usage: load_test.py SETTINGS_JSON CASE
"""

import copy
import json
import pathlib
import re
import struct
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as xml

SETTINGS = {}
SLOT_BYTES = 64
WRONG_AT = 24  # of the count of messages out of order in a slot
PLOTS = {f"host-load-{name}.svg" for name in ("local", "nats", "receivers", "parts", "latency", "memory")}
PARTS = {"pack", "host send", "kernel send", "kernel receive", "host receive", "decode", "handler", "table"}
PERCENTS = ("50", "90", "99", "99.9", "max")


class Load(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="mesh-fib6-load.")
        self.addCleanup(folder.cleanup)
        self.work = pathlib.Path(folder.name)
        self.source = pathlib.Path(SETTINGS["source"])
        self.programs = pathlib.Path(SETTINGS["build"]) / "bench"

    def run_script(self, *words):
        return subprocess.run([self.source / "scripts/host-load", *map(str, words)], cwd=self.work,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=False, timeout=240)

    def checked_in(self):
        return json.loads((self.source / "bench/host-load.json").read_text(encoding="utf-8"))

    def is_summary(self, found, least):
        self.assertLessEqual(found["low"], found["high"])
        self.assertGreater(found["median"], least)

    def test_AQuickRunMeasuresEveryPartAndItsFiguresArePlausible(self):
        done = self.run_script("--quick", "--build", SETTINGS["build"], "--json", "figures.json", "--svg", ".")
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        figures = json.loads((self.work / "figures.json").read_text(encoding="utf-8"))
        with_nats = "is left out" not in done.stdout
        ways = {"local"} | ({"nats memory", "nats file"} if with_nats else set())
        self.assertEqual({case["way"] for case in figures["rates"]}, ways)
        self.assertEqual({case["receivers"] for case in figures["rates"]}, {1, 2})
        for case in figures["rates"]:
            peers = {"stream"} if case["way"] == "local" else {"client push", "client pull"}
            self.assertLessEqual(peers | {"bus"}, set(case["contestants"]))
            for contestant in case["contestants"].values():
                self.is_summary(contestant["rate"], 1000)
                self.assertGreater(contestant["cpu"]["sender"], 0)
                self.assertGreater(contestant["cpu"]["receiver"], 0)
            self.assertEqual("server" in case["contestants"]["bus"]["cpu"], case["way"] != "local")
            self.assertEqual(set(case["ratios"]), set(case["contestants"]) - {"bus"})
            for ratio in case["ratios"].values():
                self.is_summary(ratio, 0)
        for case in figures["parts"]:
            self.assertEqual(set(case["parts"]), PARTS)
            for name in ("pack", "kernel send", "kernel receive"):
                self.assertGreater(case["parts"][name]["median"], 0, name)
            # A route is 64 bytes as a record, and at least its address when it is encoded.
            self.assertTrue(16 < case["codec"]["bytes"] < 200, case["codec"])
        self.assertEqual({case["way"] for case in figures["latency"]}, ways | {"inside"})
        for case in figures["latency"]:
            values = [case["ns"][name] for name in PERCENTS]
            self.assertEqual(values, sorted(values))
            self.assertGreater(values[0], 100)
        self.assertEqual({(case["way"], case["keeps_table"]) for case in figures["memory"]},
                         {("local", False), ("local", True)} | {(way, False) for way in ways})
        for case in figures["memory"]:
            self.assertEqual([step["routes"] for step in case["steps"]], [1_000_000])
            self.assertEqual(case["kept"], 1_000_000 if case["keeps_table"] else 0)
            self.assertTrue(all(kib > 500 for kib in case["peak_kib"].values()), case)
            self.assertEqual("server" in case["peak_kib"], case["way"] != "local")
            # A table of a million routes is there, or it is not.
            self.assertEqual(case["peak_kib"]["receiver"] > 30 * 1024, case["keeps_table"], case)
        self.assertEqual(len(figures["goals"]), sum(case["receivers"] == 1 for case in figures["rates"]))
        plots = {place.name for place in self.work.glob("*.svg")}
        self.assertEqual(plots, PLOTS if with_nats else PLOTS - {"host-load-nats.svg"})

    def test_TheDocumentAndThePlotsShowTheFiguresThatAreCheckedIn(self):
        done = self.run_script("--check")
        self.assertEqual((done.returncode, done.stdout), (0, ""), done.stderr)

    def test_ThePlotsAreWellFormedAndTheirTextIsText(self):
        done = self.run_script("--from", self.source / "bench/host-load.json", "--svg", ".")
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        self.assertEqual({place.name for place in self.work.glob("*.svg")}, PLOTS)
        for place in sorted(self.work.glob("*.svg")):
            with self.subTest(place.name):
                root = xml.parse(place).getroot()
                width, height = float(root.get("width")), float(root.get("height"))
                words = [each for each in root.iter("{http://www.w3.org/2000/svg}text") if each.text]
                self.assertGreater(len(words), 10)
                for each in words:
                    self.assertTrue(0 <= float(each.get("x")) <= width and 0 < float(each.get("y")) <= height, each.text)
                self.assertIn("prefers-color-scheme:dark", place.read_text(encoding="utf-8"))

    def test_AMissedGoalIsSaidAndFailsWhenGoalsAreRequired(self):
        figures = copy.deepcopy(self.checked_in())
        for row in figures["goals"]:
            row["met"] = True
        for met, status in ((True, 0), (False, 1)):
            figures["goals"][0]["met"] = met
            (self.work / "figures.json").write_text(json.dumps(figures), encoding="utf-8")
            done = self.run_script("--from", "figures.json", "--require")
            self.assertEqual(done.returncode, status, done.stdout + done.stderr)
            self.assertEqual("MISSED" in done.stdout, not met)

    def test_TablesThatAreNotThoseOfTheFiguresAreFound(self):
        copied = self.work / "copy"
        for name in ("scripts/host-load", "scripts/clean_ends.py", "scripts/shared.bash", "bench/load_tables.py",
                     "bench/load_plot.py", "bench/host-load.json", "docs/host.md", *(f"docs/{name}" for name in PLOTS)):
            (copied / name).parent.mkdir(parents=True, exist_ok=True)
            (copied / name).write_bytes((self.source / name).read_bytes())
        (copied / "scripts/host-load").chmod(0o755)
        figures = self.checked_in()
        figures["rates"][0]["contestants"]["bus"]["rate"]["median"] *= 3
        (copied / "bench/host-load.json").write_text(json.dumps(figures), encoding="utf-8")
        done = subprocess.run([copied / "scripts/host-load", "--check"], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                              text=True, check=False)
        self.assertEqual(done.returncode, 1, done.stdout + done.stderr)
        self.assertIn("docs/host.md is not what", done.stdout)
        self.assertIn("host-load-local.svg is not what", done.stdout)

    def test_ASenderEndsWithAnErrorWhenAReceiverCountedOtherMessagesThanItSent(self):
        board = self.work / "board"
        slot = bytearray(SLOT_BYTES)
        slot[WRONG_AT:WRONG_AT + 8] = struct.pack("<Q", 1)
        board.write_bytes(slot)
        receiver = subprocess.Popen([self.programs / "load_stream", "receive", board, self.work, "1", "codec"])
        self.addCleanup(receiver.wait)
        self.addCleanup(receiver.kill)
        sender = subprocess.run([self.programs / "load_stream", "send", board, self.source / "demo/data/ipv6-table-2024.txt.gz",
                                 self.work, "1", "1", "1", "codec"], input="0.001\n", stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, text=True, check=False, timeout=60)
        self.assertEqual(sender.returncode, 1)
        self.assertRegex(sender.stderr, r"receiver 1 has \d+ messages, 1 out of order")

    def test_WrongUsageAndMissingProgramsAreToldWithWhatWasExpected(self):
        for words, status, told in (
                (("--quick", "--write"), 2, "--write is for a whole run"),
                (("--quick", "--require"), 2, "--require judges a whole run"),
                (("--json", "nowhere/figures.json"), 2, "nowhere/figures.json: no such folder"),
                (("--svg", "nowhere"), 2, "nowhere: no such folder"),
                (("--build", "."), 1, "load_bus is missing: build the target load_programs"),
                (("--from", "nothing.json"), 1, "nothing.json: .*expected what --json wrote")):
            with self.subTest(words):
                done = self.run_script(*words)
                self.assertEqual(done.returncode, status)
                self.assertTrue(re.search(told, done.stderr), done.stderr)


def main():
    if sys.argv[1:] in (["-h"], ["--help"]):
        print(__doc__.strip())
        return 0
    if len(sys.argv) != 3:
        print(f"load_test: expected 2 arguments, found {len(sys.argv) - 1}\n"
              "usage: load_test.py SETTINGS_JSON CASE", file=sys.stderr)
        return 2
    settings, case = sys.argv[1:]
    SETTINGS.update(json.loads(pathlib.Path(settings).read_text(encoding="utf-8")))
    if not hasattr(Load, "test_" + case):
        print(f"load_test: no case '{case}'", file=sys.stderr)
        return 2
    suite = unittest.TestSuite([Load("test_" + case)])
    return 0 if unittest.TextTestRunner().run(suite).wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
