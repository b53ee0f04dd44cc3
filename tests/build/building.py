"""Configures and builds the project as a stranger would; see configuring_test.py and scripts/check-build.

Room: tests. Runs cmake, compilers and what they built.
"""

import json
import os
import pathlib
import shlex
import shutil
import subprocess
import tempfile
import unittest

SOURCE = pathlib.Path(__file__).resolve().parents[2]
PARENT = SOURCE / "tests" / "build" / "parent"
PARTS = ("HOST", "EXAMPLES", "TOOLS", "TESTS")
ALONE = [f"-DMESH_FIB6_{part}=OFF" for part in PARTS]
NO_PACKAGES = [f"-DCMAKE_DISABLE_FIND_PACKAGE_{name}=ON"
               for name in ("ZLIB", "CLI11", "GTest", "Python3", "Threads")]
# What a user's shell may have set. The tests set what they mean.
FOREIGN = ("CFLAGS", "CXXFLAGS", "CPPFLAGS", "LDFLAGS", "CMAKE_BUILD_TYPE", "CMAKE_GENERATOR", "DESTDIR")


def one_line(text):
    """cmake breaks its lines where it likes."""
    return " ".join(text.split())


def run(*command, environment=None, succeeds=True, folder=None):
    """What the command wrote."""
    variables = {name: value for name, value in os.environ.items() if name not in FOREIGN}
    done = subprocess.run([str(word) for word in command], text=True, check=False, cwd=folder,
                          env={**variables, **(environment or {})}, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT)
    if (done.returncode == 0) != succeeds:
        raise AssertionError(f"{shlex.join(map(str, command))} ended with {done.returncode}\n{done.stdout}")
    return done.stdout


def compile_commands(build):
    """(source, words of the command) of all that a build compiles."""
    entries = json.loads((pathlib.Path(build) / "compile_commands.json").read_text(encoding="utf-8"))
    return [(entry["file"], shlex.split(entry["command"])) for entry in entries]


def copy_sources(to):
    """The checkout, without what was built in it."""
    names = run("git", "-C", SOURCE, "-c", f"safe.directory={SOURCE}", "ls-files", "--cached", "--others", "--exclude-standard").split("\n")
    for name in filter(None, names):
        (to / name).parent.mkdir(parents=True, exist_ok=True)
        shutil.copy(SOURCE / name, to / name)
    return to


class Building(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="mesh-fib6-build.")
        self.addCleanup(folder.cleanup)
        self.work = pathlib.Path(folder.name)

    def configure(self, *options, source=SOURCE, build="build", generator="Ninja", **how):
        """What cmake says."""
        return one_line(run("cmake", "-S", source, "-B", self.work / build, "-G", generator, *options, **how))

    def build(self, *options, build="build", **how):
        return run("cmake", "--build", self.work / build, "-j", str(os.cpu_count()), *options, **how)

    def cache(self, build="build"):
        """{name: value} of the cache."""
        lines = (self.work / build / "CMakeCache.txt").read_text(encoding="utf-8").splitlines()
        entries = [line.partition("=") for line in lines if not line.startswith(("#", "//")) and "=" in line]
        return {head.partition(":")[0]: value for head, _, value in entries}
