"""Every message against the bytes of its golden file, by Python.

Room: tests.

usage: golden_test.py SETTINGS_JSON CASE
"""

import concurrent.futures
import ctypes
import sys
import threading
import unittest

from support import GOLDEN, MESH, all_images, images_of, main

import mesh_fib6


class Sent(ctypes.Structure):
    """What recording_mesh.c keeps."""
    _fields_ = [("destination", ctypes.c_uint32), ("id", ctypes.c_uint32), ("count", ctypes.c_uint32),
                ("length", ctypes.c_uint32), ("target", ctypes.c_uint64), ("bytes", ctypes.c_uint8 * 4096)]


class Golden(unittest.TestCase):
    maxDiff = None

    def test_HasAFileForEachMessageWithItsRecordsAndImages(self):
        self.assertEqual(sorted(message.__name__ for message in mesh_fib6.messages.values()),
                         sorted(path.stem for path in GOLDEN.glob("*.txt")))
        for message in mesh_fib6.messages.values():
            names = {image.name for image in images_of(message)}
            self.assertLessEqual({"zero", "full"}, names, message)

    def test_EncodesEveryRecordToItsCompactImage(self):
        for image in all_images():
            if not image.is_fixed:
                with self.subTest(image=image):
                    self.assertEqual(mesh_fib6.encode(image.record).hex(" "), image.data.hex(" "))

    def test_DecodesEveryImageToItsRecord(self):
        for image in all_images():
            with self.subTest(image=image):
                message = type(image.record)
                self.assertEqual(mesh_fib6.decode(message, image.data), image.record)
                self.assertEqual(mesh_fib6.decode(message.ID, image.data), image.record)

    def test_SendsEveryRecordAsItsMessageIsSent(self):
        last = Sent.in_dll(MESH, "mesh_last")
        for message in mesh_fib6.messages.values():
            images = images_of(message)
            is_flat = any(image.is_fixed for image in images)
            for image in images:
                if image.is_fixed == is_flat:
                    with self.subTest(image=image):
                        self.assertEqual(mesh_fib6.send(0xFFFFFFFE, image.record, 1 << 63), 42)
                        self.assertEqual((last.destination, last.id, last.count, last.target),
                                         (0xFFFFFFFE, message.ID, 1, 1 << 63))
                        self.assertEqual(bytes(last.bytes[:last.length]).hex(" "), image.data.hex(" "))

    def test_SendsWithoutATargetUnlessThereIsOne(self):
        last = Sent.in_dll(MESH, "mesh_last")
        last.target = 1
        self.assertEqual(mesh_fib6.send(7, mesh_fib6.feiBrokerFib6_ipv6FwdUpdateMsg()), 42)
        self.assertEqual((last.destination, last.target), (7, 0))

    def test_ServesManyThreadsFromTheirFirstCallsOn(self):
        images = [image for image in all_images() if not image.is_fixed]
        start = threading.Barrier(8)

        def work(_):
            start.wait()
            return [(mesh_fib6.encode(image.record), mesh_fib6.decode(type(image.record), image.data))
                    for _ in range(10) for image in images]

        interval = sys.getswitchinterval()
        self.addCleanup(sys.setswitchinterval, interval)
        sys.setswitchinterval(1e-5)
        with concurrent.futures.ThreadPoolExecutor(8) as pool:
            results = list(pool.map(work, range(8)))
        for result in results:
            self.assertEqual(result, [(image.data, image.record) for image in images] * 10)


if __name__ == "__main__":
    sys.exit(main(Golden))
