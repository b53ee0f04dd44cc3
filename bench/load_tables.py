"""The tables of the section "Load" in docs/host.md, from the figures of scripts/host-load.

Room: bench. Needs no library.
"""

import re

GOALS = {"local": 0.5, "nats": 0.7}  # of the best peer with the codec
BEGIN = "<!-- figures: scripts/host-load --write -->"
END = "<!-- end of figures -->"
WAYS = {"inside": "inside a process", "local": "local", "nats memory": "nats, stream in memory",
        "nats file": "nats, stream on disk"}


def best_peer(case):
    """(name, ratio) of the fastest peer that has the codec at both ends."""
    peers = {name: each["rate"]["median"] for name, each in case["contestants"].items()
             if name != "bus" and "without codec" not in name}
    name = max(peers, key=peers.get)
    return name, case["ratios"][name]


def millions(rate):
    return f"{rate / 1e6:.2f}"


def number(value):
    return f"{value:,}"


def ratio_text(ratio):
    return f"{ratio['median']:.2f} ({ratio['low']:.2f} to {ratio['high']:.2f})"


def table(head, rows):
    lines = ["| " + " | ".join(head) + " |", "|" + "---|" * len(head)]
    return "\n".join(lines + ["| " + " | ".join(map(str, row)) + " |" for row in rows]) + "\n"


def mebibytes(kib):
    return f"{kib / 1024:.1f}"


def local_rates(figures):
    rows = []
    for case in figures["rates"]:
        if case["way"] != "local" or case["receivers"] != 1:
            continue
        by = case["contestants"]
        rows.append([case["routes"], case["batch"], millions(by["bus"]["rate"]["median"]),
                     millions(by["stream"]["rate"]["median"]), millions(by["stream without codec"]["rate"]["median"]),
                     ratio_text(case["ratios"]["stream"])])
    return table(["routes in a message", "messages in a call", "bus", "bare stream", "the same without codec",
                  "bus / bare stream"], rows)


def nats_rates(figures):
    rows = []
    for case in figures["rates"]:
        if case["way"] == "local" or case["receivers"] != 1:
            continue
        by = case["contestants"]
        name, ratio = best_peer(case)
        rows.append([WAYS[case["way"]], case["routes"], case["batch"], millions(by["bus"]["rate"]["median"]),
                     millions(by["client push"]["rate"]["median"]), millions(by["client pull"]["rate"]["median"]),
                     f"{ratio_text(ratio)} of {name.split()[1]}"])
    return table(["way", "routes in a message", "messages in a call", "bus", "plain client, pushed", "plain client, pulled",
                  "bus / faster client"], rows)


def several_receivers(figures):
    rows = []
    for case in figures["rates"]:
        if (case["routes"], case["batch"]) != (600, 1):
            continue
        own = case["contestants"]["bus"]["rate"]["median"]
        _, ratio = best_peer(case)
        rows.append([WAYS[case["way"]], case["receivers"], millions(own), millions(own * case["receivers"]),
                     ratio_text(ratio)])
    return table(["way", "receivers", "each", "together", "bus / peer"], rows)


PARTS = ["pack", "host send", "kernel send", "kernel receive", "host receive", "decode", "handler", "table"]


def shares(case):
    """(the library, the bus, the kernel) in nanoseconds a route."""
    part = {name: each["median"] for name, each in case["parts"].items()}
    return (part["pack"] + part["decode"], part["host send"] + part["host receive"],
            part["kernel send"] + part["kernel receive"])


def parts(figures):
    cases = figures["parts"]
    rows = [[{"handler": "looking at each route", "table": "the demo's table"}.get(name, name),
             *(f"{case['parts'][name]['median']:.2f}" for case in cases)] for name in PARTS]
    rows.append(["pack, alone in a loop", *(f"{case['codec']['pack']:.2f}" for case in cases)])
    rows.append(["decode, alone in a loop", *(f"{case['codec']['decode']:.2f}" for case in cases)])
    for i, name in enumerate(("library", "bus", "kernel")):
        rows.append([f"share of the {name}", *(f"{shares(case)[i] / sum(shares(case)):.0%}" for case in cases)])
    return table(["nanoseconds a route", *(f"{c['routes']} x {c['batch']}" for c in cases)], rows)


def processors(figures):
    rows = []
    for case in figures["rates"]:
        if case["receivers"] != 1 or (case["routes"], case["batch"]) not in ((1, 1), (1, 100), (600, 1)):
            continue
        name, _ = best_peer(case)
        for who in ("bus", name):
            cpu = case["contestants"][who]["cpu"]
            rows.append([WAYS[case["way"]], f"{case['routes']} x {case['batch']}", who, f"{cpu['sender']:.1f}",
                         f"{cpu['receiver']:.1f}", f"{cpu['server']:.1f}" if "server" in cpu else ""])
    return table(["way", "routes x messages", "who", "sender", "receiver", "server"], rows)


def latencies(figures):
    rows = [[WAYS[each["way"]], each["routes"], number(each["messages"]),
             *(f"{each['ns'][name] / 1000:.1f}" for name in ("50", "90", "99", "99.9", "max"))]
            for each in figures["latency"]]
    return table(["way", "routes", "messages", "50 %", "90 %", "99 %", "99.9 %", "longest"], rows)


def memory(figures):
    rows = []
    for each in figures["memory"]:
        for step in each["steps"]:
            if step["routes"] // 1_000_000 in (1, 3, 10):
                rows.append([WAYS[each["way"]] + (", table kept" if each["keeps_table"] else ""),
                             f"{step['routes'] // 1_000_000} million", millions(step["rate"]),
                             mebibytes(step["sender_kib"]), mebibytes(step["receiver_kib"]), ""])
        peak = each["peak_kib"]
        rows.append([WAYS[each["way"]] + (", table kept" if each["keeps_table"] else ""), "peak", "",
                     mebibytes(peak["sender"]), mebibytes(peak["receiver"]),
                     mebibytes(peak["server"]) if "server" in peak else ""])
    return table(["way", "routes so far", "million routes/s, of the last million", "sender", "receiver", "server"], rows)


def section(figures):
    on = figures["machine"]
    goals = figures["goals"]
    missed = [row for row in goals if not row["met"]]
    verdict = "all are met" if not missed else "missed: " + "; ".join(
        f"{WAYS[row['way']]} {row['routes']} x {row['batch']} ({row['ratio']:.2f})" for row in missed)
    texts = [
        f"{on['processor']}, {on['processors']} processors, {on['system']}, load average {figures['load_average']} when "
        f"it began; medians of {figures['rounds']} rounds, quartiles in brackets.\n",
        f"Goals: with one receiver at least {GOALS['local']} of the bare stream on the local way, {GOALS['nats']} of the "
        f"faster plain client on the nats way. Of {len(goals)} cases, {verdict}.\n",
        "**Million routes a second, local, one receiver.**\n", local_rates(figures),
        "![Rates on the local way](host-load-local.svg)\n",
        "**Million routes a second, nats, one receiver.**\n", nats_rates(figures),
        "![Rates on the nats way](host-load-nats.svg)\n",
        "**Million routes a second, several receivers**, 600 routes in a message; each of them gets everything.\n",
        several_receivers(figures), "![Rates with several receivers](host-load-receivers.svg)\n",
        "**Where the time goes, local**, by routes in a message x messages in a call.\n", parts(figures),
        "![Nanoseconds a route by part](host-load-parts.svg)\n",
        "**Nanoseconds of processor a route**, by process.\n", processors(figures),
        f"**Latency in microseconds**, {number(figures['latency'][0]['rate'])} messages a second.\n", latencies(figures),
        "![Latency](host-load-latency.svg)\n",
        "**Memory in MiB while a table passes**, 500 routes in a message.\n", memory(figures),
        "![Memory](host-load-memory.svg)\n"]
    return "\n".join(texts)


def insert(document, figures):
    """The document with the section between its marks made anew."""
    if document.count(BEGIN) != 1 or document.count(END) != 1 or document.index(BEGIN) > document.index(END):
        raise ValueError(f"expected one line '{BEGIN}' and one line '{END}' behind it")
    before, rest = document.split(BEGIN)
    behind = rest.split(END)[1]
    return re.sub(r"\n{3,}", "\n\n", f"{before}{BEGIN}\n\n{section(figures)}\n{END}{behind}")
