#!/usr/bin/env python3
"""Draws the print logo (bitmap resource 0x2AFA): four trace peaks in the dye colours
over a baseline, in a rounded frame, as a 64 x 64 8-bit BMP with a 16-entry table.
Run it to remake 2AFA_print_logo.bmp after changing the drawing."""
import math
import os
import struct

SIZE = 64
# Colour table (R, G, B); index 0 is the background.
TABLE = [
    (255, 255, 255),  # 0 background
    (28, 48, 110),    # 1 frame
    (20, 150, 60),    # 2 green trace
    (30, 90, 210),    # 3 blue trace
    (40, 40, 40),     # 4 dark trace
    (215, 40, 40),    # 5 red trace
    (180, 180, 190),  # 6 baseline and ticks
    (232, 238, 248),  # 7 plot area tint
]
TABLE += [(0, 0, 0)] * (16 - len(TABLE))

px = [[0] * SIZE for _ in range(SIZE)]


def put(x, y, c):
    if 0 <= x < SIZE and 0 <= y < SIZE:
        px[y][x] = c


def inside_rounded(x, y, x0, y0, x1, y1, r):
    cx = min(max(x, x0 + r), x1 - r)
    cy = min(max(y, y0 + r), y1 - r)
    return (x - cx) ** 2 + (y - cy) ** 2 <= r * r


# Frame: a rounded square ring, tinted inside.
for y in range(SIZE):
    for x in range(SIZE):
        if inside_rounded(x + 0.5, y + 0.5, 1, 1, 63, 63, 9):
            px[y][x] = 1 if not inside_rounded(x + 0.5, y + 0.5, 4, 4, 60, 60, 6) else 7

base = 50
for x in range(8, 57):
    put(x, base, 6)
for x in range(10, 57, 8):
    put(x, base + 1, 6)
    put(x, base + 2, 6)

# Peaks: (colour, centre, height, width); the trace of each is a Gaussian.
peaks = [(2, 16, 30, 2.6), (3, 27, 38, 2.8), (4, 38, 24, 2.4), (5, 48, 33, 2.7)]
for colour, centre, height, width in peaks:
    prev = None
    for i in range(8 * 4, 57 * 4):
        x = i / 4.0
        y = base - 1 - height * math.exp(-((x - centre) ** 2) / (2 * width * width))
        if y > base - 2:
            continue
        pt = (int(round(x)), int(round(y)))
        if prev:
            # Join to the previous point so steep flanks stay unbroken.
            steps = max(abs(pt[0] - prev[0]), abs(pt[1] - prev[1]), 1)
            for k in range(steps + 1):
                xx = prev[0] + (pt[0] - prev[0]) * k // steps
                yy = prev[1] + (pt[1] - prev[1]) * k // steps
                put(xx, yy, colour)
                put(xx + 1, yy, colour)
        prev = pt

stride = (SIZE + 3) & ~3
bits = b"".join(bytes(px[SIZE - 1 - y]) + b"\0" * (stride - SIZE) for y in range(SIZE))
table = b"".join(struct.pack("<BBBB", b, g, r, 0) for r, g, b in TABLE)
off = 14 + 40 + len(table)
header = struct.pack("<2sIHHI", b"BM", off + len(bits), 0, 0, off)
info = struct.pack("<IiiHHIIiiII", 40, SIZE, SIZE, 1, 8, 0, len(bits), 2835, 2835, len(TABLE), 0)
out = os.path.join(os.path.dirname(os.path.abspath(__file__)), "2AFA_print_logo.bmp")
with open(out, "wb") as f:
    f.write(header + info + table + bits)
print(out)
