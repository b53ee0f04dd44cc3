"""The tool mesh-fib6 as a process: arguments, streams, exit statuses, bad input.

Room: tests.

usage: cli_test.py SETTINGS_JSON CASE
"""

import json
import os
import pathlib
import pty
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
GOLDEN = pathlib.Path(SETTINGS["source"], "tests", "golden")
ROUTES, STATE = "fib6.ipv6FwdUpdateMsg", "fib6.pidStateMsg"
ROUTES_ID, STATE_ID = 0x5026A923, 0x2DAF16C2
COMMANDS = ("list", "describe", "encode", "decode", "verify", "explain", "diff", "random", "bench", "capture",
            "host", "completion", "manual")
# Worked out in docs/wire-format.md: f0 = 7, and one route.
ROUTE = bytes.fromhex(
    "0c000000 0800 1400 0400 0800 08000000 07000000 04000000 01000000 24000000"
    "2000 2300 0000 0400 0000 0b00 0800 0000 0900 0000 0000 0000 0000 0000 0000 0000 20000000"
    "04030201 20 0605 04000000 04000000 20010db8 00000000 00000000 00000000")
ROUTE_JSON = ('{"f0":7,"f1":[{"f0":0,"f1":16909060,"f2":0,"f3":[3087860000,0,0,0],"f4":32,"f5":0,"f6":1286,'
              '"f7":0,"f8":0,"f9":0,"f10":0,"f11":0,"f12":0,"f13":0}]}\n')


def frame(identifier, message):
    return struct.pack("<II", identifier, len(message)) + message


def all_of_terminal(ours):
    """What a terminal was shown whose other side is closed."""
    shown = b""
    try:
        while piece := os.read(ours, 4096):
            shown += piece
    except OSError:
        pass  # there is no more
    os.close(ours)
    return shown


def golden_images():
    """(message, name, byte swap, bytes) of every image."""
    for path in sorted(GOLDEN.glob("*.txt")):
        name, rows = None, []
        for line in [*path.read_text(encoding="utf-8").splitlines(), "[end]"]:
            line = line.strip()
            if line.startswith("["):
                if name and rows:
                    swap = re.search(r"_swap_(\d)$", name)
                    yield path.stem, name, int(swap[1]) if swap else 0, bytes.fromhex("".join(rows))
                name, rows = line.strip("[]"), []
            elif "|" in line and not line.startswith("#"):
                rows.append(line.split("|")[1])


class Tool(unittest.TestCase):
    maxDiff = None

    def run_tool(self, *arguments, given=b"", **how):
        """(status, output, errors)"""
        if isinstance(given, str):
            given = given.encode()
        done = subprocess.run([*TOOL, *map(str, arguments)], input=given, capture_output=True,
                              timeout=100, check=False, **how)
        return done.returncode, done.stdout, done.stderr.decode()

    def good(self, *arguments, given=b"", **how):
        """The output of what ends well and complains of nothing."""
        status, output, errors = self.run_tool(*arguments, given=given, **how)
        self.assertEqual((status, errors), (0, ""), arguments)
        return output

    def bad(self, expected, *arguments, given=b"", **how):
        """(output, errors) of what ends with this status and says why in a line that names the tool."""
        status, output, errors = self.run_tool(*arguments, given=given, **how)
        self.assertEqual(status, expected, (arguments, errors))
        self.assertTrue(errors.startswith("mesh-fib6: "), errors)
        self.assertTrue(errors.endswith("\n"), errors)
        return output, errors

    # Arguments.

    def test_HelpOfEveryCommandNamesItsArgumentsAndTheExitStatuses(self):
        text = self.good("--help").decode()
        for command in COMMANDS:
            if command != "manual":  # for the build
                self.assertIn(f"\n  {command} ", text)
            of_command = self.good(command, "--help").decode()
            self.assertIn(f"mesh-fib6 {command}", of_command)
            self.assertRegex(of_command, "Exit status: 0 .*, 1 .*, 2 wrong usage, 3 ")
        self.assertEqual(self.good("--version").decode(), f"mesh-fib6 {SETTINGS['version']}\n")

    def test_WrongUsageSaysWhatAndWhereToReadMore(self):
        for arguments, what in (
                ((), "A subcommand is required"),
                (("liste",), "unknown command 'liste'; did you mean 'list'?"),
                (("x",), "unknown command 'x'\n"),
                (("list", "x"), "x"),
                (("list", "--jason"), "--jason"),
                (("describe",), "MESSAGE or --all is required"),
                (("describe", STATE, "--all"), "excludes"),
                (("describe", STATE, "--json", "--c"), "excludes"),
                (("encode",), "MESSAGE or --mixed is required"),
                (("encode", "pidStat"), "unknown message 'pidStat'; did you mean"),
                (("encode", STATE, "-", "more"), "more"),
                (("encode", STATE, "--layout", "loose"), "loose"),
                (("encode", ROUTES, "--layout", "fixed"), "feiBrokerFib6_ipv6FwdUpdateMsg has vectors"),
                (("decode",), "MESSAGE, --id or --frames is required"),
                (("decode", "--frames", "a", "b"), "b"),
                (("decode", STATE, "--input", "text"), "text"),
                (("decode", STATE, "--ipv6", "f1"), "no member of four words 'f1'"),
                (("decode", "--frames", "--ipv6", "zz"), "no message has a member of four words 'zz'"),
                (("verify", "ipv6FwdUpdateMsg"), "may be any of feiBrokerFib6_ipv6FwdUpdateMsg, fib6Sync_"),
                (("verify", STATE, "--byte-swap", "3"), "3"),
                (("explain", STATE, "--color", "red"), "red")):
            output, errors = self.bad(2, *arguments)
            self.assertEqual(output, b"", arguments)
            self.assertIn(what, errors)

    def test_NumbersAreDecimalAndFit(self):
        for word in ("-1", "1.5", "0x10", "", "18446744073709551616", "9z"):
            for arguments in (("random", STATE, "--seed"), ("random", STATE, "--count"), ("bench", STATE, "--seed")):
                _, errors = self.bad(2, *arguments, word)
                self.assertIn("expected a whole number", errors) if word else self.assertIn(arguments[2], errors)
        self.assertEqual(len(self.good("random", STATE, "--count", "010").splitlines()), 10)
        for word in ("nan", "inf", "-1", "0", "x"):
            self.assertIn("--seconds", self.bad(2, "bench", STATE, "--seconds", word)[1])

    def test_ErrorsShowNoControlCharactersAndLittleOfWhatIsLong(self):
        for arguments, given in ((("decode", "\x1b[31mA"), b""), (("decode", STATE, "/\x1b[31m"), b""),
                                 (("encode", "--mixed"), rb'{"message":"a\u001b[31m\u0000b"}'), (("\x1b",), b""),
                                 (("encode", STATE), b'{"\\u001b":1}'), (("list", "--\x1b"), b"")):
            status, output, errors = self.run_tool(*arguments, given=given)
            self.assertNotEqual(status, 0)
            self.assertEqual((output, "\x1b" in errors, "\0" in errors), (b"", False, False), arguments)
        self.assertIn(r"'a\x1b[31m\x00b'", self.bad(3, "encode", "--mixed", given=rb'{"message":"a\u001b[31m\u0000b"}')[1])
        self.assertLess(len(self.bad(2, "decode", "x" * 5000)[1]), 300)

    def test_AMessageMayBeNamedInEveryForm(self):
        expected = self.good("describe", STATE)
        for name in ("feiBrokerFib6_pidStateMsg", "feiBrokerFib6.pidStateMsg", "pidStateMsg", "StateMsg",
                     f"0x{STATE_ID:08X}", f"0x{STATE_ID:x}"):
            if name != "StateMsg" or self.run_tool("describe", name)[0] == 0:
                self.assertEqual(self.good("describe", name), expected, name)

    # list and describe

    def test_ListHasEveryMessageInTheOrderOfRegistration(self):
        rows = json.loads(self.good("list", "--json"))
        self.assertEqual({row["message"] for row in rows}, {path.stem for path in GOLDEN.glob("*.txt")} - {"README"})
        lines = self.good("list").decode().splitlines()
        self.assertEqual([line.split()[1] for line in lines[1:]], [row["message"] for row in rows])
        state = next(row for row in rows if row["message"] == "feiBrokerFib6_pidStateMsg")
        self.assertEqual(state, {"module": "fib6", "message": "feiBrokerFib6_pidStateMsg", "id": "0x2DAF16C2",
                                 "shape": "flat", "record_size": 16, "base_size": 20 + 14, "fixed_size": 56}
                         | {"base_size": state["base_size"]})

    def test_DescribeSaysWhereMembersLie(self):
        self.assertEqual(self.good("describe", STATE).decode().splitlines()[4:], [
            "member  type                    slot  record  bytes  fixed image",
            "f0      uint32_t                   0       0      4            8",
            "f1      feiBrokerFib6_pidState     1       4     12           16",
            "f1.f0   uint32_t                   0       4      4           20",
            "f1.f1   uint32_t                   1       8      4           24",
            "f1.f2   uint32_t                   2      12      4           28"])
        described = json.loads(self.good("describe", ROUTES, "--json"))
        self.assertEqual(described["members"][1], {
            "path": "f1", "kind": "vector of records", "type": "feiBrokerFib6_ipv6Fwd[]", "slot": 1,
            "offset": 8, "size": 8, "count_offset": 4})
        self.assertEqual(described["members"][5]["path"], "f1[].f3")
        self.assertEqual(described["members"][5]["length"], 4)

    def test_DescribeAllHasEveryMessageInEveryForm(self):
        messages = [row["message"] for row in json.loads(self.good("list", "--json"))]
        lines = self.good("describe", "--all", "--json").decode().splitlines()
        self.assertEqual([json.loads(line)["message"] for line in lines], messages)
        for form in ((), ("--c",), ("--fbs",)):
            text = self.good("describe", "--all", *form).decode()
            for message in messages:
                self.assertIn(message if form != ("--fbs",) else message.split("_", 1)[0], text)

    def test_DescribeAsCIsWhatThePublicHeaderHas(self):
        headers = "".join(path.read_text(encoding="utf-8")
                          for path in pathlib.Path(SETTINGS["source"], "include/mesh_fib6").glob("*.h"))
        for row in json.loads(self.good("list", "--json")):
            text = self.good("describe", row["message"], "--c").decode()
            for struct_text in re.findall(r"typedef struct .*?;\n} \w+;\n", text, re.S):
                self.assertIn(struct_text, headers)

    # encode and decode

    def test_EncodeWritesTheBytesOfARecord(self):
        self.assertEqual(self.good("encode", ROUTES, given=ROUTE_JSON), ROUTE)
        self.assertEqual(self.good("encode", ROUTES, "-", "--hex",
                                   given='{"f0":7,"f1":[{"f3":"2001:db8::","f1":"0x01020304","f4":32,"f6":1286}]}'),
                         (ROUTE.hex(" ") + "\n").encode())

    def test_EncodeWritesTheFixedImageOfAFlatRecord(self):
        image = self.good("encode", STATE, "--layout", "fixed", given='{"f0":1}')
        self.assertEqual(len(image), 56)
        self.assertEqual(image[:12].hex(), "04000000d8ffffff01000000")

    def test_EncodeOfSeveralRecordsNeedsToSayWhereEachEnds(self):
        self.assertEqual(self.good("encode", STATE, "--frames", given='{"f0":1}\n{"f0":2}'),
                         b"".join(frame(STATE_ID, self.good("encode", STATE, given=f'{{"f0":{i}}}')) for i in (1, 2)))
        self.assertEqual(len(self.good("encode", STATE, "--hex", given='{"f0":1}{"f0":2}').splitlines()), 2)
        _, errors = self.bad(3, "encode", STATE, given='{"f0":1}{"f0":2}')
        self.assertIn("expected one record, found more", errors)

    def test_EncodeSaysWhatIsWrongInItsInput(self):
        for given, what in (("", "standard input: expected a record, found nothing"),
                            ("{\n\"f0\":-1}", "standard input: line 2: f0: expected an integer from 0 to 4294967295, "
                             "found -1"),
                            ("{}{", "line 1: expected JSON: Missing a name for object member")):
            self.assertIn(what, self.bad(3, "encode", STATE, "--hex", given=given)[1])

    def test_EncodeReadsRecordsThatSayWhatTheyAre(self):
        state = '{"message":"feiBrokerFib6_pidStateMsg","record":{"f0":5}}\n'
        # decode --frames writes what encode --mixed reads; spaces and the order of lines are free.
        frames = frame(ROUTES_ID, ROUTE) + frame(STATE_ID, self.good("encode", STATE, given='{"f0":5}'))
        lines = self.good("decode", "--frames", given=frames)
        self.assertEqual(self.good("encode", "--mixed", "--frames", given=lines), frames)
        self.assertEqual(self.good("encode", "--mixed", given=state), self.good("encode", STATE, given='{"f0":5}'))
        self.assertEqual(self.good("encode", "--mixed", "--hex", "-", given=' { "message" : "0x2daf16c2" , "record" :{}}'),
                         self.good("encode", STATE, "--hex", given="{}"))
        # The fixed layout is for those that have one.
        mixed = frame(ROUTES_ID, ROUTE) + frame(STATE_ID, self.good("encode", STATE, "--layout", "fixed",
                                                                    given='{"f0":5}'))
        self.assertEqual(self.good("encode", "--mixed", "--frames", "--layout", "fixed", given=lines), mixed)
        for given, expected in (
                ("[]", "line 1: expected an object with the members 'message' and 'record', found an array"),
                ("{}", "line 1: expected a member 'record', found none"),
                ('{"record":{}}', "line 1: expected 'message' in front of 'record'"),
                ('{"message":7}', "line 1: message: expected a message's name, found 7"),
                ('{"message":"pidStatMsg"}', "line 1: message: unknown message 'pidStatMsg'; did you mean 'pidStateMsg'?"),
                ('{"message":"pidStateMsg"}', "line 1: expected a member 'record', found none"),
                ('{"message":"pidStateMsg","message":"pidStateMsg"}', "line 1: message: expected it once, found it twice"),
                ('{"message":"pidStateMsg","record":{},"record":{}}', "line 1: record: expected it once, found it twice"),
                ('{"message":"pidStateMsg","record":7}', "line 1: record: expected an object with the members of "
                 "feiBrokerFib6_pidStateMsg, found 7"),
                ('{"message":"pidStateMsg","record":[]}', "line 1: record: expected an object with the members of "
                 "feiBrokerFib6_pidStateMsg, found an array"),
                ('{"message":"pidStateMsg","record":{"f1":{"f0":-1}}}',
                 "line 1: record.f1.f0: expected an integer from 0 to 4294967295, found -1"),
                ('{"message":"pidStateMsg","record":{},"other":1}',
                 "line 1: expected a member 'message' or 'record', found 'other'"),
                (state + '{"message":"pidStateMsg","record":{"f2":1}}',
                 "line 2: record: feiBrokerFib6_pidStateMsg has no member 'f2', only f0 to f1")):
            _, errors = self.bad(3, "encode", "--mixed", "--frames", given=given)
            self.assertEqual(errors, f"mesh-fib6: standard input: {expected}\n", given)
        self.bad(2, "encode", "--mixed", "-", "-")
        self.bad(2, "encode")

    def test_DecodeWritesTheRecordOfBytesOrOfADump(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder, "route")
            path.write_bytes(ROUTE)
            self.assertEqual(self.good("decode", ROUTES, path).decode(), ROUTE_JSON)
            self.assertEqual(self.good("decode", path, "--id", f"0x{ROUTES_ID:x}").decode(), ROUTE_JSON)
        self.assertEqual(self.good("decode", ROUTES, given=ROUTE).decode(), ROUTE_JSON)
        for dump in (ROUTE.hex(), ROUTE.hex(" ", 4), self.good("explain", ROUTES, given=ROUTE).decode()):
            self.assertEqual(self.good("decode", ROUTES, given=dump).decode(), ROUTE_JSON)
        _, errors = self.bad(3, "decode", ROUTES, given="0c 00\n0x")
        self.assertIn("standard input: line 2, column 1: expected a pair of hexadecimal digits", errors)
        _, errors = self.bad(1, "decode", ROUTES, "--input", "binary", given=ROUTE.hex())
        self.assertIn("table-offset", errors)

    def test_DecodeShowsAddressesWhereItIsAsked(self):
        for member in ("f1.f3", "*"):
            text = self.good("decode", "--ipv6", member, ROUTES, "--ipv6", member, "-", given=ROUTE).decode()
            self.assertIn('"f3":[3087860000,0,0,0],"f3_ipv6":"2001:db8::"', text)
            self.assertEqual(self.good("encode", ROUTES, given=text), ROUTE)
        text = self.good("decode", ROUTES, "--pretty", given=ROUTE).decode()
        self.assertIn('\n      "f3": [3087860000, 0, 0, 0],\n', text)
        self.assertEqual(json.loads(text), json.loads(ROUTE_JSON))

    def test_EveryGoldenImageComesBackAsItIs(self):
        frames = b""
        images = [image for image in golden_images() if image[2] == 0]
        identifiers = {row["message"]: int(row["id"], 16) for row in json.loads(self.good("list", "--json"))}
        for message, _, _, data in images:
            frames += frame(identifiers[message], data)
        lines = self.good("decode", "--frames", given=frames).decode().splitlines()
        self.assertEqual(len(lines), len(images))
        again = {}
        for (message, name, _, data), line in zip(images, lines):
            decoded = json.loads(line)
            self.assertEqual(decoded["message"], message)
            layout = "fixed" if "_fixed" in name else "compact"
            again.setdefault((message, layout), []).append((data, decoded["record"], name))
        for (message, layout), those in again.items():
            given = "\n".join(json.dumps(record) for _, record, _ in those)
            for text, (data, _, name) in zip(self.good("encode", message, "--layout", layout, "--hex",
                                                       given=given).decode().splitlines(), those):
                self.assertEqual(text, data.hex(" "), (message, name))

    def test_DecodeGoesThroughFramesAndNamesThoseThatAreBad(self):
        state = self.good("encode", STATE, given='{"f0":5}')
        good, bad, nobody = frame(STATE_ID, state), frame(STATE_ID, state[:-1]), frame(1, b"")
        line = b'{"message":"feiBrokerFib6_pidStateMsg","record":{"f0":5,"f1":{"f0":0,"f1":0,"f2":0}}}\n'
        self.assertEqual(self.good("decode", "--frames", given=b""), b"")
        self.assertEqual(self.good("decode", "--frames", given=good + good), line * 2)
        output, errors = self.bad(1, "decode", "--frames", given=good + bad + good)
        self.assertEqual(output, line)
        self.assertEqual(errors, f"mesh-fib6: standard input: frame 2 at byte {len(good)}: "
                         "feiBrokerFib6_pidStateMsg: f1: table-offset at byte 20: expected a table at 4 to "
                         f"{len(state) - 5}, found a table at {len(state) - 4}\n")
        output, errors = self.bad(1, "decode", "--frames", "--keep-going", given=bad + good + nobody + good)
        self.assertEqual(output, line * 2)
        self.assertEqual(errors.splitlines()[1], f"mesh-fib6: standard input: frame 3 at byte "
                         f"{len(bad) + len(good)}: no message has the identifier 0x00000001")
        self.assertEqual(self.good("decode", "--frames", "--id", STATE, given=frame(ROUTES_ID, ROUTE) + good), line)
        output, errors = self.bad(3, "decode", "--frames", "--keep-going", given=good + good[:7])
        self.assertEqual(output, line)
        self.assertIn("frame 2 at byte 46: expected 8 bytes of a frame's head, found 7", errors)

    # verify and explain

    def test_VerifyTellsByItsStatusAndInWords(self):
        self.assertEqual(self.good("verify", ROUTES, given=ROUTE),
                         b"feiBrokerFib6_ipv6FwdUpdateMsg, 99 bytes: sound\n")
        self.assertEqual(self.good("verify", ROUTES, "--quiet", given=ROUTE), b"")
        status, output, errors = self.run_tool("verify", ROUTES, given=ROUTE[:-1])
        self.assertEqual((status, errors), (1, ""))
        self.assertEqual(output, b"feiBrokerFib6_ipv6FwdUpdateMsg, 98 bytes: refused: f1[0].f3: item-count at byte "
                         b"79: expected 16 bytes behind the count, found 15 bytes\n")
        self.assertEqual(self.run_tool("verify", ROUTES, "-q", given=ROUTE[:-1]), (1, b"", ""))
        status, output, errors = self.run_tool("verify", ROUTES, "--json", given=b"")
        self.assertEqual((status, errors), (1, ""))
        self.assertEqual(json.loads(output), {
            "message": "feiBrokerFib6_ipv6FwdUpdateMsg", "id": "0x5026A923", "size": 0, "sound": False,
            "refusal": {"rule": "length", "path": "root", "at": 0, "size": 0, "expected": "at least 4 bytes",
                        "found": "0 bytes"}})

    def test_VerifyReadsEveryByteOrder(self):
        for message, name, swap, data in golden_images():
            if swap:
                self.good("verify", message, "--byte-swap", swap, "-q", given=data)
                self.assertEqual(self.run_tool("verify", message, "-q", given=data)[0], 1, (message, name))

    def test_ExplainAccountsForEveryByte(self):
        lines = self.good("explain", ROUTES, given=ROUTE).decode().splitlines()
        self.assertEqual(lines[0], "# feiBrokerFib6_ipv6FwdUpdateMsg, 99 bytes: sound")
        self.assertEqual(lines[1], " 0 | 0c 00 00 00                                     | root offset 12")
        self.assertEqual(lines[-1],
                         "83 | 20 01 0d b8 00 00 00 00 00 00 00 00 00 00 00 00 | f1[0].f3 = B80D0120 0 0 0")
        self.assertEqual(bytes.fromhex("".join(line.split("|")[1] for line in lines[1:])), ROUTE)

    def test_ExplainShowsWhatParsedAndWhereItEnded(self):
        status, output, errors = self.run_tool("explain", ROUTES, given=ROUTE[:-9])
        self.assertEqual((status, errors), (1, ""))
        lines = output.decode().splitlines()
        self.assertIn("f1[0].f3 count 4  <- item-count: expected 16 bytes behind the count, found 7 bytes", lines[-2])
        self.assertTrue(lines[-1].endswith("| not reached"))
        explained = json.loads(self.run_tool("explain", ROUTES, "--json", given=ROUTE[:-9])[1])
        self.assertEqual(explained["refusal"]["rule"], "item-count")
        self.assertEqual("".join(each["hex"] for each in explained["bytes"]).replace(" ", ""), ROUTE[:-9].hex())
        self.assertEqual(explained["bytes"][-1]["standing"], "unreached")

    def test_ExplainIsColouredOnATerminalOnly(self):
        self.assertNotIn(b"\x1b", self.good("explain", ROUTES, given=ROUTE))
        self.assertIn(b"\x1b[", self.good("explain", ROUTES, "--color", "always", given=ROUTE))
        for environment, arguments, is_coloured in (({}, (), True), ({"NO_COLOR": "1"}, (), False),
                                                    ({}, ("--color", "never"), False)):
            ours, theirs = pty.openpty()
            subprocess.run([*TOOL, "explain", STATE, *arguments], input=bytes(4), stdout=theirs, check=False,
                           env={**os.environ, "NO_COLOR": "", **environment}, timeout=100)
            os.close(theirs)
            shown = all_of_terminal(ours)
            self.assertEqual(b"\x1b[" in shown, is_coloured, arguments)

    # diff and random

    def test_DiffTellsValuesFromLayout(self):
        with tempfile.TemporaryDirectory() as folder:
            paths = {name: pathlib.Path(folder, name) for name in ("one", "other", "image", "long", "cut")}
            one = self.good("encode", STATE, given='{"f0":5,"f1":{"f1":255}}')
            paths["one"].write_bytes(one)
            paths["other"].write_bytes(self.good("encode", STATE, given='{"f0":5,"f1":{"f1":256}}'))
            paths["image"].write_bytes(self.good("encode", STATE, "--layout", "fixed",
                                                 given='{"f0":5,"f1":{"f1":255}}'))
            paths["long"].write_bytes(one + b"x")
            paths["cut"].write_bytes(one[:-1])

            self.assertEqual(self.good("diff", STATE, paths["one"], paths["one"]), b"")
            self.assertEqual(self.good("diff", STATE, paths["one"], "-", given=one), b"")
            status, output, errors = self.run_tool("diff", STATE, paths["one"], paths["other"])
            self.assertEqual((status, errors), (1, ""))
            self.assertEqual(output, b"values:\n  f1.f1: 255 and 0x00000100\n")
            status, output, errors = self.run_tool("diff", STATE, paths["one"], paths["image"])
            self.assertEqual((status, errors), (1, ""))
            self.assertTrue(output.startswith(b"the same values, in another layout:\n  root soffset: at 12+4 and 4+4\n"))
            self.assertIn(b"\n  f1.f0 scalar: at 20+4 in the second only\n", output)
            status, output, errors = self.run_tool("diff", STATE, paths["one"], paths["long"])
            self.assertEqual((status, errors), (1, ""))
            self.assertEqual(output, b"the same values at the same places; other bytes where nothing is read\n")
            _, errors = self.bad(1, "diff", STATE, paths["one"], paths["cut"])
            self.assertIn("cut: feiBrokerFib6_pidStateMsg, ", errors)
            self.assertIn("refused: f1.f1: entry", errors)
            _, errors = self.bad(2, "diff", STATE, "-", "-")
            self.assertIn("expected two inputs, found standard input twice", errors)

    def test_DiffCountsWhatIsTooMuchToShow(self):
        records = [json.dumps({"f1": [{"f0": i} for _ in range(200)]}) for i in (1, 2)]
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder, "one")
            path.write_bytes(self.good("encode", ROUTES, given=records[0]))
            status, output, _ = self.run_tool("diff", ROUTES, path, "-",
                                              given=self.good("encode", ROUTES, given=records[1]))
        lines = output.decode().splitlines()
        self.assertEqual((status, len(lines)), (1, 102))
        self.assertEqual(lines[-1], "  and 100 more")

    def test_RandomRecordsAreTheSameForASeedAndMayBeEncoded(self):
        # Written down once: another machine, another year, the same.
        self.assertEqual(self.good("random", STATE, "--count", "2"),
                         b'{"f0":4089837646,"f1":{"f0":4294967293,"f1":0,"f2":0}}\n'
                         b'{"f0":0,"f1":{"f0":4294967294,"f1":2147483648,"f2":669416397}}\n')
        self.assertNotEqual(self.good("random", ROUTES, "--seed", "1"), self.good("random", ROUTES, "--seed", "2"))
        for row in json.loads(self.good("list", "--json")):
            records = self.good("random", row["message"], "--count", "5", "--seed", "7")
            self.assertEqual(len(records.splitlines()), 5)
            frames = self.good("encode", row["message"], "--frames", given=records)
            decoded = self.good("decode", "--frames", given=frames).decode().splitlines()
            self.assertEqual([json.loads(line)["record"] for line in decoded],
                             [json.loads(line) for line in records.splitlines()])

    # Pages, schemas, completions.

    def test_BenchMeasuresWhatTheLibraryDoes(self):
        quick = ("--seconds", "0.01")
        lines = self.good("bench", STATE, *quick).decode().splitlines()
        self.assertRegex(lines[0], r"^feiBrokerFib6_pidStateMsg, 64 records, \d\d bytes on average$")
        self.assertEqual([re.match(r"(.*?) +\d+\.\d ns +\d+\.\d\d GB/s$", line)[1] for line in lines[1:]],
                         ["pack", "unpack", "unpack image"])
        (pack, unpack) = [json.loads(line) for line in
                          self.good("bench", ROUTES, "-", "--json", *quick, given=2 * ROUTE_JSON).splitlines()]
        self.assertEqual((pack["operation"], unpack["operation"]), ("pack", "unpack"))
        for each in (pack, unpack):
            self.assertEqual((each["message"], each["records"], each["bytes"]),
                             ("feiBrokerFib6_ipv6FwdUpdateMsg", 2, len(ROUTE)))
            self.assertGreater(each["nanoseconds"], 0)
        self.bad(3, "bench", ROUTES, "-", given="")
        self.bad(3, "bench", ROUTES, "-", given='{"f0": -1}')
        self.bad(3, "bench", ROUTES, "/nowhere/at/all")
        self.bad(2, "bench", ROUTES, "--seconds", "0")

    # svg and html

    def test_ExplainDrawsAMapWhereEveryByteHasItsBox(self):
        for given in (ROUTE, ROUTE[:70], bytes(7), bytes(1), b""):
            status, text, errors = self.run_tool("explain", ROUTES, "--svg", "--input", "binary", given=given)
            self.assertEqual((status, errors), (0 if given == ROUTE else 1, ""))
            root = xml.etree.ElementTree.fromstring(text)
            name = "{http://www.w3.org/2000/svg}"
            digits = sorted((int(each.get("y")), int(each.get("x")), each.text)
                            for each in root.iter(name + "text") if each.get("class") == "b")
            self.assertEqual(bytes.fromhex("".join(text for _, _, text in digits)), given)
            covered = sorted((int(each.get("y")), int(each.get("x")) + 36 * i)
                       for group in root.iter(name + "g") for each in group.iter(name + "rect")
                       for i in range(int(each.get("width")) // 36))
            self.assertEqual(covered, [(4 + 36 * (at // 16), 44 + 36 * (at % 16)) for at in range(len(given))])
            wrong = [group for group in root.iter(name + "g") if group.get("class") == "wrong"]
            self.assertEqual(bool(wrong), given not in (ROUTE, b""))
            self.assertNotIn(b"http", text.replace(b"http://www.w3.org/2000/svg", b""))
        titles = [each.text for each in xml.etree.ElementTree.fromstring(
            self.good("explain", ROUTES, "--svg", given=ROUTE)).iter(name + "title")]
        self.assertEqual(titles[:2], ["feiBrokerFib6_ipv6FwdUpdateMsg, 99 bytes: sound",
                                      "bytes 0 to 3: root offset 12"])
        self.assertIn("byte 72: f1[0].f4 = 32", titles)
        self.bad(2, "explain", ROUTES, "--svg", "--html", given=ROUTE)
        self.bad(2, "explain", ROUTES, "--svg", "--json", given=ROUTE)

    def test_TheCatalogueHasEveryMessageAndIsTheOneOfTheDocuments(self):
        page = self.good("describe", "--all", "--html")
        path = pathlib.Path(SETTINGS["source"], "docs", "messages.html")
        articles = re.compile(r'<article id="(\w+)"')
        self.assertEqual(articles.findall(path.read_text(encoding="utf-8")), articles.findall(page.decode()), path)
        self.assertTrue(path.read_bytes() == page,
                        f"{path} is not what describe --all --html writes; "
                        "cmake --build BUILD --target refresh-baselines writes it anew")
        messages = json.loads(self.good("list", "--json"))
        self.assertEqual(articles.findall(page.decode()), [each["message"] for each in messages])
        self.assertNotRegex(page.decode(), r"(src|href)=[\"'](?!#)")
        one = self.good("describe", STATE, "--html").decode()
        (article,) = re.findall(r"<article.*?</article>", one, re.S)
        # Twelve bytes of state behind f0, in the record and in the image.
        for expected in ("The record, 16 bytes", "As it is sent: the fixed image, 56 bytes",
                         "Packed, nothing absent, 50 bytes", "bytes 4 to 7: f1.f0, uint32_t",
                         "bytes 8 to 11: f0 = 1"):
            self.assertIn(expected, article)

    def test_APatternOfImHexHasEveryMemberOfItsMessage(self):
        for each in json.loads(self.good("list", "--json")):
            text = self.good("describe", each["message"], "--imhex").decode()
            described = json.loads(self.good("describe", each["message"], "--json"))
            self.assertTrue(text.endswith(f"\n{each['message']} message @ root_offset;\n"), text[-200:])
            members = len(re.findall(r"^  at = member\(table, \d+\);$", text, re.M))
            tables = set(re.findall(r"^struct (\w+_\w+) \{$", text, re.M))
            self.assertIn(each["message"], tables)
            rows = {(row["path"].rpartition(".")[0], row["slot"]) for row in described["members"]}
            # A record that two members have is there once.
            self.assertLessEqual(members, len(rows))
            self.assertEqual(text.count("{"), text.count("}"))
            used = set(re.findall(r"^    (?:array<|references<)?(\w+?)>? f\d+ @ ", text, re.M)) - {"u8", "u16", "u32"}
            self.assertLessEqual(used, tables)
        self.bad(2, "describe", "--all", "--imhex")

    def test_TheManualHasEveryCommandAndOption(self):
        text = self.good("manual").decode()
        for command in (*COMMANDS, "host status", "host up", "host down"):
            self.assertIn(f"\n## {command}\n", text)
            shown = self.good(*command.split(), "--help").decode()
            section = text.split(f"\n## {command}\n")[1].split("\n## ")[0]
            for option in re.findall(r"^  +(?:-\w,)?(--[a-z0-9-]+)", shown, re.M):
                self.assertIn(f"*{option}*", section.replace("\\", ""))
        if shutil.which("scdoc"):
            made = subprocess.run(["scdoc"], input=text.encode(), capture_output=True, check=False, timeout=20)
            self.assertEqual((made.returncode, made.stderr), (0, b""))
            self.assertTrue(made.stdout.startswith(b'.\\" Generated by scdoc'))

    # a long input

    def test_ProgressIsShownOnATerminalAndWipedOut(self):
        shown = self.shown_while_decoding(True)
        self.assertRegex(shown, rb"\r\x1b\[K\d+ MiB, \d+ MiB/s")
        # What is said of a bad frame has a line of its own.
        self.assertRegex(shown, rb"\r\x1b\[Kmesh-fib6: standard input: frame \d+ ")
        self.assertEqual(shown.count(b"\n"), 1)
        self.assertEqual(self.shown_while_decoding(False), b"")

    def shown_while_decoding(self, is_slow):
        """What a terminal is shown while a stream of frames is decoded that takes its time, or does not."""
        ours, theirs = pty.openpty()
        many = 600 * frame(ROUTES_ID, ROUTE)
        with subprocess.Popen([*TOOL, "decode", "--frames"], stdin=subprocess.PIPE, stdout=subprocess.DEVNULL,
                              stderr=theirs) as process:
            process.stdin.write(many)
            process.stdin.flush()
            if is_slow:
                time.sleep(1.5)
                process.stdin.write(many + frame(ROUTES_ID, ROUTE[:50]))
            process.stdin.close()
            self.assertEqual(process.wait(timeout=100), 1 if is_slow else 0)
        os.close(theirs)
        return all_of_terminal(ours)

    def test_ExplainMakesAPageThatNeedsNothingElse(self):
        page = self.good("explain", ROUTES, "--html", given=ROUTE).decode()
        self.assertTrue(page.startswith("<!doctype html>"))
        self.assertNotIn("@DATA@", page)
        self.assertNotRegex(page, r"(src|href)\s*=")
        self.assertNotIn("http", page)
        data = json.loads(re.search(r'id="data">(.*?)</script>', page, re.S)[1])
        self.assertEqual(data["maps"][0]["hex"], ROUTE.hex())
        self.assertEqual(len(data["maps"]), 1, "there is no other layout of what has vectors")
        self.assertIn([3, "f3", "uint32_t[4]", "B80D0120 0 0 0 (2001:db8::)"], data["nodes"])
        flat = self.good("explain", STATE, "--html", given=self.good("encode", STATE, given='{"f0":1}')).decode()
        data = json.loads(re.search(r'id="data">(.*?)</script>', flat, re.S)[1])
        self.assertEqual([each["name"] for each in data["maps"]], ["compact", "fixed"])
        status, page, _ = self.run_tool("explain", ROUTES, "--html", given=b"")
        self.assertEqual(status, 1)
        self.assertIn(b"The library refuses it: root: length at byte 0: expected at least 4 bytes", page)

    def test_TheDissectorKnowsEveryMessageAndMember(self):
        text = self.good("describe", "--all", "--wireshark").decode()
        self.assertNotIn("@MESSAGES@", text)
        self.assertNotIn("@TABLES@", text)
        for row in json.loads(self.good("list", "--json")):
            self.assertIn(f'  [{row["id"]}] = {{"{row["message"]}", "{row["message"]}"}},\n', text)
        self.assertIn('    {"f3", "words", 4, 4},\n', text)
        self.bad(2, "describe", STATE, "--wireshark")

    def test_CompletionsAreScriptsOfTheirShells(self):
        for shell in ("bash", "zsh", "fish"):
            script = self.good("completion", shell).decode()
            for command in COMMANDS:
                self.assertIn(command, script)
            self.assertIn("feiBrokerFib6_pidStateMsg", script)
        self.bad(2, "completion")
        self.bad(2, "completion", "csh")
        script = self.good("completion", "bash").decode()
        for words, expected in ((("dec",), "decode"), (("decode", "feiBrokerFib6_pid"), "feiBrokerFib6_pidStateMsg"),
                                (("decode", "--ke"), "--keep-going"), (("list", "feiBrokerFib6_pid"), ""),
                                (("encode", STATE, "--layout", "f"), "fixed"), (("completion", "z"), "zsh"),
                                (("decode", "--input", ""), "auto binary hex"),
                                (("capture", "--message", "fib6Sync_glb"), "fib6Sync_glbCfg"),
                                (("host", ""), "status up down --help"), (("host", "up", "--st"), "--storage"),
                                (("host", "up", "--storage", "f"), "file"), (("host", "down", "--st"), "")):
            done = subprocess.run(
                ["bash", "-c", script + 'COMP_WORDS=(mesh-fib6 "$@"); COMP_CWORD=$#; _mesh_fib6; echo "${COMPREPLY[*]}"',
                 "x", *words], capture_output=True, check=True, timeout=100)
            self.assertEqual((done.stdout.decode(), done.stderr), (expected + "\n", b""))

    # Captures.

    @staticmethod
    def block(kind, body, order="<"):
        body += bytes(-len(body) % 4)
        return struct.pack(order + "II", kind, len(body) + 12) + body + struct.pack(order + "I", len(body) + 12)

    def section(self, order="<", link_type=147):
        """The head of a capture, its times in microseconds."""
        return (self.block(0x0A0D0D0A, struct.pack(order + "IHHq", 0x1A2B3C4D, 1, 0, -1), order) +
                self.block(1, struct.pack(order + "HHI", link_type, 0, 0), order))

    def packet(self, message, order="<", direction=0, identifier=ROUTES_ID, length=None, interface=0):
        data = struct.pack("<BBHIQII", 1, direction, 0, 7, 9, identifier,
                           len(message) if length is None else length) + message
        time = 1795339360924678
        return self.block(6, struct.pack(order + "IIIII", interface, time >> 32, time & 0xFFFFFFFF, len(data),
                                         len(data)) + data, order)

    def test_CaptureListsMessagesInEitherByteOrder(self):
        for order in "<>":
            status, output, errors = self.run_tool(
                "capture", given=self.section(order) + self.packet(ROUTE, order) + self.block(99, b"abc", order) +
                self.packet(ROUTE[:-1], order, 1) + self.packet(b"", order, 0, 1))
            self.assertEqual((status, errors), (1, ""))
            self.assertEqual(output.decode().splitlines(), [
                "1 2026-11-22T09:22:40.924678000Z sent 7:9 feiBrokerFib6_ipv6FwdUpdateMsg 99 bytes sound",
                "2 2026-11-22T09:22:40.924678000Z received - feiBrokerFib6_ipv6FwdUpdateMsg 98 bytes refused: "
                "f1[0].f3: item-count at byte 79: expected 16 bytes behind the count, found 15 bytes",
                "3 2026-11-22T09:22:40.924678000Z sent 7:9 0x00000001 0 bytes unknown"])

    def test_CaptureFiltersCountsAndExtracts(self):
        state = self.good("encode", STATE, given='{"f0":5}')
        given = (self.section() + self.packet(ROUTE) + self.packet(state, direction=1, identifier=STATE_ID) +
                 self.packet(ROUTE, direction=1) + self.packet(ROUTE))
        self.assertEqual(len(self.good("capture", "--sent", given=given).splitlines()), 2)
        self.assertEqual(len(self.good("capture", "--received", "--message", STATE, given=given).splitlines()), 1)
        self.assertEqual(self.good("capture", "-", "--summary", given=given).decode().splitlines(), [
            "feiBrokerFib6_ipv6FwdUpdateMsg           received          1 messages             99 bytes",
            "feiBrokerFib6_ipv6FwdUpdateMsg           sent              2 messages            198 bytes",
            f"feiBrokerFib6_pidStateMsg                received          1 messages             {len(state)} bytes"])
        self.assertEqual(self.good("capture", "--frames", "--message", ROUTES, given=given),
                         frame(ROUTES_ID, ROUTE) * 3)

    def test_CaptureSaysWhatIsMissingOrNoMessage(self):
        output, errors = self.bad(1, "capture", "--frames",
                                  given=self.section() + self.packet(ROUTE[:50], length=99) + self.packet(ROUTE))
        self.assertEqual(output, frame(ROUTES_ID, ROUTE))
        self.assertIn("packet 1: feiBrokerFib6_ipv6FwdUpdateMsg: left out, captured are 50 bytes only", errors)
        statistics = self.block(5, struct.pack("<IIIHHQ", 0, 0, 0, 5, 8, 12))
        status, output, errors = self.run_tool("capture", given=self.section() + self.packet(ROUTE) + statistics)
        self.assertEqual((status, len(output.splitlines())), (0, 1))
        self.assertEqual(errors, "mesh-fib6: 12 messages were dropped when the capture was made\n")
        status, output, errors = self.run_tool("capture", given=self.section(link_type=1) + self.packet(ROUTE))
        self.assertEqual((status, output, errors), (0, b"", "mesh-fib6: 1 packets hold no message\n"))

    def test_CaptureThatIsCutOrNoneIsAnErrorBehindWhatIsThere(self):
        whole = self.section() + self.packet(ROUTE)
        self.assertIn("expected a pcapng capture, found something else", self.bad(3, "capture", given=ROUTE)[1])
        self.assertIn("another byte-order magic", self.bad(3, "capture", given=whole[:8] + bytes(30))[1])
        self.assertIn("expected a pcapng capture, found nothing", self.bad(3, "capture", given=b"")[1])
        # Packets of other kinds than the tap writes are no messages, and are counted.
        for kind in (2, 3):
            status, output, errors = self.run_tool("capture", given=whole + self.block(kind, bytes(40)))
            self.assertEqual((status, output.count(b"\n"), errors), (0, 1, "mesh-fib6: 1 packets hold no message\n"))
        for size in range(1, len(self.packet(ROUTE))):
            output, errors = self.bad(3, "capture", given=whole + self.packet(ROUTE)[:size])
            self.assertEqual(len(output.splitlines()), 1)
            self.assertIn(f"byte {len(whole)}: expected ", errors)

    # Files and streams.

    def test_AFileThatCannotBeReadIsNamed(self):
        for path, what in (("/nonexistent/x", "cannot open /nonexistent/x: No such file or directory"),
                           ("/", "cannot read /: Is a directory")):
            for command in ("encode", "decode", "verify", "explain"):
                output, errors = self.bad(3, command, STATE, path)
                self.assertEqual((output, errors), (b"", f"mesh-fib6: {what}\n"))

    def test_ADiskThatIsFullIsAnError(self):
        with open("/dev/full", "wb") as full:
            for word in ("list", "--help", "--version"):
                done = subprocess.run([*TOOL, word], stdout=full, stderr=subprocess.PIPE, check=False, timeout=100)
                self.assertEqual((done.returncode, done.stderr),
                                 (3, b"mesh-fib6: cannot write: No space left on device\n"))

    def test_AReaderThatGoesAwayIsNoMatter(self):
        frames = frame(STATE_ID, self.good("encode", STATE, given="{}")) * 100000
        for ignored in (False, True):
            how = {"restore_signals": not ignored}
            if ignored:
                how["preexec_fn"] = lambda: signal.signal(signal.SIGPIPE, signal.SIG_IGN)
            with subprocess.Popen([*TOOL, "decode", "--frames", "-"], stdin=subprocess.PIPE,
                                  stdout=subprocess.PIPE, stderr=subprocess.PIPE, **how) as process:
                process.stdout.close()
                try:
                    process.stdin.write(frames)
                    process.stdin.close()
                except BrokenPipeError:
                    pass
                self.assertEqual(process.stderr.read(), b"")
                self.assertEqual(process.wait(100), -signal.SIGPIPE)

    def test_RecordsOfAStreamTakeNoMoreMemoryThanOne(self):
        if SETTINGS["emulator"] or SETTINGS["instrumented"]:
            self.skipTest("the memory of an emulator or a sanitizer is not the tool's")
        piece = frame(ROUTES_ID, ROUTE) * 20000
        def limit():
            resource.setrlimit(resource.RLIMIT_AS, (64 << 20, 64 << 20))
        with subprocess.Popen([*TOOL, "decode", "--frames"], stdin=subprocess.PIPE, stdout=subprocess.DEVNULL,
                              stderr=subprocess.PIPE, preexec_fn=limit) as process:
            for _ in range(50):  # 107 MB
                process.stdin.write(piece)
            process.stdin.close()
            self.assertEqual(process.stderr.read(), b"")
            self.assertEqual(process.wait(100), 0)

    def test_MoreThanThereIsMemoryForIsAnErrorAndNoCrash(self):
        if SETTINGS["emulator"] or SETTINGS["instrumented"]:
            self.skipTest("the memory of an emulator or a sanitizer is not the tool's")
        def limit():
            resource.setrlimit(resource.RLIMIT_AS, (64 << 20, 64 << 20))
        for command, given in (("explain", bytes(100 << 20)), ("verify", bytes(100 << 20)),
                               ("encode", b'{"f1":[' + b"{}," * (4 << 20))):
            _, errors = self.bad(3, command, ROUTES, given=given, preexec_fn=limit)
            self.assertEqual(errors, "mesh-fib6: there is not enough memory\n")


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *[f"Tool.test_{case}" for case in sys.argv[2:]]])
