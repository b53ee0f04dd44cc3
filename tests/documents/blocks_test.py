"""Every block of code in the documents: compiled, run, configured, or found where it is from.

Room: tests. The first word behind ``` is the language, a second says how the block is checked:

  c, cpp            compiled, warnings being errors; as C99, C++17
  c from=FILE, ...  these lines are in the file, as they stand there but for their indentation
  python            runs
  cmake             configures, where the installed tree, or this one as a part, can be found
  json              is JSON
  sh                each command is there, with the options that its --help tells
  sh run            runs too, with what the document named before, one block after the other
  text said         is what the block before has printed
  console           runs, with what it prints (docs/tool.md, tutorial_test.py); `console sample`: as sh
  golden            is compared with the library (docs/wire-format.md, wire_format_test.cpp)
  text              is no code: a drawing, a format

A block behind a paragraph in which a line begins with `NAME.EXTENSION` is a file of that name for what runs. DIR and
/opt/mesh_fib6 stand for the folder of an installed tree.

usage: blocks_test.py SETTINGS_JSON CASE
"""

import concurrent.futures
import functools
import json
import os
import pathlib
import re
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import textwrap
import unittest

SETTINGS = json.loads(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8"))
SOURCE, BUILD = pathlib.Path(SETTINGS["source"]), pathlib.Path(SETTINGS["build"])
LANGUAGES = {"c", "cpp", "python", "cmake", "json", "sh", "text", "console", "golden"}
ELSEWHERE = {"console": "docs/tool.md", "golden": "docs/wire-format.md"}  # and the tests named above
# Of the system, and the shell's own words.
KNOWN = {"cc", "c++", "echo", "export", "python3", "flatc", "ip", "eval", "kill", "wait", "cat", "sudo", "curl", "cmp",
         "tshark", ".", "sed", "vtysh", "for", "do", "done", "head", "tail", "wireshark", "mkdir", "cp", "cd", "test",
         "printf", "nats-server", "cut", "grep", "seq", "pkg-config", "program", "true", "zebra"}
STAND_INS = {"DIR", "/opt/mesh_fib6"}
MARK = "--- block {} ---"


class Block:
    def __init__(self, document, number, info, text, named):
        self.document, self.number, self.text, self.named = document, number, text, named
        self.language, *rest = info.split() or [""]
        self.how = " ".join(rest)
        self.place = f"{document}:{number}"

    def __repr__(self):
        return self.place


def blocks_of(document, text):
    found, lines, fence, last = [], text.split("\n"), None, ""
    for number, line in enumerate(lines, 1):
        row = re.match(r"( *)(```+) *(.*)$", line)
        if fence is None and row:
            fence, begin, info, margin = row[2], number, row[3], len(row[1])
            named = re.search(r"^`(\w+\.\w+)`", last, re.M)
        elif fence is not None and row and row[2] == fence and not row[3]:
            body = "\n".join(each[margin:] for each in lines[begin:number - 1]) + "\n"
            found.append(Block(document, begin, info, body, named and named[1]))
            fence, last = None, ""
        elif fence is None and line.strip():
            begins = number < 2 or not lines[number - 2].strip()
            last = line if begins else f"{last}\n{line}"
    if fence:
        raise AssertionError(f"{document}:{begin}: this block does not end")
    return found


@functools.cache
def documents():
    """{its path: its text}"""
    listed = subprocess.run(["git", "-c", f"safe.directory={SOURCE}", "ls-files", "-co", "--exclude-standard", "*.md"],
                            cwd=SOURCE, capture_output=True, text=True, check=False).stdout.split()
    found = listed or [str(each.relative_to(SOURCE)) for each in SOURCE.rglob("*.md")
                       if "build" not in each.relative_to(SOURCE).parts]
    return {each: (SOURCE / each).read_text(encoding="utf-8") for each in sorted(found)}


@functools.cache
def all_blocks():
    return [block for path, text in documents().items() for block in blocks_of(path, text)]


def run(*command, **how):
    how = {"capture_output": True, "text": True, "timeout": 100, "check": False, **how}
    return subprocess.run([str(each) for each in command], **how)


@functools.cache
def help_of(*command):
    done = run(*command, "--help", cwd=SOURCE)
    return done.stdout + done.stderr


@functools.cache
def manual_of(tool):
    """What it says of its options, those of its modes too, of which it tells when they are given nothing."""
    modes = ("--build", "--install") if tool == SETTINGS["cmake"] else ()
    return help_of(tool) + "".join(run(tool, mode).stderr for mode in modes)


@functools.cache
def presets():
    text = json.loads((SOURCE / "CMakePresets.json").read_text(encoding="utf-8"))
    return {each["name"] for each in text["configurePresets"] if not each.get("hidden")}


@functools.cache
def targets():
    return run(SETTINGS["cmake"], "--build", BUILD, "--target", "help").stdout


@functools.cache
def options_of_the_build():
    text = "".join(each.read_text(encoding="utf-8") for each in [SOURCE / "CMakeLists.txt", SOURCE / "tests/CMakeLists.txt",
                                                                  *(SOURCE / "cmake").iterdir()])
    return set(re.findall(r"\bMESH_FIB6_\w+", text))


def simple_commands(text):
    """The commands of a shell block, each as its words, without redirections and variables set for it."""
    for line in text.replace("\\\n", " ").split("\n"):
        inner = re.findall(r"\$\(([^()]*)\)", line)
        lexer = shlex.shlex(re.sub(r"\$\([^()]*\)", "SUBSTITUTED", line), posix=True, punctuation_chars=";&|()<>")
        lexer.whitespace_split = True
        words = []
        for word in [*lexer, ";"]:
            if re.fullmatch(r"[;&|()]+", word):
                while words and (re.match(r"[A-Za-z_]\w*=", words[0]) or words[0] in ("sudo", "do")):
                    words = words[1:]
                if words:
                    yield words
                words = []
            elif not re.fullmatch(r"[<>&]+", word):
                words.append(word)
        for each in inner:
            yield from simple_commands(each)


@functools.cache
def programs():
    """The names of all programs of the build."""
    return {name for folder, _, names in os.walk(BUILD) if "CMakeFiles" not in folder
            for name in names if os.access(os.path.join(folder, name), os.X_OK)}


def wrong_in(words):
    """What is wrong with a command; nothing when all of it is there."""
    program, arguments = words[0], words[1:]
    for i, word in enumerate(arguments):
        if word == "--preset" and arguments[i + 1] not in presets():
            return f"no preset {arguments[i + 1]}"
        if word == "--target" and not re.search(rf"\b{re.escape(arguments[i + 1])}\b", targets()) \
                and arguments[i + 1] != "uninstall":
            return f"no target {arguments[i + 1]}"
        if (name := re.match(r"-D(MESH_FIB6_\w+)", word)) and name[1] not in options_of_the_build():
            return f"no option {name[1]}"
    if program in ("cmake", "ctest"):
        tool = SETTINGS[program]
        for word in arguments:
            option = word.partition("=")[0]
            if option.startswith("--") and not re.search(rf"{option}(?![\w-])", manual_of(tool)):
                return f"{program} has no {word}"
        if "-R" in arguments and "Total Tests: 0" in run(tool, "-N", "--test-dir", BUILD, "-R",
                                                         arguments[arguments.index("-R") + 1]).stdout:
            return f"no test is called {arguments[arguments.index('-R') + 1]}"
        return None
    if program.startswith("scripts/"):
        if not os.access(SOURCE / program, os.X_OK):
            return f"no {program}"
        command = [SOURCE / program]
        if program == "scripts/test":
            stages = {line.split()[0] for line in run(SOURCE / program, "--list").stdout.splitlines() if line}
            for word in arguments:
                if not word.startswith("-") and word not in stages:
                    return f"no stage {word}"
    elif program == "mesh-fib6" or re.match("(build|demo|examples)/", program):
        path = SETTINGS["tool"] if program == "mesh-fib6" else \
            str(BUILD.joinpath(*pathlib.PurePath(program).parts[2:]))
        if not os.access(path, os.X_OK) and pathlib.Path(path).name not in programs():
            return f"no {program}"
        if not os.access(path, os.X_OK):  # of another build
            return None
        command = [path]
        if path == SETTINGS["tool"]:
            command += [each for each in arguments[:2] if re.fullmatch("[a-z]+", each)][
                :2 if arguments[:1] == ["host"] else 1]
    elif program in KNOWN or program.startswith("./"):
        return None
    else:
        return f"nothing is known of '{program}'"
    for word in arguments:
        option = word.partition("=")[0]
        if re.fullmatch(r"--\w[\w-]*", option) and not option.startswith("--gtest_") \
                and not re.search(rf"{option}(?![\w-])", help_of(*command)):
            return f"{' '.join(map(str, command))} has no {option}"
    return None


def is_in(part, whole):
    """Whether the lines of a part stand one behind the other in a text, all indented alike by more or less."""
    def plain(text):
        return [line.rstrip() for line in textwrap.dedent(text).strip("\n").split("\n")]
    wanted, lines = plain(part), whole.split("\n")
    return any(plain("\n".join(lines[i:i + len(wanted)])) == wanted for i in range(len(lines) - len(wanted) + 1))


class Blocks(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="mesh-fib6-blocks.", ignore_cleanup_errors=True)
        self.addCleanup(folder.cleanup)
        self.work = pathlib.Path(folder.name)

    def install(self):
        """The folder of an installed tree."""
        prefix = self.work / "installed"
        for component in ([], ["--component", "host"]):
            done = run(SETTINGS["cmake"], "--install", BUILD, "--prefix", prefix, *component)
            self.assertEqual(done.returncode, 0, done.stderr)
        return prefix

    def environment(self, prefix):
        return {**os.environ, "PKG_CONFIG_PATH": f"{prefix}/lib/pkgconfig", "LD_LIBRARY_PATH": f"{prefix}/lib",
                "PYTHONPATH": f"{prefix}/lib/python3/dist-packages", "PATH": f"{prefix}/bin:{os.environ['PATH']}",
                "MESH_HOST_DIR": str(self.work / "mesh"), "PYTHONDONTWRITEBYTECODE": "1", "CC": SETTINGS["c"],
                "CXX": SETTINGS["cxx"]}

    def compile(self, block, prefix):
        """What the compiler says of a block: nothing, when it is well."""
        flags = run("pkg-config", "--cflags", "mesh_fib6_host", env=self.environment(prefix)).stdout.split()
        compiler = [SETTINGS["c"], "-std=c99", "-x", "c"] if block.language == "c" else \
            [SETTINGS["cxx"], "-std=c++17", "-x", "c++"]
        place = self.work / f"block-{block.document.replace('/', '-')}-{block.number}"
        if "_generated.h" in block.text:
            place.mkdir()
            self.assertEqual(run("flatc", "--cpp", "-o", place, *sorted((SOURCE / "schemas").glob("*.fbs"))).returncode, 0)
            flags += [f"-I{place}"]
        done = run(*compiler, "-", "-Wall", "-Wextra", "-Werror", *flags, "-c", "-o", os.devnull, input=block.text)
        return done.stderr if done.returncode else ""

    def blocks(self, *languages, how=None):
        found = [block for block in all_blocks() if block.language in languages and (how is None or block.how == how)]
        self.assertTrue(found, languages)
        return found

    # What there is.

    def test_EachHasALanguageAndAWayToBeChecked(self):
        unknown = [f"{block}: '{block.language} {block.how}'" for block in all_blocks()
                   if block.language not in LANGUAGES or not self.can_be(block)]
        self.assertEqual(unknown, [])
        self.assertGreater(len(all_blocks()), 80)

    @staticmethod
    def can_be(block):
        if block.language in ELSEWHERE and block.how == "":
            return block.document == ELSEWHERE[block.language]
        return block.how == "" or re.fullmatch("from=[^ ]+", block.how) or (block.language, block.how) in {
            ("sh", "run"), ("text", "said"), ("console", "sample")}

    def test_NoneIsByIndentation(self):
        # Behind an item of a list a paragraph of the item is indented.
        wrong = []
        for path, text in documents().items():
            fence = item = False
            before = ""
            for number, line in enumerate(text.split("\n"), 1):
                if line.lstrip().startswith("```"):
                    fence = not fence
                elif not fence:
                    item = bool(re.match(r"([-*]|\d+\.) ", line)) or (item and (not line or line[0] == " "))
                    if line.startswith("    ") and not before and not item:
                        wrong.append(f"{path}:{number}")
                before = line
        self.assertEqual(wrong, [])

    def test_WhatIsFromAFileIsInIt(self):
        excerpts = [block for block in all_blocks() if block.how.startswith("from=")]
        self.assertGreater(len(excerpts), 4)
        for block in excerpts:
            path = SOURCE / block.how.partition("=")[2]
            with self.subTest(block=block):
                self.assertTrue(is_in(block.text, path.read_text(encoding="utf-8")), f"{block}: not in {path}")

    # What is compiled, run, configured.

    def test_CAndCppCompileWithoutAWarning(self):
        prefix = self.install()
        whole = self.blocks("c", "cpp", how="")
        self.assertGreater(len(whole), 5)
        with concurrent.futures.ThreadPoolExecutor(2) as pool:
            for block, said in zip(whole, pool.map(lambda block: self.compile(block, prefix), whole)):
                with self.subTest(block=block):
                    self.assertEqual(said, "")

    def run_document(self, path, prefix):
        """[(block, output)] of what runs in a document, in one shell."""
        place = self.work / path.replace("/", "-")
        (place / "build").mkdir(parents=True)
        (place / "build/release").symlink_to(BUILD)
        for name in ("schemas", "examples", "scripts"):
            (place / name).symlink_to(SOURCE / name)
        script, running, names = ["set -e"], [], []
        for block in blocks_of(path, documents()[path]):
            text = block.text
            for stand_in in STAND_INS:
                text = re.sub(rf"(?<![\w/]){stand_in}(?![\w])", str(prefix), text)
            if block.named:
                (place / block.named).write_text(text, encoding="utf-8")
                names.append(block.named)
            elif block.language == "python" and not block.how:
                (place / f"block-{block.number}.py").write_text(text, encoding="utf-8")
                text = f"python3 block-{block.number}.py\n"
                running.append((block, text))
            if (block.language, block.how) == ("sh", "run"):
                running.append((block, text))
        for number, (_, text) in enumerate(running):
            script += [f"echo '{MARK.format(number)}'", text]
        for name in names:
            self.assertIn(name.partition(".")[0], "".join(script), f"{path}: nothing uses {name}")
        process = subprocess.Popen(["bash", "-c", "\n".join(script)], cwd=place, env=self.environment(prefix), text=True,
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                                   start_new_session=True)
        with open(place / "output", "w+", encoding="utf-8") as said:
            reader = concurrent.futures.ThreadPoolExecutor(1).submit(lambda: said.writelines(process.stdout))
            try:
                status = process.wait(100)
            finally:
                try:
                    os.killpg(process.pid, signal.SIGKILL)  # what a document leaves in the background
                except ProcessLookupError:
                    pass
            reader.result(10)
            process.stdout.close()
            said.seek(0)
            output = said.read()
        self.assertEqual(status, 0, f"{path}:\n{output}")
        parts = re.split(re.escape(MARK).replace(r"\{\}", r"\d+") + "\n", output)[1:]
        return list(zip([block for block, _ in running], parts, strict=True))

    def test_WhatRunsDoesAndPrintsWhatTheDocumentSays(self):
        prefix = self.install()
        compared = 0
        for path in sorted({block.document for block in all_blocks() if (block.language, block.how) in {
                ("sh", "run"), ("python", "")}}):
            outputs = {block.number: output for block, output in self.run_document(path, prefix)}
            last = None
            for block in blocks_of(path, documents()[path]):
                if (block.language, block.how) == ("text", "said"):
                    with self.subTest(block=block):
                        self.assertIsNotNone(last, f"{block}: nothing ran before")
                        self.assertEqual(outputs[last], block.text, f"{block}")
                        compared += 1
                last = block.number if block.number in outputs else last
        self.assertEqual(compared, len(self.blocks("text", how="said")))

    def test_CMakeConfigures(self):
        prefix = self.install()
        for block in self.blocks("cmake"):
            with self.subTest(block=block):
                project = self.work / f"project-{block.document.replace('/', '-')}-{block.number}"
                (project / "third_party").mkdir(parents=True)
                for name in ("mesh_fib6", "third_party/mesh_fib6"):
                    (project / name).symlink_to(SOURCE)
                (project / "program.c").write_text("int main(void) { return 0; }\n", encoding="ascii")
                text = block.text.replace("/where/mesh_fib6/is", str(SOURCE))
                if "project(" not in text:
                    text = ("cmake_minimum_required(VERSION 3.25)\nproject(own LANGUAGES C CXX)\n"
                            "add_executable(program program.c)\n" + text)
                (project / "CMakeLists.txt").write_text(text, encoding="utf-8")
                done = run(SETTINGS["cmake"], "-G", SETTINGS["generator"], "-S", project, "-B", project / "build",
                           f"-DCMAKE_PREFIX_PATH={prefix}", f"-DCMAKE_C_COMPILER={SETTINGS['c']}",
                           f"-DCMAKE_CXX_COMPILER={SETTINGS['cxx']}")
                self.assertEqual(done.returncode, 0, f"{block}:\n{done.stderr}")

    def test_JsonIsJson(self):
        for block in [each for each in all_blocks() if each.language == "json"]:
            with self.subTest(block=block):
                json.loads(block.text)

    def test_CommandsAreThereWithTheirOptions(self):
        count = 0
        for block in self.blocks("sh", "console"):
            text = block.text
            if block.language == "console":
                text = "\n".join(re.findall(r"^\$ (.*)$", text, re.M))
            for words in simple_commands(text):
                with self.subTest(block=block):
                    wrong = wrong_in(words)
                    self.assertIsNone(wrong, f"{block}: {shlex.join(words)}: {wrong}")
                    count += 1
        self.assertGreater(count, 100)

    # That these can fail.

    def test_WhatIsWrongIsSeen(self):
        for command in ("scripts/no-such", "scripts/bench --no-such", "scripts/test no-such-stage", "cmake --preset no-such",
                        "cmake --build --preset release --target no-such", "ctest --preset release -R no-such-test",
                        "cmake -S . -B b -DMESH_FIB6_NO_SUCH=ON", "build/release/no-such", "mesh-fib6 decode --no-such",
                        "mesh-fib6 no-such --frames", "no-such-program", "true && scripts/fuzz --no-such"):
            with self.subTest(command=command):
                self.assertTrue(any(wrong_in(words) for words in simple_commands(command)))
        text = "a\n\n```c from=b.c\n  one;\n  two;\n```\n\n`x.py` is\n\n```python\nx\n```\n```\ny\n```\n"
        excerpt, named, bare = blocks_of("a.md", text)
        self.assertEqual((excerpt.number, excerpt.how, named.named, bare.language), (3, "from=b.c", "x.py", ""))
        self.assertTrue(is_in(excerpt.text, "{\none;\ntwo;\n}\n"))
        self.assertFalse(is_in(excerpt.text, "{\none;\n\ntwo;\n}\n"))
        self.assertFalse(is_in(excerpt.text, "{\none;\n  two;\n}\n"))
        with self.assertRaises(AssertionError):
            blocks_of("a.md", "```c\nx\n")
        prefix = self.install()
        for source in ("#include <mesh_fib6/fib6.h>\nint f(void) { int unused; return 0; }\n", "int main(void) { return x; }\n"):
            self.assertNotEqual(self.compile(Block("a.md", 1, "c", source, None), prefix), "")


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *[f"Blocks.test_{case}" for case in sys.argv[2:]]])
