"""The installed Python package as its users find it: where it looks for the library, what it says where
there is none, whether it goes.

Room: tests. Runs cmake and Python; knows the package only as a part of an installed tree.

usage: python_package_test.py SETTINGS_JSON CASE
"""

import pathlib
import sys

sys.dont_write_bytecode = True

from installation_test import ONE_ROUTE, SETTINGS, Installation, files_below, main, run  # noqa: E402

UPDATE = "mesh_fib6.feiBrokerFib6_ipv6FwdUpdateMsg"
# An update with the route 2001:db8::/32, its bytes, and what is decoded of them.
ROUTE = f"""
import mesh_fib6
update = {UPDATE}(f1=[mesh_fib6.feiBrokerFib6_ipv6Fwd(f3=mesh_fib6.ipv6("2001:db8::"), f4=32)])
data = mesh_fib6.encode(update)
assert mesh_fib6.decode({UPDATE}, data) == update
print(data.hex())
"""
# The files of the library's and the mesh's that the process has in its memory.
LOADED = """
import mesh_fib6
lines = open("/proc/self/maps", encoding="utf-8").read().splitlines()
print(*sorted({line.split(None, 5)[5] for line in lines if "libmesh_fib6" in line or "libtolvimesh" in line}))
"""


class PythonPackage(Installation):

    def script(self, tree, text, variables=None, **how):
        """What a script of a user's prints."""
        environment = {"PYTHONPATH": str(tree.prefix / SETTINGS["python"]), "PYTHONDONTWRITEBYTECODE": "1",
                       "MESH_FIB6_LIBRARY": "", "LD_LIBRARY_PATH": "", **(variables or {})}
        return run(sys.executable, "-c", text, environment=environment, **how)

    def check_loads(self, tree, library, mesh=None, **variables):
        """The package loads this library, and this mesh or the one beside it, and works."""
        done = self.script(tree, LOADED, variables)
        mesh = mesh or library.with_name("libtolvimesh.so")
        self.assertEqual(set(done.stdout.split()), {str(library), str(mesh)})
        self.assertEqual(self.script(tree, ROUTE, variables).stdout, ONE_ROUTE + "\n")

    def check_refused(self, tree, *expected, **variables):
        """It says why there is no library."""
        done = self.script(tree, "import mesh_fib6", variables, succeeds=False)
        self.assertIn("ImportError: mesh_fib6 needs libmesh_fib6.so, which cannot be loaded: ", done.stderr)
        for text in expected:
            self.assertIn(text, done.stderr)

    def unloadable(self):
        """A folder with a file that is no library, which the loader meets before any other of its name."""
        folder = self.work / "unloadable"
        folder.mkdir()
        (folder / "libmesh_fib6.so").write_text("no library\n", encoding="ascii")
        return folder

    def test_SaysTheProjectsVersionInstalledAndFromTheSources(self):
        tree = self.install_with_host("tree")
        says = "import mesh_fib6; print(mesh_fib6.__version__)"
        self.assertEqual(self.script(tree, says).stdout, SETTINGS["version"] + "\n")
        from_sources = {"PYTHONPATH": str(pathlib.Path(SETTINGS["source"]) / "python"),
                        "MESH_FIB6_LIBRARY": str(tree.lib / "libmesh_fib6.so")}
        self.assertEqual(self.script(tree, says, from_sources).stdout, SETTINGS["version"] + "\n")

    def test_DoesNotKnowItsVersionWhereItWasCopiedByHand(self):
        tree = self.install_with_host("tree")
        (tree.prefix / SETTINGS["python"] / "mesh_fib6/_installed.py").unlink()
        done = self.script(tree, "import mesh_fib6", {"MESH_FIB6_LIBRARY": str(tree.lib / "libmesh_fib6.so")},
                           succeeds=False)
        self.assertIn("RuntimeError: mesh_fib6 does not know its version: expected _installed.py", done.stderr)

    def test_LoadsTheLibraryOfItsOwnTreeAfterThatHasMoved(self):
        tree = self.install_and_move()
        self.check_loads(tree, tree.lib / "libmesh_fib6.so")

    def test_LoadsTheLibraryThatTheEnvironmentNamesBeforeThatOfItsOwnTree(self):
        tree, other = self.install_with_host("tree"), self.install_with_host("other")
        library = other.lib / "libmesh_fib6.so"
        self.check_loads(tree, library, MESH_FIB6_LIBRARY=str(library))

    def test_LoadsTheLibraryThatTheLoaderFindsWhereItsTreeHasNone(self):
        tree, other = self.install("tree", "python"), self.install_with_host("other")
        self.check_loads(tree, other.lib / "libmesh_fib6.so", LD_LIBRARY_PATH=str(other.lib))

    def test_TakesTheMeshOfThePlatformWhereTheHostIsMissing(self):
        tree = self.install("tree", "runtime", "development", "python")
        platform = self.build_platform_mesh(tree)
        self.check_loads(tree, tree.lib / "libmesh_fib6.so", platform / "libtolvimesh.so",
                         LD_LIBRARY_PATH=str(platform))

    def test_SaysWhatIsMissingWhereThereIsNoMesh(self):
        tree = self.install("tree", "runtime", "python")
        self.check_refused(tree, "libtolvimesh.so: cannot open shared object file",
                           f"Looked for: {tree.lib / 'libmesh_fib6.so'} (beside this package). ",
                           "the platform's libtolvimesh.so, or the development host's")

    def test_SaysWhereItHasLookedWhereThereIsNoLibrary(self):
        tree = self.install("tree", "python")
        missing = tree.lib / "libmesh_fib6.so"
        self.check_refused(tree, f"Looked for: {missing} (beside this package, not there), then "
                           "libmesh_fib6.so (by the loader, in its folders). ",
                           LD_LIBRARY_PATH=str(self.unloadable()))

    def test_LooksForNoOtherLibraryThanTheEnvironmentNames(self):
        tree = self.install_with_host("tree")
        missing = self.work / "missing.so"
        self.check_refused(tree, f"{missing}: cannot open shared object file",
                           f"Looked for: {missing} (named by the environment variable MESH_FIB6_LIBRARY). ",
                           MESH_FIB6_LIBRARY=str(missing))

    def test_RunsTheFirstScriptOfItsReadme(self):
        tree = self.install_with_host("tree")
        readme = (tree.prefix / SETTINGS["doc"] / "python" / "README.md").read_text(encoding="utf-8")
        script = readme.split("```python\n")[1].split("```")[0]
        printed = readme.split("```text said\n")[1].split("```")[0]
        self.assertEqual(self.script(tree, script).stdout, printed)

    def test_GoesWithWhatPythonHasCompiledOfIt(self):
        tree = self.install_with_host("tree")
        package = tree.prefix / SETTINGS["python"] / "mesh_fib6"
        self.script(tree, ROUTE, {"PYTHONDONTWRITEBYTECODE": ""})
        self.assertTrue(list(package.rglob("*.pyc")))
        (package.parent / "other.py").write_text("", encoding="ascii")
        self.uninstall()
        self.assertEqual(files_below(tree.prefix), [str(pathlib.Path(SETTINGS["python"], "other.py"))])
        self.assertFalse(package.exists())


if __name__ == "__main__":
    sys.exit(main(PythonPackage))
