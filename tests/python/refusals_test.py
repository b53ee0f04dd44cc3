"""What the library refuses of what a peer may send, told by Python: against the second codec's word, for
messages that are cut, spoiled and made up.

Room: tests.

usage: refusals_test.py SETTINGS_JSON CASE
"""

import random
import sys
import unittest

from support import all_images, main, reference

import mesh_fib6
from mesh_fib6 import DecodeError, feiBrokerFib6_ipv6Fwd, feiBrokerFib6_ipv6FwdUpdateMsg
from mesh_fib6._record import ByteArray, Embedded, Scalar, Vector, WordArray, members_of

# What positions and counts that lie may be.
LIES = (0, 1, 2, 3, 4, 5, 8, 12, 0x7FFF, 0x8000, 0xFFFE, 0xFFFF, 0x3FFFFFFF, 0x40000000, 0x7FFFFFFF,
        0x80000000, 0xFFFFFFF0, 0xFFFFFFFC, 0xFFFFFFFF)


def filled(record_type, byte):
    """A record in whose numbers and arrays all bytes are this one, with one element in each vector."""
    values = {}
    for name, kind in members_of(record_type):
        if isinstance(kind, Scalar):
            values[name] = int.from_bytes(bytes([byte] * kind.width), "little")
        elif isinstance(kind, WordArray):
            values[name] = (byte * 0x01010101,) * kind.length
        elif isinstance(kind, ByteArray):
            values[name] = bytes([byte] * kind.length)
        elif isinstance(kind, Embedded):
            values[name] = filled(kind.type, byte)
        else:
            values[name] = [filled(kind.type, byte)] if isinstance(kind, Vector) else bytes([byte])
    return record_type(**values)


class Refusals(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.accepts = reference().reference_accepts
        self.random = random.Random(20250101)
        self.accepted = self.refused = 0

    def check(self, message, data):
        """Whether it is refused is what the second codec says; what is accepted is a record that can be
        encoded and decoded again."""
        try:
            record = mesh_fib6.decode(message, data)
        except DecodeError as error:
            self.refused += 1
            self.assertEqual(self.accepts(message.ID, data, len(data)), 0, (message, data.hex(), str(error)))
            self.assertIn(f"{message.__name__}: {len(data)} bytes that the library refuses: ", str(error))
        else:
            self.accepted += 1
            self.assertEqual(self.accepts(message.ID, data, len(data)), 1, (message, data.hex(), record))
            self.assertEqual(mesh_fib6.decode(message, mesh_fib6.encode(record)), record)

    def check_both_were_met(self, least):
        self.assertGreater(self.accepted + self.refused, least)
        self.assertGreater(min(self.accepted, self.refused), least // 20)

    def spoiled(self, data):
        """A copy with a few bytes that are not right."""
        data = bytearray(data)
        for _ in range(self.random.choice((1, 1, 1, 2, 5))):
            width = self.random.choice((1, 2, 4))
            at = self.random.randrange(len(data) - width + 1)
            old = int.from_bytes(data[at:at + width], "little")
            new = self.random.choice((self.random.choice(LIES), old + self.random.randrange(-9, 10),
                                      old ^ 1 << self.random.randrange(8 * width)))
            data[at:at + width] = (new % (1 << 8 * width)).to_bytes(width, "little")
        return bytes(data)

    def test_AreToldOfEveryMessageThatIsCutAnywhere(self):
        for image in all_images():
            self.accepted = 0
            for size in range(len(image.data)):
                self.check(type(image.record), image.data[:size])
            if not image.is_fixed:  # such a one ends with zeros that nobody reads
                self.assertEqual(self.accepted, 0)
        self.assertGreater(self.refused, 20000)

    def test_AreToldOfMessagesWithLiesInAnyPlace(self):
        for image in all_images():
            for _ in range(80):
                self.check(type(image.record), self.spoiled(image.data))
        self.check_both_were_met(10000)

    def test_AreToldOfSpoiledMessagesThatAreCutOrGoOn(self):
        for image in all_images():
            for _ in range(80):
                data = self.spoiled(image.data)
                rest = self.random.randbytes(self.random.randrange(40))
                self.check(type(image.record), self.random.choice(
                    (data[:self.random.randrange(len(data))], data + rest, data[:-4] + rest)))
        self.check_both_were_met(10000)

    def test_AreToldOfMessagesOfAnotherType(self):
        images = all_images()
        for message in mesh_fib6.messages.values():
            for image in images:
                self.check(message, image.data)
        self.check_both_were_met(5000)

    def test_AreToldOfBytesThatAreNoMessage(self):
        for message in mesh_fib6.messages.values():
            self.check(message, b"")
            for _ in range(400):
                self.check(message, self.random.randbytes(self.random.randrange(120)))
                size = self.random.randrange(60)
                self.check(message, bytes(self.random.choices((0, 0, 0, 4, 6, 8), k=size)))
        self.assertGreater(self.accepted + self.refused, 20000)

    def test_AreNotSuspectedWhereARecordIsLikeMemoryThatNobodyTouched(self):
        for byte in (0x00, 0x5A, 0xA5, 0xFF):
            for message in mesh_fib6.messages.values():
                record = filled(message, byte)
                self.assertEqual(mesh_fib6.decode(message, mesh_fib6.encode(record)), record)

    def check_reason(self, data, reason):
        message = feiBrokerFib6_ipv6FwdUpdateMsg
        with self.assertRaises(DecodeError) as raised:
            mesh_fib6.decode(message, bytes.fromhex(data))
        self.assertEqual(str(raised.exception), f"{message.__name__}: {len(bytes.fromhex(data))} bytes that "
                         f"the library refuses: {reason}")

    def test_SayWhereTheLibraryStops(self):
        # Root offset 12; vtable of 8 bytes at 4: f0 at table + 4, f1 at table + 8; the table at 12.
        self.check_reason("0c0000", "a message has 4 to 2147483647 bytes")
        self.check_reason("0c000000", "the root lies outside")
        self.check_reason("00000000", "the root lies in front of the tables")
        self.check_reason("0c000000 08000c00 04000800 0c000000",
                          "the vtable of the root lies in front of the tables")
        self.check_reason("0c000000 14000c00 04000800 08000000", "the vtable of the root lies outside")
        self.check_reason("0c000000 08000c00 04000800 08000000", "f0 lies outside")
        self.check_reason("0c000000 08000c00 04000800 08000000 07000000", "f1 lies outside")
        self.check_reason("0c000000 08000c00 04000800 08000000 07000000 04000000 01000000", "f1 lies outside")
        self.check_reason("0c000000 08000c00 04000800 08000000 07000000 04000000 01000000 00000080",
                          "an element of a vector is unsound, or memory ran out")

    def test_LeaveAMessageUsableWhoseVectorIsEmpty(self):
        data = bytes.fromhex("0c000000 08000c00 04000800 08000000 07000000 04000000 00000000")
        self.assertEqual(mesh_fib6.decode(feiBrokerFib6_ipv6FwdUpdateMsg, data),
                         feiBrokerFib6_ipv6FwdUpdateMsg(f0=7))

    def test_LeaveTheNextMessageAsItIs(self):
        update = feiBrokerFib6_ipv6FwdUpdateMsg(f1=[feiBrokerFib6_ipv6Fwd(f0=1)] * 3)
        data = mesh_fib6.encode(update)
        for size in range(len(data)):
            with self.assertRaises(DecodeError):
                mesh_fib6.decode(feiBrokerFib6_ipv6FwdUpdateMsg, data[:size])
            self.assertEqual(mesh_fib6.decode(feiBrokerFib6_ipv6FwdUpdateMsg, data), update)


if __name__ == "__main__":
    sys.exit(main(Refusals))
