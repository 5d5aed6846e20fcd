#!/usr/bin/env python3
"""Reads an image with gdk-pixbuf and compares its pixels with raw RGB bytes.

Usage: dib_peer.py IMAGE EXPECTED.rgb WIDTH HEIGHT
Exit 0 when they agree, 1 when they differ, 77 when gdk-pixbuf is not available.
"""
import sys

try:
    import gi
    gi.require_version("GdkPixbuf", "2.0")
    from gi.repository import GdkPixbuf
except (ImportError, ValueError):
    sys.exit(77)

path, expected_path, width, height = sys.argv[1], sys.argv[2], int(sys.argv[3]), int(sys.argv[4])
pix = GdkPixbuf.Pixbuf.new_from_file(path)
if (pix.get_width(), pix.get_height()) != (width, height):
    print(f"size {pix.get_width()}x{pix.get_height()}, expected {width}x{height}")
    sys.exit(1)
data = pix.get_pixels()
stride, channels = pix.get_rowstride(), pix.get_n_channels()
expected = open(expected_path, "rb").read()
for y in range(height):
    for x in range(width):
        got = bytes(data[y * stride + x * channels: y * stride + x * channels + 3])
        want = expected[(y * width + x) * 3: (y * width + x) * 3 + 3]
        if got != want:
            print(f"pixel ({x},{y}): {got.hex()} expected {want.hex()}")
            sys.exit(1)
print("OK")
