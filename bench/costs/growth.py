#!/usr/bin/env python3
"""Draws the growth of costs with the number of cards, from the output of corvane_costs --json.

Usage: growth.py BEFORE.json AFTER.json >PICTURE.svg

Both axes are logarithmic: a line with the slope of the dotted one grows in proportion to the cards.
"""

import json
import math
import sys

ROWS = [("scan", "#1b6ca8"), ("pass", "#a83b1b"), ("topology", "#2f7d32"),
        ("property-cached", "#7a4fa3")]
WIDTH, HEIGHT, MARGIN = 720, 420, 60
CARDS = (1, 1024)
TIMES = (0.1, 40_000)  # microseconds


def position(cards, time):
    """Returns the coordinates of a point."""
    def part(value, low, high):
        return math.log(value / low) / math.log(high / low)
    x = MARGIN + part(cards, *CARDS) * (WIDTH - 3 * MARGIN)
    y = HEIGHT - MARGIN - part(time, *TIMES) * (HEIGHT - 2 * MARGIN)
    return f"{x:.1f},{y:.1f}"


def line(points, color, style):
    path = " ".join(position(*point) for point in points)
    return f'<polyline points="{path}" fill="none" stroke="{color}" stroke-width="2" {style}/>'


def label(point, text, color="#333", anchor="start"):
    x, y = position(*point).split(",")
    return (f'<text x="{x}" y="{y}" dx="8" dy="4" fill="{color}" text-anchor="{anchor}">'
            f'{text}</text>')


def points_of(path, row):
    with open(path, encoding="utf-8") as file:
        return [(entry["size"], entry["ours_us"]) for entry in json.load(file)
                if entry["row"] == row]


def axes():
    yield line([(1, TIMES[0]), (1024, TIMES[0])], "#999", "")
    yield line([(1, TIMES[0]), (1, TIMES[1])], "#999", "")
    yield line([(1, 1), (1024, 1024)], "#999", 'stroke-dasharray="2 4"')
    for cards in (1, 16, 256, 1024):
        x, y = position(cards, TIMES[0]).split(",")
        yield f'<text x="{x}" y="{float(y) + 20:.1f}" text-anchor="middle">{cards}</text>'
    for time, text in ((0.1, "0.1 µs"), (1, "1 µs"), (10, "10 µs"), (100, "100 µs"), (1000, "1 ms"),
                       (10_000, "10 ms")):
        x, y = position(1, time).split(",")
        yield f'<text x="{float(x) - 8:.1f}" y="{y}" dy="4" text-anchor="end">{text}</text>'
    yield f'<text x="{WIDTH / 2:.0f}" y="{HEIGHT - 12}" text-anchor="middle">cards</text>'


def main(before, after):
    parts = list(axes())
    for row, color in ROWS:
        parts.append(line(points_of(before, row), color, 'stroke-dasharray="6 4"'))
        points = points_of(after, row)
        parts.append(line(points, color, ""))
        parts.append(label(points[-1], row, color))
    print(f'<svg xmlns="http://www.w3.org/2000/svg" width="{WIDTH}" height="{HEIGHT}" '
          f'font-family="sans-serif" font-size="13">')
    print('<rect width="100%" height="100%" fill="white"/>')
    print("\n".join(parts))
    print("</svg>")


if __name__ == "__main__":
    main(*sys.argv[1:])
