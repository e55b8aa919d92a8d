# SPDX-License-Identifier: Apache-2.0
"""Solids with flat faces, each the intersection of half-spaces: a brilliant and a prism."""

import math

from mesh import Mesh, area_normal
from shapes import TURN


def _clipped(polygon, normal, bound):
    """The part of a polygon below a plane."""
    result = []
    sides = [sum(a * b for a, b in zip(point, normal)) - bound for point in polygon]
    for k, (point, side) in enumerate(zip(polygon, sides)):
        before, side_before = polygon[k - 1], sides[k - 1]
        if (side > 0.0) != (side_before > 0.0):
            t = side_before / (side_before - side)
            result.append(tuple(a + t * (b - a) for a, b in zip(before, point)))
        if side <= 0.0:
            result.append(point)
    return result


def _solid(planes):
    """Mesh of what is below all planes, each a unit normal and a bound."""
    mesh = Mesh()
    for normal, bound in planes:
        nx, ny, nz = normal
        helper = (1.0, 0.0, 0.0) if abs(nx) < 0.7 else (0.0, 1.0, 0.0)
        u = (ny * helper[2] - nz * helper[1], nz * helper[0] - nx * helper[2], nx * helper[1] - ny * helper[0])
        length = math.sqrt(sum(c * c for c in u))
        u = tuple(c / length for c in u)
        v = (ny * u[2] - nz * u[1], nz * u[0] - nx * u[2], nx * u[1] - ny * u[0])
        face = [tuple(bound * n + 9.0 * (a * cu + b * cv) for n, cu, cv in zip(normal, u, v)) for a, b in ((-1, -1), (1, -1), (1, 1), (-1, 1))]
        for other, its_bound in planes:
            if other is not normal and face:
                face = _clipped(face, other, its_bound)
        face = [point for k, point in enumerate(face) if math.dist(point, face[k - 1]) > 1e-6]
        if len(face) < 3:
            continue  # others cut it off
        first = len(mesh.points)
        mesh.points += face
        mesh.normals += [normal] * len(face)
        mesh.texcoords += [(sum(a * b for a, b in zip(p, u)), sum(a * b for a, b in zip(p, v))) for p in face]
        mesh.triangles += [(first, first + k, first + k + 1) for k in range(1, len(face) - 1) if area_normal(*face[:1], *face[k:k + 2]) != (0.0, 0.0, 0.0)]
    return mesh


def _ring(count, offset, elevation, bound):
    """Planes all around whose normals rise by `elevation` degrees."""
    rise = math.radians(elevation)
    return [((math.cos(rise) * math.cos(TURN * (k + offset) / count), math.sin(rise), math.cos(rise) * math.sin(TURN * (k + offset) / count)), bound)
            for k in range(count)]


def brilliant():
    """Round cut of 57 facets after Tolkowsky, "Diamond Design" (1919): the girdle of radius 1 in the plane y = 0, the table up."""
    crown, pavilion, half_girdle = math.radians(34.5), math.radians(40.75), 0.02

    def through_girdle(angle, radius=1.0):
        """Bound of a plane with this slope through the rim."""
        return math.sin(angle) * radius + math.cos(angle) * half_girdle
    planes = [((0.0, 1.0, 0.0), half_girdle + 0.47 * math.tan(crown))]
    planes += _ring(8, 0.0, 90.0 - 34.5, through_girdle(crown))
    upper, lower, star = math.radians(41.5), math.radians(42.3), math.radians(20.0)
    edge = math.cos(math.pi / 16.0)
    planes += _ring(16, 0.5, 90.0 - 41.5, through_girdle(upper, edge))
    # Stars pass through the corners of the table.
    table_corner = 0.53 / math.cos(math.pi / 8.0)
    planes += _ring(8, 0.5, 90.0 - 20.0, math.sin(star) * table_corner * 1.0 + math.cos(star) * (half_girdle + 0.47 * math.tan(crown)))
    planes += _ring(8, 0.0, -(90.0 - 40.75), through_girdle(pavilion))
    planes += _ring(16, 0.5, -(90.0 - 42.3), through_girdle(lower, edge))
    planes += _ring(64, 0.5, 0.0, 1.0)
    return _solid(planes)


def prism():
    """Equilateral, of height 1 above the origin, its corners 1 from the y axis and a little blunt."""
    return _solid([((0.0, 1.0, 0.0), 1.0), ((0.0, -1.0, 0.0), 0.0), *_ring(3, 0.5, 0.0, 0.5), *_ring(3, 0.0, 0.0, 0.985)])
