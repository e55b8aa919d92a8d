# SPDX-License-Identifier: Apache-2.0
"""A dressmaker's head that looks along +x, its centre at the origin, and its long hair in the wind."""

import math

from fur import Hairs, _noise, _on_sphere, _sum, _unit
from mesh import Mesh, smooth_step
from shapes import TURN, revolved

_BELOW = -0.62  # height from which on the head is the neck


def _bump(value, middle, width):
    return math.exp(-((value - middle) / width) ** 2)


def _surface(longitude, latitude):
    """Point of the head; angles in radians, the face at longitude 0."""
    side, front = abs(longitude), math.cos(longitude)
    radius = 1.0 - 0.10 * smooth_step(0.2, 1.2, side) * (1.0 - smooth_step(2.2, 3.1, side))  # temples
    jaw = smooth_step(-0.2, -1.1, latitude) if latitude < 0.0 else 0.0
    radius -= 0.16 * jaw * (1.0 - max(0.0, front))
    radius += 0.19 * _bump(side, 0.0, 0.16) * _bump(latitude, -0.22, 0.13)     # nose
    radius += 0.07 * _bump(side, 0.0, 0.11) * _bump(latitude, -0.02, 0.16)     # its bridge
    radius -= 0.07 * _bump(side, 0.38, 0.20) * _bump(latitude, 0.02, 0.11)     # eyes
    radius += 0.05 * _bump(side, 0.0, 0.26) * (_bump(latitude, -0.50, 0.055) + _bump(latitude, -0.62, 0.055))  # lips
    radius += 0.10 * _bump(side, 0.0, 0.34) * _bump(latitude, -0.92, 0.17)     # chin
    across = math.cos(latitude) * radius
    return (0.98 * across * math.cos(longitude), 1.16 * math.sin(latitude) * radius, -0.80 * across * math.sin(longitude))


def head():
    mesh = Mesh()
    mesh.add_grid(128, 128, lambda u, v: _surface(TURN * (u - 0.5), math.pi * (v - 0.5)), wraps=True)
    return mesh


def bust():
    """Neck and shoulders."""
    def profile(t):
        radius = 0.42 + 0.05 * (1.0 - t) + 1.15 * smooth_step(0.55, 0.0, t) ** 2
        return (radius if t < 1.0 else 0.0, -2.75 + 2.35 * t)
    mesh = revolved(profile, 96, 60)
    mesh.points = [(0.8 * x - 0.17 + 0.06 * (y + 1.5), y, z * (1.0 + 0.35 * smooth_step(-1.5, -2.6, y))) for x, y, z in mesh.points]
    return mesh


def _outside(point, clearance):
    """The point, moved out of the head where it is inside."""
    x, y, z = point[0] / 0.98, point[1] / 1.16, point[2] / 0.80
    radius = math.sqrt(x * x + y * y + z * z)
    least = 1.0 + clearance
    if radius >= least or radius == 0.0 or point[1] < _BELOW:
        return point
    return tuple(c * least / radius for c in point)


def _strand(root, out, number, steps):
    """Points of a hair: it leaves the scalp, falls, and is blown toward -x the more, the nearer to its tip."""
    lock = [_noise(number // 40, k) for k in range(4)]  # what a lock has in common
    own = [_noise(number, k) for k in range(4)]
    length = 2.3 + 0.45 * lock[0] + 0.25 * own[0]
    heading = _unit(_sum(_sum(out, (-0.9, 0.25, 0.0)), (0.3 * own[1], 0.2 * own[2], 0.3 * own[3])))
    points, at = [root], root
    for i in range(1, steps + 1):
        t = i / steps
        gust = 0.75 + 0.5 * math.sin(2.3 * t + 1.8 * lock[1]) + 0.25 * lock[2]
        pull = (-1.25 * gust, -0.62 + 0.55 * math.sin(4.2 * t + 2.6 * lock[3]) * t, 0.35 * lock[2] + 0.3 * math.sin(5.0 * t + 3.0 * lock[0]))
        heading = _unit(_sum(heading, pull, 0.42))
        at = _outside(_sum(at, heading, length / steps), 0.035 + 0.05 * t + 0.02 * own[0])
        points.append(_sum(at, (own[1], own[2], own[3]), 0.03 * t))
    return points, lock


def _curves(points):
    """Control points of cubic curves through the points."""
    last = len(points) - 1
    control = [points[0]]
    for i in range(last):
        before, here, there, after = points[max(0, i - 1)], points[i], points[i + 1], points[min(last, i + 2)]
        control.append(_sum(here, _sum(there, before, -1.0), 1.0 / (6.0 if i else 3.0)))
        control.append(_sum(there, _sum(after, here, -1.0), -1.0 / (6.0 if i + 1 < last else 3.0)))
        control.append(there)
    return control


class MovingHairs(Hairs):
    """Hairs without colours, with a displacement of each control point over the shutter."""

    def scene_text(self, name, label):
        each = self.starts[1]
        lines = [f'object "{name}"', f"    visible on  shadow on  trace on  tag {label}",
                 f"    hair degree 3 vertex r m 1 scalars {len(self.numbers)} ["]
        lines += [" ".join("%.4g" % number for number in self.numbers[at:at + each]) for at in self.starts]
        lines += [f"    ] hairs {len(self.starts)} [", " ".join(map(str, self.starts)), "    ] end hair", "end object", ""]
        return "\n".join(lines)


def hair(count=12000, steps=5):
    hairs = MovingHairs()
    spread = int(count * 2.6)
    for number in range(spread):
        x, y, z = _on_sphere(number, spread)
        longitude, latitude = math.atan2(-z, x), math.asin(y)
        line = 0.62 + 0.10 * math.sin(5.0 * longitude) if abs(longitude) < 1.0 else 0.62 - 1.1 * smooth_step(1.0, 2.2, abs(longitude))
        if latitude < line:
            continue
        root = _surface(longitude, latitude)
        out = _unit((root[0] / 0.96, root[1] / 1.35, root[2] / 0.64))
        points, lock = _strand(root, out, number, steps)
        control = _curves(points)
        hairs.starts.append(len(hairs.numbers))
        for k, point in enumerate(control):
            t = k / (len(control) - 1)
            radius = 0.0042 * (1.0 - 0.75 * t ** 2)
            blown = 0.16 * t * t
            hairs.numbers += (*point, radius, -blown * (1.0 + 0.3 * lock[1]), blown * (0.4 + lock[0]), blown * lock[2])
    return hairs
