"""Records as dataclasses: what kinds of members there are, how a record is shown.

Room: python. Knows no record in particular and nothing of the library.

A member's kind is kept with its dataclass field. All that is done with a record follows from the kinds
of its members: its layout in memory (_layout.py), what its bytes have to be like (_refusal.py), and what
is shown of it.
"""

from __future__ import annotations

import dataclasses
import functools
import ipaddress
import struct
from collections.abc import Iterator
from typing import Any, ClassVar, NamedTuple, TypeVar, Union, dataclass_transform

Words = tuple[int, ...]
R = TypeVar("R", bound="Record")

_KIND = "mesh_fib6"
_ADDRESS = struct.Struct("=4I")  # sixteen bytes as the library sees them, and as they stand
# How much of a vector a notebook shows.
_SHOWN_ELEMENTS = 10
_SHOWN_BYTES = 256


# What members are. On the wire and in memory they are told in docs/wire-format.md and the C headers.

class Scalar(NamedTuple):
    """A number of so many bytes."""
    width: int


class WordArray(NamedTuple):
    """So many 32-bit words, never more or less: a tuple."""
    length: int


class ByteArray(NamedTuple):
    """So many bytes, never more or less."""
    length: int


class Embedded(NamedTuple):
    """A record in the record."""
    type: type[Record]


class Vector(NamedTuple):
    """A list of records of one type."""
    type: type[Record]


class ByteVector(NamedTuple):
    """Bytes, as many as there are."""


Kind = Union[Scalar, WordArray, ByteArray, Embedded, Vector, ByteVector]


# How _records.py says it. A member that nobody sets is zero or empty. These give what stands for the
# default value, whose type is the member's: Any.

def _member(kind: Kind, **default: Any) -> Any:
    return dataclasses.field(metadata={_KIND: kind}, **default)


def u8() -> Any:
    return _member(Scalar(1), default=0)


def u16() -> Any:
    return _member(Scalar(2), default=0)


def u32() -> Any:
    return _member(Scalar(4), default=0)


def words(length: int) -> Any:
    return _member(WordArray(length), default=(0,) * length)


def octets(length: int) -> Any:
    return _member(ByteArray(length), default=bytes(length))


def embedded(of: type[Record]) -> Any:
    return _member(Embedded(of), default_factory=of)


def vector(of: type[Record]) -> Any:
    return _member(Vector(of), default_factory=list)


def byte_vector() -> Any:
    return _member(ByteVector(), default=b"")


@dataclass_transform()
def record(cls: type[R]) -> type[R]:
    """Makes a record of a class that lists members. It has these members and no others: what is misspelt
    is an AttributeError."""
    return dataclasses.dataclass(slots=True, repr=False)(cls)


class Member(NamedTuple):
    name: str
    kind: Kind


@functools.cache
def members_of(record_type: type[Record]) -> tuple[Member, ...]:
    """In the order of the C struct."""
    return tuple(Member(field.name, field.metadata[_KIND]) for field in dataclasses.fields(record_type))


def ipv6(text: str) -> Words:
    """An address as the four words of a record: the sixteen bytes stand in memory in network byte order.

    >>> route = feiBrokerFib6_ipv6Fwd(f3=ipv6("2001:db8::"), f4=32)
    """
    address = ipaddress.IPv6Address(text)
    if address.scope_id is not None:
        raise ValueError(f"{text!r}: sixteen bytes have no room for the zone %{address.scope_id}")
    return _ADDRESS.unpack(address.packed)


def ipv6_text(words: Words) -> str:
    """The address that four words are: what ipv6() takes."""
    return str(ipaddress.IPv6Address(_ADDRESS.pack(*words)))


def _is_address(kind: Kind, value: object) -> bool:
    return (isinstance(kind, WordArray) and kind.length == 4 and type(value) is tuple and len(value) == 4
            and all(type(word) is int and 0 <= word <= 0xFFFFFFFF for word in value))


def _value_text(kind: Kind, value: Any) -> str:
    return f"ipv6({ipv6_text(value)!r})" if _is_address(kind, value) else repr(value)


@record
class Record:
    """What all records have."""

    def __repr__(self) -> str:
        """All of it, whatever its length: with the names of this package, eval() makes an equal one."""
        shown = [f"{name}={_value_text(kind, getattr(self, name))}" for name, kind in members_of(type(self))]
        return f"{type(self).__name__}({', '.join(shown)})"

    def _repr_pretty_(self, printer: Any, cycle: bool) -> None:
        """What IPython and notebooks show: the members that are not zero, long vectors cut short."""
        name = type(self).__name__
        if cycle:
            printer.text(f"{name}(...)")
            return
        with printer.group(4, f"{name}(", ")"):
            for i, (member, value) in enumerate(self._telling()):
                if i:
                    printer.text(",")
                    printer.breakable()
                else:
                    printer.breakable("")
                printer.text(f"{member.name}=")
                _show(printer, member.kind, value)

    def _telling(self) -> Iterator[tuple[Member, Any]]:
        """The members that are not as in a record of zeros."""
        zero = type(self)()
        for member in members_of(type(self)):
            value = getattr(self, member.name)
            if value != getattr(zero, member.name):
                yield member, value


@record
class Message(Record):
    """A record that is sent by itself."""

    ID: ClassVar[int]  # what the mesh knows it by


def _show(printer: Any, kind: Kind, value: Any) -> None:
    if isinstance(kind, Vector) and isinstance(value, (list, tuple)):
        with printer.group(1, "[", "]"):
            for i, element in enumerate(value[:_SHOWN_ELEMENTS]):
                if i:
                    printer.text(",")
                    printer.breakable()
                printer.pretty(element)
            if len(value) > _SHOWN_ELEMENTS:
                printer.text(",")
                printer.breakable()
                printer.text(f"... {len(value) - _SHOWN_ELEMENTS} more")
    elif isinstance(kind, ByteVector) and isinstance(value, bytes) and len(value) > _SHOWN_BYTES:
        printer.text(f"{value[:_SHOWN_BYTES]!r}... {len(value) - _SHOWN_BYTES} more")
    elif isinstance(kind, Embedded):
        printer.pretty(value)
    else:
        printer.text(_value_text(kind, value))
