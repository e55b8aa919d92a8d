#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes `generated/plate.png`, which stands in for a photograph: a mug on a wooden table by a window.

The scene plate_composite.mi puts things onto this table; its camera, its sun and its mug are the ones below. The same
file comes out on every machine. Python's standard library is all that is needed.
"""

import argparse
import math
import pathlib
import random
import struct
import sys
import zlib

from mesh import noise, smooth_step

WIDTH, HEIGHT = 480, 270
EYE, TILT, FOCAL = (0.0, 2.6, 7.4), math.radians(14.0), 1.5  # looks along -z, tilted down; aperture 1
SUN = (-0.62, 0.70, -0.36)  # toward it
SUN_SPREAD = 0.035  # radians, half angle
SUNLIGHT, FILL = (0.95, 0.88, 0.76), (0.30, 0.32, 0.36)
TABLE_END = -3.4  # z of the far edge, at height 0
MUG, MUG_RADIUS, MUG_HEIGHT = (-1.75, -0.35), 0.62, 1.25


def add(a, b, f=1.0):
    return (a[0] + f * b[0], a[1] + f * b[1], a[2] + f * b[2])


def dot(a, b):
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]


def unit(v):
    length = math.sqrt(dot(v, v))
    return (v[0] / length, v[1] / length, v[2] / length)


def mixed(a, b, t):
    return tuple(x + (y - x) * t for x, y in zip(a, b))


def mug_side(origin, direction):
    """Distance to the mug's wall, from outside; None where the ray misses it."""
    x, z = origin[0] - MUG[0], origin[2] - MUG[1]
    a = direction[0] ** 2 + direction[2] ** 2
    b = x * direction[0] + z * direction[2]
    root = b * b - a * (x * x + z * z - MUG_RADIUS ** 2)
    if a == 0.0 or root <= 0.0:
        return None
    distance = (-b - math.sqrt(root)) / a
    height = origin[1] + distance * direction[1]
    return distance if distance > 1e-4 and 0.0 <= height <= MUG_HEIGHT else None


def mug_top(origin, direction):
    """Point on the mug's rim plane, relative to its axis; None where the ray passes by."""
    if direction[1] >= 0.0:
        return None
    distance = (MUG_HEIGHT - origin[1]) / direction[1]
    point = add(origin, direction, distance)
    x, z = point[0] - MUG[0], point[2] - MUG[1]
    return (x, z) if distance > 0.0 and x * x + z * z < MUG_RADIUS ** 2 else None


def sunlit(point):
    """Share of the sun's disc that the mug leaves to a point of the table."""
    seen = 0
    for k in range(8):
        angle, radius = 2.4 * k, SUN_SPREAD * math.sqrt((k + 0.5) / 8.0)
        toward = unit((SUN[0] + radius * math.cos(angle), SUN[1] + radius * math.sin(angle), SUN[2]))
        away = mug_side(point, toward)
        seen += away is None and mug_top(add(point, toward, 9.0), tuple(-c for c in toward)) is None
    return seen / 8.0


def wood(x, z):
    plank = math.floor(z / 0.85)
    shade = 0.5 + 0.5 * math.sin(12.9898 * plank + 4.1)
    along = x + 3.7 * plank
    ring = 9.0 * (z + 0.10 * noise(0.45 * along, 0.3 * plank, 0.8 * z)) + 0.6 * noise(0.9 * along, plank, 2.0 * z)
    grain = 0.5 + 0.5 * math.sin(5.0 * ring)
    fibre = 0.5 + 0.5 * noise(3.0 * along, 1.7, 46.0 * z)
    color = mixed((0.33, 0.175, 0.085), (0.47, 0.28, 0.145), 0.45 * grain + 0.3 * fibre + 0.25 * shade)
    joint = abs(z / 0.85 - round(z / 0.85))
    return mixed((0.06, 0.035, 0.02), color, smooth_step(0.006, 0.02, joint))


def background(direction):
    """A room far out of focus: a wall, the glow of the window, and lamps."""
    color = mixed((0.16, 0.145, 0.13), (0.30, 0.30, 0.31), smooth_step(-0.35, 0.2, direction[1]))
    glow = math.exp(-((direction[0] + 0.42) / 0.16) ** 2 - ((direction[1] + 0.02) / 0.20) ** 2)
    color = add(color, (0.85, 0.92, 1.0), 0.75 * glow)
    for x, y, size, light in ((0.13, -0.125, 0.024, (0.5, 0.27, 0.09)), (0.215, -0.105, 0.026, (0.42, 0.26, 0.12)),
                              (0.03, -0.14, 0.020, (0.24, 0.19, 0.13)), (0.285, -0.15, 0.030, (0.34, 0.13, 0.07))):
        away = math.hypot(direction[0] / -direction[2] - x, direction[1] / -direction[2] - y)
        color = add(color, light, 1.0 - smooth_step(0.82 * size, size, away))
    return color


def lit(albedo, cosine, sun):
    return tuple(c * (f + s * sun * max(0.0, cosine)) for c, f, s in zip(albedo, FILL, SUNLIGHT))


def mug_color(point, direction):
    normal = ((point[0] - MUG[0]) / MUG_RADIUS, 0.0, (point[2] - MUG[1]) / MUG_RADIUS)
    height = point[1] / MUG_HEIGHT
    albedo = (0.10, 0.22, 0.40) if 0.55 < height < 0.78 else (0.78, 0.76, 0.72)
    color = lit(albedo, dot(normal, unit(SUN)), 1.0)
    color = add(color, (0.06, 0.035, 0.02), 1.0 - smooth_step(0.0, 0.5, height))  # light from the table
    half = unit(add(unit(SUN), direction, -1.0))
    return add(color, SUNLIGHT, 0.5 * max(0.0, dot(normal, half)) ** 60)


def seen(direction):
    side = mug_side(EYE, direction)
    if side is not None:
        return mug_color(add(EYE, direction, side), direction)
    top = mug_top(EYE, direction)
    if top is not None:
        radius = math.hypot(*top) / MUG_RADIUS
        if radius > 0.9:
            return lit((0.80, 0.78, 0.74), unit(SUN)[1], 1.0)
        shaded = 0.35 + 0.65 * smooth_step(-0.2, 0.7, (top[0] * -SUN[0] + top[1] * -SUN[2]) / MUG_RADIUS)
        return mixed((0.035, 0.018, 0.01), (0.16, 0.15, 0.14), smooth_step(0.78, 0.9, radius) * shaded)
    if direction[1] < 0.0:
        point = add(EYE, direction, -EYE[1] / direction[1])
        if point[2] > TABLE_END:
            return table_color(point, direction)
    return background(direction)


def table_color(point, direction):
    near_mug = math.hypot(point[0] - MUG[0], point[2] - MUG[1]) - MUG_RADIUS
    contact = 1.0 - 0.55 * math.exp(-max(0.0, near_mug) / 0.12)  # fill light does not reach under the mug
    albedo = tuple(c * contact for c in wood(point[0], point[2]))
    color = lit(albedo, unit(SUN)[1], sunlit(point))
    mirror = (direction[0], -direction[1], direction[2])
    sheen = 0.04 + 0.5 * (1.0 + direction[1]) ** 5
    hit = mug_side(point, mirror)
    mirrored = mug_color(add(point, mirror, hit), mirror) if hit is not None else background(mirror)
    return add(color, mirrored, sheen * 0.6)


def pixel(x, y, rng):
    color = (0.0, 0.0, 0.0)
    for dx, dy in ((0.375, 0.125), (0.875, 0.375), (0.625, 0.875), (0.125, 0.625)):
        sx = ((x + dx) / WIDTH - 0.5) / FOCAL
        sy = (0.5 - (y + dy) / HEIGHT) * HEIGHT / WIDTH / FOCAL
        up, back = sy * math.cos(TILT) - math.sin(TILT), -math.cos(TILT) - sy * math.sin(TILT)
        color = add(color, seen(unit((sx, up, back))), 0.25)
    corner = ((x / WIDTH - 0.5) ** 2 + (y / HEIGHT - 0.5) ** 2) * 2.0
    exposed = (c * (1.0 - 0.35 * corner) * (1.0 + rng.gauss(0.0, 0.012)) for c in color)
    return bytes(min(255, max(0, round(255.0 * srgb(c)))) for c in exposed)


def srgb(value):
    return 12.92 * value if value <= 0.0031308 else 1.055 * min(1.0, value) ** (1.0 / 2.4) - 0.055


def png(rows):
    def chunk(kind, data):
        body = kind + data
        return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))
    header = struct.pack(">IIBBBBB", WIDTH, HEIGHT, 8, 2, 0, 0, 0)
    data = zlib.compress(b"".join(b"\0" + row for row in rows), 9)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", data) + chunk(b"IEND", b"")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--into", type=pathlib.Path, default=pathlib.Path(__file__).resolve().parent / "generated",
                        metavar="FOLDER", help="where to write the file (default: generated/ beside this script)")
    folder = parser.parse_args().into
    rng = random.Random(1)
    rows = [b"".join(pixel(x, y, rng) for x in range(WIDTH)) for y in range(HEIGHT)]
    try:
        folder.mkdir(parents=True, exist_ok=True)
        partial = folder / "plate.png.part"
        partial.write_bytes(png(rows))
        partial.replace(folder / "plate.png")
    except OSError as error:
        sys.exit(f"generate_plate.py: cannot write {error.filename}: {error.strerror}")
    print(f"plate of {WIDTH} x {HEIGHT} pixels, written to {folder}")


if __name__ == "__main__":
    main()
