"""Whether a receiver has the routes that zebra has, and zebra those that it was to learn.

Room: tests. Reads files only.
usage: same_routes.py ZEBRA_JSON EXPECTED [RECEIVER]
  ZEBRA_JSON  what `show ipv6 route json` says
  EXPECTED    routes that zebra learns by BGP, a line each: PREFIX GATEWAY[,SEGMENT]...
  RECEIVER    what fpm_receiver has written down
Compares prefix by prefix: kind, protocol, every next hop with its interface, weight and segments; without
RECEIVER what zebra has learnt only. Prints how many routes are the same, or the first differences; ends with 0 or 1.
"""
import functools
import ipaddress
import json
import sys

KINDS = ("blackhole", "unreachable", "prohibit")
PROTOCOLS = {"connected": "kernel", "local": "kernel"}  # as rtnetlink calls them
SHOWN = 8


@functools.lru_cache(maxsize=None)
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
                    segments = hop.get("seg6", {}).get("segs", "")
                    hops.append((address(hop.get("ip", "")), hop["interfaceName"],
                                 str(hop.get("weight", 1)), address(segments)))
            protocol = entry["protocol"]
            found[prefix] = (kind, PROTOCOLS.get(protocol, protocol), tuple(sorted(hops)))
    return found


def of_words(words):
    """The values behind words of a route or of one of its next hops."""
    segments = ""
    if "[" in words:
        begin, end = words.index("["), words.index("]")
        # What goes before them is `encap seg6 mode encap segs COUNT`.
        if words[:begin] != ["encap", "seg6", "mode", "encap", "segs", str(end - begin - 1)]:
            sys.exit(f"same_routes: segments are not written so: {' '.join(words)}")
        segments = " ".join(words[begin + 1:end])
        words = words[end + 1:]
    return {"segments": segments, **dict(zip(words[::2], words[1::2]))}


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
    segments = ",".join(address(segment) for segment in values["segments"].split())
    return (address(values.get("via", "")), values.get("dev", ""), values.get("weight", "1"),
            segments)


def gateway_of(hop):
    """As EXPECTED has it: a gateway, and its segment where there is one."""
    return ",".join(filter(None, (hop[0], hop[3])))


def of_expected(path):
    with open(path, encoding="utf-8") as file:
        return {words[0]: tuple(sorted(",".join(map(address, gateway.split(",")))
                                       for gateway in words[1:]))
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
    if len(sys.argv) not in (3, 4):
        print(__doc__.strip(), file=sys.stderr)
        return 2
    zebra = of_zebra(sys.argv[1])
    expected = of_expected(sys.argv[2])
    received = of_receiver(sys.argv[3]) if len(sys.argv) == 4 else zebra
    learnt = {prefix: tuple(sorted(map(gateway_of, hops)))
              for prefix, (_, protocol, hops) in zebra.items() if protocol == "bgp"}
    texts = (differences(expected, "expected", learnt, "zebra") or
             differences(zebra, "zebra", received, "receiver"))
    for text in texts[:SHOWN]:
        print(text)
    if texts:
        print(f"{len(texts)} routes differ")
        return 1
    several = sum(len(hops) > 1 for _, _, hops in received.values())
    segments = sum(any(hop[3] for hop in hops) for _, _, hops in received.values())
    print(f"{len(received)} routes the same, {several} of them with several next hops, "
          f"{segments} with segments")
    return 0


if __name__ == "__main__":
    sys.exit(main())
