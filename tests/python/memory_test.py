"""What decoding in Python takes is given back, once.

Room: tests. The development host's OSAL keeps the books.

usage: memory_test.py SETTINGS_JSON CASE
"""

import contextlib
import ctypes
import gc
import os
import pathlib
import random
import resource
import struct
import sys
import unittest
from unittest import mock

from support import OSAL, Accounts, all_images, images_of, main

import mesh_fib6
from mesh_fib6 import DecodeError
from mesh_fib6._layout import Layout

ROUNDS = 20000


def accounts():
    now = Accounts()
    OSAL.osal_host_get_accounts(ctypes.byref(now))
    return now


def resident_bytes():
    pages = pathlib.Path("/proc/self/statm").read_text(encoding="ascii").split()[1]
    return int(pages) * os.sysconf("SC_PAGE_SIZE")


class Memory(unittest.TestCase):

    def setUp(self):
        OSAL.osal_host_hold_log(1)  # of what is refused

    def check_given_back(self, least):
        now = accounts()
        self.assertGreaterEqual(now.allocations, least)
        self.assertEqual((now.live_blocks, now.wrong_releases), (0, 0))
        self.assertEqual(now.releases, now.allocations)

    def test_OfADecodedMessageIsGivenBackOnce(self):
        for image in all_images():
            mesh_fib6.decode(type(image.record), image.data)
        self.check_given_back(50)

    def test_OfARefusedMessageIsGivenBackOnce(self):
        chance = random.Random(5)
        for image in all_images():
            for _ in range(40):
                data = bytearray(image.data)
                data[chance.randrange(len(data))] ^= 1 << chance.randrange(8)
                with contextlib.suppress(DecodeError):
                    mesh_fib6.decode(type(image.record), data[:chance.randrange(len(data) + 1)])
        self.check_given_back(500)

    def test_IsGivenBackWhenPythonHasNoneForTheRecord(self):
        image = images_of(mesh_fib6.feiBrokerFib6_nhp6UpdateMsg)[-1]
        for error in (MemoryError, KeyboardInterrupt):
            with mock.patch.object(Layout, "unpack", side_effect=error), self.assertRaises(error):
                mesh_fib6.decode(type(image.record), image.data)
        self.check_given_back(2)

    def test_OfARecordIsItsOwn(self):
        image = images_of(mesh_fib6.feiBrokerFib6_nhp6UpdateMsg)[-1]
        record = mesh_fib6.decode(type(image.record), image.data)
        for _ in range(100):  # what is given back is used again
            with self.assertRaises(DecodeError):
                mesh_fib6.decode(type(image.record), image.data[:-1])
            mesh_fib6.encode(image.record)
        self.assertEqual(record, image.record)

    def check_does_not_grow(self, rounds, step):
        for i in range(rounds // 10):
            step(i)
        gc.collect()
        before = resident_bytes()
        for i in range(rounds):
            step(i)
        gc.collect()
        self.assertLess(resident_bytes() - before, 1 << 20)

    def test_DoesNotGrowWithMessagesThatAreDecodedAndEncoded(self):
        images = [image for image in all_images() if image.name == "full"]

        def step(i):
            image = images[i % len(images)]
            mesh_fib6.encode(mesh_fib6.decode(type(image.record), image.data))
        self.check_does_not_grow(ROUNDS, step)

    def test_DoesNotGrowWithMessagesThatAreRefused(self):
        images = [image for image in all_images() if not image.is_fixed]

        def step(i):
            image = images[i % len(images)]
            with self.assertRaises(DecodeError):
                mesh_fib6.decode(type(image.record), image.data[:i % len(image.data)])
        self.check_does_not_grow(ROUNDS, step)

    def test_DoesNotGrowWithRecordsThatAreNotTaken(self):
        routes = [mesh_fib6.feiBrokerFib6_ipv6Fwd() for _ in range(20)]
        routes[-1].f4 = 256
        record = mesh_fib6.feiBrokerFib6_ipv6FwdUpdateMsg(f1=routes)

        def step(_):
            with self.assertRaises(ValueError):
                mesh_fib6.encode(record)
        self.check_does_not_grow(ROUNDS // 10, step)

    def test_DoesNotGrowWithVectorsOfManyLengths(self):
        key = mesh_fib6.feiBrokerFib6_nhp6Key()
        message = mesh_fib6.feiBrokerFib6_nhp6DelMsg

        def step(i):
            mesh_fib6.decode(message, mesh_fib6.encode(message(f1=[key] * (i % 500))))
        self.check_does_not_grow(ROUNDS // 10, step)

    def test_ThatCannotBeHadIsARefusal(self):
        # A million times four offset words to one and the same element: 16 MB that become 224 MB.
        count = 1 << 22
        head = bytes.fromhex("0c000000 08000800 00000400 08000000 04000000") + count.to_bytes(4, "little")
        element = bytes.fromhex("04000400 04000000")  # a vtable without slots, the table
        end = 4 * count + 4  # of the first word to the table
        words = struct.pack(f"<{count}I", *range(end, end - 4 * count, -4))
        message, data = mesh_fib6.feiBrokerFib6_ipv6FwdUpdateMsg, head + words + element
        pages = pathlib.Path("/proc/self/statm").read_text(encoding="ascii").split()[0]
        limit = int(pages) * os.sysconf("SC_PAGE_SIZE") + (160 << 20)
        resource.setrlimit(resource.RLIMIT_AS, (limit, resource.RLIM_INFINITY))
        with self.assertRaises(DecodeError) as raised:
            mesh_fib6.decode(message, data)
        self.assertIn("an element of a vector is unsound, or memory ran out", str(raised.exception))
        self.assertEqual(accounts().failed_allocations, 1)
        self.check_given_back(0)


if __name__ == "__main__":
    sys.exit(main(Memory))
