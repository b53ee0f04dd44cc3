"""The installed tree as its users find it: what is in it, whether it serves them, whether it goes.

Room: tests. Runs cmake, pkg-config and compilers; knows the library only as an installed tree.

usage: installation_test.py SETTINGS_JSON CASE
"""

import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import unittest

HERE = pathlib.Path(__file__).resolve().parent
CONSUMER = HERE / "consumer"
# What is installed without a choice, and what only when it is named.
COMPONENTS = ("runtime", "development", "schemas", "documentation", "examples", "python", "tools")
ON_DEMAND = ("host",)
STRICT = ["-pedantic", "-Wall", "-Wextra", "-Werror"]
# What round_trip prints: the development host takes registrations, platform_mesh.c does not.
STAND_IN_ANSWERS = "the mesh answers 0 0 0\n"
PLATFORM_ANSWERS = "the mesh answers 77 77 77\n"
OTHER_VERSION = "compatible with requested version"
# An update with the route 2001:db8::/32; tests/examples explains the bytes.
ONE_ROUTE = ("0c000000" "0800100000000400" "08000000" "04000000" "01000000" "24000000"
             "20001d0000000000000005000400" + 18 * "00" + "20000000" "20" "04000000" "04000000"
             "20010db8" + 12 * "00")
# Examples that run without the development host.
WITHOUT_HOST = ("decode_buffer", "own_host")
SETTINGS = {}


def run(*command, environment=None, succeeds=True, text=None):
    """The command's end and what it wrote."""
    done = subprocess.run([str(word) for word in command], input=text, text=True,
                          env={**os.environ, **(environment or {})}, check=False,
                          capture_output=True)
    if (done.returncode == 0) != succeeds:
        raise AssertionError(f"{shlex.join(map(str, command))} ended with {done.returncode}\n"
                             f"{done.stdout}{done.stderr}")
    return done


def files_below(folder):
    """The paths of all files below a folder, told from it."""
    return sorted(str(path.relative_to(folder))
                  for path in folder.rglob("*") if not path.is_dir())


def version():
    """Major and minor."""
    return [int(part) for part in SETTINGS["version"].split(".")[:2]]


def expected_files(*components):
    """What files.txt lists for these components."""
    names = {name: SETTINGS[name] for name in ("lib", "include", "data", "share", "doc", "python")}
    names["config"] = SETTINGS["config"].lower()
    lines = (HERE / "files.txt").read_text(encoding="ascii").splitlines()
    rows = [line.split() for line in lines if not line.startswith("#")]
    source, paths = pathlib.Path(SETTINGS["source"]), []
    for path in (path for component, path in rows if component in components):
        folder, _, pattern = path.partition("/")
        found = [str(file.relative_to(source)) for file in source.glob(pattern)] if "*" in path else [pattern]
        assert found, f"nothing in the sources is {path}"
        paths += [f"{folder.format(**names)}/{name.format(**names)}" for name in found]
    return sorted(paths)


class Tree:
    """An installed tree: its prefix, and where things are in it."""

    def __init__(self, prefix):
        self.prefix = prefix
        self.lib = prefix / SETTINGS["lib"]
        self.include = prefix / SETTINGS["include"]

    def headers(self):
        return [path for path in files_below(self.include) if path.endswith((".h", ".hpp"))]

    def flags(self, package):
        """What pkg-config tells a compiler; it sees this tree and no other."""
        environment = {"PKG_CONFIG_LIBDIR": str(self.lib / "pkgconfig"), "PKG_CONFIG_PATH": ""}
        version = run(SETTINGS["pkg_config"], "--modversion", package, environment=environment)
        assert version.stdout.strip() == SETTINGS["version"], version.stdout
        flags = run(SETTINGS["pkg_config"], "--cflags", "--libs", package, environment=environment)
        return flags.stdout.split()


class Installation(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="mesh-fib6-install.")
        self.addCleanup(folder.cleanup)
        self.work = pathlib.Path(folder.name)
        self.set_manifests_aside()

    def manifests(self):
        return pathlib.Path(SETTINGS["build"]).glob("install_manifest*.txt")

    def set_manifests_aside(self):
        """What this build's user installed is his to remove after the tests, too."""
        kept = self.work / "manifests"
        kept.mkdir()
        for manifest in self.manifests():
            shutil.move(manifest, kept)

        def put_back():
            for manifest in self.manifests():
                manifest.unlink()
            for manifest in kept.iterdir():
                shutil.move(manifest, SETTINGS["build"])
        self.addCleanup(put_back)

    def install(self, name, *components, destdir=None):
        """Installs these components, or the whole, and gives the tree."""
        prefix = self.work / name
        environment = {"DESTDIR": str(destdir) if destdir else ""}
        command = [SETTINGS["cmake"], "--install", SETTINGS["build"], "--prefix", prefix]
        for component in components:
            run(*command, "--component", component, environment=environment)
        if not components:
            run(*command, environment=environment)
        return Tree(destdir / prefix.relative_to("/") if destdir else prefix)

    def install_with_host(self, name):
        """Installs what a development machine has, and gives the tree."""
        self.install(name)
        return self.install(name, *ON_DEMAND)

    def install_and_move(self):
        """A whole tree at another place than it was installed to."""
        tree = self.install_with_host("before")
        return Tree(tree.prefix.rename(self.work / "after"))

    def uninstall(self, **how):
        return run(SETTINGS["cmake"], "--build", SETTINGS["build"], "--target", "uninstall", **how)

    def environment(self, library_path):
        """In which programs of users run."""
        settings = {"LD_LIBRARY_PATH": str(library_path), "OSAL_HOST_REPORT": "1",
                    "MESH_HOST_DIR": str(self.work / "mesh")}
        return settings

    def check_output(self, expected, program, *arguments, library_path=""):
        """Runs a program of a user, which is to print this; what it wrote to stderr."""
        done = run(*SETTINGS["emulator"].split(), program, *arguments,
                   environment=self.environment(library_path))
        self.assertEqual(done.stdout, expected)
        return done.stderr

    def compile(self, compiler, source, *options, output):
        run(compiler, *SETTINGS["consumer_options"].split(), *STRICT, source, "-o", output, *options)

    def configure(self, project, *options, **how):
        """Configures a project of a user in a build folder of its own; what cmake said."""
        command = [SETTINGS["cmake"], "-S", project, "-B", self.work / "build",
                   "-G", SETTINGS["generator"],
                   f"-DCMAKE_C_FLAGS={shlex.join(STRICT)} {SETTINGS['consumer_options']}",
                   f"-DCMAKE_CXX_FLAGS={shlex.join(STRICT)} {SETTINGS['consumer_options']}",
                   f"-DCMAKE_C_COMPILER={SETTINGS['c']}", f"-DCMAKE_CXX_COMPILER={SETTINGS['cxx']}"]
        if SETTINGS["toolchain"]:
            command.append(f"-DCMAKE_TOOLCHAIN_FILE={SETTINGS['toolchain']}")
        return run(*command, *options, **how)

    def build(self):
        run(SETTINGS["cmake"], "--build", self.work / "build")
        return self.work / "build"

    def build_platform_mesh(self, tree):
        """A folder with a libtolvimesh.so that is not the development host's."""
        folder = self.work / "platform"
        folder.mkdir()
        self.compile(SETTINGS["c"], HERE / "platform_mesh.c", "-std=c99", "-shared", "-fPIC",
                     f"-I{tree.include / 'mesh_fib6'}", "-Wl,-soname,libtolvimesh.so",
                     output=folder / "libtolvimesh.so")
        return folder

    def check_headers(self, compiler):
        headers = self.install_with_host("tree").headers()
        self.assertIn("mesh_fib6/fib6.h", headers)
        for header in headers:
            # What is for C is for every C++ as well; what is for C++ begins with C++17.
            # 2x and 2b are C23 and C++23 where those had no number yet.
            languages = [["c", f"-std=c{version}"] for version in ("99", "11", "17", "2x")]
            languages += [["c++", f"-std=c++{version}"] for version in ("98", "11", "14", "17", "20", "2b")]
            if header.endswith(".hpp"):
                languages = [["c++", f"-std=c++{version}"] for version in ("17", "20", "2b")]
            for language in languages:
                with self.subTest(header=header, language=language):
                    run(*compiler.split(), "-x", *language, *STRICT, "-fsyntax-only",
                        f"-I{self.work / 'tree' / SETTINGS['include']}", "-",
                        text=f'#include <{header}>\nextern int not_empty;\n')  # C forbids that

    # What is in the tree.

    def test_PutsExactlyTheListedFilesAndNoStandInIntoATree(self):
        tree = self.install("tree")
        self.assertEqual(files_below(tree.prefix), expected_files(*COMPONENTS))

    def test_PutsEachComponentsFilesIntoATreeOfItsOwn(self):
        for component in (*COMPONENTS, *ON_DEMAND):
            tree = self.install(component, component)
            self.assertEqual(files_below(tree.prefix), expected_files(component))

    def test_PutsAStagedTreeBelowDestdirAndNothingBesideIt(self):
        stage = self.work / "stage"
        tree = self.install("prefix", destdir=stage)
        self.assertEqual(files_below(tree.prefix), expected_files(*COMPONENTS))
        self.assertEqual(len(files_below(stage)), len(files_below(tree.prefix)))
        self.assertFalse((self.work / "prefix").exists())

    def test_NamesNoFolderOfTheBuildNorThePrefix(self):
        tree = self.install_with_host("tree")
        folders = [str(folder).encode()
                   for folder in (SETTINGS["build"], SETTINGS["source"], tree.prefix)]
        looked_at = [path for path in files_below(tree.prefix)
                     if not (path.endswith((".so", "bin/mesh-fib6")) and SETTINGS["libraries_name_sources"])]
        self.assertTrue(looked_at)
        telling = [path for path in looked_at
                   if any(folder in (tree.prefix / path).read_bytes() for folder in folders)]
        self.assertEqual(telling, [])

    def test_CompilesEachHeaderAloneWithGcc(self):
        self.check_headers(SETTINGS["gcc"])

    def test_CompilesEachHeaderAloneWithClang(self):
        for clang in SETTINGS["clangs"]:
            self.check_headers(clang)

    def test_SaysTheProjectsVersionInTheHeaderTheToolAndBothPackagesForBuilds(self):
        tree = self.install_with_host("tree")
        numbers = SETTINGS["version"].split(".")
        source = self.work / "version.c"
        source.write_text('#include <mesh_fib6/version.h>\n#include <stdio.h>\n'
                          'int main(void) {\n'
                          '  printf("%s %d %d %d\\n", MESH_FIB6_VERSION, MESH_FIB6_VERSION_MAJOR,\n'
                          '         MESH_FIB6_VERSION_MINOR, MESH_FIB6_VERSION_PATCH);\n'
                          '  return 0;\n}\n', encoding="ascii")
        program = self.work / "version"
        for package in ("mesh_fib6", "mesh_fib6_host"):  # what it says itself, Tree.flags compares
            self.compile(SETTINGS["c"], source, "-std=c99", *tree.flags(package), output=program)
        self.check_output(" ".join([SETTINGS["version"], *numbers]) + "\n", program, library_path=tree.lib)
        self.check_output(f"mesh-fib6 {SETTINGS['version']}\n", tree.prefix / "bin" / "mesh-fib6", "--version")
        stated = (tree.lib / "cmake/mesh_fib6/mesh_fib6ConfigVersion.cmake").read_text(encoding="utf-8")
        self.assertIn(f'set(PACKAGE_VERSION "{SETTINGS["version"]}")', stated)

    # Programs of users, from a tree that is no longer where it was installed.

    def build_by_pkg_config(self, package, tree, *options):
        program = self.work / "round_trip"
        self.compile(SETTINGS["c"], CONSUMER / "round_trip.c", "-std=c99", *options,
                     *tree.flags(package), output=program)
        return program

    def test_BuildsAndRunsAC99ConsumerByPkgConfigFromAMovedTree(self):
        tree = self.install_and_move()
        program = self.build_by_pkg_config("mesh_fib6", tree)
        self.check_output(STAND_IN_ANSWERS, program, library_path=tree.lib)

    def test_BuildsAndRunsACxxConsumerByPkgConfigFromAMovedTree(self):
        tree = self.install_and_move()
        program = self.work / "delivery"
        self.compile(SETTINGS["cxx"], CONSUMER / "delivery.cpp", "-std=c++20",
                     *tree.flags("mesh_fib6_host"), output=program)
        self.check_output("delivered\n", program, library_path=tree.lib)

    def test_BuildsAndRunsAConsumerOfTheHeaderForCxxByPkgConfigFromAMovedTree(self):
        tree = self.install_and_move()
        program = self.work / "typed"
        for version in ("17", "20", "2b"):
            self.compile(SETTINGS["cxx"], CONSUMER / "typed.cpp", f"-std=c++{version}", *tree.flags("mesh_fib6"),
                         output=program)
            self.check_output("1 route, then a setting\n", program, library_path=tree.lib)

    def test_BuildsAndRunsAConsumerOfTheTableOfMessagesByPkgConfigFromAMovedTree(self):
        tree = self.install_and_move()
        program = self.work / "any_message"
        self.compile(SETTINGS["c"], CONSUMER / "any_message.c", "-std=c99", *tree.flags("mesh_fib6"),
                     output=program)
        self.check_output("feiBrokerFib6_ipv6FwdUpdateMsg, 16 bytes\nunknown\n", program, library_path=tree.lib)

    def test_BuildsAndRunsBothConsumersByFindPackageFromAMovedTree(self):
        tree = self.install_and_move()
        self.configure(CONSUMER, f"-DCMAKE_PREFIX_PATH={tree.prefix}")
        programs = self.build()
        # The loader finds everything by itself.
        self.check_output(STAND_IN_ANSWERS, programs / "round_trip")
        self.check_output("delivered\n", programs / "delivery")

    def test_LinksTheOsalByPkgConfigThoughNothingRefersToIt(self):
        tree = self.install_with_host("tree")
        for package, reports in (("mesh_fib6", False), ("mesh_fib6_host", True)):
            program = self.build_by_pkg_config(package, tree, "-Wl,--as-needed")
            said = self.check_output(STAND_IN_ANSWERS, program, library_path=tree.lib)
            self.assertEqual("allocations" in said, reports, said)

    # The examples, where they lie.

    def check_received(self, tree, receiver, sender, *arguments, sent, received):
        """Runs two programs that meet: what the one prints, and the other has printed when it is stopped."""
        receiving = subprocess.Popen([*SETTINGS["emulator"].split(), receiver], text=True,
                                     env={**os.environ, **self.environment(tree.lib)}, stdout=subprocess.PIPE)
        try:
            self.check_output(sent, sender, *arguments, library_path=tree.lib)
        finally:
            receiving.terminate()
            printed = receiving.communicate()[0]
        if isinstance(received, re.Pattern):
            self.assertRegex(printed, received)
        else:
            self.assertEqual(printed, received)
        self.assertEqual(receiving.returncode, 0)

    def check_examples(self, tree, programs):
        message = self.work / "message"
        message.write_bytes(bytes.fromhex(ONE_ROUTE))
        route = "2001:db8::/32\n"
        for language in ("", "_cpp"):
            self.check_output(route, programs / f"decode_buffer{language}", message, library_path=tree.lib)
        if SETTINGS["python_runs"]:
            self.check_python_examples(tree, message)
        own_host = run(*SETTINGS["emulator"].split(), programs / "own_host", environment=self.environment(tree.lib))
        self.assertTrue(own_host.stdout.endswith("3 blocks taken, 0 of them live\n"), own_host.stdout)
        for language in ("", "_cpp"):
            self.check_received(tree, programs / f"receive_routes{language}", programs / f"send_route{language}",
                                sent="", received=route)
            self.check_received(tree, programs / f"print_any{language}", programs / f"send_route{language}",
                                sent="", received="fib6 feiBrokerFib6_ipv6FwdUpdateMsg 16\n")
        self.check_received(tree, programs / "answer_queries", programs / "ask_routes", "2001:db8::1",
                            sent="2001:db8::/32 via fe80::1\n", received="")
        for language in ("", "_cpp"):
            self.check_received(tree, programs / f"receive_synchronisation{language}", programs / "synchronise", "600",
                                sent="", received=re.compile("synchronisation [0-9]+: complete, 600 of 600 routes\n"))

    def check_python_examples(self, tree, message):
        folder = tree.prefix / SETTINGS["doc"] / "examples"

        def runs(script, *arguments, **how):
            return run(sys.executable, folder / script, *arguments, environment={
                **self.environment(tree.lib), "PYTHONPATH": str(tree.prefix / SETTINGS["python"]),
                "PYTHONDONTWRITEBYTECODE": "1"}, **how)

        whole = message.read_bytes()
        self.assertEqual(runs("decode_buffer.py", message).stdout, "2001:db8::/32\n")
        cut = self.work / "cut"
        for size in range(0, len(whole), 7):
            cut.write_bytes(whole[:size])
            self.assertIn("decode_buffer.py: ", runs("decode_buffer.py", cut, succeeds=False).stderr)
        self.assertIn("usage", runs("decode_buffer.py", "--no", succeeds=False).stderr)
        self.assertIn("No such file", runs("decode_buffer.py", self.work / "none", succeeds=False).stderr)
        self.assertIn("usage", runs("send_route.py", "more", succeeds=False).stderr)

    def test_BuildsTheExamplesByPkgConfigFromAMovedTree(self):
        tree = self.install_and_move()
        folder = tree.prefix / SETTINGS["doc"] / "examples"
        for source in folder.glob("*.c"):
            package = "mesh_fib6" if source.stem in WITHOUT_HOST else "mesh_fib6_host"
            exports = ["-rdynamic"] if source.stem == "own_host" else []
            self.compile(SETTINGS["c"], source, "-std=c99", *exports, *tree.flags(package),
                         output=self.work / source.stem)
        for source in folder.glob("*.cpp"):
            package = "mesh_fib6" if source.stem in WITHOUT_HOST else "mesh_fib6_host"
            self.compile(SETTINGS["cxx"], source, "-std=c++17", *tree.flags(package),
                         output=self.work / f"{source.stem}_cpp")
        self.check_examples(tree, self.work)

    def test_BuildsTheExamplesByTheirOwnProjectFromAMovedTree(self):
        tree = self.install_and_move()
        self.configure(tree.prefix / SETTINGS["doc"] / "examples", f"-DCMAKE_PREFIX_PATH={tree.prefix}")
        self.check_examples(tree, self.build())

    # What README.md shows.

    def programs_of_readme(self, tree):
        """Its complete programs, written to files of their names, and the commands that build them, by name."""
        text = (tree.prefix / SETTINGS["doc"] / "README.md").read_text(encoding="utf-8")
        sources = dict(re.findall(r"^`(\w+\.(?:c|cpp|py))`(?:(?!```).)*?\n\n```\w+\n(.*?)^```$", text, re.M | re.S))
        for name, source in sources.items():
            (self.work / name).write_text(source, encoding="utf-8")
        self.assertEqual(len(re.findall(r"^```(?:c|cpp|python)$", text, re.M)), len(sources), "some are not found")
        commands = re.findall(r"^(cc|c\+\+) (-std=\S+) (\w+\.\w+) \$\(pkg-config --cflags --libs (\w+)\) -o (\w+)",
                              text, re.M)
        self.assertEqual(sorted(command[2] for command in commands), ["receiver.c", "sender.c", "typed.cpp"])
        return commands

    def test_BuildsAndRunsTheProgramsOfTheReadmeAlsoWithAHostileSender(self):
        tree = self.install_and_move()
        for compiler, standard, source, package, program in self.programs_of_readme(tree):
            self.compile(SETTINGS["c" if compiler == "cc" else "cxx"], self.work / source, standard,
                         *tree.flags(package), output=self.work / program)
        self.check_output("a route with prefix length 32\n", self.work / "typed", library_path=tree.lib)
        self.compile(SETTINGS["c"], CONSUMER / "hostile.c", "-std=c99", *tree.flags("mesh_fib6_host"),
                     output=self.work / "hostile")
        receiver = subprocess.Popen([*SETTINGS["emulator"].split(), self.work / "receiver"], text=True,
                                    env={**os.environ, **self.environment(tree.lib)}, stdout=subprocess.PIPE)
        try:
            self.check_output("", self.work / "hostile", library_path=tree.lib)
            self.check_output("", self.work / "sender", library_path=tree.lib)
            # Of spoiled messages some are sound, with routes of other values.
            self.assertIn("2001:db8::/32\n", iter(receiver.stdout.readline, ""))
            if SETTINGS["python_runs"]:
                said = run(sys.executable, self.work / "script.py", environment={
                    **self.environment(tree.lib), "PYTHONPATH": str(tree.prefix / SETTINGS["python"])}).stdout
                self.assertIn("2001:db8:1::", said)
                self.assertEqual(receiver.stdout.readline(), "2001:db8:1::/48\n")
            self.assertIsNone(receiver.poll(), "the receiver has ended")
        finally:
            receiver.kill()
            receiver.communicate()

    # The mesh of a platform.

    def test_LinksThePlatformsMeshByFindPackageWhereTheHostIsMissing(self):
        tree = self.install("tree", "runtime", "development")
        platform = self.build_platform_mesh(tree)
        self.configure(CONSUMER, f"-DCMAKE_PREFIX_PATH={tree.prefix}",
                       f"-DCMAKE_LIBRARY_PATH={platform}")
        self.check_output(PLATFORM_ANSWERS, self.build() / "round_trip", library_path=platform)

    def test_LinksThePlatformsMeshByPkgConfigWhereTheHostIsMissing(self):
        tree = self.install("tree", "runtime", "development")
        platform = self.build_platform_mesh(tree)
        program = self.build_by_pkg_config("mesh_fib6", tree, f"-Wl,-rpath-link,{platform}")
        self.check_output(PLATFORM_ANSWERS, program, library_path=f"{tree.lib}:{platform}")

    # What find_package is asked for.

    def ask(self, wanted, *components, **how):
        """What find_package says of a tree in which these components, or all, are installed."""
        tree = self.install("tree", *components) if components else self.install_with_host("tree")
        done = self.configure(HERE / "asking", f"-DWANTED={wanted}",
                              f"-DCMAKE_PREFIX_PATH={tree.prefix}", **how)
        return " ".join((done.stdout + done.stderr).split())  # cmake breaks its lines where it likes

    def check_found(self, wanted, *components):
        self.assertIn("mesh_fib6_FOUND is 1", self.ask(wanted, *components))

    def check_refused(self, reason, wanted, *components):
        self.assertIn(reason, self.ask(f"{wanted};REQUIRED", *components, succeeds=False))

    def test_IsFoundWhenAskedForItsOwnMinorVersion(self):
        major, minor = version()
        self.check_found(f"{major}.{minor}")

    def test_IsNotFoundWhenAskedForAnEarlierMinorVersionBeforeItsFirstMajorOne(self):
        major, minor = version()
        self.assertEqual(major, 0, "from 1.0 on, an earlier minor version is met")
        self.check_refused(OTHER_VERSION, f"{major}.{minor - 1}")

    def test_IsNotFoundWhenAskedForAnotherMajorVersion(self):
        self.check_refused(OTHER_VERSION, f"{version()[0] + 1}.0")

    def test_IsNotFoundWhenAskedForALaterVersion(self):
        self.check_refused(OTHER_VERSION, f"{version()[0]}.999")

    def test_IsFoundWithTheComponentHostWhereItIsInstalled(self):
        self.check_found("COMPONENTS;host")

    def test_IsNotFoundWithTheComponentHostWhereItIsMissing(self):
        tree = Tree(self.work / "tree")
        tree.lib.mkdir(parents=True)
        (tree.lib / "libtolvimesh.so").touch()  # a platform's; nothing is linked here
        self.check_refused("not all of these components are installed: host", "COMPONENTS;host",
                           "runtime", "development")

    def test_IsNotFoundWithoutAnyMeshAndTellsWhatToDo(self):
        self.check_refused("Install the component `host`", "", "runtime", "development")

    # Its end.

    def test_UninstallRemovesWhatWasInstalledAndNothingElse(self):
        foreign = [self.work / "tree" / path for path in (
            f"{SETTINGS['include']}/other.h", f"{SETTINGS['include']}/mesh_fib6/host/mine.h",
            f"{SETTINGS['lib']}/libother.so", f"{SETTINGS['lib']}/pkgconfig/.hidden",
            f"{SETTINGS['doc']}/demo/mine.cpp")]
        for path in foreign:
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_text("mine", encoding="ascii")
        tree = self.install_with_host("tree")
        self.uninstall()
        self.assertEqual(files_below(tree.prefix),
                         sorted(str(path.relative_to(tree.prefix)) for path in foreign))
        # Folders that are the library's alone go with their last file.
        self.assertFalse((tree.lib / "cmake" / "mesh_fib6").exists())
        self.assertFalse((tree.include / "mesh_fib6" / "platform").exists())
        self.assertFalse((tree.prefix / SETTINGS["data"]).exists())
        self.assertFalse((tree.prefix / SETTINGS["doc"] / "docs").exists())

    def test_UninstallRemovesWhatWasInstalledByComponents(self):
        tree = self.install("tree", *COMPONENTS, *ON_DEMAND)
        self.assertTrue(files_below(tree.prefix))
        self.uninstall()
        self.assertEqual(files_below(tree.prefix), [])

    def test_UninstallRemovesAStagedTree(self):
        stage = self.work / "stage"
        installed = self.install("tree")
        staged = self.install("tree", destdir=stage)
        self.uninstall(environment={"DESTDIR": str(stage)})
        self.assertEqual(files_below(staged.prefix), [])
        self.assertEqual(files_below(installed.prefix), expected_files(*COMPONENTS))

    def check_uninstall_fails(self, reason):
        done = self.uninstall(succeeds=False)
        self.assertIn(reason, " ".join((done.stdout + done.stderr).split()))

    def test_UninstallFailsWhenNothingIsInstalled(self):
        self.install("tree")
        self.uninstall()
        self.check_uninstall_fails("has no list of installed files")

    def test_UninstallAsksForDestdirWhereNothingThatIsListedIsThere(self):
        stage = self.work / "stage"
        staged = self.install("tree", destdir=stage)
        self.check_uninstall_fails("If they were installed with DESTDIR, set it as it was then")
        self.assertEqual(files_below(staged.prefix), expected_files(*COMPONENTS))
        self.uninstall(environment={"DESTDIR": str(stage)})  # the list is still there
        self.assertEqual(files_below(staged.prefix), [])


def main(cases=Installation):
    settings, case = sys.argv[1:]
    SETTINGS.update(json.loads(pathlib.Path(settings).read_text(encoding="utf-8")))
    suite = unittest.TestSuite([cases("test_" + case)])
    return 0 if unittest.TextTestRunner().run(suite).wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
