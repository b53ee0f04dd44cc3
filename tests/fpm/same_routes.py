"""Whether a receiver has the routes that zebra has, and zebra those that it was to learn.

Room: tests. Reads files only.
usage: same_routes.py ZEBRA_JSON EXPECTED RECEIVER
  ZEBRA_JSON  what `show ipv6 route json` says
  EXPECTED    routes that zebra learns by BGP, a line each: PREFIX GATEWAY...
  RECEIVER    what fpm_receiver has written down
Compares prefix by prefix: kind, protocol, every next hop with its interface and weight. Prints how
many routes are the same, or the first differences; ends with 0 or 1.
"""
import ipaddress
import json
import sys

KINDS = ("blackhole", "unreachable", "prohibit")
PROTOCOLS = {"connected": "kernel", "local": "kernel"}  # as rtnetlink calls them
SHOWN = 8


def address(text):
    return str(ipaddress.IPv6Address(text)) if text else ""


def of_zebra(path):
    with open(path, encoding="utf-8") as file:
        said = json.load(file)
    found = {}
    for prefix, entries in said.items():
        for entry in entries:
            if not entry.get("selected"):
                continue
            kind, hops = "unicast", []
            for hop in entry["nexthops"]:
                if hop.get("blackhole"):
                    kind = "blackhole"
                elif hop.get("reject"):
                    kind = "unreachable"
                elif hop.get("fib"):
                    hops.append((address(hop.get("ip", "")), hop["interfaceName"],
                                 str(hop.get("weight", 1))))
            protocol = entry["protocol"]
            found[prefix] = (kind, PROTOCOLS.get(protocol, protocol), tuple(sorted(hops)))
    return found


def of_words(words):
    """The values behind words of a route or of one of its next hops."""
    return dict(zip(words[::2], words[1::2]))


def of_receiver(path):
    found = {}
    prefix = None
    with open(path, encoding="utf-8") as file:
        for line in file:
            words = line.split()
            if words[0] == "nexthop":
                values = of_words(words[1:])
                kind, protocol, hops = found[prefix]
                found[prefix] = (kind, protocol, hops + (hop_of(values),))
                continue
            kind = words.pop(0) if words[0] in KINDS else "unicast"
            prefix = "::/0" if words[0] == "default" else words[0]
            if prefix in found:
                sys.exit(f"same_routes: {path} has {prefix} twice")
            values = of_words(words[1:])
            own = (hop_of(values),) if "via" in values or "dev" in values else ()
            found[prefix] = (kind, values["proto"], own)
    return {key: (kind, protocol, tuple(sorted(hops)))
            for key, (kind, protocol, hops) in found.items()}


def hop_of(values):
    return (address(values.get("via", "")), values.get("dev", ""), values.get("weight", "1"))


def of_expected(path):
    with open(path, encoding="utf-8") as file:
        return {words[0]: tuple(sorted(address(gateway) for gateway in words[1:]))
                for words in (line.split() for line in file)}


def differences(left, left_name, right, right_name):
    texts = []
    for prefix in sorted(left.keys() | right.keys()):
        if left.get(prefix) != right.get(prefix):
            texts.append(f"{prefix}: {left_name} {left.get(prefix)}, "
                         f"{right_name} {right.get(prefix)}")
    return texts


def main():
    if sys.argv[1:] in (["-h"], ["--help"]):
        print(__doc__.strip())
        return 0
    if len(sys.argv) != 4:
        print(__doc__.strip(), file=sys.stderr)
        return 2
    zebra = of_zebra(sys.argv[1])
    expected = of_expected(sys.argv[2])
    received = of_receiver(sys.argv[3])
    learnt = {prefix: tuple(hop[0] for hop in hops)
              for prefix, (_, protocol, hops) in zebra.items() if protocol == "bgp"}
    texts = (differences(expected, "expected", learnt, "zebra") or
             differences(zebra, "zebra", received, "receiver"))
    for text in texts[:SHOWN]:
        print(text)
    if texts:
        print(f"{len(texts)} routes differ")
        return 1
    several = sum(len(hops) > 1 for _, _, hops in received.values())
    print(f"{len(received)} routes the same, {several} of them with several next hops")
    return 0


if __name__ == "__main__":
    sys.exit(main())
