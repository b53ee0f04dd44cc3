"""The messages of libmesh_fib6 for scripts and notebooks: records, their bytes and back.

    import mesh_fib6
    route = mesh_fib6.feiBrokerFib6_ipv6Fwd(f3=mesh_fib6.ipv6("2001:db8::"), f4=32)
    data = mesh_fib6.encode(mesh_fib6.feiBrokerFib6_ipv6FwdUpdateMsg(f1=[route]))
    update = mesh_fib6.decode(mesh_fib6.feiBrokerFib6_ipv6FwdUpdateMsg, data)

Each record of the C headers is a dataclass of its name with members f0, f1, ...: integers, tuples of words,
bytes, records, and lists of records, which have no count of their own. README.md tells the rest.

Room: python. The package needs the installed library and Python's standard library.
"""

from . import _records, _version
from ._codec import DecodeError, decode, encode, messages, send
from ._record import Message, Record, ipv6, ipv6_text

__version__ = _version.find()
globals().update({name: getattr(_records, name) for name in _records.__all__})  # __init__.pyi names them
__all__ = ["DecodeError", "Message", "Record", "decode", "encode", "ipv6", "ipv6_text", "messages", "send",
           *_records.__all__]
