"""Plots of the figures of scripts/host-load as SVG, for light and dark pages.

Room: bench. Writes plain SVG; needs no library. Text stays text: it can be read, found and copied.
"""

import math
from xml.sax.saxutils import escape

import load_tables

WIDTH = 860
STYLE = """
:root{--paper:#ffffff;--ink:#1f2328;--faint:#d0d7de;--quiet:#59636e;
--a:#0a6e5c;--b:#8c959f;--c:#c9d1d9;--d:#9a6700;--e:#6639ba;--f:#cf222e;--g:#0969da;--h:#57606a}
@media (prefers-color-scheme:dark){:root{--paper:#0d1117;--ink:#e6edf3;--faint:#30363d;--quiet:#9198a1;
--a:#3fb6a0;--b:#848d97;--c:#4b535d;--d:#d29922;--e:#a371f7;--f:#f85149;--g:#4493f8;--h:#9198a1}}
text{font:13px system-ui,sans-serif;fill:var(--ink)}.title{font-weight:600;font-size:15px}
.quiet{fill:var(--quiet);font-size:12px}.axis{stroke:var(--faint);stroke-width:1}
.line{fill:none;stroke-width:2}
""" + "".join(f".{k}{{fill:var(--{k})}}.s{k}{{stroke:var(--{k})}}" for k in "abcdefgh")


def page(title, height, body):
    return "\n".join([
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{height:.0f}" '
        f'viewBox="0 0 {WIDTH} {height:.0f}" role="img" aria-label="{escape(title)}">',
        f"<style>{STYLE}</style>", '<rect width="100%" height="100%" style="fill:var(--paper)"/>',
        f'<text x="20" y="28" class="title">{escape(title)}</text>', *body, "</svg>", ""])


def text(x, y, words, kind="", anchor="start"):
    return f'<text x="{x:.1f}" y="{y:.1f}" class="{kind}" text-anchor="{anchor}">{escape(str(words))}</text>'


def legend(y, names):
    out, x = [], 20
    for kind, name in names:
        out += [f'<rect x="{x}" y="{y - 10}" width="12" height="12" class="{kind}"/>', text(x + 18, y, name)]
        x += 40 + 7 * len(name)
    return out


def bars(title, subtitle, names, groups, unit):
    """names: [(class, name)]; groups: [(label, [value or None for each name])]; horizontal bars."""
    left, right, row = 205, 65, 15
    longest = max(v for _, values in groups for v in values if v is not None)
    body, y = [text(20, 48, subtitle, "quiet"), *legend(72, names)], 92
    for label, values in groups:
        shown = [(kind, v) for (kind, _), v in zip(names, values) if v is not None]
        body.append(text(left - 10, y + len(shown) * row / 2 + 4, label, "", "end"))
        for kind, value in shown:
            length = max(1, (WIDTH - left - right) * value / longest)
            body.append(f'<rect x="{left}" y="{y}" width="{length:.1f}" height="{row - 3}" class="{kind}"/>')
            body.append(text(left + length + 6, y + row - 4, unit(value), "quiet"))
            y += row
        y += 12
    return page(title, y + 8, body)


def shape(case):
    return f"{case['routes']} x {case['batch']}"


def millions(value):
    return f"{value / 1e6:.2f}"


def rates(figures, title, ways, names, cases):
    groups = []
    for case in cases:
        label = shape(case) if len(ways) == 1 else f"{case['way'].split()[-1]}, {shape(case)}"
        groups.append((label, [case["contestants"].get(name, {}).get("rate", {}).get("median") for _, name in names]))
    return bars(title, "Million routes a second; routes in a message x messages in a call; one receiver",
                names, groups, millions)


def receivers(figures):
    groups = [(f"{load_tables.WAYS[case['way']]}, {case['receivers']}",
               [case["contestants"]["bus"]["rate"]["median"], case["contestants"]["bus"]["rate"]["median"] * case["receivers"]])
              for case in figures["rates"] if (case["routes"], case["batch"]) == (600, 1)]
    return bars("The bus with several receivers", "Million routes a second, 600 routes in a message",
                [("b", "each receiver"), ("a", "all together")], groups, millions)


def stacks(figures):
    names = [name for name in load_tables.PARTS if name != "table"]  # the receiver's own, and far longer
    kinds = dict(zip(names, "aedgbhc"))
    left, right, row = 110, 90, 26
    body = [text(20, 48, "Share of each part, local way, by routes in a message x messages in a call; behind the bar nanoseconds a route", "quiet")]
    body += legend(72, [(kinds[name], name) for name in names])
    y = 94
    for case in figures["parts"]:
        values = [(name, max(0.0, case["parts"][name]["median"])) for name in names]
        total = sum(v for _, v in values)
        body.append(text(left - 10, y + 17, shape(case), "", "end"))
        x = float(left)
        for name, value in values:
            length = (WIDTH - left - right) * value / total
            body.append(f'<rect x="{x:.1f}" y="{y}" width="{length:.1f}" height="{row - 4}" class="{kinds[name]}">'
                        f"<title>{name}: {value:.2f} ns</title></rect>")
            x += length
        body.append(text(x + 8, y + 16, f"{total:.0f} ns", "quiet"))
        y += row + 6
    return page("Where the time of a route goes", y + 10, body)


PERCENTS = ("50", "90", "99", "99.9", "max")


def chart(title, subtitle, series, labels, log, unit):
    """series: [(class, name, [(place along the axis 0..1, value)])]; labels: [(place, text)] of the axis."""
    left, right, top, height = 80, 30, 104, 250
    values = [v for _, _, points in series for _, v in points if v > 0]
    if log:
        low, high = math.floor(math.log10(min(values))), math.ceil(math.log10(max(values)))
        marks = [10.0 ** i for i in range(low, max(high, low + 1) + 1)]
        place = lambda v: (math.log10(v) - low) / max(1, high - low)  # noqa: E731
    else:
        step = 10 ** math.floor(math.log10(max(values)))
        step = next(s for s in (step / 5, step / 2, step, step * 2) if max(values) / s <= 8)
        marks = [step * i for i in range(math.ceil(max(values) / step) + 1)]
        place = lambda v: v / marks[-1]  # noqa: E731
    at = lambda x, v: (left + (WIDTH - left - right) * x, top + height * (1 - place(v)))  # noqa: E731
    body = [text(20, 48, subtitle, "quiet"), *legend(72, [(k, n) for k, n, _ in series])]
    for mark in marks:
        _, y = at(0, mark)
        body.append(f'<line x1="{left}" x2="{WIDTH - right}" y1="{y:.1f}" y2="{y:.1f}" class="axis"/>')
        body.append(text(left - 8, y + 4, unit(mark), "quiet", "end"))
    for x, label in labels:
        body.append(text(at(x, marks[-1])[0], top + height + 22, label, "quiet", "middle"))
    for kind, name, points in series:
        path = " ".join(f"{x:.1f},{y:.1f}" for x, y in (at(*point) for point in points))
        body.append(f'<polyline points="{path}" class="line s{kind}"><title>{escape(name)}</title></polyline>')
        body += [f'<circle cx="{x:.1f}" cy="{y:.1f}" r="3.5" class="{kind}"/>' for x, y in (at(*p) for p in points)]
    return page(title, top + height + 40, body)


def latency(figures):
    kinds = dict(zip(load_tables.WAYS, "bade"))
    most = max(each["routes"] for each in figures["latency"])
    series = [(kinds[each["way"]], load_tables.WAYS[each["way"]],
               [(0.05 + 0.9 * i / (len(PERCENTS) - 1), each["ns"][p] / 1000) for i, p in enumerate(PERCENTS)])
              for each in figures["latency"] if each["routes"] == most]
    labels = [(0.05 + 0.9 * i / (len(PERCENTS) - 1), p if p == "max" else p + " %") for i, p in enumerate(PERCENTS)]
    return chart("Latency from before the send to the handler",
                 f"Microseconds, logarithmic; messages of {most} routes, {figures['latency'][0]['rate']} a second",
                 series, labels, True, lambda v: f"{v:g}")


def memory(figures):
    kinds, series = iter("abdefg"), []
    most = max(len(each["steps"]) for each in figures["memory"])
    for each in figures["memory"]:
        name = load_tables.WAYS[each["way"]] + (", table kept" if each["keeps_table"] else "")
        series.append((next(kinds), name, [(s["routes"] / 1e6 / most * 0.98, s["receiver_kib"] / 1024) for s in each["steps"]]))
    labels = [(i / most * 0.98, f"{i}") for i in range(1, most + 1)]
    return chart("Memory of the receiver while a table passes", "MiB, logarithmic, by million routes so far", series, labels,
                 True, lambda v: f"{v:g}")


def plots(figures):
    """Text by the name of the file."""
    single = [case for case in figures["rates"] if case["receivers"] == 1]
    local = [case for case in single if case["way"] == "local"]
    nats = [case for case in single if case["way"] != "local"]
    made = {"host-load-local.svg": rates(figures, "The local way beside a bare stream socket", ["local"],
                                         [("a", "bus"), ("b", "stream"), ("c", "stream without codec")], local)}
    if nats:
        made["host-load-nats.svg"] = rates(figures, "The nats way beside a plain client of the server", ["memory", "file"],
                                           [("a", "bus"), ("b", "client push"), ("c", "client pull")], nats)
    made["host-load-receivers.svg"] = receivers(figures)
    made["host-load-parts.svg"] = stacks(figures)
    made["host-load-latency.svg"] = latency(figures)
    made["host-load-memory.svg"] = memory(figures)
    return made
