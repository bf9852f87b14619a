"""The frame benchmark's chart: a bar a scene and series, as an SVG."""
from xml.sax.saxutils import escape

COLORS = ["#2f6db0", "#e08a2c", "#5b9a4b", "#9a5ba0"]
LEFT, WIDE, BAR, GAP, TOP = 290, 520, 9, 7, 46


def series_of(row):
    return row.get("series") or f"{row['threads']} thread{'s' if row['threads'] > 1 else ''}"


def ordered(values):
    return list(dict.fromkeys(values))


def bar(row, x, at, color):
    out = [f'<rect x="{LEFT}" y="{at}" width="{x(row["ratio"]) - LEFT:.1f}" height="{BAR - 1}" fill="{color}"/>']
    low, high = x(row["ratio_low"]), x(row["ratio_high"])
    middle = at + (BAR - 1) / 2
    out.append(f'<line x1="{low:.1f}" y1="{middle}" x2="{high:.1f}" y2="{middle}" stroke="#111" stroke-width="1"/>')
    text = max(x(row["ratio"]), high)
    if row["goal"]:
        tick = x(row["goal"])
        out.append(f'<line x1="{tick:.1f}" y1="{at - 1}" x2="{tick:.1f}" y2="{at + BAR}" stroke="black" '
                   'stroke-width="2"/>')
        if text - 2 < tick < text + 26:
            text = tick
    out.append(f'<text x="{text + 4:.1f}" y="{at + 8}" font-size="9">{row["ratio"]:.2f}</text>')
    return out


def chart(rows):
    """The ratios of the rows, with their ranges, and goals as ticks. Returns the SVG's text."""
    groups = ordered((row["width"], row["height"]) for row in rows)
    scenes = ordered(row["scene"] for row in rows)
    series = ordered(series_of(row) for row in rows)
    most = max([2.0] + [max(row["ratio"], row["ratio_high"], row["goal"] or 0) for row in rows]) * 1.05
    step = len(series) * BAR + GAP

    def x(ratio):
        return LEFT + WIDE * ratio / most

    body, y = [], TOP
    for width, height in groups:
        mine = [row for row in rows if (row["width"], row["height"]) == (width, height)]
        body.append(f'<text x="10" y="{y + 16}" font-size="12">{width} by {height}</text>')
        y += 24
        end = y + step * sum(any(row["scene"] == scene for row in mine) for scene in scenes)
        for mark in range(0, int(most) + 1):
            body.append(f'<line x1="{x(mark):.1f}" y1="{y}" x2="{x(mark):.1f}" y2="{end}" stroke="#888" '
                        f'stroke-width="{1.5 if mark == 1 else 0.5}"/>'
                        f'<text x="{x(mark) - 3:.1f}" y="{end + 12}">{mark}</text>')
        for scene in scenes:
            of_scene = [row for row in mine if row["scene"] == scene]
            for row in of_scene:
                number = series.index(series_of(row))
                body += bar(row, x, y + number * BAR, COLORS[number % len(COLORS)])
            if of_scene:
                body.append(f'<text x="10" y="{y + 10}">{escape(of_scene[0]["title"][:56])}</text>')
                y += step
        y += 22
    title = rows[0].get("caption") or (f"llvmpipe's time over ours, {rows[0]['measure']} time: longer is faster, the "
                                       "line is equal, ticks are goals")
    legend = [f'<rect x="{10 + i * 150}" y="27" width="10" height="10" fill="{COLORS[i % len(COLORS)]}"/>'
              f'<text x="{25 + i * 150}" y="36">{escape(name)}</text>' for i, name in enumerate(series)]
    return "\n".join([f'<svg xmlns="http://www.w3.org/2000/svg" width="{LEFT + WIDE + 60}" height="{y}" '
                      'font-family="sans-serif" font-size="11">', '<rect width="100%" height="100%" fill="white"/>',
                      f'<text x="10" y="18" font-size="14">{escape(title)}</text>'] + legend + body + ["</svg>", ""])
