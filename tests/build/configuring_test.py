"""Configuring, as far as it shows without building: options, what is missing, build types, what a
parent project sees.

Room: tests. usage: configuring_test.py [CASE]
"""

import re
import shutil
import sys
import unittest

from building import ALONE, NO_PACKAGES, PARENT, SOURCE, Building, compile_commands, run

# Characters that folders may not have, for the reasons in cmake/MeshFib6Folders.cmake. (\ never gets
# here: cmake takes it for /.)
REFUSED = ('"', "#", ",", ":", ";", "[", "]", "|", "<", ">")


def missing_library(folder_option):
    """The multiarch folder of libraries, not looked into."""
    machine = run("gcc", "-print-multiarch").strip()
    return f"-D{folder_option}=/usr/lib/{machine};/lib/{machine}"


class Configuring(Building):

    # Parts and what they need.

    def test_ConfiguresTheLibraryAloneWithoutAnyPackage(self):
        self.configure(*ALONE, *NO_PACKAGES, missing_library("CMAKE_IGNORE_PATH"))

    def test_NamesThePackageThatIsMissingAndTheOptionThatDoesWithout(self):
        for option, package, without in (
                ("-DCMAKE_DISABLE_FIND_PACKAGE_ZLIB=ON", "zlib1g-dev", "-DMESH_FIB6_EXAMPLES=OFF"),
                ("-DCMAKE_DISABLE_FIND_PACKAGE_CLI11=ON", "libcli11-dev", "-DMESH_FIB6_TOOLS=OFF"),
                ("-DCMAKE_DISABLE_FIND_PACKAGE_fmt=ON", "libfmt-dev", "-DMESH_FIB6_TOOLS=OFF"),
                ("-DCMAKE_DISABLE_FIND_PACKAGE_RapidJSON=ON", "rapidjson-dev", "-DMESH_FIB6_TOOLS=OFF"),
                ("-DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON", "libgtest-dev", "-DMESH_FIB6_TESTS=OFF"),
                ("-DMESH_FIB6_MNL_LIBRARY=", "libmnl-dev", "-DMESH_FIB6_FPM=OFF"),
                (missing_library("CMAKE_IGNORE_PATH"), "libnats-dev", "-DMESH_FIB6_HOST_NATS=OFF")):
            name = option.partition("=")[0]
            with self.subTest(package=package):
                said = self.configure(option, succeeds=False)
                self.assertIn(f"Debian's package {package}", said)
                self.assertIn(without, said)
                self.configure("-U", name.removeprefix("-D"), without, "-DMESH_FIB6_TESTS=OFF", *ALONE,
                               option)
            shutil.rmtree(self.work / "build")

    def test_TellsWhatToDoWhenOptionsContradict(self):
        bus = self.work / "libtolvimesh.so"
        bus.touch()
        for options in (["-DMESH_FIB6_HOST=OFF"],
                        ["-DMESH_FIB6_HOST=OFF", "-DMESH_FIB6_TESTS=OFF"],
                        [f"-DMESH_FIB6_TOLVIMESH={bus}"],
                        ["-DMESH_FIB6_HOST=OFF", "-DMESH_FIB6_BENCHMARKS=ON"]):
            with self.subTest(options=options):
                said = self.configure(*options, succeeds=False)
                advice = re.search(r"set ((-D\w+=OFF ?)+)", said)
                self.assertTrue(advice, said)
                self.configure(*options, *advice.group(1).split())
                shutil.rmtree(self.work / "build")

    def test_RefusesAMeshThatIsNotThere(self):
        said = self.configure(*ALONE, f"-DMESH_FIB6_TOLVIMESH={self.work}/libtolvimesh.so", succeeds=False)
        self.assertIn("there is no file", said)

    def test_LeavesTestsOutWithBuildTestingOff(self):
        self.configure("-DBUILD_TESTING=OFF", "-DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON")
        self.assertIn("Total Tests: 0", run("ctest", "-N", folder=self.work / "build"))
        self.assertEqual([file for file, _ in compile_commands(self.work / "build") if "/tests/" in file], [])

    def test_RefusesFoldersThatCannotBeBuiltInAndNamesTheCharacter(self):
        for character in REFUSED:
            odd = self.work / f"odd{character}folder"
            odd.mkdir()
            shutil.copy(SOURCE / "CMakeLists.txt", odd)
            shutil.copytree(SOURCE / "cmake", odd / "cmake")
            for how in ({"build": odd.name}, {"source": odd, "build": f"build{ord(character)}"}):
                with self.subTest(character=character, **how):
                    said = self.configure(*ALONE, succeeds=False, **how)
                    self.assertIn(f"cannot cope with: {character}", said)

    # Build types.

    def flags(self, *options, **how):
        """What cmake says, and the command of a source of the library."""
        said = self.configure(*ALONE, *options, **how)
        commands = [words for file, words in compile_commands(self.work / "build")
                    if file.endswith("wire/general/reader.cpp")]
        return said, commands

    def test_BuildsReleaseOptimisedAsThePresetsWhereNoTypeIsSet(self):
        said, [words] = self.flags()
        self.assertIn("No build type is set: building Release", said)
        self.assertEqual([word for word in words if word.startswith(("-O", "-g"))], ["-O2"])
        self.assertEqual(self.cache()["CMAKE_BUILD_TYPE"], "Release")

    def test_KeepsTheBuildTypeAndTheFlagsThatAreSet(self):
        said, [words] = self.flags("-DCMAKE_BUILD_TYPE=Release", "-DCMAKE_CXX_FLAGS_RELEASE=-O3")
        self.assertNotIn("No build type", said)
        self.assertEqual([word for word in words if word.startswith("-O")], ["-O3"])
        said, [words] = self.flags("-DCMAKE_BUILD_TYPE=Debug")
        self.assertNotIn("No build type", said)
        self.assertEqual([word for word in words if word.startswith(("-O", "-g"))], ["-g"])

    def test_LeavesGeneratorsOfSeveralTypesAlone(self):
        said, commands = self.flags(generator="Ninja Multi-Config")
        self.assertNotIn("No build type", said)
        self.assertEqual(self.cache().get("CMAKE_BUILD_TYPE", ""), "")
        levels = [tuple(word for word in words if word.startswith(("-O", "-DNDEBUG", "-D_FORTIFY")))
                  for words in commands]
        self.assertEqual(sorted(levels), [(), ("-O2", "-DNDEBUG", "-D_FORTIFY_SOURCE=2"),
                                          ("-O3", "-DNDEBUG", "-D_FORTIFY_SOURCE=2")])

    def test_FortifiesWhatIsOptimisedAndWhatIsNotFortifiedYet(self):
        ours, theirs = ["-U_FORTIFY_SOURCE", "-D_FORTIFY_SOURCE=2"], ["-D_FORTIFY_SOURCE=3"]
        for type_, flags, sanitizers, expected in (
                ("Release", "", "", ours),
                ("RelWithDebInfo", "", "", ours),
                ("MinSizeRel", "", "", ours),
                ("None", "-O2", "", ours),
                ("None", "", "", []),
                ("Debug", "", "", []),
                ("Debug", "-Og", "", ours),
                ("Debug", "-O2 -O0", "", []),
                ("Release", "", "address", []),
                ("Release", "-D_FORTIFY_SOURCE=3", "", theirs)):
            with self.subTest(type=type_, flags=flags, sanitizers=sanitizers):
                _, [words] = self.flags(f"-DCMAKE_BUILD_TYPE={type_}", f"-DCMAKE_CXX_FLAGS={flags}",
                                        f"-DMESH_FIB6_SANITIZE={sanitizers}")
                self.assertEqual([word for word in words if "FORTIFY" in word], expected)

    def test_TakesWarningsForErrorsWhenAskedTo(self):
        for options, expected in (([], False), (["-DMESH_FIB6_WERROR=ON"], True)):
            _, [words] = self.flags(*options)
            self.assertEqual("-Werror" in words, expected)

    def test_InstrumentsEverythingOfItsOwn(self):
        wanted = {"-fsanitize=address,undefined", "--coverage", "-DMESH_FIB6_PLAIN_CODEC"}
        self.configure("-DMESH_FIB6_SANITIZE=address,undefined", "-DMESH_FIB6_COVERAGE=ON",
                       "-DMESH_FIB6_SHUFFLES=OFF")
        commands = compile_commands(self.work / "build")
        self.assertGreater(len(commands), 80)
        self.assertEqual([file for file, words in commands if not wanted <= set(words)], [])
        links = [line for line in run("ninja", "-C", self.work / "build", "-t", "commands").splitlines()
                 if line.startswith(": && ") and " -o " in line]
        self.assertGreater(len(links), 50)
        self.assertEqual([line for line in links if "-fsanitize=address,undefined" not in line
                          or "--coverage" not in line], [])

    # As a part of another project.

    def parent(self, how, *options, **more):
        """What a parent says that has the library in it this way."""
        return run("cmake", "-S", PARENT, "-B", self.work / (how or "without"), "-G", "Ninja",
                   f"-DLIBRARY_SOURCE={SOURCE}", f"-DHOW={how}", *options, **more)

    def test_LeavesAParentAsItWas(self):
        def words(folder, text):
            return text.replace(f"{self.work}/{folder}", "BUILD")

        def told(folder, kind, said):
            lines = re.findall(rf"^-- {kind} (\w+): (.*)$", words(folder, said), re.M)
            return {name: value for name, value in lines if name not in ("HOW", "BUILDSYSTEM_TARGETS")}

        def commands(folder):
            return {words(folder, file): words(folder, " ".join(command))
                    for file, command in compile_commands(self.work / folder)}

        without = self.parent("")
        for how in ("add_subdirectory", "fetch", "exclude"):
            with self.subTest(how=how):
                said = self.parent(how)
                for kind in ("directory", "variable"):
                    self.assertEqual(told(how, kind, said), told("without", kind, without))
                cached = told(how, "cached", said)
                own = re.compile(r"(MESH_FIB6|mesh_fib6|FETCHCONTENT)_")
                self.assertEqual({name: value for name, value in cached.items() if not own.match(name)},
                                 told("without", "cached", without))
                theirs = commands(how)
                for file, command in commands("without").items():
                    # Who links the library includes its headers, and that is all.
                    self.assertEqual(re.sub(r" -IBUILD/\S*mesh_fib6\S*/include", "", theirs[file]), command)

    def test_IsTheLibraryAloneInAParentWithoutInstallingOrTesting(self):
        self.parent("add_subdirectory", *NO_PACKAGES)
        build = self.work / "add_subdirectory"
        ours = [file.removeprefix(f"{SOURCE}") for file, _ in compile_commands(build)
                if f"{SOURCE}/tests/" not in file]
        self.assertEqual([file for file in ours if re.search("/(host|examples|tools|fuzz|bench)/", file)], [])
        rules = [script for script in build.rglob("cmake_install.cmake")
                 if "file(INSTALL" in script.read_text(encoding="utf-8")]
        self.assertEqual(rules, [])
        targets = {match for match in re.findall(r"^build ([\w.-]+): phony", (
            build / "build.ninja").read_text(encoding="utf-8"), re.M)}
        self.assertTrue({"mesh_fib6", "uninstall", "host", "tolvimesh"} <= targets, targets)

    def test_RefusesToBuildItsTestsInAParent(self):
        said = " ".join(self.parent("add_subdirectory", "-DMESH_FIB6_TESTS=ON", "-DMESH_FIB6_HOST=ON",
                                    succeeds=False).split())
        self.assertIn("MESH_FIB6_TESTS is for mesh_fib6 by itself", said)

    def test_StandsBesideAParentsOwnTargetsWhenItIsAskedForMore(self):
        self.parent("add_subdirectory", "-DMESH_FIB6_HOST=ON", "-DMESH_FIB6_TOOLS=ON",
                    "-DMESH_FIB6_EXAMPLES=ON", "-DMESH_FIB6_INSTALL=ON")
        made = re.findall(r"^build (\S+): C\w*_(?:SHARED_LIBRARY|EXECUTABLE)_LINKER__mesh_fib6", (
            self.work / "add_subdirectory" / "build.ninja").read_text(encoding="utf-8"), re.M)
        self.assertEqual(sorted(made), [
            "libraries/libmesh_fib6.so", "libraries/libmesh_fib6_tap.so",
            "mesh_fib6/host/libmemory_host.so", "mesh_fib6/host/libmesh_host_nats.so",
            "mesh_fib6/host/libosal_host.so", "mesh_fib6/host/libtolvimesh.so", "mesh_fib6/mesh-fib6", "mesh_fib6/tools/write_baselines"])


if __name__ == "__main__":
    if sys.argv[1:]:
        sys.argv[1:] = [f"Configuring.test_{case}" for case in sys.argv[1:]]
    unittest.main()
