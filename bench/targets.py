"""How fast the library has to be: each row of the table that scripts/bench judges.

Room: bench. Times are medians; a ratio is the peer's time over the library's.
"""

FLATBUFFERS = ["flatbuffers", "flatbuffers no-dedup", "flatbuffers objects"]
PROTOBUF = ["protobuf", "protobuf arena", "protobuf fixed", "protobuf fixed arena"]
CAPNPROTO = ["capnproto", "capnproto inline"]
# Where a row names a peer without saying which variant: used as its guide shows it first.
FLATBUFFERS_DEFAULT = FLATBUFFERS[:1]
PROTOBUF_DEFAULT = PROTOBUF[:2]
CAPNPROTO_DEFAULT = CAPNPROTO[:1]


class Timings:
    """The results of one run of bench_speed."""

    def __init__(self, results):
        self.results = results
        self.by_key = {(r["case"], r["operation"], r["contestant"]): r for r in results}

    def races(self):
        """(case, operation) in the order in which they ran."""
        return list(dict.fromkeys((r["case"], r["operation"]) for r in self.results))

    def per_entry(self, case, operation, contestant):
        found = self.by_key.get((case, operation, contestant))
        return found and found["ns"] / found["entries"]

    def best(self, case, operation, contestants):
        """The fastest of them and its time per entry; (None, None) when none took part."""
        times = [(self.per_entry(case, operation, c), c) for c in contestants]
        times = [t for t in times if t[0] is not None]
        return min(times)[::-1] if times else (None, None)

    def ratio(self, case, operation, contestants, library="library"):
        """(ratio, name of the fastest peer)."""
        name, peer = self.best(case, operation, contestants)
        own = self.per_entry(case, operation, library)
        return (peer / own, name) if peer and own else (None, None)


class Row:
    """at_least or at_most a bound; value(timings, counts) gives (figure, remark)."""

    def __init__(self, text, bound, value, at_most=False, timed=True):
        self.text, self.bound, self.value = text, bound, value
        self.at_most, self.timed = at_most, timed

    def met(self, figure):
        return figure is not None and (figure <= self.bound if self.at_most else figure >= self.bound)


def against(text, bound, case, operation, judged, others, library="library"):
    """Judged by the fastest of `judged`; the remark tells the fastest of `others` too."""
    def value(timings, _):
        figure, name = timings.ratio(case, operation, judged, library)
        other, other_name = timings.ratio(case, operation, others, library)
        remark = name or ""
        if other_name and other_name != name:
            remark += f"; {other_name} {other:.1f}"
        return figure, remark

    return Row(text, bound, value)


def growth(text, bound, operation, case, reference):
    def value(timings, _):
        own, base = (timings.per_entry(c, operation, "library") for c in (case, reference))
        return (own / base, f"{base:.2f} -> {own:.2f} ns an entry") if own and base else (None, "")

    return Row(text, bound, value, at_most=True)


def instructions(text, bound, workload):
    def value(_, counts):
        found = counts.get(workload)
        if not found:
            return None, "not counted"
        return found["library"], f"with libc {found['all']:.1f}"

    return Row(text, bound, value, at_most=True, timed=False)


def both(text, bounds, case, judged, others):
    return [against(f"{operation} {text}", bound, case, operation, judged, others)
            for operation, bound in zip(("encode", "decode"), bounds)]


def foreign(text, case):
    """Messages that FlatBuffers' builder has written: the library as fast as verifier and copying."""
    return against(f"decode {text} of FlatBuffers' builder", 1, "foreign/" + case, "decode", FLATBUFFERS,
                   FLATBUFFERS)


TYPICAL, MIXED = "routes/600/typical", "routes/600/mixed"

ROWS = [
    *both("600 routes, typical, FlatBuffers", (11, 14), TYPICAL, FLATBUFFERS_DEFAULT, FLATBUFFERS),
    *both("600 routes, typical, FlatBuffers' best", (10, 12), TYPICAL, FLATBUFFERS, FLATBUFFERS_DEFAULT),
    *both("600 routes, typical, protobuf's best", (3, 14), TYPICAL, PROTOBUF, PROTOBUF_DEFAULT),
    *both("600 routes, mixed, FlatBuffers' best", (12, 15), MIXED, FLATBUFFERS, FLATBUFFERS_DEFAULT),
    *both("one route, FlatBuffers", (7, 2.5), "routes/1/typical", FLATBUFFERS_DEFAULT, FLATBUFFERS),
    *both("next hops, typical, FlatBuffers", (10, 5), "next-hops/typical", FLATBUFFERS_DEFAULT,
          FLATBUFFERS),
    *both("segment lists, typical, FlatBuffers", (12, 5), "segment-lists/typical",
          FLATBUFFERS_DEFAULT, FLATBUFFERS),
    against("flat message, __pack, FlatBuffers", 9, "flat/typical", "encode", FLATBUFFERS_DEFAULT,
            FLATBUFFERS),
    against("flat message, decode of the fixed image, FlatBuffers", 10, "flat/typical", "decode",
            FLATBUFFERS_DEFAULT, FLATBUFFERS, library="library image"),
    against("flat __sendmsg, one record, FlatBuffers", 22, "send/flat-1", "send",
            FLATBUFFERS_DEFAULT, FLATBUFFERS),
    against("flat __sendmsg, one record, protobuf", 7, "send/flat-1", "send", PROTOBUF_DEFAULT,
            PROTOBUF),
    against("flat __sendmsg, one record, Cap'n Proto", 14, "send/flat-1", "send",
            CAPNPROTO_DEFAULT, CAPNPROTO),
    against("decode 600 routes, typical, fastest Cap'n Proto", 2, TYPICAL, "decode", CAPNPROTO,
            CAPNPROTO),
    *(growth(f"{o}, an entry of 10,000 over one of 16", 1.1, o, "routes/10000/typical",
             "routes/16/typical") for o in ("encode", "decode")),
    *(growth(f"{o}, mixed over typical", b, o, MIXED, TYPICAL)
      for o, b in (("encode", 1.6), ("decode", 3))),
    *(foreign(f"600 routes, {fill},", f"routes/600/{fill}") for fill in ("dense", "typical", "mixed")),
    foreign("one route", "routes/1/typical"),
    foreign("next hops", "next-hops/typical"),
    foreign("segment lists", "segment-lists/typical"),
    foreign("a query", "query/typical"),
    foreign("a flat message", "flat/typical"),
    instructions("instructions an entry, 600 typical, encode", 125, "routes-600/typical/encode"),
    instructions("instructions an entry, 600 typical, decode", 75, "routes-600/typical/decode"),
]
