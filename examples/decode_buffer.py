#!/usr/bin/env python3
"""decode_buffer.py: reads one encoded route update from a file or standard input, prints its routes.

Room: examples. Uses the package mesh_fib6.
"""

import pathlib
import sys

from mesh_fib6 import DecodeError, decode, feiBrokerFib6_ipv6FwdUpdateMsg, ipv6_text


def main():
    name = sys.argv[1] if len(sys.argv) == 2 else "-"
    if len(sys.argv) > 2 or (name.startswith("-") and name != "-"):
        print("usage: decode_buffer.py [FILE]", file=sys.stderr)
        return 2
    try:
        data = sys.stdin.buffer.read() if name == "-" else pathlib.Path(name).read_bytes()
        update = decode(feiBrokerFib6_ipv6FwdUpdateMsg, data)
    except (DecodeError, OSError) as error:  # bytes of any origin end here, not in a crash
        print(f"decode_buffer.py: {name}: {error}", file=sys.stderr)
        return 1
    for route in update.f1:
        if route.f4 > 128:  # values are the peer's as well
            print(f"decode_buffer.py: {name}: a route with the prefix length {route.f4}", file=sys.stderr)
            return 1
        print(f"{ipv6_text(route.f3)}/{route.f4}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
