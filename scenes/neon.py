# SPDX-License-Identifier: Apache-2.0
"""A sign of neon tubes: a word and its underline. The sign is in the xy plane, a unit high, and
stands on the origin."""

import math

from mesh import Mesh, curve_through

TURN = 2.0 * math.pi
RADIUS = 0.04


def _arc(x, y, radius_x, radius_y, first, last, steps=10):
    """Points of an ellipse between two angles in degrees, counter-clockwise from +x."""
    angles = [math.radians(first + (last - first) * k / steps) for k in range(steps + 1)]
    return [(x + radius_x * math.cos(a), y + radius_y * math.sin(a)) for a in angles]


def _line(*points, steps=5):
    """Points along straight lines; the bends between them stay small."""
    result = []
    for (ax, ay), (bx, by) in zip(points, points[1:]):
        result += [(ax + (bx - ax) * k / steps, ay + (by - ay) * k / steps) for k in range(steps)]
    return [*result, points[-1]]


# Lower-case letters in a space of 0.8 x 1, x from 0: the curves of each.
_LETTERS = {
    "o": [_arc(0.34, 0.5, 0.32, 0.46, 100, 452, 24)],
    "r": [_line((0.08, 0.04), (0.08, 0.9)), _arc(0.38, 0.60, 0.28, 0.34, 160, 45, 8)],
    "c": [_arc(0.38, 0.5, 0.34, 0.46, 48, 312, 18)],
    "a": [_line((0.70, 0.94), (0.70, 0.06)), _arc(0.37, 0.5, 0.30, 0.44, 10, 350, 22)],
}


def _tube(mesh, points, depth=0.0):
    """Adds a closed tube with round ends along a curve through `points` of the xy plane."""
    def centre(t):
        x, y = curve_through(points, min(1.0, max(0.0, t)))
        return (x, y, depth)

    def surface(u, v):
        step = 0.5 / len(points)
        t = min(1.0, max(0.0, (v - 0.03) / 0.94))
        p, ahead, behind = centre(t), centre(t + step), centre(t - step)
        along = [a - b for a, b in zip(ahead, behind)]
        length = math.hypot(*along) or 1.0
        along = [a / length for a in along]
        side = (along[1], -along[0], 0.0)
        end = min(1.0, v / 0.03, (1.0 - v) / 0.03)        # 0 at the tips, 1 along the tube
        width = RADIUS * math.sin(0.25 * TURN * end)
        beyond = RADIUS * math.cos(0.25 * TURN * end) * (-1.0 if v < 0.5 else 1.0)
        turn = TURN * u
        return tuple(c + beyond * a + width * (math.cos(turn) * s - math.sin(turn) * f)
                     for c, a, s, f in zip(p, along, side, (0.0, 0.0, 1.0)))
    mesh.add_grid(10, 6 * len(points), surface, wraps=True)


def letters():
    """The word: one mesh for all of its tubes."""
    mesh = Mesh()
    x = -1.52
    for letter, width in (("o", 0.84), ("r", 0.72), ("c", 0.74), ("a", 0.0)):
        for curve in _LETTERS[letter]:
            _tube(mesh, [(x + px, py) for px, py in curve])
        x += width
    return mesh


def swash():
    """A wave that underlines the word."""
    mesh = Mesh()
    points = [(-1.65 + 3.3 * k / 30, -0.28 + 0.07 * math.sin(2.5 * TURN * k / 30)) for k in range(31)]
    _tube(mesh, points)
    return mesh
