"""Messages to bytes and back, by the library.

Room: python. Calls the library; records in memory are _layout.py's affair.
"""

from __future__ import annotations

import ctypes
import functools
from collections.abc import Mapping
from types import MappingProxyType
from typing import Any, TypeVar, overload

from . import _records
from ._layout import Arrays, Layout, Mismatch, Refused, complaint, layout_of, short
from ._library import load
from ._record import Message
from ._refusal import refusal

M = TypeVar("M", bound=Message)

_LARGEST_UINT32 = 0xFFFFFFFF
_LONGEST = 0x7FFFFFFF  # of what can be received
# What a record is filled with before the library reads into it: to see whether it does.
_UNTOUCHED = (0xA5, 0x5A)

_library = load()

messages: Mapping[int, type[Message]] = MappingProxyType(
    {each.ID: each for each in vars(_records).values()
     if isinstance(each, type) and issubclass(each, Message) and each is not Message})
"""The types of all messages by their identifiers."""


class DecodeError(ValueError):
    """The library has refused the bytes, wholly or from some point on."""


class _Operations:
    """The library's functions of one message type. Use _operations_of()."""

    def __init__(self, message: type[Message]) -> None:
        self.message = message
        self.name = message.__name__
        self.layout: Layout = layout_of(message)
        self._pack = self._function("__pack", ctypes.c_uint32,
                                    ctypes.c_char_p, ctypes.c_void_p, ctypes.POINTER(ctypes.c_uint32))
        self._unpack = self._function("__unpack", ctypes.c_uint32,
                                      ctypes.c_char_p, ctypes.c_uint32, ctypes.c_void_p)
        self._release = self._function("_free__unpacked", None, ctypes.c_void_p)
        self._send = self._function("__sendtomsg", ctypes.c_uint32,
                                    ctypes.c_uint32, ctypes.c_char_p, ctypes.c_uint32, ctypes.c_uint64)
        self._storage = ctypes.c_char * self.layout.size
        self._untouched = [self.layout.untouched(byte) for byte in _UNTOUCHED]

    def _function(self, operation: str, result: Any, *arguments: Any) -> Any:
        function = getattr(_library, self.name + operation)
        function.restype, function.argtypes = result, arguments
        return function

    def _memory_of(self, record: Message, arrays: Arrays) -> bytes:
        try:
            return self.layout.pack(record, arrays)
        except Mismatch as mismatch:
            found = complaint(record)
            raise (found or mismatch.__cause__ or mismatch) from None

    def encode(self, record: Message) -> bytes:
        arrays = Arrays()
        memory = self._memory_of(record, arrays)
        most = min(self.layout.most_bytes_of(record), _LARGEST_UINT32)
        buffer = bytearray(most)
        length = ctypes.c_uint32(most)
        if self._pack(memory, ctypes.addressof(ctypes.c_char.from_buffer(buffer)), length) != 0:
            raise ValueError(f"{self.name}: too large, a message has {_LARGEST_UINT32} bytes at most")
        return bytes(memoryview(buffer)[:length.value])

    def decode(self, data: bytes) -> Any:
        if len(data) > _LONGEST:
            raise self._refused(data)
        memory, record = self._unpacked(data, self._untouched[0])
        if record is None or not self.layout.has_elements(memory) and self._is_refused(memory, data):
            raise self._refused(data)
        return record

    def _unpacked(self, data: bytes, untouched: bytes) -> tuple[bytes, Any]:
        """What the library makes of memory that is filled so, and the record in it: None where a vector tells
        that it has been refused."""
        storage = self._storage.from_buffer_copy(untouched)
        try:
            self._unpack(data, len(data), storage)
            memory = storage.raw
            return memory, self.layout.unpack(memory)
        except Refused:
            return memory, None
        finally:
            # Once, and always safe: in what the library has not touched all pointers are null.
            if self.layout.owns_memory:
                self._release(storage)

    def _is_refused(self, memory: bytes, data: bytes) -> bool:
        """Of a record without elements. There may have been none, or none that was reached."""
        first, second = self._untouched
        if memory == first and self._unpacked(data, second)[0] == second:
            return True  # untouched, and not just of these values
        return refusal(self.message, data) is not None

    def _refused(self, data: bytes) -> DecodeError:
        reason = refusal(self.message, data) or "an element of a vector is unsound, or memory ran out"
        return DecodeError(f"{self.name}: {len(data)} bytes that the library refuses: {reason}")

    def send(self, destination: int, record: Message, target: int) -> int:
        arrays = Arrays()
        return int(self._send(destination, self._memory_of(record, arrays), 1, target))


@functools.cache
def _operations_of(message: type[Message]) -> _Operations:
    return _Operations(message)


def _is_message(found: object) -> bool:
    """Whether it is one of the library's types, and not one that is made of them."""
    return isinstance(found, type) and messages.get(getattr(found, "ID", -1)) is found


def _operations_for(record: Message) -> _Operations:
    if not _is_message(type(record)):
        raise TypeError(f"expected a message, found {type(record).__name__} {short(record)}")
    return _operations_of(type(record))


def encode(record: Message) -> bytes:
    """The message's bytes in the compact arrangement, which every receiver reads.

    Raises ValueError or TypeError for a value that its member cannot hold, and names it:
    "f1[3].f4: 300 is not a uint8, 0 to 255".
    """
    return _operations_for(record).encode(record)


@overload
def decode(message: type[M], data: bytes | bytearray | memoryview) -> M: ...
@overload
def decode(message: int, data: bytes | bytearray | memoryview) -> Message: ...


def decode(message: type[Message] | int, data: bytes | bytearray | memoryview) -> Message:
    """The record that these bytes are, of a type or of an identifier, in either arrangement.

    Raises DecodeError when the library refuses them, whatever it had read of them by then; ValueError for
    an identifier that no message has.
    """
    if isinstance(message, int):
        if message not in messages:
            raise ValueError(f"no message has the identifier 0x{message:08X}")
        message = messages[message]
    if not _is_message(message):
        raise TypeError(f"expected a type of message or an identifier, found {short(message)}")
    record: Message = _operations_of(message).decode(bytes(memoryview(data)))
    return record


def send(destination: int, record: Message, target: int = 0) -> int:
    """Hands the message to the mesh of this process: M__sendtomsg, with one record. 0: the mesh has taken
    it; 0xFFFFFFFF: nothing was sent; what else there may be is the mesh's to say.
    """
    for name, value, bits in (("destination", destination, 32), ("target", target, 64)):
        if not 0 <= value < 1 << bits:
            raise ValueError(f"{name}: {value} is not a uint{bits}, 0 to {(1 << bits) - 1}")
    return _operations_for(record).send(destination, record, target)
