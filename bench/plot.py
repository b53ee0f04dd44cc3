"""A plot of the benchmark's medians as SVG.

Room: bench. Writes plain SVG; needs no library.
"""

from xml.sax.saxutils import escape

PANELS = [
    ("routes/600/typical", "encode", "Encode 600 routes, typical"),
    ("routes/600/typical", "decode", "Decode 600 routes, typical"),
    ("routes/600/mixed", "encode", "Encode 600 routes, mixed"),
    ("routes/600/mixed", "decode", "Decode 600 routes, mixed"),
    ("next-hops/typical", "encode", "Encode next hops, typical"),
    ("next-hops/typical", "decode", "Decode next hops, typical"),
    ("flat/typical", "encode", "Pack a flat message"),
    ("send/flat-1", "send", "Send a flat message"),
    ("table", "encode", "Encode a full Internet table"),
    ("table", "decode", "Decode a full Internet table"),
]
WIDTH, COLUMNS, ROW, LABEL, TITLE, GAP = 480, 2, 18, 150, 34, 20


def panel(x, y, title, bars):
    """bars: [(name, ns)]; the longest fills the panel."""
    out = [f'<text x="{x}" y="{y + 20}" class="title">{escape(title)}</text>']
    room = WIDTH - LABEL - 60
    longest = max(value for _, value in bars)
    for i, (name, value) in enumerate(bars):
        top = y + TITLE + i * ROW
        kind = "own" if name.startswith("library") else "peer"
        out.append(f'<text x="{x + LABEL - 6}" y="{top + 12}" text-anchor="end">{escape(name)}</text>')
        out.append(f'<rect x="{x + LABEL}" y="{top + 2}" width="{max(1, room * value / longest):.1f}" '
                   f'height="{ROW - 5}" class="{kind}"/>')
        out.append(f'<text x="{x + LABEL + 4 + room * value / longest:.1f}" y="{top + 12}">{value:.1f}</text>')
    return out


def svg(timings, subtitle):
    panels = []
    for case, operation, title in PANELS:
        bars = [(r["contestant"], r["ns"] / r["entries"]) for r in timings.results
                if (r["case"], r["operation"]) == (case, operation)]
        if bars:
            panels.append((title, bars))
    body, y = [], 50
    for start in range(0, len(panels), COLUMNS):
        line = panels[start:start + COLUMNS]
        for column, (title, bars) in enumerate(line):
            body += panel(20 + column * (WIDTH + GAP), y, title, bars)
        y += TITLE + max(len(bars) for _, bars in line) * ROW + GAP
    width = 40 + COLUMNS * (WIDTH + GAP)
    return "\n".join([
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{y}" viewBox="0 0 {width} {y}">',
        "<style>text{font:12px sans-serif;fill:#222}.title{font-weight:bold;font-size:14px}"
        ".own{fill:#0a6e5c}.peer{fill:#9aa5b1}</style>",
        f'<rect width="{width}" height="{y}" fill="#fff"/>',
        '<text x="20" y="24" class="title">Nanoseconds an entry, median</text>',
        f'<text x="20" y="42">{escape(subtitle)}</text>', *body, "</svg>", ""])
