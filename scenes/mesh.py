# SPDX-License-Identifier: Apache-2.0
"""Triangle meshes made of rectangular grids, and their form in the scene language."""

import math


class Mesh:
    """Vertices (point, normal, texture coordinates) and triangles, counter-clockwise seen from outside."""

    def __init__(self):
        self.points = []
        self.normals = []
        self.texcoords = []
        self.triangles = []

    def add_grid(self, columns, rows, surface, wraps=False):
        """Appends the surface `surface(u, v) -> (x, y, z)`, u and v from 0 to 1, as columns x rows quads.

        Outside is where the direction of growing u, crossed with that of growing v, points. `wraps` says that
        u = 0 and u = 1 are the same line: the normals of both sides of the seam are then made one. Rows that
        shrink to a point (the poles of a sphere) make no degenerate triangles.
        """
        base = len(self.points)
        width = columns + 1
        grid = [surface(i / columns, j / rows) for j in range(rows + 1) for i in range(width)]
        triangles = []
        for j in range(rows):
            for i in range(columns):
                a = j * width + i
                for corners in ((a, a + 1, a + width + 1), (a, a + width + 1, a + width)):
                    if area_normal(*(grid[k] for k in corners)) != (0.0, 0.0, 0.0):
                        triangles.append(corners)
        self.points += grid
        self.normals += _smooth_normals(grid, triangles)
        self.texcoords += [(i / columns, j / rows) for j in range(rows + 1) for i in range(width)]
        self.triangles += [tuple(base + k for k in corners) for corners in triangles]
        if wraps:
            self._close_seam(base, width, rows)

    def _close_seam(self, base, width, rows):
        for j in range(rows + 1):
            first, last = base + j * width, base + j * width + width - 1
            shared = _normalised(_sum(self.normals[first], self.normals[last]))
            self.normals[first] = self.normals[last] = shared

    def moved(self, x, y, z):
        """Moves every point by (x, y, z) and returns the mesh."""
        self.points = [(p[0] + x, p[1] + y, p[2] + z) for p in self.points]
        return self

    def scene_text(self, name, label):
        """The mesh as an object of the scene language, with one texture space."""
        lines = [f'object "{name}"', f"    visible on  shadow on  trace on  tag {label}", "    group",
                 f"    trilist vertex {len(self.points)} p n t 2 triangle {len(self.triangles)}", "    ["]
        for p, n, t in zip(self.points, self.normals, self.texcoords):
            lines.append(" ".join(_number(value) for value in (*p, *n, *t)))
        lines.append("    ] [")
        lines += ["%d %d %d" % triangle for triangle in self.triangles]
        lines += ["    ]", "    end trilist", "    end group", "end object", ""]
        return "\n".join(lines)


def noise(x, y, z):
    """Smooth, repeatable wobble in about -1..1: a few waves in directions that share no period."""
    return (math.sin(1.7 * x + 2.3 * y + 0.4) * math.cos(2.9 * z - 1.1 * x + 1.3)
            + 0.5 * math.sin(4.1 * y - 3.7 * z + 2.2) * math.cos(3.3 * x + 5.3 * y + 0.8)) / 1.5


def smooth_step(low, high, value):
    """0 below `low`, 1 above `high`, and a cubic without kinks between them."""
    t = min(1.0, max(0.0, (value - low) / (high - low)))
    return t * t * (3.0 - 2.0 * t)


def curve_through(knots, t):
    """Catmull-Rom curve through `knots` (tuples of equal length), t from 0 to 1 over all of them."""
    spans = len(knots) - 1
    k = min(int(t * spans), spans - 1)
    s = t * spans - k
    a, b, c, d = (knots[min(max(k + offset, 0), spans)] for offset in (-1, 0, 1, 2))
    return tuple(0.5 * (2 * q + (r - p) * s + (2 * p - 5 * q + 4 * r - w) * s * s
                        + (3 * q - p - 3 * r + w) * s * s * s) for p, q, r, w in zip(a, b, c, d))


def _number(value):
    text = f"{value:.5f}".rstrip("0").rstrip(".")
    return "0" if text in ("-0", "") else text


def _sum(a, b):
    return (a[0] + b[0], a[1] + b[1], a[2] + b[2])


def _normalised(v):
    length = math.sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2])
    return (v[0] / length, v[1] / length, v[2] / length) if length > 0.0 else (0.0, 1.0, 0.0)


def area_normal(a, b, c):
    """Normal of the triangle, twice its area long; zero when it is too thin to have one."""
    ux, uy, uz = b[0] - a[0], b[1] - a[1], b[2] - a[2]
    vx, vy, vz = c[0] - a[0], c[1] - a[1], c[2] - a[2]
    n = (uy * vz - uz * vy, uz * vx - ux * vz, ux * vy - uy * vx)
    return n if n[0] * n[0] + n[1] * n[1] + n[2] * n[2] > 1e-22 else (0.0, 0.0, 0.0)


def _smooth_normals(points, triangles):
    """Area-weighted vertex normals; vertices at the same place (a pole) share theirs."""
    sums = {}
    keys = [(round(p[0], 6), round(p[1], 6), round(p[2], 6)) for p in points]
    for a, b, c in triangles:
        n = area_normal(points[a], points[b], points[c])
        for k in (a, b, c):
            sums[keys[k]] = _sum(sums.get(keys[k], (0.0, 0.0, 0.0)), n)
    return [_normalised(sums.get(key, (0.0, 1.0, 0.0))) for key in keys]
