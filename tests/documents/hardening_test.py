"""scripts/check-hardening sees what it says: each property of the table in docs/security.md, on a library that
lacks it.

Room: tests. Compiles small libraries; runs the script on them and on changed copies of the table.

usage: hardening_test.py BUILD_FOLDER CASE
"""

import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

BUILD = pathlib.Path("build/release")
SOURCE = pathlib.Path(__file__).resolve().parents[2]
SCRIPT = SOURCE / "scripts/check-hardening"
DOCUMENT = SOURCE / "docs/security.md"
PROGRAM = """
#include <string.h>
extern int outside(char *);
int MESH_SendMsg(const char *from, unsigned long size) {
  char area[8];
  memcpy(area, from, size);
  return outside(area);
}
"""
COMPILED = ["-O2", "-fPIC", "-fstack-protector-strong", "-fcf-protection=full", "-fstack-clash-protection",
            "-U_FORTIFY_SOURCE", "-D_FORTIFY_SOURCE=2"]
LINKED = ["-shared", "-Wl,-z,relro", "-Wl,-z,now", "-Wl,-z,noexecstack"]
# Of each property: what is changed of the tap so that it is not so.
WITHOUT = {
    "relro": {"-Wl,-z,now": "-Wl,-z,lazy"},
    "stack": {"-Wl,-z,noexecstack": "-Wl,-z,execstack"},
    "w^x": {"-shared": "-shared -Wl,-N -Wl,-Bdynamic"},
    "run path": {"-shared": "-shared -Wl,-rpath,/tmp"},
    "exports": {"-O2": "-O2 -DMESH_SendMsg=other"},
    "runtime": {"-shared": "-shared -Wl,--no-as-needed -lgcc_s"},
    "guards": {"-fstack-protector-strong": "-fstack-protector"},
    "protector": {"-fstack-protector-strong": "-fno-stack-protector"},
    "checked": {"-D_FORTIFY_SOURCE=2": ""},
    "branches": {"-fcf-protection=full": "-fcf-protection=return"},
    "pads": {"-fcf-protection=full": "-fcf-protection=none"},
    "probes": {"-fstack-clash-protection": ""},
    # More than the start-up file of this architecture holds.
    "noted": {"-shared": "-shared -Wl,-z,ibt"},
    "text": {"-fPIC": "-fno-pic -mcmodel=large", "-shared": "-shared -Wl,-z,notext"},
}


def row(key):
    """The line of the table about a property."""
    found = re.search(rf"(?m)^\| `{re.escape(key)}`: .*$", DOCUMENT.read_text(encoding="utf-8"))
    return found[0]


class Hardening(unittest.TestCase):

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="mesh-fib6-hardening.")
        self.addCleanup(folder.cleanup)
        self.work = pathlib.Path(folder.name)

    def check(self, *arguments):
        done = subprocess.run([SCRIPT, *arguments], text=True, capture_output=True, check=False)
        self.assertNotIn("Traceback", done.stderr)
        return done

    def build(self, changes):
        """A build folder with the library as it was built and a tap of our own."""
        place = self.work / "build"
        (place / "tools").mkdir(parents=True, exist_ok=True)
        library = place / "libmesh_fib6.so"
        if not library.exists():
            library.symlink_to(BUILD / "libmesh_fib6.so")
        commands = json.loads((BUILD / "compile_commands.json").read_text(encoding="utf-8"))
        commands = [entry for entry in commands if "mesh_fib6_objects.dir" in entry["command"]]
        source = self.work / "tap.c"
        source.write_text(PROGRAM, encoding="utf-8")

        def changed(words):
            return " ".join(changes.get(word, word) for word in words).split()

        target = self.work / "mesh_fib6_tap.dir"
        target.mkdir(exist_ok=True)
        command = ["gcc", *changed(COMPILED), "-c", source, "-o", f"{target}/tap.o"]
        commands.append({"directory": str(self.work), "file": str(source), "command": " ".join(map(str, command))})
        subprocess.run(command, check=True)
        subprocess.run(["gcc", *changed(LINKED), target / "tap.o", "-o", place / "tools/libmesh_fib6_tap.so"],
                       check=True, stderr=subprocess.DEVNULL)
        (place / "compile_commands.json").write_text(json.dumps(commands), encoding="utf-8")
        return place

    def test_OfATapWithAllOfItIsFound(self):
        done = self.check(self.build({}))
        self.assertEqual((done.returncode, done.stderr), (0, ""), done.stdout)

    def test_ThatOneFileLacksIsNamedWithTheFile(self):
        for key, changes in WITHOUT.items():
            with self.subTest(property=key):
                done = self.check(self.build(changes))
                self.assertEqual((done.returncode, done.stderr), (1, ""), done.stdout)
                self.assertRegex(done.stdout, rf"(?m)^.*(libmesh_fib6_tap\.so|tap\.c): .*`{re.escape(key)}`")

    def test_OfEachRowIsTriedOrIsNoPromise(self):
        rows = re.findall(r"(?m)^\| `([^`]+)`: .*\|([^|]*)\|([^|]*)\|([^|]*)\|([^|]*)\|$",
                          DOCUMENT.read_text(encoding="utf-8"))
        promised = {key for key, *cells in rows
                    if any(cell.strip() in ("yes", "packages", "start-up") for cell in cells)}
        # Nothing that is linked as a shared library is loaded at one place only.
        self.assertEqual(promised, {*WITHOUT, "position"})

    def test_ThatTheTableDeniesAndEachFileHasIsTold(self):
        document = self.work / "security.md"
        document.write_text(DOCUMENT.read_text(encoding="utf-8").replace(
            row("relro"), "| `relro`: said to be missing | no | no | no | no |"), encoding="utf-8")
        done = self.check("--document", document, self.build({}))
        self.assertEqual(done.returncode, 1)
        self.assertIn("libmesh_fib6.so: `relro` is so, and the table says no", done.stdout)

    def test_OfATableThatIsNoneIsRefusedByItsLine(self):
        document = self.work / "security.md"
        for found, instead, told in (
                (row("relro") + "\n", "", "the table has no `relro`"),
                (row("relro"), row("relro").replace("`relro`", "`rello`"), "`rel"),
                (row("relro"), row("relro").replace("| yes |", "| perhaps |", 1), "perhaps"),
                ("| property | library", "| propriety | library", "has no table")):
            with self.subTest(told=told):
                text = DOCUMENT.read_text(encoding="utf-8")
                self.assertIn(found, text)
                document.write_text(text.replace(found, instead), encoding="utf-8")
                done = self.check("--document", document, self.work)
                self.assertEqual((done.returncode, done.stdout), (1, ""))
                self.assertIn(told, done.stderr)

    def test_OfNothingIsNoSuccess(self):
        empty = self.work / "empty"
        empty.mkdir()
        for place in (empty, self.work / "missing", DOCUMENT):
            with self.subTest(place=place):
                done = self.check(place)
                self.assertEqual((done.returncode, done.stdout), (1, ""))
                self.assertRegex(done.stderr, "^check-hardening: .*expected")
        (empty / "libmesh-fib6-0_1.0.0_amd64.deb").write_text("no package", encoding="utf-8")
        done = self.check(empty)
        self.assertEqual((done.returncode, done.stdout), (1, ""))
        self.assertIn("cannot be unpacked", done.stderr)


if __name__ == "__main__":
    BUILD = pathlib.Path(sys.argv.pop(1)).resolve()
    unittest.main(argv=[sys.argv[0]] + [f"Hardening.test_{case}" for case in sys.argv[1:]])
