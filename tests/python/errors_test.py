"""What is said to a caller who gives what cannot be taken.

Room: tests.

usage: errors_test.py SETTINGS_JSON CASE
"""

import sys
import unittest

from support import main

import mesh_fib6
from mesh_fib6 import feiBrokerFib6_ipv6Fwd as Route
from mesh_fib6 import feiBrokerFib6_ipv6FwdKey as Key
from mesh_fib6 import feiBrokerFib6_ipv6FwdUpdateMsg as Update


class Errors(unittest.TestCase):
    maxDiff = None

    def check(self, error, text, call, *arguments):
        with self.assertRaises(error) as raised:
            call(*arguments)
        self.assertIs(type(raised.exception), error)
        self.assertEqual(str(raised.exception), text)

    def check_encode(self, error, text, record):
        self.check(error, text, mesh_fib6.encode, record)
        self.check(error, text, mesh_fib6.send, 7, record)

    def test_NameTheElementAndMemberWhoseNumberDoesNotFit(self):
        routes = [Route() for _ in range(5)]
        routes[3].f4 = 300
        self.check_encode(ValueError, "f1[3].f4: 300 is not a uint8, 0 to 255", Update(f1=routes))
        routes[3] = Route(f6=-1)
        self.check_encode(ValueError, "f1[3].f6: -1 is not a uint16, 0 to 65535", Update(f1=routes))
        self.check_encode(ValueError, "f0: 4294967296 is not a uint32, 0 to 4294967295", Update(f0=1 << 32))
        self.check_encode(ValueError, f"f0: {1 << 70} is not a uint32, 0 to 4294967295", Update(f0=1 << 70))

    def test_TakeTheLargestAndTheSmallestNumbers(self):
        route = Route(f0=0xFFFFFFFF, f3=(0xFFFFFFFF,) * 4, f4=0xFF, f6=0xFFFF)
        update = Update(f0=0xFFFFFFFF, f1=[route])
        self.assertEqual(mesh_fib6.decode(Update, mesh_fib6.encode(update)), update)

    def test_NameTheWordThatDoesNotFit(self):
        self.check_encode(ValueError, "f1[0].f3[2]: 4294967296 is not a uint32, 0 to 4294967295",
                          Update(f1=[Route(f3=(0, 0, 1 << 32, 0))]))
        self.check_encode(TypeError, "f1[0].f3[0]: expected a uint32, found float 1.5",
                          Update(f1=[Route(f3=(1.5, 0, 0, 0))]))

    def test_NameTheMemberInAnEmbeddedRecord(self):
        message = mesh_fib6.fib6Sync_srv6SrListUpdateMsg()
        message.f1.f3 = 65536
        self.check_encode(ValueError, "f1.f3: 65536 is not a uint16, 0 to 65535", message)
        message.f1 = None
        self.check_encode(TypeError, "f1: expected a fib6Sync_srv6SrList, found NoneType None", message)

    def test_TakeArraysOfTheirOwnLengthOnly(self):
        delete = mesh_fib6.feiBrokerFib6_ipv6FwdDelMsg
        self.check_encode(ValueError, "f1[0].f2: 3 words, expected 4", delete(f1=[Key(f2=(1, 2, 3))]))
        self.check_encode(ValueError, "f1[0].f2: 5 words, expected 4", delete(f1=[Key(f2=(1, 2, 3, 4, 5))]))
        self.check_encode(ValueError, "f1[0].f4: 2 bytes, expected 3", delete(f1=[Key(f4=b"ab")]))
        self.check_encode(ValueError, "f1[0].f4: 4 bytes, expected 3", delete(f1=[Key(f4=b"abcd")]))

    def test_AreNotEvadedByArraysWhoseLengthsMakeUpForEachOther(self):
        segments = mesh_fib6.feiBrokerFib6_srv6SrListUpdateMsg(f1=[mesh_fib6.feiBrokerFib6_srv6SrList(
            f4=(1, 2, 3), f5=(1, 2, 3, 4, 5))])
        self.check_encode(ValueError, "f1[0].f4: 3 words, expected 4", segments)

    def test_NameValuesOfAnotherType(self):
        self.check_encode(TypeError, "f0: expected a uint32, found str '1'", Update(f0="1"))
        self.check_encode(TypeError, "f1: expected a list of feiBrokerFib6_ipv6Fwd, found NoneType None",
                          Update(f1=None))
        self.check_encode(TypeError, "f1[1]: expected a feiBrokerFib6_ipv6Fwd, found int 5",
                          Update(f1=[Route(), 5]))
        self.check_encode(TypeError, "f1[0].f3: expected a tuple of 4 words, found str '2001:db8::'",
                          Update(f1=[Route(f3="2001:db8::")]))
        query = mesh_fib6.fib6_cfg_query_fib6_key()
        query.f0.f2 = "name"
        self.check_encode(TypeError, "f0.f2: expected bytes, found str 'name'", query)

    def test_NameARecordOfAnotherTypeThoughItsMembersAreCalledAlike(self):
        self.check_encode(TypeError, "f1[0]: expected a feiBrokerFib6_nhp6Key, found feiBrokerFib6_nhp6Group "
                          "feiBrokerFib6_nhp6Group(f0=0, f1=0, f2=0, f3=0, f4=0)",
                          mesh_fib6.feiBrokerFib6_nhp6DelMsg(f1=[mesh_fib6.feiBrokerFib6_nhp6Group()]))

    def test_LeaveOutTheEndOfALongValue(self):
        self.check_encode(TypeError, "f0: expected a uint32, found str '" + 59 * "x" + "...",
                          Update(f0=100 * "x"))

    def test_SayThatOnlyMessagesHaveBytes(self):
        key = mesh_fib6.feiBrokerFib6_nhp6Key(7)
        self.check_encode(TypeError, "expected a message, found feiBrokerFib6_nhp6Key "
                          "feiBrokerFib6_nhp6Key(f0=7)", key)
        self.check_encode(TypeError, "expected a message, found NoneType None", None)
        self.check_encode(TypeError, "expected a message, found type <class 'mesh_fib6._record.Message'>",
                          mesh_fib6.Message)
        self.check_encode(TypeError, "expected a message, found Message Message()", mesh_fib6.Message())

    def test_SayThatATypeMadeOfAMessageIsNone(self):
        class Own(Update):
            pass
        self.check_encode(TypeError, "expected a message, found Own Own(f0=0, f1=[])", Own())
        with self.assertRaises(TypeError):
            mesh_fib6.decode(Own, b"")

    def test_SayWhichTypesAndIdentifiersThereAreToDecode(self):
        self.check(TypeError, "expected a type of message or an identifier, found "
                   "<class 'mesh_fib6._records.feiBrokerFib6_ipv6Fwd'>", mesh_fib6.decode, Route, b"")
        self.check(TypeError, "expected a type of message or an identifier, found "
                   "<class 'mesh_fib6._record.Message'>", mesh_fib6.decode, mesh_fib6.Message, b"")
        self.check(TypeError, "expected a type of message or an identifier, found b'" + 58 * "x" + "...",
                   mesh_fib6.decode, 100 * b"x", Update)
        self.check(ValueError, "no message has the identifier 0x0000BEEF", mesh_fib6.decode, 0xBEEF, b"")

    def test_SayThatBytesAreExpected(self):
        for data in (None, 88, "bytes", [1, 2]):
            with self.assertRaises(TypeError):
                mesh_fib6.decode(Update, data)

    def test_TakeBytesOfAnyKind(self):
        data = mesh_fib6.encode(Update(f0=7))
        for kind in (bytes, bytearray, memoryview):
            self.assertEqual(mesh_fib6.decode(Update, kind(data)), Update(f0=7))

    def test_SayThatADestinationOrTargetDoesNotFit(self):
        self.check(ValueError, "destination: 4294967296 is not a uint32, 0 to 4294967295",
                   mesh_fib6.send, 1 << 32, Update())
        self.check(ValueError, "destination: -1 is not a uint32, 0 to 4294967295",
                   mesh_fib6.send, -1, Update())
        self.check(ValueError, "target: -1 is not a uint64, 0 to 18446744073709551615",
                   mesh_fib6.send, 7, Update(), -1)

    def test_SayThatAnAddressIsNone(self):
        with self.assertRaises(ValueError):
            mesh_fib6.ipv6("10.0.0.1")
        with self.assertRaises(ValueError):
            mesh_fib6.ipv6("2001:db8::/32")
        self.check(ValueError, "'fe80::1%eth0': sixteen bytes have no room for the zone %eth0",
                   mesh_fib6.ipv6, "fe80::1%eth0")
        self.assertEqual(mesh_fib6.ipv6_text(mesh_fib6.ipv6("fe80::1")), "fe80::1")


if __name__ == "__main__":
    sys.exit(main(Errors))
