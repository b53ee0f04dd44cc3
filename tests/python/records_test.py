"""Records as Python sees them: their members, what is shown of them.

Room: tests.

usage: records_test.py SETTINGS_JSON CASE
"""

import contextlib
import copy
import dataclasses
import pickle
import socket
import struct
import sys
import unittest

from support import GOLDEN, all_images, main

import mesh_fib6
from mesh_fib6 import feiBrokerFib6_ipv6Fwd as Route
from mesh_fib6 import feiBrokerFib6_ipv6FwdUpdateMsg as Update


class Printer:
    """IPython's, as far as records use it: a line for everything, '/' where one may begin."""

    def __init__(self):
        self.shown = ""

    def text(self, text):
        self.shown += text

    def breakable(self, sep=" "):
        self.shown += sep + "/"

    @contextlib.contextmanager
    def group(self, _indent, opening, closing):
        self.text(opening)
        yield
        self.text(closing)

    def pretty(self, value):
        value._repr_pretty_(self, False)


def shown(record):
    printer = Printer()
    printer.pretty(record)
    return printer.shown


class Records(unittest.TestCase):
    maxDiff = None

    def test_AreDataclassesOfTheirNamesInC(self):
        self.assertEqual(Update.__name__, "feiBrokerFib6_ipv6FwdUpdateMsg")
        self.assertEqual([field.name for field in dataclasses.fields(Update)], ["f0", "f1"])
        self.assertEqual(Update.ID, 0x5026A923)

    def test_AreZeroAndEmptyAtFirstAndShareNothing(self):
        first, second = Update(), Update()
        self.assertEqual(first, second)
        self.assertEqual((first.f0, first.f1), (0, []))
        first.f1.append(Route())
        self.assertEqual(second.f1, [])
        self.assertEqual(Route().f3, (0, 0, 0, 0))
        self.assertEqual(mesh_fib6.feiBrokerFib6_ipv6FwdKey().f4, b"\0\0\0")
        update = mesh_fib6.fib6Sync_srv6SrListUpdateMsg()
        update.f0.f0 = 7
        self.assertEqual(mesh_fib6.fib6Sync_srv6SrListUpdateMsg().f0.f0, 0)
        self.assertEqual(mesh_fib6.fib6_cfg_query_comm_param().f2, b"")

    def test_HaveNoOtherMembersThanTheirOwn(self):
        with self.assertRaises(AttributeError):
            Route().f14 = 1
        with self.assertRaises(AttributeError):
            Update().f1_count = 1
        with self.assertRaises(TypeError):
            Route(f14=1)

    def test_AreListedByTheirIdentifiers(self):
        self.assertEqual(len(mesh_fib6.messages), len(list(GOLDEN.glob("*.txt"))))
        for identifier, message in mesh_fib6.messages.items():
            self.assertEqual(message.ID, identifier)
            self.assertIs(getattr(mesh_fib6, message.__name__), message)
        self.assertFalse(hasattr(Route, "ID"))
        with self.assertRaises(TypeError):
            mesh_fib6.messages[1] = Update

    def test_AreAllExportedByTheirNames(self):
        names = {}
        exec("from mesh_fib6 import *", names)
        for message in mesh_fib6.messages.values():
            self.assertIn(message.__name__, names)
        self.assertIn("feiBrokerFib6_ipv6Fwd", names)
        self.assertNotIn("ByteVector", names)

    def test_CanBeCopiedComparedAndPickled(self):
        for image in all_images():
            with self.subTest(image=image):
                record = image.record
                self.assertEqual(copy.deepcopy(record), record)
                self.assertEqual(pickle.loads(pickle.dumps(record)), record)
                self.assertEqual(dataclasses.replace(record), record)

    def test_AreShownSoThatEvalMakesThemAgain(self):
        for image in all_images():
            with self.subTest(image=image):
                self.assertEqual(eval(repr(image.record), vars(mesh_fib6)), image.record)

    def test_AreShownInFullHoweverLong(self):
        update = Update(f1=[Route(f0=i) for i in range(3000)])
        self.assertEqual(eval(repr(update), vars(mesh_fib6)), update)

    def test_ShowFourWordsAsTheAddressThatStandsInMemory(self):
        route = Route(f3=struct.unpack("=4I", socket.inet_pton(socket.AF_INET6, "2001:db8::1")), f4=128)
        self.assertEqual(repr(route), "feiBrokerFib6_ipv6Fwd(f0=0, f1=0, f2=0, f3=ipv6('2001:db8::1'), "
                         "f4=128, f5=0, f6=0, f7=0, f8=0, f9=0, f10=0, f11=0, f12=0, f13=0)")
        self.assertIn("f3=ipv6('::')", repr(Route()))
        # In the words of Python's ipaddress, which since 3.13 shows the IPv4 address.
        self.assertRegex(repr(Route(f3=mesh_fib6.ipv6("::ffff:1.2.3.4"))),
                         r"f3=ipv6\('::ffff:(102:304|1\.2\.3\.4)'\)")

    def test_ShowWhatIsNoAddressAsItIs(self):
        for value in ([1, 2, 3, 4], (1, 2, 3), (1, 2, 3, 1 << 32), (0, 0, 0, -1), (0, 0, 0, 0.0), None):
            self.assertIn(f"f3={value!r}, ", repr(Route(f3=value)))

    def test_ShowInNotebooksOnlyWhatIsNotZero(self):
        self.assertEqual(shown(Route(f3=mesh_fib6.ipv6("2001:db8::"), f4=32)),
                         "feiBrokerFib6_ipv6Fwd(/f3=ipv6('2001:db8::'), /f4=32)")
        self.assertEqual(shown(Update()), "feiBrokerFib6_ipv6FwdUpdateMsg()")
        self.assertEqual(shown(mesh_fib6.fib6Sync_srv6SrListUpdateMsg(f0=mesh_fib6.fib6Sync_tlv(f1=2))),
                         "fib6Sync_srv6SrListUpdateMsg(/f0=fib6Sync_tlv(/f1=2))")

    def test_ShowInNotebooksTenElementsOfAVectorAndHowManyThereAreMore(self):
        key = mesh_fib6.feiBrokerFib6_nhp6Key
        ten = ", /".join(f"feiBrokerFib6_nhp6Key(/f0={i})" for i in range(1, 11))
        keys = [key(i) for i in range(1, 601)]
        self.assertEqual(shown(mesh_fib6.feiBrokerFib6_nhp6DelMsg(f1=keys[:10])),
                         f"feiBrokerFib6_nhp6DelMsg(/f1=[{ten}])")
        self.assertEqual(shown(mesh_fib6.feiBrokerFib6_nhp6DelMsg(f1=keys)),
                         f"feiBrokerFib6_nhp6DelMsg(/f1=[{ten}, /... 590 more])")
        self.assertEqual(shown(mesh_fib6.fib6_cfg_query_comm_param(f2=bytes(300))),
                         f"fib6_cfg_query_comm_param(/f2={bytes(256)!r}... 44 more)")




if __name__ == "__main__":
    sys.exit(main(Records))
