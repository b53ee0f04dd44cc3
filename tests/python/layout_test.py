"""Records in memory against the compiler's word.

Room: tests.

usage: layout_test.py SETTINGS_JSON CASE
"""

import sys
import unittest

from support import main, reference

import mesh_fib6
from mesh_fib6 import Record
from mesh_fib6._layout import Arrays, layout_of
from mesh_fib6._record import embedded, record, u8, u32, vector


@record
class Inner(Record):
    f0: int = u8()
    f1: int = u32()


@record
class Outer(Record):
    f0: int = u8()
    f1: Inner = embedded(Inner)
    f2: int = u8()
    f3: list = vector(Inner)


class Layout(unittest.TestCase):

    def test_OfEveryMessageIsAsLargeAsTheRecordOfC(self):
        size = reference().reference_record_size
        self.assertEqual(size(0x5026A923), 16)  # an integer, a count and a pointer
        for message in mesh_fib6.messages.values():
            with self.subTest(message=message):
                self.assertEqual(layout_of(message).size, size(message.ID))

    def test_LeavesTheGapsThatCLeaves(self):
        for each, size in ((mesh_fib6.feiBrokerFib6_ipv6Fwd, 56),
                           (mesh_fib6.feiBrokerFib6_ipv6FwdKey, 28),
                           (mesh_fib6.feiBrokerFib6_nhp6Vxlan, 60),
                           (mesh_fib6.feiBrokerFib6_srv6SrList, 184)):
            with self.subTest(record=each):
                self.assertEqual(layout_of(each).size, size)

    def test_AlignsAnEmbeddedRecordToItsWidestMember(self):
        # Bytes 0; 4 and 8 (the embedded record, of 8 bytes); 12; the count at 16, the pointer at 24.
        outer = Outer(f0=1, f1=Inner(f0=2, f1=3), f2=4)
        self.assertEqual(layout_of(Outer).pack(outer, Arrays()), bytes.fromhex(
            "01000000 02000000 03000000 04000000 00000000 00000000 0000000000000000"))
        self.assertEqual(layout_of(Outer).unpack(layout_of(Outer).pack(outer, Arrays())), outer)


if __name__ == "__main__":
    sys.exit(main(Layout))
