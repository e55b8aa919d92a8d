# SPDX-License-Identifier: Apache-2.0
"""Images of the example scenes, made by formulas: planks, bricks with their normals, dimples, a photo studio and a sunset."""

import math
import struct
import zlib

from city import lit_windows, street_glow
from head import complexion
from mesh import noise, smooth_step


def _bytes(values):
    return bytes(min(255, max(0, round(255 * value))) for value in values)


def colour_image(width, height, colour):
    """Binary PPM of `colour(u, v) -> (r, g, b)`, v upwards, display values from 0 to 1."""
    rows = [_bytes(channel for i in range(width) for channel in colour((i + 0.5) / width, 1 - (j + 0.5) / height))
            for j in range(height)]
    return b"P6 %d %d 255\n" % (width, height) + b"".join(rows)


def alpha_image(width, height, colour):
    """PNG of `colour(u, v) -> (r, g, b, alpha)`, v upwards, display values from 0 to 1, not premultiplied."""
    def chunk(kind, data):
        body = kind + data
        return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body))
    rows = [_bytes(channel for i in range(width) for channel in colour((i + 0.5) / width, 1 - (j + 0.5) / height))
            for j in range(height)]
    header = struct.pack(">IIBBBBB", width, height, 8, 6, 0, 0, 0)
    data = zlib.compress(b"".join(b"\0" + row for row in rows), 9)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", data) + chunk(b"IEND", b"")


def light_image(width, height, light):
    """Radiance picture (RGBE, uncompressed) of `light(u, v) -> (r, g, b)`, v upwards, linear."""
    def rgbe(colour):
        largest = max(colour)
        if largest < 1e-32:
            return bytes(4)
        mantissa, exponent = math.frexp(largest)
        return bytes([*(min(255, int(c * mantissa * 256 / largest)) for c in colour), exponent + 128])
    rows = [b"".join(rgbe(light((i + 0.5) / width, 1 - (j + 0.5) / height)) for i in range(width))
            for j in range(height)]
    return (b"#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y %d +X %d\n" % (height, width)) + b"".join(rows)


def planks(u, v):
    """Boards along u, four to a unit of v, their ends staggered."""
    row = int(4 * v)
    across = 4 * v - row
    along = (u + 0.37 * row) % 1
    seam = smooth_step(0, 0.02, min(across, 1 - across)) * smooth_step(0, 0.003, min(along, 1 - along))
    tone = 0.5 + 0.5 * math.sin(12.9 * row + 4.1)
    x, y = 6 * along + 9 * row, across
    grain = 0.5 + 0.5 * math.sin(26 * y + 5 * noise(0.6 * x, 1.5 * y, row) + 2 * noise(2.1 * x, 6 * y, 3))
    fine = 0.5 + 0.5 * noise(3 * x, 70 * y, row)
    shade = (0.62 + 0.16 * tone) * (0.78 + 0.16 * grain + 0.08 * fine) * (0.35 + 0.65 * seam)
    return (0.86 * shade, 0.62 * shade, 0.42 * shade)


def _brick(u, v, columns=12, rows=12):
    """Row and column of the brick at a place, and its height there, 0 in the mortar."""
    row = int(rows * v)
    x = columns * u + 0.5 * (row % 2)
    column = int(x) % columns
    across, up = x - int(x), rows * v - row
    edge = min(2 * min(across, 1 - across), min(up, 1 - up))
    height = smooth_step(0.04, 0.16, edge)
    return row, column, height * (0.9 + 0.1 * noise(9 * u * columns / 12, 20 * v, 2 * row + column))


def bricks(u, v):
    row, column, height = _brick(u, v)
    tone = 0.75 + 0.25 * math.sin(7.3 * row + 12.1 * column)
    grit = 1 + 0.10 * noise(170 * u, 90 * v, 0.3)
    brick, mortar = (0.66 * tone, 0.34 * tone, 0.26 * tone), (0.72, 0.70, 0.66)
    return tuple(grit * (m + height * (b - m)) for b, m in zip(brick, mortar))


def brick_normals(u, v, depth=0.012):
    """Tangent-space normals of the bricks, for a surface twice as long along u as along v."""
    step = 1 / 1024
    rise_u = (_brick((u + step) % 1, v)[2] - _brick((u - step) % 1, v)[2]) / (2 * step) * depth / 2
    rise_v = (_brick(u, min(v + step, 0.9999))[2] - _brick(u, max(v - step, 0))[2]) / (2 * step) * depth
    length = math.sqrt(rise_u * rise_u + rise_v * rise_v + 1)
    return (0.5 - 0.5 * rise_u / length, 0.5 - 0.5 * rise_v / length, 0.5 + 0.5 / length)


def dimples(u, v):
    """Height of a golf ball: round pits in rows of latitude, white on the outside."""
    rows = 15
    row = int(rows * v)
    latitude = math.pi * ((row + 0.5) / rows - 0.5)
    count = max(3, round(2 * rows * math.cos(latitude)))
    along = (u + 0.5 * (row % 2) / count) * count
    x = (along - int(along) - 0.5) * (2 * rows * math.cos(latitude)) / count
    y = rows * v - row - 0.5
    height = smooth_step(0.12, 0.44, math.hypot(x, y))
    return (height, height, height)


def studio(u, v):
    """A dim room with a large warm soft box, a tall cool strip and a small hard one."""
    def box(centre_u, centre_v, half_u, half_v, soft):
        du = abs((u - centre_u + 0.5) % 1 - 0.5) - half_u
        dv = abs(v - centre_v) - half_v
        return 1 - smooth_step(0, soft, max(du, dv))
    wall = 0.16 + 0.10 * smooth_step(0.40, 0.62, v) - 0.08 * smooth_step(0.35, 0.5, 1 - v)
    light = [wall * 0.94, wall, wall * 1.10]
    for strength, tint, place in ((9.0, (1.0, 0.90, 0.76), (0.22, 0.70, 0.055, 0.075, 0.006)),
                                  (5.0, (0.72, 0.86, 1.0), (0.80, 0.64, 0.018, 0.13, 0.005)),
                                  (3.0, (1.0, 0.97, 0.92), (0.52, 0.90, 0.16, 0.035, 0.02))):
        shine = strength * box(*place)
        light = [l + shine * t for l, t in zip(light, tint)]
    return tuple(light)


def showroom(u, v):
    """A dark hall: rows of tubes on its ceiling, low bright panels on its long walls. In it the x axis is along the rows."""
    turn, rise = 2 * math.pi * u, math.pi * (v - 0.5)
    x, y, z = math.cos(rise) * math.sin(turn), math.sin(rise), math.cos(rise) * math.cos(turn)
    light = [0.018, 0.020, 0.025]
    if y > 0.05:
        along, across = x / y, z / y
        ends = 1 - smooth_step(2.4, 2.6, abs(along))
        for row in (-1.5, -0.5, 0.5, 1.5):
            tube = 6.0 * ends * (1 - smooth_step(0.10, 0.125, abs(across - row)))
            light = [l + tube * t for l, t in zip(light, (1.0, 0.97, 0.90))]
    if abs(z) > 0.05:
        along, up = x / abs(z), y / abs(z)
        panel = (1 - smooth_step(1.5, 1.9, abs(along))) * smooth_step(0.05, 0.08, up) * (1 - smooth_step(0.20, 0.34, up))
        light = [l + 1.1 * panel * t for l, t in zip(light, (0.80, 0.90, 1.0))]
    return tuple(light)


def daylight(u, v):
    """A hazy afternoon sun, its glow, and the sky; in the west (u 0.3), 33 degrees up."""
    def toward(u, v):
        turn, rise = 2 * math.pi * u, math.pi * (v - 0.5)
        return (math.cos(rise) * math.sin(turn), math.sin(rise), math.cos(rise) * math.cos(turn))
    away = math.degrees(math.acos(max(-1.0, min(1.0, sum(a * b for a, b in zip(toward(u, v), toward(0.30, 0.683)))))))
    sun = 1200 * (1 - smooth_step(2.0, 3.2, away))
    glow = 9 * math.exp(-(away / 24) ** 2)
    sky = 0.12 + 1.0 * smooth_step(0.49, 0.53, v) * math.exp(-(away / 80) ** 2)
    return tuple(sun * s + glow * g + sky * b for s, g, b in zip((1.0, 0.82, 0.58), (0.82, 0.92, 1.0), (0.45, 0.68, 1.0)))


def sunset(u, v):
    """A setting sun in bands; its glow fades out into the transparent border."""
    x, y = 2 * u - 1, 2 * v - 1
    distance = math.hypot(x, y)
    disc = 1 - smooth_step(0.60, 0.62, distance)
    gap = 0.10 - 0.13 * y  # share of a band that is open: none at the top, wide at the bottom
    band = 1.0 if y > 0.15 else smooth_step(gap, gap + 0.06, abs((6 * y) % 1.0 - 0.5))
    glow = 0.75 * (1 - smooth_step(0.3, 1.0, distance))
    low, high, halo = (0.93, 0.20, 0.45), (1.0, 0.86, 0.35), (0.62, 0.18, 0.55)
    t = smooth_step(-0.6, 0.6, y)
    sun = disc * band
    alpha = sun + (1 - sun) * glow
    return (*(h + sun * (a + t * (b - a) - h) for a, b, h in zip(low, high, halo)), alpha)


# file name -> its bytes
CATALOGUE = {
    "planks.ppm": lambda: colour_image(512, 256, planks),
    "bricks.ppm": lambda: colour_image(512, 256, bricks),
    "brick_normals.ppm": lambda: colour_image(512, 256, brick_normals),
    "dimples.ppm": lambda: colour_image(512, 256, dimples),
    "studio.hdr": lambda: light_image(512, 256, studio),
    "showroom.hdr": lambda: light_image(512, 256, showroom),
    "daylight.hdr": lambda: light_image(512, 256, daylight),
    "street_glow.ppm": lambda: colour_image(256, 256, street_glow),
    "windows.ppm": lambda: colour_image(256, 256, lit_windows),
    "complexion.ppm": lambda: colour_image(512, 512, complexion),
    "sunset.png": lambda: alpha_image(256, 256, sunset),
}
