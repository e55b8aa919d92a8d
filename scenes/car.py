# SPDX-License-Identifier: Apache-2.0
"""A coupe in metres: x forward, y up, on y = 0. The body is a subdivision surface; wheels are meshes."""

import math

from mesh import Mesh, curve_through
from shapes import TURN, revolved

WHEEL_RADIUS = 0.335
AXLES = (-1.32, 1.36)   # x of the wheels' centres
TRACK = 0.80            # z of the middles of the wheels
ARCH = 0.385            # radius of the openings above them

# Cross-sections from tail to nose, each a row of (y, z) points from below the door to the middle of the roof: x, half the
# width, height of the belt line below the windows, height in the middle, and (y, z) of the upper edge of the side windows;
# without one the section has no roof.
_SECTIONS = [(-1.95, 0.905, 0.905, 0.965, None),
             (-1.72, 0.945, 0.930, 1.020, None), (-1.60, 0.960, 0.945, 1.060, None), (-1.32, 0.965, 0.955, 1.135, (1.040, 0.650)),
             (-1.04, 0.950, 0.950, 1.190, (1.103, 0.605)), (-0.92, 0.940, 0.945, 1.216, (1.128, 0.590)),
             (-0.55, 0.920, 0.930, 1.262, (1.178, 0.565)), (-0.10, 0.915, 0.915, 1.272, (1.190, 0.555)),
             (0.35, 0.920, 0.900, 1.222, (1.145, 0.565)), (0.96, 0.940, 0.882, 0.935, (0.915, 0.680)),
             (1.08, 0.950, 0.868, 0.905, None), (1.36, 0.955, 0.842, 0.858, None), (1.64, 0.940, 0.800, 0.800, None),
             (1.76, 0.915, 0.768, 0.762, None)]
_ARCH_SECTIONS = {-1.32: (1, 5), 1.36: (9, 13)}  # first and last of the sections over each axle

# The ends: for each row x, y and z.
_TAIL = [[(-1.93, 0.18, 0.62), (-1.96, 0.20, 0.72), (-1.99, 0.22, 0.72), (-2.02, 0.24, 0.69), (-2.06, 0.26, 0.63), (-2.11, 0.27, 0.48),
          (-2.12, 0.27, 0.42), (-2.15, 0.28, 0.21), (-2.16, 0.28, 0.0)],
         [(-1.93, 0.18, 0.68), (-1.98, 0.26, 0.80), (-2.02, 0.42, 0.82), (-2.06, 0.55, 0.80), (-2.11, 0.62, 0.72), (-2.18, 0.645, 0.54),
          (-2.195, 0.65, 0.47), (-2.22, 0.66, 0.24), (-2.225, 0.66, 0.0)],
         [(-1.92, 0.18, 0.70), (-1.96, 0.26, 0.84), (-1.99, 0.50, 0.865), (-2.01, 0.76, 0.855), (-2.07, 0.885, 0.78), (-2.14, 0.925, 0.58),
          (-2.15, 0.93, 0.50), (-2.18, 0.94, 0.25), (-2.19, 0.945, 0.0)]]
_NOSE = [[(1.90, 0.17, 0.66), (1.93, 0.24, 0.80), (1.935, 0.40, 0.835), (1.95, 0.56, 0.825), (1.985, 0.655, 0.73), (2.05, 0.672, 0.53),
          (2.065, 0.672, 0.46), (2.095, 0.665, 0.23), (2.105, 0.66, 0.0)],
         [(1.90, 0.17, 0.66), (1.95, 0.24, 0.77), (1.98, 0.34, 0.785), (2.01, 0.42, 0.755), (2.07, 0.46, 0.665), (2.155, 0.475, 0.49),
          (2.17, 0.475, 0.42), (2.215, 0.475, 0.21), (2.225, 0.475, 0.0)],
         [(1.88, 0.16, 0.64), (1.92, 0.17, 0.72), (1.95, 0.18, 0.71), (1.985, 0.185, 0.67), (2.03, 0.19, 0.60), (2.11, 0.195, 0.45),
          (2.125, 0.195, 0.39), (2.165, 0.20, 0.20), (2.175, 0.20, 0.0)]]
_ROWS = 9


def _section(x, width, belt, middle, window):
    points = [(0.17, 0.80 * width), (0.25, 0.955 * width), (0.50, 0.972 * width), (belt - 0.13, width),
              (belt, (0.90 if window else 0.85) * width)]
    if window:
        y, z = window
        points += [(y, z), (y + 0.028, z - 0.055), (middle - 0.012, 0.52 * z), (middle, 0.0)]
    else:
        rise = middle - belt
        points += [(belt + 0.55 * rise + 0.012, 0.62 * width), (belt + 0.68 * rise + 0.014, 0.54 * width),
                   (middle + 0.003, 0.28 * width), (middle, 0.0)]
    return [[x, y, z] for y, z in points]


def _arched(sections):
    """Moves the lower rows over the axles to the edges of the openings."""
    for axle, (first, last) in _ARCH_SECTIONS.items():
        # The smooth curve runs inside of the corners between its ends.
        for at, (angle, out, above) in zip(range(first, last + 1), ((197, 1.03, 0.47), (146, 1.13, 0.70), (90, 1.13, 0.82), (34, 1.13, 0.70), (-17, 1.03, 0.47))):
            rocker, side = sections[at][1], sections[at][2]
            rocker[0] = axle + out * ARCH * math.cos(math.radians(angle))
            rocker[1] = WHEEL_RADIUS + out * ARCH * math.sin(math.radians(angle))
            rocker[2] += 0.03
            side[1], side[2] = above, side[2] + 0.02
        sections[first][0][0], sections[last][0][0] = axle - 1.03 * ARCH, axle + 1.03 * ARCH
    return sections


class Cage:
    """Vertices and faces of a subdivision surface, each face with the name of its material."""

    triangles = ()

    def __init__(self):
        self.points = []
        self.faces = []
        self.creases = []

    def scene_text(self, name, label):
        lines = [f'object "{name}"', f"    visible on  shadow on  trace on  tag {label}", "    group"]
        lines += [" ".join(f"{value:.5g}" for value in point) for point in self.points]
        lines.append(" ".join(f"v {k}" for k in range(len(self.points))))
        lines.append('    subdivision surface "body"')
        lines += [f'polygon "{material}" ' + " ".join(map(str, corners)) for material, corners in self.faces]
        lines += [f"crease {sharpness:.1f} " + " ".join(map(str, chain)) for sharpness, chain in self.creases]
        lines += ["    end subdivision surface", '    approximate surface view distance 0.1 angle 6 2 6 "body"',
                  "    end group", "end object", ""]
        return "\n".join(lines)


def _material(column, row):
    """Of the face after a cross-section and above a row."""
    tail, glass = len(_TAIL), "car glass material"
    at = column - tail
    if row == 4 and 4 <= at <= 8:
        return glass                                     # side windows
    if row >= 6 and (at == 8 or 3 <= at <= 4):
        return glass                                     # in front and behind
    if column == tail + len(_SECTIONS) - 1 and row == 4:
        return "car lamp material"
    if column == tail + len(_SECTIONS) + 1 and row >= 5:
        return "car grille material"
    if column == 1 and row >= 5:
        return "car tail lamp material"
    return "car paint material"


def body():
    """The shell, without a floor. Its faces have the materials "car paint material", "car glass material", "car lamp material", "car tail lamp material" and "car grille material"."""
    sections = [*_TAIL, *_arched([_section(*section) for section in _SECTIONS]), *_NOSE]
    cage = Cage()
    for side in (1.0, -1.0):
        _add_half(cage, sections, side)
    return cage


def _add_half(cage, sections, side):
    tail = len(_TAIL)
    numbers = {}
    for column, section in enumerate(sections):
        for row, (x, y, z) in enumerate(section):
            if side < 0.0 and row == _ROWS - 1:
                numbers[column, row] = column * _ROWS + row   # of the other half: the middle is common
                continue
            numbers[column, row] = len(cage.points)
            cage.points.append((x, y, side * z))

    def add(material, corners):
        cage.faces.append((material, corners if side > 0.0 else corners[::-1]))

    spans = [(tail + a, tail + b) for a, b in _ARCH_SECTIONS.values()]
    for column in range(len(sections) - 1):
        for row in range(_ROWS - 1):
            if row == 0 and any(a <= column < b for a, b in spans):
                continue
            add(_material(column, row), [numbers[column, row], numbers[column + 1, row], numbers[column + 1, row + 1], numbers[column, row + 1]])
    for (a, b), axle in zip(spans, _ARCH_SECTIONS):
        edge = [numbers[a, 0], *(numbers[column, 1] for column in range(a, b + 1)), numbers[b, 0]]
        inner = []
        for vertex in edge:
            x, y, z = cage.points[vertex]
            inner.append(len(cage.points))
            cage.points.append((axle + 0.985 * (x - axle), y - 0.004, z - side * 0.14))
        for k in range(len(edge) - 1):
            add("car paint material", [edge[k + 1], edge[k], inner[k], inner[k + 1]])
        cage.creases.append((2.5, edge))
    for row, sharpness in ((4, 1.4), (3, 0.7), (1, 1.0)):
        cage.creases.append((sharpness, [numbers[column, row] for column in range(tail, len(sections) - 2)]))


def tyre():
    """About the z axis, in the plane z = 0."""
    half = [(0.215, -0.095), (0.235, -0.112), (0.275, -0.118), (0.312, -0.108), (0.330, -0.088), (0.335, -0.05), (0.3355, 0.0)]
    return _turned([*half, *((r, -z) for r, z in reversed(half[:-1]))], 128, 72)


def rim():
    """Barrel, ten spokes and hub of a wheel; the outside is towards +z."""
    mesh = _turned([(0.205, -0.09), (0.205, 0.075), (0.222, 0.098), (0.232, 0.100), (0.234, 0.090), (0.226, 0.060), (0.222, -0.09)], 128, 36)
    for spoke in range(10):
        # In pairs that meet at the hub.
        pair, which = divmod(spoke, 2)
        hub = TURN * (pair + 0.5) / 5.0 + (0.13 if which else -0.13)
        edge = TURN * (pair + 0.5) / 5.0 + (0.27 if which else -0.27)
        _add_spoke(mesh, hub, edge)
    _append(mesh, _turned([(0.0, 0.070), (0.040, 0.068), (0.052, 0.060), (0.058, 0.030), (0.058, -0.02), (0.0, -0.02)], 64, 24))
    return mesh


def brake():
    """Disc behind the spokes."""
    return _turned([(0.0, -0.045), (0.165, -0.045), (0.168, -0.043), (0.168, -0.027), (0.165, -0.025), (0.0, -0.025)], 96, 12)


def _turned(profile, columns, rows):
    """Turns (radius, z) about the z axis."""
    mesh = revolved(lambda t: curve_through([(r, z) for r, z in profile], t), columns, rows)
    mesh.points = [(x, -z, y) for x, y, z in mesh.points]
    mesh.normals = [(x, -z, y) for x, y, z in mesh.normals]
    return mesh


def _add_spoke(mesh, hub, edge):
    def rounded(value):
        return math.copysign(abs(value) ** 0.6, value)

    def surface(u, v):
        radius = 0.035 + 0.180 * v
        angle = hub + (edge - hub) * v
        wide, deep = 0.013 + 0.006 * (1.0 - v), 0.016
        across, up = wide * rounded(math.cos(TURN * u)), deep * rounded(math.sin(TURN * u))
        z = 0.050 + 0.030 * v * v + up
        return (radius * math.cos(angle) - across * math.sin(angle), radius * math.sin(angle) + across * math.cos(angle), z)
    mesh.add_grid(28, 12, surface, wraps=True)


def _append(mesh, other):
    base = len(mesh.points)
    mesh.points += other.points
    mesh.normals += other.normals
    mesh.texcoords += other.texcoords
    mesh.triangles += [tuple(base + k for k in triangle) for triangle in other.triangles]
