"""docs/security.md and its picture show the same arrows, and each test that the document names is there.

Room: tests. Reads sources, the document and the picture; runs nothing.

usage: threats_test.py [CASE]
"""

import os
import pathlib
import re
import unittest
import xml.etree.ElementTree as ElementTree

SOURCE = pathlib.Path(__file__).resolve().parents[2]
DOCUMENT = (SOURCE / "docs/security.md").read_text(encoding="utf-8")
PICTURE = SOURCE / "docs/threats.svg"
HEAD = "| arrow | what may be sent | believed | the check in front of it | attacked by |"
SVG = "{http://www.w3.org/2000/svg}"
LEAST_CONTRAST = 4.5  # what WCAG 2 asks of text


def rows():
    """Cells of the table of arrows."""
    lines = DOCUMENT.splitlines()
    found = []
    for line in lines[lines.index(HEAD) + 2:]:
        if not line.startswith("|"):
            break
        found.append([cell.strip() for cell in line.strip("|").split("|")])
    return found


def tests():
    """Names of all tests, as documents name them: SUITE.NAME of GoogleTest, PREFIX.CASE of Python."""
    found = set()
    for folder in ("tests", "fuzz"):
        for path in (SOURCE / folder).rglob("*.cpp"):
            for name in re.findall(r"\bTEST(?:_F|_P)?\(\s*(\w+,\s*\w+)\)", path.read_text(encoding="utf-8")):
                found.add(re.sub(r",\s*", ".", name))
        for path in (SOURCE / folder).rglob("CMakeLists.txt"):
            text = path.read_text(encoding="utf-8")
            found |= set(re.findall(r"add_test\(NAME ([\w.]+)", text))
            for prefix, script in re.findall(r"mesh_fib6_python_tests\(([\w${}]+) ([\w${}]+\.py)", text):
                for file in path.parent.glob(script.replace("${subject}", "*")):
                    subject = file.name.removesuffix("_test.py")
                    for case in re.findall(r"(?m)^    def test_(\w+)", file.read_text(encoding="utf-8")):
                        found.add(f"{prefix.replace('${subject}', subject)}.{case}")
    return found


def luminance(colour):
    parts = [int(colour[place:place + 2], 16) / 255 for place in (1, 3, 5)]
    red, green, blue = (part / 12.92 if part <= 0.03928 else ((part + 0.055) / 1.055) ** 2.4 for part in parts)
    return 0.2126 * red + 0.7152 * green + 0.0722 * blue


def contrast(one, other):
    light, dark = sorted((luminance(one), luminance(other)), reverse=True)
    return (light + 0.05) / (dark + 0.05)


class Threats(unittest.TestCase):

    def test_HaveTheSameArrowsInThePictureAndInTheTable(self):
        drawn = {text.text for text in ElementTree.parse(PICTURE).iter(f"{SVG}text") if text.get("class") == "digits"}
        numbers = [cells[0] for cells in rows()]
        self.assertEqual(numbers, [str(number + 1) for number in range(len(numbers))])
        self.assertGreater(len(numbers), 10)
        self.assertEqual(drawn, set(numbers))

    def test_EachHasACheckAndAnAttackThatIsThereOrSaysThatThereIsNone(self):
        known = tests()
        self.assertGreater(len(known), 800)
        lists = re.findall(r"(?m)^\w+_targets=\((.*)\)$", (SOURCE / "scripts/fuzz").read_text(encoding="utf-8"))
        targets = " ".join(lists).split()
        for arrow, *cells in rows():
            with self.subTest(arrow=arrow):
                self.assertEqual(len(cells), 4)
                self.assertNotIn("", cells)
                named = re.findall(r"`([^`]+)`", cells[3])
                self.assertTrue(named or cells[3] == "nothing")
                for name in named:
                    if name.startswith("fuzz/"):
                        self.assertIn(name.removeprefix("fuzz/"), targets)
                    elif name.startswith("scripts/"):
                        self.assertTrue(os.access(SOURCE / name, os.X_OK), name)
                    else:
                        self.assertIn(name, known)

    def test_OfTheWholeDocumentNameNoTestThatIsNotThere(self):
        known = tests()
        named = re.findall(r"`([A-Z]\w+\.[A-Z]\w+)(\.\.\.)?`", re.sub(r"`\s+", "` ", DOCUMENT))
        self.assertGreater(len(named), 30)
        for name, cut in named:
            with self.subTest(test=name):
                self.assertTrue(any(test.startswith(name) if cut else test == name for test in known))

    def test_AreDrawnWithTextThatIsReadAloudAndNothingFromElsewhere(self):
        root = ElementTree.parse(PICTURE).getroot()
        self.assertEqual(root.get("role"), "img")
        by_id = {element.get("id"): element for element in root.iter() if element.get("id")}
        for name in root.get("aria-labelledby").split():
            self.assertGreater(len(by_id[name].text), 10)
        self.assertEqual({element.tag.removeprefix(SVG) for element in root.iter()}
                         - {"svg", "title", "desc", "style", "defs", "marker", "rect", "path", "circle", "text"}, set())
        self.assertNotRegex(PICTURE.read_text(encoding="utf-8").replace(SVG[1:-1], ""), r"https?:|@import|href")

    def test_AreLegibleInLightAndInDark(self):
        style = ElementTree.parse(PICTURE).getroot().find(f"{SVG}style").text
        light, dark = style.split("@media (prefers-color-scheme: dark)")
        fills = [dict(re.findall(r"\.?([\w-]+) \{ fill: (#[0-9a-f]{6})", part)) for part in (light, dark)]
        for scheme, fill in zip(("light", "dark"), fills):
            for text, grounds in (("text", ("ground", "zone", "ours", "inside", "outside")),
                                  ("what", ("ground", "ours", "inside", "outside")), ("digits", ("number",))):
                for ground in grounds:
                    with self.subTest(scheme=scheme, text=text, ground=ground):
                        self.assertGreaterEqual(contrast(fill[text], fill[ground]), LEAST_CONTRAST)


if __name__ == "__main__":
    import sys
    unittest.main(argv=[sys.argv[0]] + [f"Threats.test_{case}" for case in sys.argv[1:]])
