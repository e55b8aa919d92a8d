# SPDX-License-Identifier: Apache-2.0
"""The things on the table: each function returns a Mesh that stands at the origin, y up, in decimetres."""

import math

from mesh import Mesh, curve_through, noise, smooth_step

TURN = 2.0 * math.pi


def revolved(profile, columns, rows, radius_scale=lambda angle, t: 1.0):
    """Turns `profile(t) -> (radius, height)`, t from 0 to 1 along the outside upwards, about the y axis."""
    def surface(u, v):
        radius, height = profile(v)
        angle = TURN * u
        radius = max(0.0, radius) * radius_scale(angle, v)
        return (radius * math.cos(angle), height, -radius * math.sin(angle))
    mesh = Mesh()
    mesh.add_grid(columns, rows, surface, wraps=True)
    return mesh


def backdrop():
    """Table top that rises without an edge into the wall behind it."""
    bend = 3.0  # radius of the sweep
    front, back, top = 7.0, -3.0, 10.0
    floor, arc, wall = front - back, 0.5 * math.pi * bend, top - bend

    def surface(u, v):
        x = 30.0 * (u - 0.5)
        along = v * (floor + arc + wall)
        if along < floor:
            return (x, 0.0, front - along)
        if along < floor + arc:
            angle = (along - floor) / bend
            return (x, bend - bend * math.cos(angle), back - bend * math.sin(angle))
        return (x, bend + along - floor - arc, back - bend)
    mesh = Mesh()
    mesh.add_grid(16, 160, surface)
    return mesh


def cloth(footprints):
    """Linen spread under the bowl; its folds die away at `footprints` (x, z, radius), where things stand."""
    def surface(u, v):
        s, t = 2.0 * u - 1.0, 1.0 - 2.0 * v
        x = 3.05 * s + 0.18 * noise(2.0 * t, 0.7, s)
        z = 0.65 + 1.75 * t + 0.16 * noise(2.4 * s, 1.9, t)
        across = 0.7 * x + 0.75 * z + 0.35 * noise(0.5 * x, 0.6, 0.5 * z)
        fold = 0.5 + 0.5 * math.sin(4.4 * across + 0.8 * math.sin(1.3 * x - 0.9 * z))
        ripple = 0.5 + 0.5 * noise(2.2 * x, 4.0, 2.2 * z)
        height = 0.16 * fold ** 2 + 0.05 * ripple
        for foot_x, foot_z, radius in footprints:
            height *= smooth_step(radius * 0.85, radius * 0.85 + 0.8, math.hypot(x - foot_x, z - foot_z))
        hem = 1.0 - max(abs(s), abs(t))
        return (x, 0.012 + height * (0.35 + 0.65 * smooth_step(0.0, 0.25, hem)), z)
    mesh = Mesh()
    mesh.add_grid(168, 152, surface)
    return mesh


def sphere():
    """Sphere of radius 1 about the origin; u runs round the equator."""
    return revolved(lambda t: (math.sin(math.pi * t), -math.cos(math.pi * t)), 96, 48)


def cushion():
    """Between a box and an ellipsoid: 2 wide in every direction about the origin, to be stretched."""
    def rounded(value, squareness):
        return math.copysign(abs(value) ** (2.0 / squareness), value)

    def surface(u, v):
        angle, tilt = TURN * u, math.pi * (v - 0.5)
        level = rounded(math.cos(tilt), 4.0) if 0.0 < v < 1.0 else 0.0
        return (level * rounded(math.cos(angle), 7.0), rounded(math.sin(tilt), 4.0), -level * rounded(math.sin(angle), 7.0))
    mesh = Mesh()
    mesh.add_grid(96, 64, surface, wraps=True)
    return mesh


def drum():
    """Cylinder of radius 1 from height 0 to 1, its rims a little rounded."""
    wall = [(0.0, 0.0), (0.95, 0.0), (0.99, 0.01), (1.0, 0.05), (1.0, 0.95), (0.99, 0.99), (0.95, 1.0), (0.0, 1.0)]
    return revolved(lambda t: wall[round(7 * t)], 64, 7)


def lamp_shade():
    """Shade of a hanging lamp, inside and outside: the mouth of radius 1 at height 0."""
    wall = [(0.12, 0.72), (0.55, 0.56), (0.86, 0.26), (0.98, 0.0), (1.0, 0.0), (0.90, 0.27), (0.59, 0.59), (0.16, 0.76), (0.0, 0.78)]
    return revolved(lambda t: curve_through(wall, t), 96, 48)


def vase():
    """Fluted vase, open at the top, with the inside of its neck."""
    outside = [(0.0, 0.0), (0.42, 0.0), (0.52, 0.10), (0.72, 0.62), (0.84, 1.12), (0.80, 1.55), (0.56, 1.98),
               (0.36, 2.26), (0.33, 2.46), (0.43, 2.66), (0.47, 2.70), (0.43, 2.69), (0.30, 2.46), (0.30, 2.1)]

    def fluting(angle, t):
        strength = 0.045 * smooth_step(0.12, 0.3, t) * (1.0 - smooth_step(0.5, 0.68, t))
        return 1.0 + strength * (abs(math.sin(9.0 * angle + 5.0 * t)) - 0.5)
    return revolved(lambda t: curve_through(outside, t), 200, 110, fluting)


def bowl():
    """Shallow bowl on a foot, outside and inside."""
    wall = [(0.0, 0.0), (0.55, 0.0), (0.57, 0.05), (0.48, 0.12), (0.80, 0.22), (1.18, 0.50), (1.36, 0.80), (1.39, 0.83),
            (1.34, 0.83), (1.14, 0.56), (0.76, 0.29), (0.35, 0.20), (0.0, 0.19)]
    return revolved(lambda t: curve_through(wall, t), 128, 64)


def apple():
    """Apple about 0.5 in radius whose centre is the origin, with its stalk."""
    def profile(t):
        angle = math.pi * (t - 0.5)
        top, bottom = math.exp(-((t - 1.0) / 0.10) ** 2), math.exp(-(t / 0.07) ** 2)
        radius = 0.5 * math.cos(angle) * (1.0 + 0.10 * math.sin(angle))
        return (radius, 0.46 * math.sin(angle) - 0.17 * top + 0.06 * bottom)
    mesh = revolved(profile, 60, 44,
                    lambda angle, t: 1.0 + 0.02 * math.cos(5.0 * angle) * (1.0 - t) + 0.012 * math.sin(3.0 * angle + 1.0))
    _add_tube(mesh, [(0.0, 0.26, 0.0), (0.01, 0.38, 0.0), (0.05, 0.50, 0.02)], 0.022, 0.03, 10, 10)
    return mesh


def pear():
    """Pear standing on the origin, a little crooked, with its stalk."""
    half = [(0.0, 0.03), (0.20, 0.0), (0.40, 0.12), (0.49, 0.36), (0.43, 0.62), (0.29, 0.86), (0.22, 1.04), (0.15, 1.16),
            (0.0, 1.18)]
    mesh = revolved(lambda t: curve_through(half, t), 72, 64,
                    lambda angle, t: 1.0 + 0.02 * math.sin(2.0 * angle + 4.0 * t) + 0.012 * math.sin(5.0 * angle))
    mesh.points = [(x + 0.10 * smooth_step(0.4, 1.3, y), y, z) for x, y, z in mesh.points]
    _add_tube(mesh, [(0.07, 1.13, 0.0), (0.11, 1.26, 0.0), (0.21, 1.38, 0.03)], 0.022, 0.03, 10, 10)
    return mesh


def bottle():
    """Slender bottle with a punt in its base and a rolled lip; one wall, as thin glass."""
    wall = [(0.0, 0.16), (0.22, 0.10), (0.42, 0.0), (0.52, 0.06), (0.54, 0.30), (0.54, 1.0), (0.54, 1.75), (0.50, 2.06),
            (0.30, 2.42), (0.19, 2.66), (0.165, 3.0), (0.16, 3.30), (0.21, 3.36), (0.22, 3.46), (0.16, 3.50), (0.13, 3.46)]
    return revolved(lambda t: curve_through(wall, t), 120, 122)


def carafe():
    """Bulbous, of thick glass: outside and inside."""
    wall = [(0.0, 0.02), (0.30, 0.0), (0.56, 0.02), (0.72, 0.20), (0.78, 0.55), (0.66, 0.98), (0.36, 1.36), (0.23, 1.72), (0.21, 2.10),
            (0.26, 2.42), (0.37, 2.62), (0.36, 2.66), (0.31, 2.63), (0.20, 2.40), (0.145, 2.10), (0.165, 1.72), (0.29, 1.36), (0.57, 0.98),
            (0.67, 0.56), (0.60, 0.28), (0.38, 0.17), (0.0, 0.15)]
    return revolved(lambda t: curve_through(wall, t), 144, 168)


def knot():
    """Trefoil ring: a tube along the (2, 3) torus knot, standing upright on the origin."""
    def centre(angle):
        radius = 0.56 * (1.0 + 0.42 * math.cos(3.0 * angle))
        return (radius * math.cos(2.0 * angle), radius * math.sin(2.0 * angle), 0.30 * math.sin(3.0 * angle))

    def surface(u, v):
        angle = TURN * u
        p, q = centre(angle), centre(angle + 1e-3)
        along = _unit(tuple(b - a for a, b in zip(p, q)))
        side = _unit(_cross(along, (p[0] * 0.3, p[1] * 0.3, 1.0)))
        out = _cross(side, along)
        turn = -TURN * v
        radius = 0.155 * (1.0 + 0.06 * math.cos(6.0 * turn + 12.0 * angle))
        return tuple(c + radius * (math.cos(turn) * s + math.sin(turn) * o) for c, s, o in zip(p, side, out))
    mesh = Mesh()
    mesh.add_grid(540, 42, surface, wraps=True)
    lowest = min(y for _, y, _ in mesh.points)
    return mesh.moved(0.0, -lowest, 0.0)


def branches():
    """Leafy twigs that stand in the vase; the origin is the vase's foot."""
    mesh = Mesh()
    golden = 2.399963  # radians between neighbours that never line up
    for twig in range(6):
        angle, lean, rise = golden * twig + 0.5, 0.55 + 0.14 * (twig % 3), 1.15 + 0.22 * ((twig * 2) % 5) / 2
        dx, dz = math.cos(angle), math.sin(angle) * 0.7
        stem = [(0.05 * dx, 0.4, 0.05 * dz), (0.16 * dx, 2.5, 0.16 * dz),
                (0.16 * dx + 0.45 * lean * dx, 2.5 + 0.6 * rise, 0.16 * dz + 0.45 * lean * dz),
                (0.16 * dx + 1.35 * lean * dx, 2.5 + rise, 0.16 * dz + 1.35 * lean * dz)]
        _add_tube(mesh, stem, 0.028, 0.010, 24, 8)
        for k in range(8):
            t = 0.5 + 0.5 * (k + 1) / 8.0
            at = curve_through(stem, min(t, 1.0))
            heading = angle + (0.0 if k == 7 else (1.05 if k % 2 else -1.05)) + 0.25 * noise(twig, k, 2.0)
            _add_leaf(mesh, at, heading, 0.62 - 0.035 * k + 0.1 * noise(k, twig, 1.0), 0.25 + 0.5 * noise(3.0 * k, 2.0 * twig, 0.5))
    return mesh


def candle():
    """Candle with a molten hollow at the top and two runs of wax, with its wick."""
    side = [(0.0, 0.0), (0.27, 0.0), (0.285, 0.03), (0.27, 0.10), (0.265, 0.8), (0.265, 1.45), (0.262, 1.58), (0.235, 1.61),
            (0.18, 1.55), (0.08, 1.52), (0.0, 1.515)]
    mesh = revolved(lambda t: curve_through(side, t), 80, 60,
                    lambda angle, t: 1.0 + 0.10 * smooth_step(0.35, 0.66, t) * max(0.0, math.sin(2.0 * angle + 0.7)) ** 6)
    _add_tube(mesh, [(0.0, 1.5, 0.0), (0.0, 1.62, 0.0), (0.02, 1.74, 0.0)], 0.016, 0.010, 8, 8)
    return mesh


def wheel():
    """Spoked wheel of radius 1 about the z axis, in the plane z = 0."""
    mesh = Mesh()
    for radius, thickness in ((0.92, 0.08), (0.10, 0.06)):  # rim and hub
        def ring(u, v, radius=radius, thickness=thickness):
            angle, turn = TURN * u, TURN * v
            reach = radius + thickness * math.cos(turn)
            return (reach * math.cos(angle), reach * math.sin(angle), thickness * math.sin(turn))
        mesh.add_grid(120 if radius > 0.5 else 40, 20, ring, wraps=True)
    for spoke in range(9):
        angle = TURN * spoke / 9.0
        ends = [(r * math.cos(angle), r * math.sin(angle), 0.0) for r in (0.1, 0.5, 0.9)]
        _add_tube(mesh, ends, 0.035, 0.028, 4, 12)
    return mesh


def flame():
    """Candle flame whose foot is at the origin."""
    half = [(0.0, 0.0), (0.05, 0.02), (0.085, 0.12), (0.075, 0.24), (0.035, 0.40), (0.0, 0.52)]
    return revolved(lambda t: curve_through(half, t), 40, 40)


def _add_tube(mesh, knots, first_radius, last_radius, rows, columns):
    def surface(u, v):
        p, q = curve_through(knots, min(v, 0.999)), curve_through(knots, min(v, 0.999) + 1e-3)
        along = _unit(tuple(b - a for a, b in zip(p, q)))
        side = _unit(_cross(along, (0.31, 0.17, 0.93)))
        out = _cross(along, side)
        radius = first_radius + (last_radius - first_radius) * v
        cosine, sine = math.cos(TURN * u), math.sin(TURN * u)
        return tuple(c + radius * (cosine * s + sine * o) for c, s, o in zip(p, side, out))
    mesh.add_grid(columns, rows, surface, wraps=True)


def _add_leaf(mesh, foot, heading, length, droop):
    """Pointed blade from `foot`, `heading` radians about y, `droop` its fall at the tip per length."""
    dx, dz = math.cos(heading), math.sin(heading)

    def surface(u, v):
        across = (u - 0.5) * 0.62 * length * math.sin(math.pi * min(1.0, 0.03 + 0.97 * v)) ** 0.8 * (1.0 - 0.45 * v)
        along = length * v
        height = length * (0.35 * v - (0.35 + droop) * v * v) + 0.9 * abs(across) + 0.012 * math.sin(18.0 * v) * abs(u - 0.5)
        return (foot[0] + along * dx + across * dz, foot[1] + height, foot[2] + along * dz - across * dx)
    mesh.add_grid(12, 20, surface)


def _cross(a, b):
    return (a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0])


def _unit(v):
    length = math.sqrt(sum(c * c for c in v))
    return tuple(c / length for c in v)
