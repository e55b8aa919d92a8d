# SPDX-License-Identifier: Apache-2.0
"""A toy car in pieces, and a mug: each function returns a Mesh, y up. The car stands on y = 0 and faces +x."""

import math

from mesh import Mesh, curve_through
from shapes import TURN, revolved


def _lofted(sections, squareness, columns, rows):
    """Skin over cross-sections along x, each (x, bottom, top, half width), a rounded rectangle in y and z.

    u runs round the section, from +z downwards: 0.25 is the bottom, 0.75 the top. v runs along x.
    """
    def rounded(value):
        return math.copysign(abs(value) ** (2.0 / squareness), value)

    def surface(u, v):
        x, bottom, top, half_width = curve_through(sections, v)
        angle = -TURN * u
        height = 0.5 * (bottom + top) + 0.5 * max(0.0, top - bottom) * rounded(math.sin(angle))
        return (x, height, max(0.0, half_width) * rounded(math.cos(angle)))
    mesh = Mesh()
    mesh.add_grid(columns, rows, surface, wraps=True)
    return mesh


def car_body():
    """The painted part."""
    return _lofted([(-2.25, 0.52, 0.58, 0.0), (-2.22, 0.36, 0.78, 0.55), (-2.05, 0.26, 0.92, 0.80), (-1.4, 0.24, 1.02, 0.93),
                    (-0.5, 0.24, 1.03, 0.96), (0.5, 0.24, 1.00, 0.95), (1.3, 0.24, 0.92, 0.92), (1.9, 0.26, 0.80, 0.82),
                    (2.18, 0.34, 0.66, 0.58), (2.24, 0.48, 0.52, 0.0)], 3.2, 160, 120)


def car_cabin():
    """The windows, in one piece."""
    return _lofted([(-1.60, 0.90, 0.90, 0.0), (-1.50, 0.85, 1.02, 0.55), (-1.05, 0.85, 1.42, 0.72), (-0.45, 0.85, 1.56, 0.74),
                    (0.15, 0.85, 1.48, 0.73), (0.75, 0.85, 1.12, 0.70), (1.10, 0.85, 0.98, 0.55), (1.20, 0.90, 0.90, 0.0)],
                   3.0, 128, 80)


def wheel():
    """Tyre and hub about the z axis, radius 0.42, in the plane z = 0."""
    mesh = revolved(lambda t: curve_through([(0.0, -0.10), (0.20, -0.12), (0.26, -0.08), (0.30, -0.15), (0.40, -0.13),
                                             (0.42, 0.0), (0.40, 0.13), (0.30, 0.15), (0.26, 0.08), (0.20, 0.12),
                                             (0.0, 0.10)], t), 64, 60)
    mesh.points = [(x, -z, y) for x, y, z in mesh.points]
    mesh.normals = [(x, -z, y) for x, y, z in mesh.normals]
    return mesh


def mug():
    """Closed outline of a mug of radius and height 1 that stands at the origin."""
    def profile(t):
        return (1.0, t / 0.6) if t < 0.6 else ((1.0 - t) / 0.4, 1.0)
    return revolved(profile, 96, 40)
