"""Announces IPv6 VPN routes with SRv6 segments by BGP, to one neighbour.

Room: tests. BIRD knows no segments in BGP, and FRR gives them to routes of VRFs, which a kernel may lack.
usage: announce_srv6.py OWN_ADDRESS NEIGHBOUR OWN_AS ROUTES
  ROUTES  a line each: PREFIX SEGMENT. Read again on SIGHUP; what is not there any more is withdrawn.
The next hop is OWN_ADDRESS, route distinguisher and route target are OWN_AS:1. Connects until it is
ended, and says why a session has ended.
"""
import ipaddress
import select
import signal
import socket
import struct
import sys
import time

OPEN, UPDATE, NOTIFICATION, KEEPALIVE = 1, 2, 3, 4
IPV6, VPN = 2, 128  # address family, and the one below it
HOLD_SECONDS = 180
OPTIONAL, TRANSITIVE, LONG = 0x80, 0x40, 0x10
WITHDRAWN_LABEL = 0x800000


class Ended(Exception):
    """Why a session has ended."""


def message(kind, body):
    return b"\xff" * 16 + struct.pack("!HB", 19 + len(body), kind) + body


def opening(own_as):
    families = struct.pack("!BBHBB", 1, 4, IPV6, 0, VPN)
    wide_numbers = struct.pack("!BBI", 65, 4, own_as)
    capabilities = families + wide_numbers
    optional = struct.pack("!BB", 2, len(capabilities)) + capabilities
    identity = socket.inet_aton("10.0.0.3")
    return message(OPEN, struct.pack("!BHH4sB", 4, own_as, HOLD_SECONDS, identity, len(optional)) +
                   optional)


def distinguisher(own_as):
    return struct.pack("!HHI", 0, own_as, 1)


def reach(prefix, label, own_as):
    """A prefix with its label and route distinguisher, as MP_REACH and MP_UNREACH carry it."""
    network = ipaddress.IPv6Network(prefix)
    length = network.prefixlen
    address = network.network_address.packed[:(length + 7) // 8]
    return (struct.pack("!B", 24 + 64 + length) + struct.pack("!I", label)[1:] +
            distinguisher(own_as) + address)


def attribute(flags, kind, value):
    return struct.pack("!BBH", flags | LONG, kind, len(value)) + value


def update(attributes):
    body = b"".join(attributes)
    return message(UPDATE, struct.pack("!HH", 0, len(body)) + body)


def announcement(prefix, segment, own_address, own_as):
    # SRv6 L3 Service, in it one SID with End.DT6 and its structure: nothing of it is in the label.
    structure = struct.pack("!BHBBBBBB", 1, 6, 40, 24, 16, 0, 0, 0)
    sid = struct.pack("!B16sBHB", 0, ipaddress.IPv6Address(segment).packed, 0, 18, 0) + structure
    service = b"\0" + struct.pack("!BH", 1, len(sid)) + sid
    next_hop = bytes(8) + ipaddress.IPv6Address(own_address).packed
    return update([
        attribute(OPTIONAL, 14, struct.pack("!HBB", IPV6, VPN, len(next_hop)) + next_hop + b"\0" +
                  reach(prefix, 0x31, own_as)),
        attribute(TRANSITIVE, 1, b"\0"),
        attribute(TRANSITIVE, 2, struct.pack("!BBI", 2, 1, own_as)),
        attribute(OPTIONAL | TRANSITIVE, 16, struct.pack("!BBHI", 0, 2, own_as, 1)),
        attribute(OPTIONAL | TRANSITIVE, 40, struct.pack("!BH", 5, len(service)) + service),
    ])


def withdrawal(prefix, own_as):
    return update([attribute(OPTIONAL, 15, struct.pack("!HB", IPV6, VPN) +
                             reach(prefix, WITHDRAWN_LABEL, own_as))])


def routes_of(path):
    with open(path, encoding="utf-8") as file:
        return dict(line.split() for line in file)


def connected(own_address, neighbour):
    while True:
        try:
            found = socket.create_connection((neighbour, 179), 2, (own_address, 0))
            found.settimeout(None)
            return found
        except OSError:
            time.sleep(0.1)


class Session:
    def __init__(self, own_address, neighbour, own_as, path):
        self.own = (own_address, own_as)
        self.path = path
        self.told = {}
        self.open = False
        self.changed = False
        self.received = b""
        signal.signal(signal.SIGHUP, lambda *_: setattr(self, "changed", True))
        self.socket = connected(own_address, neighbour)

    def take(self):
        """What the neighbour has said."""
        more = self.socket.recv(65536)
        if not more:
            raise Ended("the neighbour has closed the connection")
        self.received += more
        while len(self.received) >= 19:
            length, kind = struct.unpack_from("!HB", self.received, 16)
            if len(self.received) < length:
                return
            body, self.received = self.received[19:length], self.received[length:]
            if kind == NOTIFICATION:
                raise Ended(f"the neighbour has said {body.hex()}")
            if kind == OPEN:
                self.socket.sendall(message(KEEPALIVE, b""))
            elif kind == KEEPALIVE and not self.open:
                self.open = self.changed = True

    def tell(self):
        address, own_as = self.own
        wanted = routes_of(self.path)
        for prefix in self.told.keys() - wanted.keys():
            self.socket.sendall(withdrawal(prefix, own_as))
        for prefix, segment in wanted.items():
            if self.told.get(prefix) != segment:
                self.socket.sendall(announcement(prefix, segment, address, own_as))
        self.told = wanted

    def run(self):
        self.socket.sendall(opening(self.own[1]))
        said = time.monotonic()
        while True:
            if select.select([self.socket], [], [], 0.1)[0]:
                self.take()
            if self.open and self.changed:
                self.changed = False
                self.tell()
            if self.open and time.monotonic() - said > HOLD_SECONDS / 3:
                said = time.monotonic()
                self.socket.sendall(message(KEEPALIVE, b""))


def main():
    if sys.argv[1:] in (["-h"], ["--help"]):
        print(__doc__.strip())
        return 0
    if len(sys.argv) != 5 or not sys.argv[3].isdecimal():
        print(__doc__.strip(), file=sys.stderr)
        return 2
    while True:
        session = Session(sys.argv[1], sys.argv[2], int(sys.argv[3]), sys.argv[4])
        try:
            session.run()
        except (Ended, OSError) as reason:
            print(f"announce_srv6: {reason}", file=sys.stderr, flush=True)
        session.socket.close()
        time.sleep(0.1)


if __name__ == "__main__":
    sys.exit(main())
