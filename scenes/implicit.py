# SPDX-License-Identifier: Apache-2.0
"""Solids made of rounded parts that blend into one another, and their surfaces as meshes.

A part is a function of x, y and z: about the distance to its surface, negative inside. Blends are those of Quilez, "Smooth
minimum" (2013); meshes are naive surface nets after Gibson, "Constrained Elastic SurfaceNets" (1998), whose vertices are moved
onto the surface.
"""

import math

from mesh import Mesh


def ellipsoid(centre, radii):
    cx, cy, cz = centre
    ix, iy, iz = (1.0 / r for r in radii)
    least = min(radii)

    def distance(x, y, z):
        x, y, z = (x - cx) * ix, (y - cy) * iy, (z - cz) * iz
        reach = math.sqrt(x * x + y * y + z * z)
        slope = math.sqrt(x * x * ix * ix + y * y * iy * iy + z * z * iz * iz)
        return reach * (reach - 1.0) / slope if slope > 0.0 else -least
    return distance


def limb(first, last, first_radius, last_radius):
    """Straight, with round ends of two radii."""
    ax, ay, az = first
    dx, dy, dz = (b - a for a, b in zip(first, last))
    whole = 1.0 / (dx * dx + dy * dy + dz * dz)
    grows = last_radius - first_radius

    def distance(x, y, z):
        x, y, z = x - ax, y - ay, z - az
        t = (x * dx + y * dy + z * dz) * whole
        t = 0.0 if t < 0.0 else 1.0 if t > 1.0 else t
        x, y, z = x - t * dx, y - t * dy, z - t * dz
        return math.sqrt(x * x + y * y + z * z) - first_radius - grows * t
    return distance


def half_space(axis, bound):
    """All below `bound` along axis 0, 1 or 2."""
    return lambda *point: point[axis] - bound


def tilted(part, about, axis, degrees):
    """The part, turned counter-clockwise around a line through `about` along axis 0, 1 or 2."""
    cosine, sine = math.cos(math.radians(degrees)), math.sin(math.radians(degrees))
    i, j = (axis + 1) % 3, (axis + 2) % 3

    def distance(*point):
        turned = list(point)
        a, b = point[i] - about[i], point[j] - about[j]
        turned[i], turned[j] = about[i] + cosine * a + sine * b, about[j] - sine * a + cosine * b
        return part(*turned)
    return distance


class Solid:
    """Parts in the order in which they are added and carved. It is its own mirror image in the plane x = 0.

    Parts are described on the side of positive x; `seam` is the width over which the two sides of the plane are made one.
    """

    def __init__(self, seam=0.02):
        self._parts = []
        self._seam = seam

    def add(self, part, blend):
        """`blend`: how near to one another surfaces begin to melt together."""
        self._parts.append((1.0, part, blend))
        return self

    def carve(self, part, blend):
        self._parts.append((-1.0, part, blend))
        return self

    def distance(self, x, y, z):
        x = math.sqrt(x * x + self._seam * self._seam)
        value = 1e9
        for sign, part, blend in self._parts:
            other = part(x, y, z)
            # Carving is the addition of the part to what is outside.
            a, b = sign * value, other
            overlap = blend - abs(a - b)
            least = a if a < b else b
            if overlap > 0.0:
                least -= overlap * overlap * 0.25 / blend
            value = sign * least
        return value

    def near(self, point, radius):
        """The solid with those of its parts alone that shape its surface within `radius` of the point."""
        x, y, z = point
        x = math.sqrt(x * x + self._seam * self._seam)
        slack = 3.0 * radius  # both distances may change by the radius; those to long ellipsoids are inexact
        solid, value = Solid(self._seam), 1e9
        for part in self._parts:
            sign, distance, blend = part
            a, b = sign * value, distance(x, y, z)
            if b >= a + blend + slack:
                continue
            if sign > 0.0 and a >= b + blend + slack:
                solid._parts.clear()  # the part hides all before it
            solid._parts.append(part)
            overlap = blend - abs(a - b)
            value = sign * (min(a, b) - (overlap * overlap * 0.25 / blend if overlap > 0.0 else 0.0))
        return solid

    def gradient(self, x, y, z, step=1e-3):
        """Towards the outside, about 1 long."""
        a = self.distance(x + step, y - step, z - step)
        b = self.distance(x - step, y - step, z + step)
        c = self.distance(x - step, y + step, z - step)
        d = self.distance(x + step, y + step, z + step)
        scale = 0.25 / step
        return ((a - b - c + d) * scale, (c + d - a - b) * scale, (b + d - a - c) * scale)

    def normal(self, x, y, z):
        gx, gy, gz = self.gradient(x, y, z)
        length = math.sqrt(gx * gx + gy * gy + gz * gz) or 1.0
        return (gx / length, gy / length, gz / length)

    def surface_towards(self, inside, direction, reach=10.0):
        """Where a line from a point inside first leaves the solid; None when it does not within `reach`."""
        at = lambda t: self.distance(*(p + t * d for p, d in zip(inside, direction)))
        low, high = 0.0, 0.0
        while at(high) < 0.0:
            low, high = high, high + max(0.02, -0.7 * at(high))
            if high > reach:
                return None
        for _ in range(30):
            middle = 0.5 * (low + high)
            low, high = (middle, high) if at(middle) < 0.0 else (low, middle)
        return tuple(p + high * d for p, d in zip(inside, direction))

    def mesh(self, lines, texcoord):
        """Its surface: vertices in the cells between `lines`, three ascending lists along x, y and z.

        Those along x begin at 0 and are mirrored. `texcoord(point, normal) -> (u, v)`.
        """
        return _Net(self, lines).mesh(texcoord)


def spaced(*spans):
    """Lines of spans (from, to, distance), each of which begins where the one before it ends."""
    lines = [spans[0][0]]
    for first, last, step in spans:
        count = max(1, round((last - first) / step))
        lines += [first + (last - first) * (k + 1) / count for k in range(count)]
    return lines


class _Net:
    """Surface net of a solid over cells; cells of negative x take their vertices from those across the plane."""

    BLOCK = 4  # cells along a side of what is searched, or skipped, together

    def __init__(self, solid, lines):
        self._solid = solid
        self._lines = lines
        self._values = {}    # at the corners of cells
        self._vertices = {}  # of cells: point and normal

    def mesh(self, texcoord):
        starts = [range(0, len(line) - 1, self.BLOCK) for line in self._lines]
        for i in starts[0]:
            for j in starts[1]:
                for k in starts[2]:
                    self._search((i, j, k))
        return self._assembled(texcoord)

    def _search(self, start):
        spans = [line[s:s + self.BLOCK + 1] for line, s in zip(self._lines, start)]
        centre = [0.5 * (span[0] + span[-1]) for span in spans]
        radius = 0.5 * math.dist([span[0] for span in spans], [span[-1] for span in spans])
        if abs(self._solid.distance(*centre)) > 2.0 * radius:
            return
        solid = self._solid.near(centre, radius)
        for i, x in enumerate(spans[0], start[0]):
            for j, y in enumerate(spans[1], start[1]):
                for k, z in enumerate(spans[2], start[2]):
                    if (i, j, k) not in self._values:
                        self._values[i, j, k] = solid.distance(x, y, z)
        for i in range(start[0], start[0] + len(spans[0]) - 1):
            for j in range(start[1], start[1] + len(spans[1]) - 1):
                for k in range(start[2], start[2] + len(spans[2]) - 1):
                    self._place((i, j, k), solid)

    def _place(self, cell, solid):
        """The vertex of a cell that the surface crosses: the mean of the crossings on its edges, moved onto it."""
        i, j, k = cell
        corners = [(i + a, j + b, k + c) for a in (0, 1) for b in (0, 1) for c in (0, 1)]
        values = [self._values[corner] for corner in corners]
        if (min(values) < 0.0) == (max(values) < 0.0):
            return
        xs, ys, zs = self._lines
        places = [(xs[a], ys[b], zs[c]) for a, b, c in corners]
        sums, crossings = [0.0, 0.0, 0.0], 0
        for first in range(8):
            for bit in (1, 2, 4):
                last = first | bit
                a, b = values[first], values[last]
                if last == first or (a < 0.0) == (b < 0.0):
                    continue
                t = a / (a - b)
                crossings += 1
                for axis in range(3):
                    sums[axis] += places[first][axis] + t * (places[last][axis] - places[first][axis])
        x, y, z = (s / crossings for s in sums)
        largest = math.dist(places[0], places[7]) * 0.5
        for _ in range(2):
            gx, gy, gz = solid.gradient(x, y, z)
            squared = max(gx * gx + gy * gy + gz * gz, 0.1)
            step = max(-largest, min(largest, solid.distance(x, y, z))) / squared
            x, y, z = max(0.2 * xs[1], x - step * gx), y - step * gy, z - step * gz
        self._vertices[cell] = ((x, y, z), solid.normal(x, y, z))

    def _assembled(self, texcoord):
        mesh, numbers = Mesh(), {}
        for (i, j, k), ((x, y, z), (nx, ny, nz)) in self._vertices.items():
            for column, side in ((i, 1.0), (-1 - i, -1.0)):
                numbers[column, j, k] = len(mesh.points)
                point, normal = (side * x, y, z), (side * nx, ny, nz)
                mesh.points.append(point)
                mesh.normals.append(normal)
                mesh.texcoords.append(texcoord(point, normal))
        for corner, value in self._values.items():
            for axis in range(3):
                end = tuple(c + (a == axis) for a, c in enumerate(corner))
                if end in self._values and (value < 0.0) != (self._values[end] < 0.0):
                    self._add_quad(mesh, numbers, corner, axis, value < 0.0)
        return mesh

    @staticmethod
    def _add_quad(mesh, numbers, corner, axis, leaves):
        """Joins the four cells around an edge that crosses the surface, outwards along its axis or inwards."""
        b, c = (axis + 1) % 3, (axis + 2) % 3
        around = []
        for up, over in ((-1, -1), (0, -1), (0, 0), (-1, 0)):
            cell = list(corner)
            cell[b] += up
            cell[c] += over
            around.append(tuple(cell))
        for mirrored in (False, True):
            cells = [(-1 - i, j, k) if mirrored else (i, j, k) for i, j, k in around]
            quad = [numbers.get(cell) for cell in cells]
            if None in quad or (mirrored and corner[0] == 0 and axis != 0):
                continue  # at the end of the lines; edges within the plane are their own mirror image
            if leaves == mirrored:
                quad.reverse()
            p = [mesh.points[v] for v in quad]
            if math.dist(p[0], p[2]) > math.dist(p[1], p[3]):
                quad = quad[1:] + quad[:1]
            mesh.triangles += [(quad[0], quad[1], quad[2]), (quad[0], quad[2], quad[3])]
