# SPDX-License-Identifier: Apache-2.0
"""A cut stone and its ring: each function returns a Mesh, y up."""

import math

from mesh import Mesh
from shapes import TURN


class Facets(Mesh):
    """Convex polygons with flat normals."""

    def add_facet(self, corners):
        base = len(self.points)
        a, b, c = corners[0], corners[1], corners[2]
        u, v = [tuple(q - p for p, q in zip(a, other)) for other in (b, c)]
        normal = (u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0])
        length = math.sqrt(sum(x * x for x in normal))
        self.points += corners
        self.normals += [tuple(x / length for x in normal)] * len(corners)
        self.texcoords += [(0.0, 0.0)] * len(corners)
        self.triangles += [(base, base + k, base + k + 1) for k in range(1, len(corners) - 1)]


def _ring(count, radius, height, turned=0.0):
    return [(radius * math.cos(TURN * (i + turned) / count), height, -radius * math.sin(TURN * (i + turned) / count))
            for i in range(count)]


def gem(sides=16):
    """A round brilliant of radius 1: table, crown and pavilion, its point at the origin."""
    mesh = Facets()
    table, middle = _ring(sides // 2, 0.56, 1.30), _ring(sides // 2, 0.80, 1.155, 0.5)
    girdle, below = _ring(sides, 1.0, 0.96), _ring(sides, 1.0, 0.92)
    lower = _ring(sides // 2, 0.36, 0.30, 0.5)
    mesh.add_facet(table)
    half = sides // 2
    for i in range(half):
        j, g = (i + 1) % half, 2 * i
        at = [(g + k) % sides for k in range(3)]
        mesh.add_facet([table[i], middle[i], table[j]])                        # stars
        mesh.add_facet([table[i], middle[i - 1], girdle[at[0]], middle[i]])    # kites
        mesh.add_facet([middle[i], girdle[at[0]], girdle[at[1]]])
        mesh.add_facet([middle[i], girdle[at[1]], girdle[at[2]]])
        mesh.add_facet([(0.0, 0.0, 0.0), lower[i], below[at[0]], lower[i - 1]])  # mains
        mesh.add_facet([lower[i], below[at[1]], below[at[0]]])
        mesh.add_facet([lower[i], below[at[2]], below[at[1]]])
    for i in range(sides):
        j = (i + 1) % sides
        mesh.add_facet([girdle[i], below[i], below[j], girdle[j]])
    return mesh


def band():
    """The ring that stands below the stone, about the z axis."""
    def surface(u, v):
        angle, section = TURN * u, TURN * v
        radius = 1.75 + 0.17 * math.cos(section)
        return (radius * math.sin(angle), -1.62 + radius * math.cos(angle), 0.24 * math.sin(section))
    mesh = Mesh()
    mesh.add_grid(192, 48, surface, wraps=True)
    return mesh


def claws():
    """Six prongs that hold the stone."""
    mesh = Mesh()
    for number in range(6):
        angle = TURN * (number + 0.25) / 6.0

        def surface(u, v, angle=angle):
            reach = 0.35 + 0.70 * min(1.0, v / 0.8) ** 0.8 - 0.20 * max(0.0, v - 0.8) / 0.2
            height = -0.05 + 1.14 * v
            thick = 0.075 * math.sqrt(max(0.0, 1.0 - (2.0 * max(v, 0.5) - 1.0) ** 6))
            x, y = thick * math.cos(TURN * u), thick * math.sin(TURN * u)
            out, side = reach + x, y
            return (out * math.cos(angle) - side * math.sin(angle), height, -out * math.sin(angle) - side * math.cos(angle))
        mesh.add_grid(24, 32, surface, wraps=True)
    return mesh
