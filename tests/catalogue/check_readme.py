#!/usr/bin/env python3
"""Fails when tests/README.md names a test that is not in the file it gives.

usage: check_readme.py TESTS_FOLDER

Room: tests.
"""
import pathlib
import re
import sys


def main(folder):
    rows = missing = 0
    for line in (folder / "README.md").read_text().splitlines():
        cells = [cell.strip() for cell in line.strip("|").split("|")]
        if len(cells) != 3 or not cells[2].startswith("`"):
            continue
        source = (folder / cells[2].strip("`")).read_text()
        names = re.findall(r"`(\w+)\.(\w+)`", cells[1])
        rows += 1
        if not names:
            print(f"no test for: {cells[0]}")
            missing += 1
        for suite, case in names:
            named = (rf"(?:TEST\w*|MESSAGE_CASE)\(\s*{suite},\s*{case}\)|add_test\(NAME {suite}\.{case}\s"
                     rf"|^    def test_{case}\(self\)")
            if not re.search(named, source, re.M):
                print(f"{cells[2]} has no {suite}.{case}")
                missing += 1
    print(f"{rows} rows, {missing} wrong")
    return 0 if rows and not missing else 1


if sys.argv[1:] in (["-h"], ["--help"]):
    print(__doc__.strip())
elif len(sys.argv) != 2:
    print(f"check_readme: expected 1 argument, found {len(sys.argv) - 1}\n"
          "usage: check_readme.py TESTS_FOLDER", file=sys.stderr)
    sys.exit(2)
else:
    sys.exit(main(pathlib.Path(sys.argv[1])))
