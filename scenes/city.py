# SPDX-License-Identifier: Apache-2.0
"""A city at night in pieces: each function returns a Mesh, y up, in storeys of four metres."""

import random

from mesh import Mesh, smooth_step

BLOCKS = 14     # along an edge of the city
BLOCK = 9.0     # from a street's middle to the next one's
STREET = 2.2    # width of a street
CROSSING = (6, 7)  # the square in the middle, where no towers stand


def _box(mesh, low, high):
    """Five faces; the texture repeats every eight windows across and every eight storeys up."""
    (x0, y0, z0), (x1, y1, z1) = low, high
    drift = random.Random(f"{low}{high}").randrange(8)

    def wall(a, b):
        across = abs(a[0] - b[0]) + abs(a[1] - b[1])
        first = len(mesh.texcoords)
        mesh.add_grid(1, 1, lambda u, v: (a[0] + u * (b[0] - a[0]), y0 + v * (y1 - y0), a[1] + u * (b[1] - a[1])))
        for k in range(first, len(mesh.texcoords)):
            u, v = mesh.texcoords[k]
            mesh.texcoords[k] = ((drift + round(2 * across) * u) / 8, (drift + round(y1 - y0) * v) / 8)
    wall((x0, z1), (x1, z1))
    wall((x1, z1), (x1, z0))
    wall((x1, z0), (x0, z0))
    wall((x0, z0), (x0, z1))
    first = len(mesh.texcoords)
    mesh.add_grid(1, 1, lambda u, v: (x0 + u * (x1 - x0), y1, z1 + v * (z0 - z1)))
    for k in range(first, len(mesh.texcoords)):
        mesh.texcoords[k] = (0.0, 0.0)


def _lots():
    """Middle of each block, and its distance from the middle of the city as a share of the edge."""
    for i in range(BLOCKS):
        for j in range(BLOCKS):
            if (i, j) == CROSSING:
                continue
            x, z = (i - BLOCKS / 2 + 0.5) * BLOCK, (j - BLOCKS / 2 + 0.5) * BLOCK
            yield x, z, max(abs(x), abs(z)) / (0.5 * BLOCKS * BLOCK)


def towers():
    """Two to four buildings a block, the higher the nearer to the middle, with a set-back on the high ones."""
    mesh = Mesh()
    chance = random.Random(11)
    half = 0.5 * (BLOCK - STREET)
    for x, z, out in _lots():
        for side_x, side_z in ((-1, -1), (1, -1), (-1, 1), (1, 1)):
            if chance.random() < 0.12:
                continue
            width, depth = half * chance.uniform(0.72, 0.94), half * chance.uniform(0.72, 0.94)
            storeys = round(3 + 26 * chance.random() ** 3 * (1.15 - out) + 4 * chance.random())
            x0 = x + (0.06 if side_x > 0 else -width - 0.06)
            z0 = z + (0.06 if side_z > 0 else -depth - 0.06)
            _box(mesh, (x0, 0.0, z0), (x0 + width, float(storeys), z0 + depth))
            if storeys > 9:
                inset = 0.22 * min(width, depth)
                _box(mesh, (x0 + inset, float(storeys), z0 + inset),
                     (x0 + width - inset, float(storeys + round(0.3 * storeys)), z0 + depth - inset))
    return mesh


def ground():
    """The streets; a unit of texture is a block."""
    mesh = Mesh()
    edge = (0.5 * BLOCKS + 5) * BLOCK
    mesh.add_grid(1, 1, lambda u, v: (edge * (2 * u - 1), 0.0, edge * (1 - 2 * v)))
    mesh.texcoords = [(x / BLOCK, z / BLOCK) for x, _, z in mesh.points]
    return mesh


def _bulb(mesh, x, y, z, radius):
    """Octahedron."""
    ring = [(radius, 0), (0, -radius), (-radius, 0), (0, radius)]
    for k in range(4):
        a, b = ring[k], ring[(k + 1) % 4]
        for corners in (((x + a[0], y, z + a[1]), (x + b[0], y, z + b[1]), (x, y + radius, z)),
                        ((x + b[0], y, z + b[1]), (x + a[0], y, z + a[1]), (x, y - radius, z))):
            base = len(mesh.points)
            mesh.points += corners
            mesh.normals += [(0.0, 1.0, 0.0)] * 3
            mesh.texcoords += [(0.0, 0.0)] * 3
            mesh.triangles.append((base, base + 1, base + 2))


def _along_streets(spacing, side, chance, share):
    """Points along both kinds of streets: (x, z)."""
    reach = 0.5 * BLOCKS * BLOCK
    for line in range(BLOCKS + 1):
        across = (line - BLOCKS / 2) * BLOCK + side
        for k in range(int(2 * reach / spacing)):
            along = -reach + (k + 0.5) * spacing
            if chance.random() < share:
                yield across, along
            if chance.random() < share:
                yield along, across


def street_lamps():
    """Lamps on both kerbs."""
    mesh = Mesh()
    chance = random.Random(5)
    for side in (-0.85, 0.85):
        for x, z in _along_streets(4.5, side, chance, 1.0):
            _bulb(mesh, x, 1.5, z, 0.09)
    return mesh


def head_lights():
    """Pairs of lights of the traffic on one side of the streets."""
    return _traffic(-0.4, 21)


def tail_lights():
    """Those on the other side."""
    return _traffic(0.4, 22)


def _traffic(side, seed):
    mesh = Mesh()
    chance = random.Random(seed)
    for x, z in _along_streets(1.6, side, chance, 0.3):
        _bulb(mesh, x, 0.18, z, 0.055)
    return mesh


def street_glow(u, v):
    """Light of the lamps on a block's streets and the lots between them; the streets' middles are its edges."""
    across, along = BLOCK * min(u, 1 - u), BLOCK * min(v, 1 - v)
    street = 1 - smooth_step(0.5 * STREET, 0.5 * STREET + 0.15, min(across, along))

    def lamps(kerb, x):
        # Two lamps a block on each kerb: pools that overlap a little.
        to_lamp = abs((BLOCK * x / 4.5) % 1 - 0.5) * 4.5
        return 1 / (1 + 1.1 * ((kerb - 0.85) ** 2 + to_lamp ** 2)) ** 2
    light = lamps(across, v) + lamps(along, u)
    level = 0.06 + (0.25 + 0.6 * street) * light
    return (min(1.0, level), min(1.0, 0.62 * level), min(1.0, 0.27 * level))


def lit_windows(u, v):
    """Eight by eight windows a unit, most of them dark; the roof's texel at (0, 0) is dark."""
    column, row = int(8 * u) % 8, int(8 * v) % 8
    x, y = 8 * u % 1, 8 * v % 1
    frame = smooth_step(0.12, 0.2, min(x, 1 - x)) * smooth_step(0.2, 0.28, min(y, 1 - y))
    chance = random.Random(8 * row + column + 77)
    lit = chance.random() < 0.42
    warmth, strength = chance.random(), chance.uniform(0.35, 1.0)
    colour = (1.0, 0.62 + 0.3 * warmth, 0.25 + 0.6 * warmth)
    return tuple(strength * frame * c if lit else 0.02 * c for c in colour)
