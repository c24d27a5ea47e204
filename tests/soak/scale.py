# SPDX-License-Identifier: Apache-2.0
"""Makes the table and the picture of docs/scale.md of what brivane-scale counted.

usage: scale.py WALKERS < COUNTS
"""
import json
import pathlib
import re
import sys

PAGE = pathlib.Path(__file__).parents[2] / "docs/scale.md"
PHONES, WALKERS = 1_000_000, int(sys.argv[1])
SHOWN = {"ordinary": "#333333", "outage": "#c0392b", "outage, all start anew at once": "#e08e0b",
         "outage, anew within two minutes": "#2471a3", "outage, kept answers, anew within two minutes": "#1e8449"}
WIDTH, HEIGHT, LEFT, TOP, BOTTOM, STEP = 860, 420, 70, 20, 40, 10


def by_second(scenario):
    return [sum(counts) * PHONES / WALKERS for counts in zip(*scenario["sent"].values())]


def means(seconds, width):
    return [sum(seconds[i:i + width]) / width for i in range(0, len(seconds), width)]


def table(scenarios):
    lines = [["a morning", "login", "sync", "resolve", "requests a phone and hour", "busiest minute, a second",
              "the same from 8:10 on", "busiest second", "places without a name"]]
    for scenario in scenarios:
        seconds = by_second(scenario)
        each = [f"{sum(scenario['sent'][name]) / WALKERS:,.2f}" for name in ("login", "sync", "resolve")]
        hourly = sum(seconds) / PHONES * 3600 / scenario["walkSeconds"]
        lines.append([scenario["name"], *each, f"{hourly:,.0f}", f"{max(means(seconds, 60)):,.0f}",
                      f"{max(means(seconds[4200:], 60)):,.0f}", f"{max(seconds):,.0f}", f"{scenario['unnamed'] / scenario['passed']:.1%}"])
    lines.insert(1, ["---"] + ["---:"] * (len(lines[0]) - 1))
    return "\n".join("| " + " | ".join(line) + " |" for line in lines)


def picture(scenarios):
    drawn = {s["name"]: means(by_second(s), STEP) for s in scenarios if s["name"] in SHOWN}
    most = max(map(max, drawn.values()))
    seconds = len(next(iter(drawn.values()))) * STEP

    def x(second):
        return LEFT + (WIDTH - LEFT - 10) * second / seconds

    def y(rate):
        return HEIGHT - BOTTOM - (HEIGHT - TOP - BOTTOM) * rate / most

    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" font-family="sans-serif" '
             f'font-size="13">', "<title>Requests a second of a million phones, a morning of two hours</title>",
             f'<rect width="{WIDTH}" height="{HEIGHT}" fill="white"/>',
             f'<rect x="{x(3600):.0f}" y="{TOP}" width="{x(4200) - x(3600):.0f}" height="{HEIGHT - TOP - BOTTOM}" '
             f'fill="#eeeeee"/>', f'<text x="{x(3610):.0f}" y="{TOP + 14}">outage</text>']
    for minute in range(0, seconds // 60 + 1, 15):
        anchor = "end" if minute * 60 == seconds else "middle"
        parts.append(f'<text x="{x(minute * 60):.0f}" y="{HEIGHT - BOTTOM + 18}" text-anchor="{anchor}">'
                     f'{7 + minute // 60}:{minute % 60:02}</text>')
    for rate in range(0, int(most) + 1, 250_000):
        parts.append(f'<line x1="{LEFT}" x2="{WIDTH - 10}" y1="{y(rate):.0f}" y2="{y(rate):.0f}" stroke="#dddddd"/>'
                     f'<text x="{LEFT - 8}" y="{y(rate) + 4:.0f}" text-anchor="end">{rate // 1000:,} k</text>')
    for line, (name, colour) in enumerate(SHOWN.items()):
        points = " ".join(f"{x(i * STEP):.1f},{y(rate):.1f}" for i, rate in enumerate(drawn[name]))
        parts.append(f'<polyline points="{points}" fill="none" stroke="{colour}" stroke-width="1.5"/>'
                     f'<text x="{LEFT + 12}" y="{TOP + 16 + 18 * line}" fill="{colour}">{name}</text>')
    return "\n".join([*parts, "</svg>", ""])


def main():
    scenarios = json.load(sys.stdin)
    between = r"(?<=<!-- counted -->\n).*?(?=<!-- until here -->)"
    PAGE.write_text(re.sub(between, lambda _: table(scenarios) + "\n", PAGE.read_text(), flags=re.S))
    PAGE.with_suffix(".svg").write_text(picture(scenarios))


main()
