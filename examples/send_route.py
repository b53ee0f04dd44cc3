#!/usr/bin/env python3
"""send_route.py: sends one route, 2001:db8::/32, to whoever receives as destination 7.

Room: examples. Uses the package mesh_fib6.
"""

import sys

from mesh_fib6 import feiBrokerFib6_ipv6Fwd, feiBrokerFib6_ipv6FwdUpdateMsg, ipv6, send


def main():
    if len(sys.argv) != 1:
        print("usage: send_route.py", file=sys.stderr)
        return 2
    route = feiBrokerFib6_ipv6Fwd(f3=ipv6("2001:db8::"), f4=32)
    result = send(7, feiBrokerFib6_ipv6FwdUpdateMsg(f1=[route]))
    if result != 0:
        print(f"send_route.py: not sent to destination 7: the mesh answers {result}", file=sys.stderr)
    return 0 if result == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
