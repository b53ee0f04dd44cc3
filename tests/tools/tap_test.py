"""libmesh_fib6_tap.so in processes that use the mesh, and Wireshark's dissector on what it wrote.

Room: tests.

usage: tap_test.py SETTINGS_JSON CASE
"""

import collections
import json
import os
import pathlib
import re
import resource
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
import time
import unittest
import xml.etree.ElementTree

sys.dont_write_bytecode = True
SETTINGS = json.loads(pathlib.Path(sys.argv[1]).read_text(encoding="utf-8"))
TOOL = [*SETTINGS["emulator"], SETTINGS["tool"]]
EXAMPLES = pathlib.Path(SETTINGS["examples"])
GOLDEN = pathlib.Path(SETTINGS["source"], "tests", "golden")

# Worked out in docs/wire-format.md: f0 = 7, and one route.
ROUTE = bytes.fromhex(
    "0c000000 0800 1400 0400 0800 08000000 07000000 04000000 01000000 24000000"
    "2000 2300 0000 0400 0000 0b00 0800 0000 0900 0000 0000 0000 0000 0000 0000 0000 20000000"
    "04030201 20 0605 04000000 04000000 20010db8 00000000 00000000 00000000")


def run(*command, given=b"", **how):
    return subprocess.run([str(word) for word in command], input=given, capture_output=True, timeout=100,
                          check=False, **how)


def block(kind, body):
    body += bytes(-len(body) % 4)
    return struct.pack("<II", kind, len(body) + 12) + body + struct.pack("<I", len(body) + 12)


def capture_of(messages):
    """A capture of (identifier, bytes)."""
    text = block(0x0A0D0D0A, struct.pack("<IHHq", 0x1A2B3C4D, 1, 0, -1)) + block(1, struct.pack("<HHI", 147, 0, 0))
    for identifier, message in messages:
        data = struct.pack("<BBHIQII", 1, 0, 0, 7, 0, identifier, len(message)) + message
        text += block(6, struct.pack("<IIIII", 0, 0, 0, len(data), len(data)) + data)
    return text


class Tap(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="mesh-fib6-tap.")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def environment(self, tap="", **more):
        """Of a process that is watched, in a mesh of this test's own."""
        return {**os.environ, "LD_PRELOAD": SETTINGS["tap"], "MESH_FIB6_TAP": str(tap), "TMPDIR": str(self.folder),
                "MESH_HOST_DIR": str(self.folder / "mesh"), **more}

    def captured(self, path, *arguments):
        done = run(*TOOL, "capture", path, *arguments)
        self.assertEqual((done.returncode, done.stderr), (0, b""))
        return done.stdout.decode().splitlines()

    def send_and_receive(self, sender, receiver):
        """Sends one route to a receiver; both are ended."""
        with subprocess.Popen([EXAMPLES / "receive_routes"], env=receiver, stdout=subprocess.PIPE,
                              stderr=subprocess.PIPE) as process:
            sent = run(EXAMPLES / "send_route", env=sender)
            self.assertEqual((sent.returncode, sent.stderr), (0, b""))
            self.assertEqual(process.stdout.readline(), b"2001:db8::/32\n")
            time.sleep(0.2)  # the tap writes every 20 ms
            process.send_signal(signal.SIGINT)
            _, errors = process.communicate(timeout=20)
        return errors

    def test_WritesWhatIsSentAndWhatIsReceived(self):
        sent, received = self.folder / "sent.pcapng", self.folder / "received.pcapng"
        self.assertEqual(self.send_and_receive(self.environment(sent), self.environment(received)), b"")
        (line,) = self.captured(sent)
        self.assertRegex(line, r"^1 \S+Z sent 7 feiBrokerFib6_ipv6FwdUpdateMsg 89 bytes sound$")
        (line,) = self.captured(received)
        self.assertRegex(line, r"^1 \S+Z received - feiBrokerFib6_ipv6FwdUpdateMsg 89 bytes sound$")
        self.assertEqual(sent.stat().st_mode & 0o777, 0o600)

    def test_DoesNothingUnlessItIsAsked(self):
        before = set(self.folder.iterdir())
        self.send_and_receive(self.environment(), self.environment())
        self.assertEqual({path.suffix for path in set(self.folder.iterdir()) - before} & {".pcapng"}, set())
        # Nor in a program that never uses the mesh.
        never = self.folder / "never.pcapng"
        self.assertEqual(run("true", env=self.environment(never)).returncode, 0)
        self.assertFalse(never.exists())

    def test_FailsNoProcessWhereItCannotWrite(self):
        for path, what in ((self.folder / "no" / "file", b"No such file or directory"),
                           ("x" * 5000, b"File name too long")):
            errors = self.send_and_receive(self.environment(), self.environment(path))
            self.assertRegex(errors, rb"^mesh_fib6_tap: cannot write [^\n]*: " + what + rb"[^\n]*\n$")
        errors = self.send_and_receive(self.environment(), self.environment(self.folder / "x", MESH_FIB6_TAP_BYTES="1k"))
        self.assertEqual(errors, b"mesh_fib6_tap: MESH_FIB6_TAP_BYTES is no number: 1k: Invalid argument\n")

    def test_LeavesAFileThatAnotherProcessWritesToAlone(self):
        path = self.folder / "both.pcapng"
        errors = self.send_and_receive(self.environment(), self.environment(path))
        self.assertEqual(errors, b"")
        whole = path.read_bytes()
        with open(path, "rb") as held:
            import fcntl
            fcntl.flock(held, fcntl.LOCK_EX)
            errors = self.send_and_receive(self.environment(), self.environment(path))
        self.assertIn(b"mesh_fib6_tap: cannot write ", errors)
        self.assertEqual(path.read_bytes(), whole)

    def test_KeepsToItsLimitAndCountsWhatItDropped(self):
        path = self.folder / "small.pcapng"
        self.send_and_receive(self.environment(), self.environment(path, MESH_FIB6_TAP_BYTES="100"))
        done = run(*TOOL, "capture", path)
        self.assertEqual((done.returncode, done.stdout), (0, b""))
        self.assertEqual(done.stderr, b"mesh-fib6: 1 messages were dropped when the capture was made\n")
        self.assertLessEqual(path.stat().st_size, 100 + 52)

    def test_OfAProcessThatIsKilledKeepsWhatWasWritten(self):
        path = self.folder / "killed.pcapng"
        with subprocess.Popen([EXAMPLES / "receive_routes"], env=self.environment(path),
                              stdout=subprocess.PIPE) as process:
            self.assertEqual(run(EXAMPLES / "send_route", env=self.environment()).returncode, 0)
            process.stdout.readline()
            time.sleep(0.3)
            process.kill()
        (line,) = self.captured(path)
        self.assertIn("sound", line)

    # What processes do.

    def watched(self, capture, *arguments, **how):
        """Runs a process that does as it is told, watched; what it complains of."""
        done = run(SETTINGS["watched"], *arguments, env=self.environment(capture), **how)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stderr

    def counted(self, capture):
        """How many messages a capture has, and what is said of it."""
        done = run(*TOOL, "capture", capture, "--summary")
        self.assertEqual(done.returncode, 0, done.stderr)
        found = re.search(rb"sent +(\d+) messages", done.stdout)
        return int(found[1]) if found else 0, done.stderr.decode()

    def test_LosesNothingOfManyThreadsWhileThereIsRoom(self):
        for _ in range(10):
            path = self.folder / "threads.pcapng"
            self.assertEqual(self.watched(path, "threads", 2000), b"")
            self.assertEqual(self.counted(path), (8000, ""))

    def test_WritesIntoNoFileOfTheProcess(self):
        path, own = self.folder / "closed.pcapng", self.folder / "own.txt"
        self.assertEqual(self.watched(path, "close", own), b"")
        self.assertEqual(own.read_bytes(), 40 * b"mine\n")
        self.assertEqual(self.counted(path), (3, ""))

    def test_WaitsForNobodyWhoReadsAPipe(self):
        path = self.folder / "pipe"
        os.mkfifo(path)
        self.assertIn(b"mesh_fib6_tap: cannot write ", self.watched(path, "send", 1))
        with open(os.open(path, os.O_RDONLY | os.O_NONBLOCK), "rb") as reader:
            self.assertIn(b"expected a file", self.watched(path, "send", 1))
            self.assertEqual(reader.read(), b"")

    def test_OfAFileThatTakesNoMoreKeepsWholeMessagesAndCountsTheOthers(self):
        path = self.folder / "limited.pcapng"

        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (8192, 8192))
        self.assertEqual(self.watched(path, "send", 1000, preexec_fn=limit), b"")
        count, said = self.counted(path)
        # 60 bytes of head, 52 of counts; of each message 28, 24, 20 and 4.
        self.assertEqual(count, (8192 - 60 - 52) // 76)
        self.assertEqual(said, f"mesh-fib6: {1000 - count} messages were dropped when the capture was made\n")

    def test_GivesAChildAFileOfItsOwnWhereTheNameHasItsNumber(self):
        self.assertEqual(self.watched(self.folder / "%p-%p.pcapng", "fork"), b"")
        captures = sorted(self.folder.glob("*.pcapng"))
        self.assertEqual([self.counted(path) for path in captures], [(2, ""), (2, "")])
        for path in captures:
            self.assertRegex(path.name, r"^(\d+)-\1\.pcapng$")
        # Otherwise the child is left alone.
        path = self.folder / "parent.pcapng"
        self.assertEqual(self.watched(path, "fork"), b"")
        self.assertEqual(self.counted(path), (2, ""))

    # Wireshark.

    def dissected(self, capture, *fields, how=("-V",)):
        """What tshark prints; of each packet these fields, if any are named."""
        tshark = shutil.which("tshark")
        script = self.folder / "mesh_fib6.lua"
        done = run(*TOOL, "describe", "--all", "--wireshark")
        script.write_bytes(done.stdout)
        path = self.folder / "capture.pcapng"
        path.write_bytes(capture)
        if fields:
            how = ["-T", "fields", *(word for field in fields for word in ("-e", field))]
        done = run(tshark, "-X", f"lua_script:{script}", "-r", path, *how)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertNotIn(b"Lua", done.stderr)
        return done.stdout.decode()

    def images(self):
        """(message, identifier, bytes) of every golden image in the common byte order."""
        identifiers = {row["message"]: int(row["id"], 16)
                       for row in json.loads(run(*TOOL, "list", "--json").stdout)}
        for path in sorted(GOLDEN.glob("*.txt")):
            name, rows = None, []
            for line in [*path.read_text(encoding="utf-8").splitlines(), "[end]"]:
                line = line.strip()
                if line.startswith("["):
                    if name and rows and "_swap_" not in name:
                        yield path.stem, identifiers[path.stem], bytes.fromhex("".join(rows))
                    name, rows = line.strip("[]"), []
                elif "|" in line and not line.startswith("#"):
                    rows.append(line.split("|")[1])

    def test_TheDissectorReadsWhatDecodeReads(self):
        images = list(self.images())
        text = self.dissected(capture_of([(identifier, data) for _, identifier, data in images]),
                              "fib6.message", "fib6.malformed", "fib6.length")
        self.assertEqual([line.split("\t") for line in text.splitlines()],
                         [[message, "", str(len(data))] for message, _, data in images])

    def test_TheDissectorShowsEveryValueThatDecodeShows(self):
        images = list(self.images())
        text = self.dissected(capture_of([(identifier, data) for _, identifier, data in images]), how=("-T", "pdml"))
        packets = xml.etree.ElementTree.fromstring(text).findall("packet")
        self.assertEqual(len(packets), len(images))
        described, seen = {}, set()
        for (message, identifier, data), packet in zip(images, packets):
            if message not in described:
                described[message] = json.loads(run(*TOOL, "describe", message, "--json").stdout)["members"]
            record = json.loads(run(*TOOL, "decode", hex(identifier), "--input", "binary", given=data).stdout)
            expected = list(self.values({row["path"]: row for row in described[message]}, "", message, record))
            # Counts are the lengths of what is there; what is zero may be absent.
            shown = [(field.get("name"), field.get("value")) for field in packet.iter("field")
                     if re.match(r"fib6\.\w+\.f\d+$", field.get("name")) and field.get("value").strip("0")]
            self.assertEqual(collections.Counter(shown), collections.Counter(expected), message)
            seen.update(name for name, _ in expected)
        every = {f"fib6.{self.table_of(message, rows, row)}.{row['path'].rpartition('.')[2]}"
                 for message, rows in described.items() for row in rows if "record" not in row["kind"]}
        self.assertEqual(seen, every)
        self.assertGreater(len(every), 400)
        self.assertIn(("fib6.feiBrokerFib6_ipv6Fwd.f3", "2001:db8::"),
                      [(field.get("name"), field.get("show")) for field in xml.etree.ElementTree.fromstring(
                          self.dissected(capture_of([(0x5026A923, ROUTE)]), how=("-T", "pdml"))).iter("field")])

    @staticmethod
    def table_of(message, rows, row):
        """The table that a member is of."""
        path = row["path"].rpartition(".")[0].removesuffix("[]")
        return re.match(r"\w+", next(each["type"] for each in rows if each["path"] == path))[0] if path else message

    def values(self, rows, prefix, table, record):
        """(field of Wireshark, its bytes in hexadecimal) of what is not zero in a record that was decoded."""
        for name, value in record.items():
            row = rows[prefix + name]
            kind, of = row["kind"], re.match(r"\w+", row["type"])[0]
            if kind == "embedded record":
                yield from self.values(rows, f"{prefix}{name}.", of, value)
                continue
            if kind == "vector of records":
                for element in value:
                    yield from self.values(rows, f"{prefix}{name}[].", of, element)
                continue
            width = {"uint8_t": "B", "uint16_t": "H", "uint32_t": "I"}[of]
            numbers = value if kind == "array of words" else [value]
            data = value if "bytes" in kind else struct.pack(f"<{len(numbers)}{width}", *numbers).hex()
            if data.strip("0"):
                yield f"fib6.{table}.{name}", data

    def test_TheDissectorMarksWhatIsMalformedAsVerifyDoes(self):
        image = next(data for message, _, data in self.images()
                     if message == "feiBrokerFib6_ipv6FwdUpdateMsg" and len(data) > 200)
        cut = [image[:size] for size in range(len(image))]
        text = self.dissected(capture_of([(0x5026A923, data) for data in cut]), "_ws.expert.message")
        for data, line in zip(cut, text.splitlines()):
            verdict = json.loads(run(*TOOL, "verify", "0x5026A923", "--json", "--input", "binary", given=data).stdout)
            rule = verdict["refusal"] and verdict["refusal"]["rule"]
            self.assertEqual(re.match(r"[\w-]*", line)[0], rule or "", line)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *[f"Tap.test_{case}" for case in sys.argv[2:]]])
