"""What the library has not read of a message, where its record does not tell.

Room: python. Knows kinds of members and docs/wire-format.md; the library is not asked anything.

The library stops at the first member that does not lie within the message, and says so nowhere but in
the record's vectors. Where there are none, or none had begun, this goes the way that the library went:
tables, vtables and fields, each bound as in wire/general/reader.cpp. It reads no value and no element: a
vector that has some has told.
"""

from __future__ import annotations

from ._record import ByteArray, ByteVector, Embedded, Kind, Record, Scalar, WordArray, members_of

_OFFSET = 4  # bytes of a word that leads somewhere, and of a count
_VTABLE_HEAD = 4
_LONGEST = 0x7FFFFFFF


class _Stop(Exception):
    """What lies outside."""


def refusal(record_type: type[Record], data: bytes) -> str | None:
    """Where the library stops; None when it reads everything."""
    if not _OFFSET <= len(data) <= _LONGEST:
        return f"a message has 4 to {_LONGEST} bytes"
    try:
        _Message(data).check_table(record_type, _number(data, 0, 4), "")
    except _Stop as stop:
        return str(stop)
    return None


def _number(data: bytes, at: int, width: int) -> int:
    return int.from_bytes(data[at:at + width], "little")


class _Message:
    def __init__(self, data: bytes) -> None:
        self._data = data

    def _hold(self, at: int, count: int, what: str) -> None:
        if at + count > len(self._data):
            raise _Stop(f"{what} lies outside")

    def _word(self, at: int, what: str) -> int:
        self._hold(at, _OFFSET, what)
        return _number(self._data, at, _OFFSET)

    def check_table(self, record_type: type[Record], at: int, path: str) -> None:
        what = path or "the root"
        if at < _OFFSET:
            raise _Stop(f"{what} lies in front of the tables")
        vtable = (at - self._word(at, what)) & 0xFFFFFFFF
        if vtable < _OFFSET:
            raise _Stop(f"the vtable of {what} lies in front of the tables")
        self._hold(vtable, _VTABLE_HEAD, f"the vtable of {what}")
        size = _number(self._data, vtable, 2)
        self._hold(vtable, size, f"the vtable of {what}")
        # A longer one is of a newer peer, a shorter one of an older one.
        entries = range(vtable + _VTABLE_HEAD, vtable + size - 1, 2)
        for (name, kind), entry in zip(members_of(record_type), entries):
            position = _number(self._data, entry, 2)
            if position:
                self._check_field(kind, at + position, f"{path}.{name}" if path else name)

    def _check_field(self, kind: Kind, at: int, path: str) -> None:
        if isinstance(kind, Scalar):
            self._hold(at, kind.width, path)
            return
        target = at + self._word(at, path)
        if isinstance(kind, Embedded):
            self.check_table(kind.type, target, path)
            return
        count = self._word(target, path)
        if isinstance(kind, (WordArray, ByteArray)) and count != kind.length:
            raise _Stop(f"{path} has {count} items, expected {kind.length}")
        width = 1 if isinstance(kind, (ByteArray, ByteVector)) else 4  # of words, and of offset words
        self._hold(target + _OFFSET, width * count, path)
