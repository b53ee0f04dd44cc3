"""The scripts as a developer uses them: help, wrong usage, where they are called from, what they say
while they work, and what they leave behind when they are ended.

Room: tests. Runs the scripts of a copy of this tree. Compilers, cmake, apt and dpkg are doubles, small
programs in a folder that PATH begins with; nothing is installed, nothing built.

usage: scripts_test.py SETTINGS_JSON CASE
"""

import contextlib
import json
import os
import pathlib
import pty
import re
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

SETTINGS = {}
# Blanks, quotes and what a shell would execute.
ODD = "it's a \"place\"; $(touch pwned) `touch pwned` & <so>"
# All that the scripts may call on the smallest Debian; what else they find is a double.
PLAIN_TOOLS = ("awk basename bash cat chmod chown cut date dirname env find fold grep head id ln ls "
               "mkdir mktemp mv nproc printf python3 readlink renice rm sed seq sleep sort stat tail tee "
               "timeout touch tr true uname wc xargs zcat").split()
INTERRUPTIONS = (signal.SIGHUP, signal.SIGINT, signal.SIGTERM)
DPKG_QUERY = r"""#!/bin/bash
# Knows what INSTALLED holds, 'package:architecture' a word; a name without an architecture is any.
for word in "$@"; do
  for package in $INSTALLED; do
    case "$package" in "$word" | "$word":*) echo "$package installed" ;; esac
  done
done
"""
DPKG = """#!/bin/bash
case "$1" in
  --print-architecture) echo "$NATIVE" ;;
  --print-foreign-architectures) ;;
  *) echo "dpkg $*" >>"$CALLS" ;;
esac
"""
EVERYTHING = """#!/bin/bash
# All that is asked for is installed.
shift 3
for word in "$@"; do
  [[ $word == *:* ]] || word=$word:$NATIVE
  echo "$word installed"
done
"""
HANGING = """#!/bin/bash
# Works for ever, with a child that outlives its parent unless somebody ends it, too.
sleep 86400 &
( sleep 86400; true ) &
echo started >>"$STARTED"
: >"$TMPDIR/left-behind"
wait
"""


def open_to_all():
    """A folder for temporary files that every user can reach; this user's own may be closed to others."""
    usual = pathlib.Path(tempfile.gettempdir()).resolve()
    return usual if all(place.stat().st_mode & 0o001 for place in (usual, *usual.parents)) else "/tmp"


class Scripts(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="mesh-fib6-scripts.", dir=open_to_all())
        self.addCleanup(folder.cleanup)
        self.work = pathlib.Path(folder.name)
        self.doubles = self.work / "doubles"
        self.doubles.mkdir()
        self.calls = self.work / "calls"
        self.temporary = self.work / "tmp"
        self.temporary.mkdir()
        tools = self.work / "tools"
        tools.mkdir()
        for tool in PLAIN_TOOLS:
            found = sys.executable if tool == "python3" else shutil.which(tool)
            self.assertIsNotNone(found, tool)
            (tools / tool).symlink_to(found)
        self.environment = {
            "PATH": f"{self.doubles}:{tools}", "HOME": str(self.work), "LANG": "C.UTF-8", "TERM": "xterm",
            "TMPDIR": str(self.temporary), "CALLS": str(self.calls), "NATIVE": "amd64", "INSTALLED": "",
            "STARTED": str(self.work / "started"), "MAY": str(self.work)}

    def double(self, name, text):
        """A program that the scripts find instead of the real one."""
        program = self.doubles / name
        program.write_text(text, encoding="utf-8")
        program.chmod(0o755)

    def user(self, number):
        self.double("id", f'#!/bin/bash\n[ "$1" = -u ] && echo {number} || echo somebody\n')

    def as_plain_user(self):
        """How to start what is to run without root's rights, which has its folder then."""
        if os.geteuid() != 0:
            return {}
        os.chown(self.work, 65534, 65534)
        return {"user": 65534, "group": 65534, "extra_groups": []}

    def debian(self):
        self.double("dpkg", DPKG)
        self.double("dpkg-query", DPKG_QUERY)

    def all_installed(self):
        self.double("dpkg", DPKG)
        self.double("dpkg-query", EVERYTHING)

    def tree(self, name="tree", folders=("scripts", ".ci", "bench")):
        """A copy of these folders of the sources."""
        place = self.work / name
        for folder in folders:
            shutil.copytree(self.script(folder), place / folder)
        return place

    def start(self, *command, cwd=None, environment=None, **how):
        return subprocess.Popen(
            [str(word) for word in command], cwd=cwd or self.work, text=True,
            env={**self.environment, **(environment or {})}, stdin=subprocess.DEVNULL,
            stdout=how.pop("stdout", subprocess.PIPE), stderr=subprocess.PIPE, start_new_session=True,
            # A runner in the background may have it ignored, which nobody below could undo.
            preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL), **how)

    def run_script(self, *command, **how):
        """(status, standard output, standard error)"""
        process = self.start(*command, **how)
        output, errors = process.communicate(timeout=50)
        return process.returncode, output, errors

    def script(self, name):
        return pathlib.Path(SETTINGS["source"]) / name

    def all_scripts(self):
        """Whatever in scripts/ and .ci/ can be executed."""
        found = [path for folder in ("scripts", ".ci") for path in self.script(folder).iterdir()
                 if os.access(path, os.X_OK) and path.is_file()]
        self.assertGreaterEqual(len(found), 10)
        return sorted(found)

    def check_wrong(self, done, what):
        status, output, errors = done
        self.assertEqual((status, output), (2, ""), f"{what}: {errors}")
        self.assertRegex(errors, "(?m)^usage: ", what)
        self.assertNotIn("Traceback", errors, what)

    # Help and wrong usage.

    def test_EachScriptShowsItsHelpOnStandardOutput(self):
        for script in self.all_scripts():
            for option in ("--help", "-h"):
                with self.subTest(script=script.name, option=option):
                    status, output, errors = self.run_script(script, option)
                    self.assertEqual((status, errors), (0, ""))
                    self.assertRegex(output, "(?m)^usage: .*" + script.name)

    def test_EachScriptRefusesAnUnknownArgument(self):
        for script in self.all_scripts():
            for arguments in (["--no-such-option"], ["--no-such-option", "x"]):
                with self.subTest(script=script.name, arguments=arguments):
                    self.check_wrong(self.run_script(script, *arguments), script)

    def test_EachToolTellsWrongUsageFromFailureAndShowsItsHelp(self):
        python = sys.executable
        for tool in ([SETTINGS["write_baselines"]], [SETTINGS["fuzz_decode"]], [SETTINGS["fuzz_make_seeds"]],
                     [python, self.script("bench/make_peers.py")],
                     [python, self.script("tests/catalogue/check_readme.py")],
                     [python, self.script("tests/rooms/check_rooms.py")],
                     [python, self.script("tests/runtime/check_fast_path.py")],
                     [python, self.script("tests/runtime/check_stack.py")],
                     [python, self.script("tests/load/load_test.py")],
                     [python, self.script("tests/scripts/scripts_test.py")]):
            with self.subTest(tool=tool[-1]):
                status, output, errors = self.run_script(*tool, "--help")
                self.assertEqual((status, errors), (0, ""))
                self.assertRegex(output, "(?m)^ *usage: ")
                status, output, errors = self.run_script(*tool)
                self.assertEqual((status, output), (2, ""), errors)
                self.assertRegex(errors, "(?m)^ *usage: ")

    def test_WriteBaselinesRefusesWhatIsNoSourceTree(self):
        file = self.work / "file"
        file.touch()
        for arguments in ([file], [self.work], [self.work / "missing"], ["--option"], [self.work, self.work]):
            self.check_wrong(self.run_script(SETTINGS["write_baselines"], *arguments), arguments)
        self.assertEqual(list(self.work.rglob("*.fbs")) + list(self.work.rglob("exports.txt")), [])

    def test_StagesAndStepsThatDoNotExistAreRefusedWithThoseThatDo(self):
        for script, known in (("test", "aarch64"), ("try-fresh", "demo-user"), ("fuzz", "round_trip"),
                              ("campaign", "mutated")):
            option = ["--only"] if script == "try-fresh" else []
            done = self.run_script(self.script("scripts") / script, *option, "no-such-stage")
            self.check_wrong(done, script)
            self.assertIn(known, done[2])

    def test_ArgumentsThatExcludeEachOtherAreRefused(self):
        for script, *arguments in (("test", "--all", "release"), ("test", "--list", "--all"),
                                   ("fuzz", "--runs", "1", "--seconds", "1"), ("fuzz", "--memory", "--keep"),
                                   ("campaign", "--runs", "0"), ("campaign", "--architecture", "mips"),
                                   ("campaign", "--jobs"), ("try-fresh", "--root"),
                                   ("try-fresh", "--mirror", "nonsense"),
                                   ("coverage", "--no-build", "--build-only"),
                                   ("package", "--arch", "mips"), ("package", "--output"),
                                   ("package", "--as-version", "1.2"),
                                   ("package", "--prepare", "tree", "--arch", "amd64"),
                                   ("try-packages", "--arch", "mips"), ("try-packages", "--mirror", "nonsense"),
                                   ("check-reproducible", "--arch")):
            self.check_wrong(self.run_script(self.script("scripts") / script, *arguments), script)

    # How large the library is. These read a program with the compiler's own tools.

    def text_size(self, *arguments):
        return self.run_script(self.script("scripts/text-size"), *arguments,
                               environment={"PATH": os.environ["PATH"]})

    def test_TheTextSizeIsTheOneThatSizeTellsAndAboveTheLimitItFails(self):
        program = SETTINGS["demo"]
        size = int(subprocess.run(["size", program], capture_output=True, text=True,
                                  check=True).stdout.splitlines()[1].split()[0])
        for limit, status, room in ((size, 0, "0 below"), (size - 1, 1, "1 more than")):
            done = self.text_size("--limit", limit, program)
            self.assertEqual(done, (status, f"{program}: {size:,} bytes of text, {room} the limit of {limit:,}\n", ""))
        status, output, errors = self.text_size("--by-section", "--limit", size, program)
        parts = [int(line.split()[0].replace(",", "")) for line in output.splitlines()[1:]]
        self.assertEqual((status, sum(parts), errors), (0, size, ""))

    def test_FamiliesOfTheTextAreTemplatesWithoutTheirArguments(self):
        source = self.work / "families.cpp"
        source.write_text("""
            namespace { template <class T> [[gnu::noinline]] int inner(T x) { return static_cast<int>(x) + 1; } }
            template <class T> struct outer { [[gnu::noinline]] int of(T x) { return inner<T>(x); } };
            int first(long x) { return outer<long>().of(x); }
            int second(char x) { return outer<char>().of(x); }
            extern "C" int some_message__pack() { return 1; }
            extern "C" int other_message__pack() { return 2; }
            """, encoding="utf-8")
        library = self.work / "libfamilies.so"
        subprocess.run(["g++", "-shared", "-fPIC", "-O0", "-o", library, source], check=True)
        status, output, errors = self.text_size("--by-family", library)
        self.assertEqual((status, errors), (0, ""))
        found = {row[1]: int(row[0]) for row in re.findall(r"^ *[\d,]+ +[\d.]+% +(\d+)  (\S.*)$", output, re.M)}
        self.assertEqual({name: found.get(name) for name in ("{anonymous}::inner", "outer::of", "first", "M__pack")},
                         {"{anonymous}::inner": 2, "outer::of": 2, "first": 1, "M__pack": 2})

    def test_ATextSizeThatCannotBeToldIsAnError(self):
        bare = self.work / "bare.so"
        subprocess.run(["strip", "-o", bare, SETTINGS["demo"]], check=True)
        for arguments, expected in (([self.work / "missing"], "no such file, expected a shared library"),
                                    ([self.script("scripts/text-size")], "Not an ELF file"),
                                    (["--by-family", bare], "has no symbols; expected a library that is not stripped")):
            status, _, errors = self.text_size(*arguments)
            self.assertEqual(status, 1)
            self.assertIn(expected, errors)
            self.assertNotIn("Traceback", errors)

    def test_WithoutBinutilsTheTextSizeSaysWhatIsMissing(self):
        status, output, errors = self.run_script(self.script("scripts/text-size"), SETTINGS["demo"])
        self.assertEqual((status, output), (1, ""))
        self.assertIn("'readelf' is not installed, expected it from package binutils", errors)

    # Where a script is, and where it is called from.

    def test_ScriptsWorkFromAnyFolderThroughALinkInAFolderWithAnOddName(self):
        tree = self.tree(ODD)
        elsewhere = self.work / "else where"
        (elsewhere / "scripts").mkdir(parents=True)
        self.all_installed()
        for name in ("scripts/install-deps", "scripts/test", "scripts/fuzz", "scripts/valgrind",
                     "scripts/demo", "scripts/try-fresh", "scripts/try-routing-daemon",
                     "scripts/coverage", "scripts/mcdc", "scripts/check-abi", "scripts/bench", "scripts/host-load",
                     "scripts/mutate", "scripts/count-tests", "scripts/campaign", ".ci/run"):
            link = elsewhere / name.split("/")[1]
            link.symlink_to(tree / name)
            for cwd, command in ((elsewhere, f"./{link.name}"), (tree / "scripts", f"../{name}")):
                with self.subTest(command=command, cwd=cwd):
                    status, output, errors = self.run_script(
                        command, "--help", cwd=cwd, environment={"CDPATH": f"{elsewhere}:{tree}"})
                    self.assertEqual((status, errors), (0, ""))
                    self.assertRegex(output, "(?m)^usage: ")
        status, output, _ = self.run_script(elsewhere / "install-deps", "--check")
        self.assertEqual((status, output[:18]), (0, "nothing to install"))
        status, output, _ = self.run_script(elsewhere / "test", "--list")
        self.assertEqual((status, output.split()[0]), (0, "release"))
        self.assertEqual(list(self.work.rglob("pwned")), [])

    # install-deps

    def install_deps(self, *arguments, **environment):
        return self.run_script(self.script("scripts/install-deps"), *arguments, environment=environment)

    def missing(self, *arguments, **environment):
        """What --check finds missing."""
        status, output, errors = self.install_deps("--check", *arguments, **environment)
        if status == 0:
            return []
        self.assertEqual((status, output), (1, ""), errors)
        return re.search("missing: (.*)", errors).group(1).split()

    def test_TheDemoNeedsNoLinterNoCrossCompilerNoEmulatorAndNoTestLibrary(self):
        self.debian()
        needed = self.missing("--demo")
        self.assertIn("g++", needed)
        for word in ("clang", "lld", "aarch64", "qemu", "gtest", "arm64", "flatbuffers", "python"):
            self.assertNotIn(word, " ".join(needed))
        self.assertLess(set(needed), set(self.missing()))

    def test_WhatOnlyAllNeedsIsNotMissedByTheTests(self):
        self.debian()
        tests, everything = self.missing("--test"), self.missing("--all")
        only_all = {"clang-tidy", "clang-format", "cppcheck", "shellcheck", "valgrind"}
        self.assertEqual(only_all & set(tests), set())
        self.assertLess(only_all | set(tests), set(everything))
        self.assertEqual(tests, self.missing())
        self.user(1000)
        status, output, errors = self.install_deps(INSTALLED=" ".join(
            name if ":" in name else f"{name}:amd64" for name in tests))
        self.assertEqual((status, errors), (0, ""))
        self.assertIn("next: scripts/test", output)

    def test_APackageOfAnotherArchitectureIsNoReplacement(self):
        self.debian()
        needed = self.missing("--demo")
        self.assertIn("zlib1g-dev", needed)
        self.assertIn("zlib1g-dev", self.missing("--demo", INSTALLED="zlib1g-dev:arm64"))
        self.assertNotIn("zlib1g-dev", self.missing("--demo", INSTALLED="zlib1g-dev:amd64"))
        self.assertNotIn("libcli11-dev", self.missing("--demo", INSTALLED="libcli11-dev:all"))
        self.assertIn("zlib1g-dev:arm64", self.missing(INSTALLED="zlib1g-dev:amd64"))
        self.assertNotIn("zlib1g-dev:arm64", self.missing(INSTALLED="zlib1g-dev:arm64"))

    def test_PackagingNeedsNothingThatOnlyTestsNeed(self):
        self.debian()
        needed = self.missing("--package")
        self.assertLess({"debhelper", "lintian", "debootstrap", "libnats-dev:arm64"}, set(needed))
        for word in ("clang", "lld", "gtest", "flatbuffers", "nats-server", "mnl"):
            self.assertNotIn(word, " ".join(needed))

    def test_AnAarch64MachineNeedsNothingToTestAnother(self):
        self.debian()
        needed = self.missing(NATIVE="arm64")
        self.assertEqual([name for name in needed if ":" in name or "aarch64" in name or "qemu" in name], [])
        self.assertIn("zlib1g-dev", self.missing(NATIVE="arm64", INSTALLED="zlib1g-dev:amd64"))

    def test_APlainUserIsToldTheCommandThatInstalls(self):
        self.debian()
        self.user(1000)
        tree = self.tree(ODD)
        status, output, errors = self.run_script(tree / "scripts/install-deps", "--demo")
        self.assertEqual((status, output), (1, ""))
        command = re.search("(?m)^as root: +(.*)$", errors).group(1)
        self.assertIn(f"with sudo: sudo {command}", errors)
        words = self.run_script("bash", "-c", f"printf '%s\\n' {command}")[1].splitlines()
        self.assertEqual(words, [str(tree / "scripts/install-deps"), "--demo"])

    def test_AnotherSystemThanDebianIsToldWhatToInstall(self):
        status, output, errors = self.install_deps("--demo")
        self.assertEqual((status, output), (1, ""))
        self.assertIn("knows the packages of Debian only", errors)
        self.assertIn("zlib1g-dev", errors)

    def install(self, apt_says, status, *arguments):
        """install-deps as root, with an apt-get that says this when it installs."""
        self.debian()
        self.user(0)
        self.double("apt-get", f"""#!/bin/bash
            echo "apt-get $*" >>"$CALLS"
            [[ " $* " == *" install "* ]] || exit 0
            cat <<'TEXT'\n{apt_says}\nTEXT
            exit {status}\n""")
        return self.install_deps(*arguments)

    def test_RootInstallsWhatIsMissingAndIsToldWhatToTypeNext(self):
        self.environment["INSTALLED"] = "cmake:amd64 g++:amd64"
        status, output, errors = self.install("", 0, "--demo")
        self.assertEqual((status, errors), (0, ""))
        calls = self.calls.read_text(encoding="utf-8").splitlines()
        self.assertEqual(len(calls), 2)
        self.assertTrue(calls[0].endswith("update"))
        self.assertIn("install -y --no-install-recommends ninja-build", calls[1])
        self.assertNotIn("cmake", calls[1])
        self.assertIn("installing 4 of 6 packages", output)
        self.assertIn("next: scripts/demo", output)
        self.assertEqual(list(self.temporary.iterdir()), [])

    def test_TheForeignArchitectureIsAddedOnlyForItsPackages(self):
        self.install("", 0, "--demo")
        self.assertNotIn("add-architecture", self.calls.read_text(encoding="utf-8"))
        self.install("", 0, "--test")
        self.assertIn("dpkg --add-architecture arm64", self.calls.read_text(encoding="utf-8"))

    def test_WhyAnInstallationFailedIsSaid(self):
        for says, expected in (
                ("E: Could not get lock /var/lib/dpkg/lock-frontend. It is held by process 7 (apt)",
                 "another package manager is at work"),
                ("E: Unable to locate package libcli11-dev", "apt does not know libcli11-dev: expected Debian 12"),
                ("E: Package 'clang' has no installation candidate", "apt does not know clang"),
                ("E: Failed to fetch http://x/y.deb  Temporary failure resolving 'x'", "server cannot be reached"),
                ("E: dpkg was interrupted, you must manually run 'dpkg --configure -a'", "dpkg --configure -a"),
                ("E: You don't have enough free space in /var/cache/apt/archives/.", "the disk is full"),
                ("E: Something else", "last words are above")):
            with self.subTest(says=says):
                status, _, errors = self.install(says, 100, "--demo")
                self.assertEqual(status, 1)
                self.assertIn(says, errors)
                self.assertIn(expected, errors.splitlines()[-1])

    def test_AMachineWithoutAptSaysSo(self):
        self.debian()
        self.user(0)
        status, _, errors = self.install_deps("--demo")
        self.assertEqual(status, 1)
        self.assertIn("there is no apt-get", errors)

    # demo

    def demo(self, *arguments, **how):
        """scripts/demo where nothing is installed: what it accepts is refused by install-deps."""
        self.debian()
        self.user(1000)
        return self.run_script(self.script("scripts/demo"), *arguments, **how)

    def check_demo_refuses(self, expected, *arguments):
        with self.subTest(arguments=arguments):
            done = self.demo(*arguments)
            self.check_wrong(done, arguments)
            self.assertIn(expected, done[2])

    def check_demo_accepts(self, *arguments):
        with self.subTest(arguments=arguments):
            status, _, errors = self.demo(*arguments)
            self.assertEqual(status, 1, errors)
            self.assertIn("not root, and these packages are missing", errors)

    def test_TheDemoRefusesBadFilesAndFoldersBeforeItInstalls(self):
        file = self.work / "a table"
        file.write_text("2001:db8::/32\n", encoding="ascii")
        for expected, *arguments in (
                ("cannot read nowhere: No such file or directory", "nowhere"),
                (f"cannot read {self.work}: Is a directory", self.work),
                ("cannot read --spoil: No such file", "--", "--spoil"),
                ("not expected: b", file, "b"),
                (f"cannot make the directory {file}: Not a directory", "--keep", file),
                ("Not a directory", "--keep", file / "below"),
                ("Not a directory", f"--keep={file}/below/it"),
                ("--keep", "--keep="),
                ("--keep", "--keep")):
            self.check_demo_refuses(expected, *arguments)
        for arguments in ([], [file], ["-"], ["--", file], ["--keep", self.work / "new" / "er"],
                          ["--keep", "new"], ["--keep", "/"] if os.access("/", os.W_OK) else [],
                          [file, "--batch", "7", "--spoil", "--spoil"]):
            self.check_demo_accepts(*arguments)
        self.assertFalse((self.work / "new").exists())

    def test_TheDemoRefusesWhatCannotBeReadOrWritten(self):
        become = self.as_plain_user()
        demo = self.tree() / "scripts/demo"  # the checkout may be closed to others
        file, folder = self.work / "secret", self.work / "closed"
        file.touch()
        file.chmod(0)
        folder.mkdir(mode=0o555)
        for expected, *arguments in (("cannot read secret: Permission denied", "secret"),
                                     ("closed/new: Permission denied", "--keep", "closed/new")):
            self.debian()
            done = self.run_script(demo, *arguments, **become)
            self.check_wrong(done, arguments)
            self.assertIn(expected, done[2])

    def test_TheDemoAndItsScriptAcceptTheSameArguments(self):
        samples = [["--batch", number] for number in ("0", "1", "100000", "100001", "-1", "x")]
        samples += [["--vrf", number] for number in ("0", "4294967295", "4294967296", "-1", "1x", "1.5",
                                                     "99999999999999999999")]
        samples += [[option, number] for option in ("--destination", "--pause")
                    for number in ("0", "4294967295", "4294967296")]
        samples += [["--vrf=5"], ["--batch=x"], ["--no-such"], ["-x"], ["-"], ["--spoil", "--spoil"], ["--vrf"],
                    ["--vrf", "1", "--vrf", "2"], ["-", "-"], ["--", "-"], ["--vrf", "--spoil"], ["--bat", "5"]]
        accepted = 0
        nowhere = "/dev/null/nowhere"
        for sample in samples:
            with self.subTest(sample=sample):
                # The program looks at this folder when all else is good, and goes no further.
                program = self.run_script(SETTINGS["demo"], f"--keep={nowhere}", *sample)
                self.assertNotEqual(program[0], 0)
                takes = nowhere in program[2]
                if not takes:
                    self.assertEqual(program[0], 2, program)
                status, _, errors = self.demo(*sample)
                self.assertEqual(status, 1 if takes else 2, errors)
                accepted += takes
        self.assertIn(accepted, range(10, len(samples) - 10))

    # count-tests

    def count(self, entries, **details):
        report, folder = self.work / "report.xml", self.work / "gtest"
        report.write_text(f"<testsuite>{entries}</testsuite>", encoding="utf-8")
        folder.mkdir(exist_ok=True)
        for name, text in details.items():
            (folder / f"{name}.xml").write_text(text, encoding="utf-8")
        status, output, errors = self.run_script(self.script("scripts/count-tests"), report, folder)
        self.assertEqual((status, errors), (0, ""))
        return output.splitlines()

    def test_WhatSkippedItselfIsCountedApartWithItsReason(self):
        self.assertEqual(self.count("""
            <testcase name="good" status="run"><system-out/></testcase>
            <testcase name="netns" status="notrun"><skipped message="SKIP_RETURN_CODE=77"/>
              <system-out>one\nthis kernel makes no namespaces\n</system-out></testcase>
            <testcase name="quiet" status="notrun"><skipped message="SKIP_RETURN_CODE=77"/>
              <system-out/></testcase>"""),
            ["1 0 2", "skipped: netns: this kernel makes no namespaces",
             "skipped: quiet: SKIP_RETURN_CODE=77"])

    def test_WhatDidNotRunHasFailed(self):
        self.assertEqual(self.count("""
            <testcase name="broken" status="fail"><failure message=""/></testcase>
            <testcase name="missing" status="notrun"><skipped message="Unable to find executable"/></testcase>
            <testcase name="dependent" status="notrun"><skipped message="Fixture dependency failed"/></testcase>
            <testcase name="off" status="disabled"/>"""),
            ["0 4 0", "failed: broken", "failed: missing", "failed: dependent", "failed: off"])

    def test_TheCasesOfAWholeExecutableAreCountedOneByOne(self):
        cases = """<testsuites tests="4"><testsuite>
            <testcase name="A" classname="S" status="run"/>
            <testcase name="B" classname="S" status="run"><failure message="x"/></testcase>
            <testcase name="C" classname="S" status="run"><skipped message="f.cpp:1&#10;no room"/></testcase>
            <testcase name="D" classname="S" status="notrun"/></testsuite></testsuites>"""
        self.assertEqual(self.count('<testcase name="whole" status="fail"/>', whole=cases),
                         ["1 2 1", "failed: whole.S.B", "skipped: whole.S.C: no room", "failed: whole.S.D"])

    def test_AnExecutableThatCrashesAtItsEndHasFailed(self):
        cases = '<testsuites><testsuite><testcase name="A" classname="S" status="run"/></testsuite></testsuites>'
        self.assertEqual(self.count('<testcase name="whole" status="fail"/>', whole=cases),
                         ["0 1 0", "failed: whole"])

    def test_AReportThatIsNoneIsAFailure(self):
        report = self.work / "report.xml"
        for text in (None, "<testsuite", "<testsuite/>"):
            if text:
                report.write_text(text, encoding="utf-8")
            status, output, errors = self.run_script(self.script("scripts/count-tests"), report, self.work)
            self.assertEqual((status, output), (1, ""))
            self.assertIn("report.xml", errors)
            self.assertNotIn("Traceback", errors)

    # test

    def suite(self, *entries, may=("build", "test")):
        """A tree whose builds are quick and whose ctest reports these entries."""
        tree = self.tree()
        for what in may:
            (self.work / what).touch()
        self.all_installed()
        # They are done when they may be.
        self.double("cmake", """#!/bin/bash
            [[ $1 == --build ]] || exit 0
            echo '[3/12] some'
            until [ -e "$MAY/build" ]; do sleep 0.05; done
            echo '[12/12] done'\n""")
        self.double("ctest", f"""#!/bin/bash
            while [ $# -gt 0 ]; do [ "$1" != --output-junit ] || report=$2; shift; done
            echo '1/2 Test #1: x .... Passed 0.1 sec'
            until [ -e "$MAY/test" ]; do sleep 0.05; done
            echo '<testsuite>{"".join(entries)}</testsuite>' >"$report"\n""")
        return tree / "scripts/test"

    GOOD = '<testcase name="good" status="run"/>'
    BAD = '<testcase name="bad.Case" status="fail"><failure/></testcase>'
    SKIPPED = ('<testcase name="odd" status="notrun"><skipped message="SKIP_RETURN_CODE=77"/>'
               "<system-out>no room here</system-out></testcase>")

    def test_TheLastLineCountsAndWhatDidNotPassIsNamed(self):
        script = self.suite(self.GOOD, self.GOOD, self.BAD, self.SKIPPED)
        status, output, errors = self.run_script(script, "release")
        self.assertEqual((status, errors), (1, ""))
        lines = output.splitlines()
        self.assertEqual(lines[-1], "3 passed, 1 failed, 1 skipped")  # the build is one of them
        self.assertIn("FAILED: bad.Case (release)", lines)
        self.assertIn("skipped: odd: no room here (release)", lines)
        self.assertRegex(output, r"(?m)^release +3 +1 +1 +\d+ s$")
        self.assertNotIn("\033", output)
        self.assertNotIn("\r", output)
        self.assertTrue((script.parent.parent / "build/logs/ctest-release.log").exists())
        self.assertEqual(list(self.temporary.iterdir()), [])

    def test_AGoodRunSaysHowLongItTookAndNothingOfSkipping(self):
        status, output, _ = self.run_script(self.suite(self.GOOD))
        lines = output.splitlines()
        self.assertEqual((status, lines[-1]), (0, "4 passed, 0 failed"))
        self.assertRegex(lines[-2], r"^\d+ s in all, under 5 minutes; logs are in build/logs$")

    def test_ABuildThatFailsIsOneFailureAndEndsItsStageOnly(self):
        script = self.suite(self.GOOD)
        self.double("cmake", '#!/bin/bash\n[[ "$*" != *release* ]] || { echo oh no; exit 1; }\n')
        status, output, _ = self.run_script(script)
        self.assertEqual((status, output.splitlines()[-1]), (1, "2 passed, 1 failed"))
        self.assertIn("oh no", output)
        self.assertIn("FAILED: build-release (see build/logs/build-release.log)", output)

    def test_TheNextPresetIsBuiltWhileTheTestsOfTheOneBeforeRun(self):
        script = self.suite(self.GOOD)
        self.double("cmake", '#!/bin/bash\n[[ "$*" != *aarch64* ]] || : >"$MAY/begun"\n')
        self.double("ctest", f"""#!/bin/bash
            while [ $# -gt 0 ]; do [ "$1" != --output-junit ] || report=$2; shift; done
            until [ -e "$MAY/begun" ]; do sleep 0.05; done
            echo '<testsuite>{self.GOOD}</testsuite>' >"$report"\n""")
        status, output, errors = self.run_script(script)
        self.assertEqual((status, errors, output.splitlines()[-1]), (0, "", "4 passed, 0 failed"))

    def test_ABuildThatWasBegunBeforeItsStageFailsInItsStage(self):
        script = self.suite(self.GOOD)
        self.double("cmake", '#!/bin/bash\n[[ "$*" != *aarch64* ]] || { echo oh no; exit 1; }\n')
        status, output, errors = self.run_script(script)
        self.assertEqual((status, errors, output.splitlines()[-1]), (1, "", "2 passed, 1 failed"))
        self.assertIn("oh no", output)
        self.assertRegex(output, r"(?m)^release +2 +0 +0 ")
        self.assertIn("FAILED: build-aarch64 (see build/logs/build-aarch64.log)", output)

    def analysis(self, clang_tidy, clang_format):
        """A tree of one source, and what reads it."""
        script = self.suite(self.GOOD)
        self.double("git", "#!/bin/bash\nprintf 'runtime/some.cpp\\0'\n")
        self.double("jq", "#!/bin/bash\n")
        self.double("clang-tidy", f"#!/bin/bash\n{clang_tidy}\n")
        self.double("clang-format", f"#!/bin/bash\n{clang_format}\n")
        return script

    def test_StaticAnalysisIsBegunBehindTheOtherChecksAndFailsInItsOwnStage(self):
        script = self.analysis(': >"$MAY/begun"; echo oh no; exit 1',
                               'until [ -e "$MAY/begun" ]; do sleep 0.05; done')
        status, output, errors = self.run_script(script, "formatting", "clang-tidy")
        self.assertEqual((status, errors, output.splitlines()[-1]), (1, "", "1 passed, 1 failed"))
        self.assertRegex(output, r"(?m)^formatting +1 +0 +0 ")
        self.assertRegex(output, r"(?ms)^oh no$.*^FAILED: clang-tidy \(see build/logs/clang-tidy.log\)$")

    def test_StaticAnalysisIsDoneOnceInItsStageWhenThatComesFirst(self):
        script = self.analysis('echo "$@" >>"$MAY/read"', "")
        status, output, errors = self.run_script(script, "clang-tidy", "formatting")
        self.assertEqual((status, errors, output.splitlines()[-1]), (0, "", "2 passed, 0 failed"))
        self.assertRegex((self.work / "read").read_text(), r"^[^\n]* runtime/some.cpp\n$")

    def test_AnAarch64MachineSkipsTheEmulatedStageAndSaysWhy(self):
        script = self.suite(self.GOOD)
        self.double("uname", "#!/bin/bash\necho aarch64\n")
        status, output, _ = self.run_script(script)
        self.assertEqual((status, output.splitlines()[-1]), (0, "2 passed, 0 failed, 1 skipped"))
        self.assertIn("skipped: aarch64: nothing to emulate", output)

    def test_APlainUserIsToldOfABuildThatRootMade(self):
        script = self.suite(self.GOOD)
        build = script.parent.parent / "build"
        (build / "release").mkdir(parents=True)
        (build / "release").chmod(0o555)
        become = self.as_plain_user()
        for name in ("test", "demo", "fuzz"):
            status, _, errors = self.run_script(script.parent / name, **become)
            self.assertEqual(status, 1)
            self.assertRegex(errors, "build(/release)?' belongs to .* cannot be written: remove it")

    def test_WhatRootBuildsInSomebodysTreeIsThatPersons(self):
        tree = self.tree()
        (tree / "build/deep").mkdir(parents=True)
        owner = 65534 if os.geteuid() == 0 else os.geteuid()
        os.chown(tree, owner, -1)
        status, _, errors = self.run_script("bash", "-c", '. "$1" && clean_ends', "x",
                                            tree / "scripts/shared.bash")
        self.assertEqual((status, errors), (0, ""))
        self.assertEqual((tree / "build/deep").stat().st_uid, owner)

    def on_terminal(self, script, *arguments, answers=(), **environment):
        """What the script writes to a terminal. Answers are pairs of a text and what may go on as soon as
        the text is shown."""
        ours, theirs = pty.openpty()
        process = self.start(script, *arguments, stdout=theirs, environment=environment)
        os.close(theirs)
        shown = b""
        with contextlib.suppress(OSError):  # the other side is closed
            while piece := os.read(ours, 4096):
                shown += piece
                for text, what in answers:
                    if text in shown:
                        (self.work / what).touch()
        os.close(ours)
        process.communicate(timeout=10)
        return shown.decode()

    def test_ATerminalShowsOneLineThatChanges(self):
        shown = self.on_terminal(self.suite(self.GOOD, may=()), "release",
                                 answers=((b"25 %", "build"), (b"50 %", "test")))
        self.assertRegex(shown, r"\rbuild-release +25 % +\d s\x1b\[K")
        self.assertRegex(shown, r"\rctest-release +50 % +\d s\x1b\[K")
        self.assertRegex(shown, r"\x1b\[Kbuild-release +ok")

    def test_ADumbTerminalGetsPlainLines(self):
        for term in ("dumb", ""):
            shown = self.on_terminal(self.suite(self.GOOD) if term else self.work / "tree/scripts/test",
                                     "release", TERM=term)
            self.assertNotIn("\x1b", shown)
            self.assertEqual(shown.count("\r"), shown.count("\r\n"))
            self.assertIn("build-release", shown)

    def test_ALogGetsALineEveryTenSeconds(self):
        # The interval is shortened for the test; that it is short enough is seen first.
        program = """. "$1" && [ "$quiet_seconds" -le 9 ] && quiet_seconds=1
            until_may() { until [ -e "$MAY/$1" ]; do sleep 0.05; done; }
            work() { echo '[1/4] a'; until_may build; echo '[2/4] b'; until_may test; }
            watch thing "$2" work"""
        process = self.start("bash", "-c", program, "x", self.script("scripts/shared.bash"), self.work / "log")
        self.assertRegex(process.stdout.readline(), r"^thing +25 % +\d+ s$")
        (self.work / "build").touch()
        lines = iter(process.stdout.readline, "")
        self.assertRegex(next(line for line in lines if "25 %" not in line), r"^thing +50 % +\d+ s$")
        (self.work / "test").touch()
        output, errors = process.communicate(timeout=20)
        self.assertEqual((process.returncode, errors), (0, ""))
        self.assertNotIn("\033", output)

    # Ends.

    def hanging(self):
        """Scripts, each at work on something that never ends by itself."""
        tree = self.tree(folders=("scripts", "bench", "wire", "runtime", "transport", "modules"))
        self.all_installed()
        for name in ("cmake", "clang++", "apt-get"):
            self.double(name, HANGING)
        self.double("valgrind", "#!/bin/bash\n")
        self.double("git", f'#!/bin/bash\ncd "{tree}" && find wire runtime transport modules -type f -print0\n')
        commands = {name: [tree / "scripts" / name] for name in ("demo", "test", "fuzz", "valgrind",
                                                                 "coverage", "mutate")}
        commands["bench"] = [tree / "scripts/bench", "--check"]
        commands["host-load"] = [tree / "scripts/host-load"]
        return commands

    def ours(self):
        """Processes that were started by this test, known by what is in their environment."""
        found = []
        for folder in pathlib.Path("/proc").glob("[0-9]*"):
            with contextlib.suppress(OSError):
                if f"STARTED={self.environment['STARTED']}".encode() in (folder / "environ").read_bytes():
                    if " Z " not in (folder / "stat").read_text(encoding="utf-8"):
                        found.append((folder / "cmdline").read_bytes())
        return found

    def wait_for_started(self, count):
        """Until so many have begun what they hang in."""
        started = pathlib.Path(self.environment["STARTED"])
        deadline = time.monotonic() + 30
        while not started.exists() or len(started.read_text(encoding="utf-8").split()) < count:
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.02)

    def check_end(self, number):
        commands = self.hanging()
        running = {name: self.start(*command) for name, command in commands.items()}
        self.wait_for_started(len(running))
        self.assertGreaterEqual(len(self.ours()), 4 * len(running))
        self.assertTrue(list(self.temporary.iterdir()))
        for process in running.values():
            # From the keyboard it comes to the whole group.
            (os.killpg if number == signal.SIGINT else os.kill)(process.pid, number)
        for name, process in running.items():
            output, errors = process.communicate(timeout=20)
            self.assertEqual(process.returncode, 128 + number, f"{name}: {output}{errors}")
            self.assertIn(f"{name}: interrupted", errors)
        self.assertEqual(self.ours(), [])
        self.assertEqual(list(self.temporary.iterdir()), [])

    def test_AHangUpLeavesNoProcessAndNoFile(self):
        self.check_end(signal.SIGHUP)

    def test_AnInterruptFromTheKeyboardLeavesNoProcessAndNoFile(self):
        self.check_end(signal.SIGINT)

    def test_ATerminationLeavesNoProcessAndNoFile(self):
        self.check_end(signal.SIGTERM)

    def test_WhatIgnoresBeingAskedIsMadeToEnd(self):
        program = """. "$1"; clean_ends; make_scratch; patience=1
            work() { bash -c 'trap "" TERM INT HUP; echo started >>"$STARTED"; while :; do sleep 86400; done'; }
            watch thing "$scratch/log" work"""
        process = self.start("bash", "-c", program, "x", self.script("scripts/shared.bash"))
        self.wait_for_started(1)
        process.terminate()
        process.communicate(timeout=20)
        self.assertEqual(process.returncode, 143)
        self.assertEqual(self.ours(), [])

    def test_AReaderThatGoesAwayEndsTheScript(self):
        script = self.suite(self.GOOD)
        self.double("cmake", HANGING)
        process = self.start("bash", "-c", '. "$1"; clean_ends; make_scratch; quiet_seconds=0; watch thing "$2" cmake',
                             "x", script.parent / "shared.bash", self.work / "log")
        self.wait_for_started(1)
        process.stdout.close()
        self.assertEqual(process.wait(timeout=20), 128 + signal.SIGPIPE)
        process.stderr.close()
        self.assertEqual(self.ours(), [])
        self.assertEqual(list(self.temporary.iterdir()), [])

    def test_NoStepIsWaitedForWhenItIsDone(self):
        # What is left of a step, if anything is, would be waited for as long as patience lasts.
        program = """for _ in {1..30}; do
              timeout 4 bash -c '. "$1"; clean_ends; make_scratch; watch thing "$2" true' x "$1" "$2" || exit
            done"""
        self.assertEqual(self.run_script("bash", "-c", program, "x", self.script("scripts/shared.bash"),
                                         self.work / "log"), (0, "", ""))

    # try-fresh, packages

    def test_PackageNamesWhatItLacksAndTheCommandThatInstallsIt(self):
        self.double("dpkg", DPKG)
        status, output, errors = self.run_script(self.script("scripts/package"), "--output", self.work / "out")
        self.assertEqual((status, output), (1, ""))
        self.assertIn("dpkg-buildpackage is missing. Run, as root: scripts/install-deps --package", errors)
        self.assertFalse((self.work / "out").exists())

    def test_TryPackagesNamesWhatItLacks(self):
        self.double("dpkg", DPKG)
        script = self.script("scripts/try-packages")
        self.user(1000)
        self.assertEqual(self.run_script(script),
                         (1, "", "try-packages: needs root, for debootstrap and chroot\n"))
        self.user(0)
        self.assertEqual(self.run_script(script), (
            1, "", "try-packages: the program debootstrap is missing. Run: scripts/install-deps --package\n"))
        missing = self.work / "missing"
        self.assertEqual(self.run_script(script, "--packages", missing),
                         (1, "", f"try-packages: there is no folder '{missing}'\n"))

    def test_TryFreshNamesWhatItLacks(self):
        self.user(1000)
        status, _, errors = self.run_script(self.script("scripts/try-fresh"), "--root", self.work / "fresh")
        self.assertEqual((status, errors), (1, "try-fresh: needs root, for debootstrap and chroot\n"))
        self.user(0)
        status, _, errors = self.run_script(self.script("scripts/try-fresh"), "--root", self.work / "fresh")
        self.assertEqual(status, 1)
        self.assertIn("debootstrap is missing: apt-get install debootstrap", errors)
        self.assertFalse((self.work / "fresh").exists())


def main():
    if sys.argv[1:] in (["-h"], ["--help"]):
        print(__doc__.strip())
        return 0
    if len(sys.argv) != 3:
        print(f"scripts_test: expected 2 arguments, found {len(sys.argv) - 1}\n"
              "usage: scripts_test.py SETTINGS_JSON CASE", file=sys.stderr)
        return 2
    settings, case = sys.argv[1:]
    SETTINGS.update(json.loads(pathlib.Path(settings).read_text(encoding="utf-8")))
    if not hasattr(Scripts, "test_" + case):
        print(f"scripts_test: no case '{case}'", file=sys.stderr)
        return 2
    suite = unittest.TestSuite([Scripts("test_" + case)])
    return 0 if unittest.TextTestRunner().run(suite).wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
