"""docs/tool.md, run: every command of it, and what it prints.

Room: tests.

usage: tutorial_test.py SETTINGS_JSON CASE
"""

import contextlib
import json
import os
import pathlib
import re
import struct
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
SETTINGS = json.loads(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8"))
TEXT = pathlib.Path(SETTINGS["source"], "docs", "tool.md").read_text(encoding="utf-8")
MONDAY = 1795420800  # 2026-11-23, 08:00 UTC


def commands():
    """(command, what it prints) in the order of the document."""
    for text in re.findall(r"^```console\n(.*?)^```", TEXT, re.S | re.M):
        for part in re.split(r"^\$ ", text, flags=re.M)[1:]:
            command, _, output = part.partition("\n")
            yield command, output


def block(kind, body):
    body += bytes(-len(body) % 4)
    return struct.pack("<II", kind, len(body) + 12) + body + struct.pack("<I", len(body) + 12)


def capture_of(messages):
    text = block(0x0A0D0D0A, struct.pack("<IHHq", 0x1A2B3C4D, 1, 0, -1)) + block(1, struct.pack("<HHI", 147, 0, 0))
    for i, message in enumerate(messages):
        data = struct.pack("<BBHIQII", 1, 1, 0, 0xFFFFFFFF, 0, 0x5026A923, len(message)) + message
        time = (MONDAY + i) * 1000000
        text += block(6, struct.pack("<IIIII", 0, time >> 32, time & 0xFFFFFFFF, len(data), len(data)) + data)
    return text


class Tutorial(unittest.TestCase):
    maxDiff = None

    def test_PrintsWhatItSays(self):
        with tempfile.TemporaryDirectory() as folder, contextlib.ExitStack() as at_end:
            place = pathlib.Path(folder)
            programs = place / "bin"
            programs.mkdir()
            tool = programs / "mesh-fib6"
            words = " ".join(f"'{word}'" for word in [*SETTINGS["emulator"], SETTINGS["tool"]])
            tool.write_text(f'#!/bin/sh\nexec {words} "$@"\n', encoding="utf-8")
            tool.chmod(0o755)
            (place / "routes.json").write_text(
                next(output for command, output in commands() if command == "cat routes.json"), encoding="utf-8")
            environment = {**os.environ, "PATH": f"{programs}:{os.environ['PATH']}"}
            routes = subprocess.run(["mesh-fib6", "encode", "fib6.ipv6FwdUpdateMsg", "routes.json"], cwd=place,
                                    env=environment, check=True, capture_output=True, timeout=100).stdout
            (place / "cut.bin").write_bytes(routes[:150])
            (place / "monday.pcapng").write_bytes(capture_of([routes, routes[:150]]))
            # A server that the document starts ends with it.
            at_end.callback(subprocess.run, [*SETTINGS["emulator"], SETTINGS["tool"], "host", "down", "--dir",
                                             str(place / "mesh")], check=False, capture_output=True, timeout=100)
            count = 0
            for command, expected in commands():
                done = subprocess.run(["bash", "-c", command], cwd=place, env=environment, check=False,
                                      stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=100)
                self.assertEqual(done.stdout.decode(), expected, command)
                count += 1
            self.assertGreater(count, 10)

    def test_NamesEveryCommand(self):
        done = subprocess.run([*SETTINGS["emulator"], SETTINGS["tool"], "--help"], check=True, capture_output=True,
                              timeout=100)
        for command in re.findall(r"^  (\w+) ", done.stdout.decode().partition("Subcommands:")[2], re.M):
            self.assertIn(command, TEXT)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *[f"Tutorial.test_{case}" for case in sys.argv[2:]]])
