#!/usr/bin/env python3
"""Draws the add-on's icons: the seven flag-like language icons of the language dialog's list
(resources 32758 to 32764, in language order) and the add-on's mark shown in its dialogs (32510).

Run from anywhere: python3 make_icons.py [OUTPUT_DIR]. By default the flags go to the framework's
pack (framework/resources/icons), which every bundle gets, and the mark to resources/icons.
The host takes every <resource number>.png of the resource folder as an icon.
Plain zlib + struct, so it needs nothing beyond the standard library; the output is
byte-for-byte reproducible, which keeps the committed PNGs and this script in step.
"""
import os
import struct
import sys
import zlib

W, H = 24, 16  # flags
MARK = 48      # the add-on's mark, square
FIRST_LANGUAGE_ICON = 32758
MARK_ICON = 32510
BORDER = (96, 96, 96)

GREEN = (0, 140, 69)
WHITE = (250, 250, 250)
RED = (205, 33, 42)
BLUE = (0, 85, 164)
NAVY = (20, 52, 120)
BLACK = (20, 20, 20)
GOLD = (255, 206, 0)
YELLOW = (255, 196, 0)
SKY = (0, 122, 204)


def vertical(*colours):
    def paint(x, _y):
        return colours[x * len(colours) // W]
    return paint


def horizontal(*colours, weights=None):
    weights = weights or [1] * len(colours)
    bounds, total, acc = [], sum(weights), 0
    for w in weights:
        acc += w
        bounds.append(acc * H / total)

    def paint(_x, y):
        for colour, bound in zip(colours, bounds):
            if y + 0.5 < bound:
                return colour
        return colours[-1]
    return paint


def disc(background, colour, radius):
    cx, cy = W / 2, H / 2

    def paint(x, y):
        inside = (x + 0.5 - cx) ** 2 + (y + 0.5 - cy) ** 2 <= radius ** 2
        return colour if inside else background
    return paint


def globe(x, y):
    # The "international" entry: a blue field with a white-lined globe.
    cx, cy, r = W / 2, H / 2, 6.5
    dx, dy = x + 0.5 - cx, y + 0.5 - cy
    d = (dx * dx + dy * dy) ** 0.5
    if d > r:
        return NAVY
    meridian = abs(((dx / (r * 0.45)) ** 2 + (dy / r) ** 2) ** 0.5 - 1) < 0.18
    if d > r - 1 or -0.5 <= dy < 0.5 or meridian:
        return WHITE
    return SKY


# In language-index order: ita, int, fra, ger, spa, jap, rus.
FLAGS = {
    "ita": vertical(GREEN, WHITE, RED),
    "int": globe,
    "fra": vertical(BLUE, WHITE, RED),
    "ger": horizontal(BLACK, RED, GOLD),
    "spa": horizontal(RED, YELLOW, RED, weights=[1, 2, 1]),
    "jap": disc(WHITE, RED, 4.6),
    "rus": horizontal(WHITE, BLUE, RED),
}


def mark(x, y):
    # An ember-orange ring on a slate tile with rounded corners: the Orvella "O" in the forge.
    c = (MARK - 1) / 2
    dx, dy = x - c, y - c
    corner = 8
    ex, ey = max(abs(dx) - (c - corner), 0), max(abs(dy) - (c - corner), 0)
    if ex * ex + ey * ey > corner * corner:
        return None
    d = (dx * dx + dy * dy) ** 0.5
    if 10 <= d <= 16:
        return (236, 112, 20) if dy < 0 or abs(dx) > 4 else (255, 170, 60)
    return (44, 56, 72)


def rgba_rows(width, height, paint):
    rows = []
    for y in range(height):
        row = bytearray([0])  # filter type: none
        for x in range(width):
            colour = paint(x, y)
            row += bytes(colour) + b"\xff" if colour else b"\0\0\0\0"
        rows.append(bytes(row))
    return b"".join(rows)


def flag(paint):
    def framed(x, y):
        edge = x in (0, W - 1) or y in (0, H - 1)
        return BORDER if edge else paint(x, y)
    return framed


def chunk(kind, data):
    body = kind + data
    return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body) & 0xFFFFFFFF)


def png(width, height, paint):
    header = struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0)  # 8-bit RGBA
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) +
            chunk(b"IDAT", zlib.compress(rgba_rows(width, height, paint), 9)) + chunk(b"IEND", b""))


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    root = os.path.join(here, "..", "..")
    flags_out = os.path.join(root, "framework", "resources", "icons")
    mark_out = os.path.join(root, "resources", "icons")
    if len(sys.argv) > 1:
        flags_out = mark_out = sys.argv[1]
    icons = {(flags_out, FIRST_LANGUAGE_ICON + i): png(W, H, flag(paint)) for i, paint in enumerate(FLAGS.values())}
    icons[(mark_out, MARK_ICON)] = png(MARK, MARK, mark)
    for (out, number), data in icons.items():
        os.makedirs(out, exist_ok=True)
        with open(os.path.join(out, f"{number}.png"), "wb") as f:
            f.write(data)


if __name__ == "__main__":
    main()
