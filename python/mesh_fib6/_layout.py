"""Records in memory, as the library takes and gives them: the C structs of its headers.

Room: python. Knows kinds of members and C's layout; the library is not asked anything.

The struct module lays members out as the C compiler does. A record is packed from a flat row of values
and built from one: its scalars, the words of its arrays, its embedded records' values, and of a vector
its count and its address.
"""

from __future__ import annotations

import ctypes
import functools
import struct
from collections.abc import Sequence
from typing import Any, NamedTuple

from ._record import (ByteArray, ByteVector, Embedded, Kind, Record, Scalar, Vector, WordArray,
                      members_of)

_CODES = {1: "B", 2: "H", 4: "I"}
_NULL = 0
# A vtable's entry, an offset word and a count: what a member costs at most beside its own bytes.
_MOST_OVERHEAD = 2 + 4 + 4
_MOST_TABLE_OVERHEAD = 4 + 4  # a vtable's head, a table's first word
_LARGEST_COUNT = 0xFFFFFFFF
_LARGEST_INT = 0x7FFFFFFF


class Mismatch(Exception):
    """A value that its member cannot hold. Which one, complaint() finds out."""


class Refused(Exception):
    """A vector that has a count and no pointer: the library has read no further."""


class Arrays:
    """The memory behind a record's vectors; it stays where it is for as long as this object lives."""

    def __init__(self) -> None:
        self._anchors: list[Any] = []

    def add(self, content: bytearray) -> int:
        """Its address."""
        anchor = ctypes.c_char.from_buffer(content)
        self._anchors.append(anchor)
        return ctypes.addressof(anchor)


class _Part(NamedTuple):
    """A member that is not one value in the row: which, and what it is."""
    member: int  # among the members
    kind: Kind


class Layout:
    """A record type in memory. Use layout_of()."""

    def __init__(self, record_type: type[Record]) -> None:
        self.type = record_type
        self._names = [name for name, _ in members_of(record_type)]
        self._places: list[int | slice] = []  # of each member in the row
        self._parts: list[_Part] = []
        self._alignment = 1
        self.most_bytes = _MOST_TABLE_OVERHEAD  # in the compact arrangement, vectors empty
        formats, at = [], 0
        for index, (_, kind) in enumerate(members_of(record_type)):
            text, values, alignment, size = self._describe(kind)
            formats.append(text)
            self._alignment = max(self._alignment, alignment)
            self.most_bytes += _MOST_OVERHEAD + size
            self._places.append(at if isinstance(kind, (Scalar, ByteArray)) else slice(at, at + values))
            if not isinstance(kind, Scalar):
                self._parts.append(_Part(index, kind))
            at += values
        # Those that are built from more than what stands in the row.
        self._linked = [part for part in self._parts
                        if isinstance(part.kind, (Embedded, Vector, ByteVector))]
        self._format = "".join(formats)
        self._values = at
        self._struct = struct.Struct("@" + self._aligned())
        self.size = self._struct.size
        self.owns_memory: bool = any(
            isinstance(kind, (Vector, ByteVector))
            or isinstance(kind, Embedded) and layout_of(kind.type).owns_memory
            for _, kind in members_of(record_type))

    def _aligned(self) -> str:
        """The format, with the gaps that C leaves in front of a struct and at its end."""
        align = {1: "0B", 2: "0H", 4: "0I", 8: "0P"}[self._alignment]
        return align + self._format + align

    def _describe(self, kind: Kind) -> tuple[str, int, int, int]:
        """The format of a member, how many values it has in the row, what it is aligned to, and its bytes in
        the compact arrangement when a vector is empty."""
        if isinstance(kind, Scalar):
            return _CODES[kind.width], 1, kind.width, kind.width
        if isinstance(kind, WordArray):
            return f"{kind.length}I", kind.length, 4, 4 * kind.length
        if isinstance(kind, ByteArray):
            return f"{kind.length}s", 1, 1, kind.length  # the struct module gives them as one value
        if isinstance(kind, Embedded):
            inner = layout_of(kind.type)
            return inner._aligned(), inner._values, inner._alignment, inner.most_bytes
        return "IP", 2, struct.calcsize("P"), 0

    # To memory.

    def pack(self, record: Record, arrays: Arrays) -> bytes:
        """The record's own bytes; what its vectors hold goes to `arrays`. Raises Mismatch."""
        try:
            return self._struct.pack(*self._row(record, arrays))
        except (struct.error, OverflowError, TypeError, AttributeError) as error:
            raise Mismatch from error

    def _row(self, record: Record, arrays: Arrays) -> list[Any]:
        if not isinstance(record, self.type):
            raise Mismatch
        row: list[Any] = [getattr(record, name) for name in self._names]
        # From the last one on: the places before it are still right.
        for part in reversed(self._parts):
            row[part.member:part.member + 1] = _values_of(part.kind, row[part.member], arrays)
        return row

    def most_bytes_of(self, record: Record) -> int:
        """What the record takes at most in the compact arrangement. It has been packed before."""
        most = self.most_bytes
        for part in self._linked:
            value = getattr(record, self._names[part.member])
            if isinstance(part.kind, Vector):
                most += len(value) * (4 + layout_of(part.kind.type).most_bytes)
            elif isinstance(part.kind, ByteVector):
                most += len(value)
            elif isinstance(part.kind, Embedded):
                inner = layout_of(part.kind.type)
                most += inner.most_bytes_of(value) - inner.most_bytes
        return most

    # From memory.

    def unpack(self, memory: bytes) -> Record:
        """The record in this memory, its vectors copied from where they point to. Raises Refused."""
        return self._build(self._struct.unpack(memory))

    def _build(self, row: Sequence[Any]) -> Record:
        values = [row[place] for place in self._places]
        for part in self._linked:
            if isinstance(part.kind, Embedded):
                values[part.member] = layout_of(part.kind.type)._build(values[part.member])
            elif isinstance(part.kind, Vector):
                values[part.member] = _elements(layout_of(part.kind.type), *values[part.member])
            elif isinstance(part.kind, ByteVector):
                values[part.member] = _memory(1, *values[part.member])
        return self.type(*values)

    def has_elements(self, memory: bytes) -> bool:
        """Whether one of the record's vectors has a pointer."""
        return self._has_elements(self._struct.unpack(memory))

    def _has_elements(self, row: Sequence[Any]) -> bool:
        for part in self._linked:
            values = row[self._places[part.member]]
            if isinstance(part.kind, Embedded):
                if layout_of(part.kind.type)._has_elements(values):
                    return True
            elif values[1] != _NULL:
                return True
        return False

    def untouched(self, byte: int) -> bytes:
        """Memory for a record that is not one yet: every value of these bytes, all pointers null."""
        return self._struct.pack(*self._untouched_row(byte))

    def _untouched_row(self, byte: int) -> list[Any]:
        row: list[Any] = []
        for _, kind in members_of(self.type):
            if isinstance(kind, Scalar):
                row.append(int.from_bytes(bytes([byte] * kind.width), "little"))
            elif isinstance(kind, WordArray):
                row += [byte * 0x01010101] * kind.length
            elif isinstance(kind, ByteArray):
                row.append(bytes([byte] * kind.length))
            elif isinstance(kind, Embedded):
                row += layout_of(kind.type)._untouched_row(byte)
            else:
                row += [byte * 0x01010101, _NULL]
        return row


@functools.cache
def layout_of(record_type: type[Record]) -> Layout:
    return Layout(record_type)


def _values_of(kind: Kind, value: Any, arrays: Arrays) -> Sequence[Any]:
    """What a member is in the row."""
    if isinstance(kind, WordArray):
        if not isinstance(value, (tuple, list)) or len(value) != kind.length:
            raise Mismatch
        return value
    if isinstance(kind, ByteArray):
        if not isinstance(value, (bytes, bytearray)) or len(value) != kind.length:
            raise Mismatch
        return (value,)
    if isinstance(kind, Embedded):
        return layout_of(kind.type)._row(value, arrays)
    if isinstance(kind, Vector):
        if not isinstance(value, (list, tuple)):
            raise Mismatch
        layout = layout_of(kind.type)
        content = bytearray().join([layout.pack(element, arrays) for element in value])
        count = len(content) // layout.size
    else:
        if not isinstance(value, (bytes, bytearray)):
            raise Mismatch
        content = bytearray(value)
        count = len(content)
    return (count, arrays.add(content)) if count else (0, _NULL)


def _memory(width: int, count: int, address: int) -> bytes:
    """The array behind a pointer."""
    if address == _NULL:
        if count:
            raise Refused
        return b""
    size = width * count
    if size > _LARGEST_INT:
        return (ctypes.c_char * size).from_address(address).raw
    return ctypes.string_at(address, size)  # quicker, and takes an int


def _elements(layout: Layout, count: int, address: int) -> list[Record]:
    memory = _memory(layout.size, count, address)
    return [layout._build(row) for row in layout._struct.iter_unpack(memory)]


# What is wrong with a record that pack() does not take.

def complaint(record: Record, path: str = "") -> Exception | None:
    """Names the first value that does not fit, and what would."""
    for name, kind in members_of(type(record)):
        here = f"{path}.{name}" if path else name
        found = _complaint(here, kind, getattr(record, name))
        if found is not None:
            return found
    return None


def _complaint(path: str, kind: Kind, value: Any) -> Exception | None:
    if isinstance(kind, Scalar):
        return _number_complaint(path, 8 * kind.width, value)
    if isinstance(kind, WordArray):
        if not isinstance(value, (tuple, list)):
            return _wrong_type(path, f"a tuple of {kind.length} words", value)
        if len(value) != kind.length:
            return ValueError(f"{path}: {len(value)} words, expected {kind.length}")
        words = (_number_complaint(f"{path}[{i}]", 32, word) for i, word in enumerate(value))
        return next(filter(None, words), None)
    if isinstance(kind, (ByteArray, ByteVector)):
        if not isinstance(value, (bytes, bytearray)):
            return _wrong_type(path, "bytes", value)
        if isinstance(kind, ByteArray) and len(value) != kind.length:
            return ValueError(f"{path}: {len(value)} bytes, expected {kind.length}")
        return _count_complaint(path, value)
    if isinstance(kind, Embedded):
        return _record_complaint(path, kind.type, value)
    if not isinstance(value, (list, tuple)):
        return _wrong_type(path, f"a list of {kind.type.__name__}", value)
    elements = (_record_complaint(f"{path}[{i}]", kind.type, element) for i, element in enumerate(value))
    return next(filter(None, elements), None) or _count_complaint(path, value)


def _number_complaint(path: str, bits: int, value: Any) -> Exception | None:
    if not hasattr(value, "__index__"):
        return _wrong_type(path, f"a uint{bits}", value)
    most = (1 << bits) - 1
    if not 0 <= value.__index__() <= most:
        return ValueError(f"{path}: {value} is not a uint{bits}, 0 to {most}")
    return None


def _record_complaint(path: str, expected: type[Record], value: Any) -> Exception | None:
    if not isinstance(value, expected):
        return _wrong_type(path, f"a {expected.__name__}", value)
    return complaint(value, path)


def _count_complaint(path: str, value: Sequence[Any]) -> Exception | None:
    if len(value) > _LARGEST_COUNT:
        return ValueError(f"{path}: {len(value)} elements, expected {_LARGEST_COUNT} at most")
    return None


def _wrong_type(path: str, expected: str, value: Any) -> Exception:
    return TypeError(f"{path}: expected {expected}, found {type(value).__name__} {short(value)}")


def short(value: Any, most: int = 60) -> str:
    text = repr(value)
    return text if len(text) <= most else text[:most] + "..."
