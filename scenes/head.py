# SPDX-License-Identifier: Apache-2.0
"""Head, neck and shoulders of a sleeper, in decimetres: y up, facing +z, the origin between the eyes.

`HEAD` answers where the surface is, for what grows on it; `bust()` is its mesh and `complexion` the tints of its skin.
"""

import functools
import math

from implicit import Solid, ellipsoid, half_space, limb, spaced, tilted
from mesh import curve_through, noise, smooth_step

BASE = -2.75    # height at which the chest ends
CROWN = 1.18


def _chain(solid, points, radius, blend):
    """A bent limb through the points."""
    for first, last in zip(points, points[1:]):
        solid.add(limb(first, last, radius, radius), blend)


def _carve_line(solid, inside, slopes, radius):
    """A furrow of the surface as seen from a point inside, by the slopes of directions (x, y, 1)."""
    points = [solid.surface_towards(inside, (x, y, 1.0)) for x, y in slopes]
    for first, last in zip(points, points[1:]):
        solid.carve(limb(first, last, radius, radius), 0.02)


def _ear():
    ear = Solid(seam=0.0)
    ear.add(ellipsoid((0.755, -0.08, -0.16), (0.035, 0.27, 0.155)), 0.05)
    ear.add(ellipsoid((0.75, -0.33, -0.10), (0.045, 0.085, 0.07)), 0.05)  # lobe
    ear.carve(ellipsoid((0.81, -0.09, -0.11), (0.05, 0.15, 0.085)), 0.04)
    rim = [math.radians(angle) for angle in range(-60, 151, 30)]
    _chain(ear, [(0.775, -0.08 + 0.265 * math.cos(a), -0.16 - 0.15 * math.sin(a)) for a in rim], 0.028, 0.02)
    _chain(ear, [(0.775, 0.05, -0.17), (0.775, -0.08, -0.205), (0.77, -0.22, -0.18)], 0.02, 0.03)
    ear.add(ellipsoid((0.76, -0.12, 0.0), (0.035, 0.045, 0.03)), 0.03)
    standing_out = tilted(ear.distance, (0.70, -0.08, -0.02), 1, -17.0)
    return tilted(standing_out, (0.755, -0.08, -0.16), 0, -12.0)


def _add_skull(solid):
    solid.add(ellipsoid((0.0, 0.40, -0.14), (0.76, 0.77, 0.96)), 0.1)
    solid.add(ellipsoid((0.0, 0.40, 0.24), (0.64, 0.60, 0.62)), 0.25)    # forehead
    solid.add(ellipsoid((0.0, -0.30, 0.22), (0.54, 0.75, 0.62)), 0.25)   # middle of the face
    solid.add(ellipsoid((0.40, -0.15, -0.18), (0.29, 0.50, 0.45)), 0.25) # below the ears
    solid.add(limb((0.47, -0.62, -0.02), (0.13, -1.00, 0.70), 0.13, 0.15), 0.2)
    solid.add(ellipsoid((0.0, -1.00, 0.74), (0.20, 0.17, 0.18)), 0.15)   # chin
    solid.add(ellipsoid((0.46, -0.16, 0.42), (0.21, 0.14, 0.26)), 0.22)  # cheekbones
    solid.add(ellipsoid((0.34, -0.48, 0.50), (0.25, 0.30, 0.28)), 0.2)   # cheeks
    solid.add(limb((0.12, 0.22, 0.79), (0.50, 0.22, 0.57), 0.085, 0.07), 0.12)
    solid.add(ellipsoid((0.0, -0.68, 0.62), (0.33, 0.26, 0.27)), 0.15)   # around the mouth


def _add_eyes(solid):
    solid.carve(ellipsoid((0.30, 0.02, 0.91), (0.19, 0.10, 0.26)), 0.14)
    solid.add(ellipsoid((0.32, 0.07, 0.59), (0.20, 0.11, 0.115)), 0.10)  # below the brow
    solid.add(ellipsoid((0.31, -0.015, 0.57), (0.155, 0.15, 0.152)), 0.045)
    _carve_line(solid, (0.31, -0.015, 0.50), [(-0.50, -0.12), (-0.28, -0.34), (0.0, -0.44), (0.28, -0.35), (0.52, -0.08)], 0.008)


def _add_nose(solid):
    solid.add(limb((0.0, 0.14, 0.755), (0.0, -0.33, 1.02), 0.07, 0.085), 0.09)
    solid.add(ellipsoid((0.0, -0.365, 1.035), (0.10, 0.085, 0.10)), 0.06)
    solid.add(ellipsoid((0.105, -0.40, 0.90), (0.065, 0.07, 0.12)), 0.08)
    solid.add(limb((0.0, -0.42, 0.90), (0.0, -0.40, 1.05), 0.05, 0.045), 0.04)
    solid.carve(ellipsoid((0.065, -0.475, 0.97), (0.032, 0.035, 0.06)), 0.02)


def _add_mouth(solid):
    solid.carve(limb((0.0, -0.49, 0.915), (0.0, -0.57, 0.945), 0.025, 0.03), 0.04)
    solid.add(ellipsoid((0.07, -0.615, 0.885), (0.11, 0.05, 0.075)), 0.03)
    solid.add(limb((0.10, -0.62, 0.87), (0.25, -0.665, 0.755), 0.045, 0.02), 0.03)
    solid.add(ellipsoid((0.0, -0.735, 0.875), (0.15, 0.06, 0.08)), 0.03)
    solid.add(limb((0.10, -0.73, 0.86), (0.24, -0.675, 0.755), 0.05, 0.02), 0.03)
    _carve_line(solid, (0.0, -0.67, 0.55), [(0.0, 0.005), (0.17, 0.012), (0.36, 0.005), (0.62, -0.03), (0.95, -0.025)], 0.011)


def _add_shoulders(solid):
    solid.add(limb((0.0, -0.55, -0.21), (0.0, -2.10, -0.40), 0.45, 0.53), 0.15)
    solid.add(limb((0.58, -0.38, -0.28), (0.10, -2.00, 0.14), 0.12, 0.08), 0.12)  # from behind the ear to the breastbone
    solid.add(limb((0.0, -1.35, 0.06), (0.0, -1.95, 0.10), 0.12, 0.10), 0.12)
    solid.add(limb((0.18, -0.75, -0.42), (1.25, -2.02, -0.50), 0.19, 0.26), 0.3)
    solid.add(ellipsoid((0.70, -2.12, -0.32), (0.80, 0.34, 0.42)), 0.3)
    solid.add(ellipsoid((1.62, -2.42, -0.42), (0.48, 0.52, 0.46)), 0.35)
    solid.add(ellipsoid((0.0, -2.95, -0.28), (1.55, 0.98, 0.72)), 0.35)
    solid.add(limb((0.12, -2.05, 0.24), (1.45, -2.02, -0.10), 0.05, 0.06), 0.2)  # collar bones
    solid.carve(half_space(1, BASE), 0.03)


@functools.cache
def _head():
    solid = Solid()
    _add_skull(solid)
    _add_shoulders(solid)
    solid.add(_ear(), 0.10)
    _add_eyes(solid)
    _add_nose(solid)
    _add_mouth(solid)
    return solid


HEAD = _head()


def texcoord(point, _normal=None):
    """u is the angle from the face, 0, to the back of the head, 1, on either side; v the height."""
    return (abs(math.atan2(point[0], point[2])) / math.pi, (point[1] - BASE) / (CROWN - BASE))


def bust():
    """The whole; cells are small where the face is."""
    return HEAD.mesh((spaced((0.0, 0.16, 0.018), (0.16, 0.46, 0.012), (0.46, 0.54, 0.02), (0.54, 0.92, 0.022), (0.92, 2.24, 0.06)),
                      spaced((-2.85, -2.05, 0.06), (-2.05, -1.1, 0.04), (-1.1, -0.72, 0.02), (-0.72, -0.62, 0.009),
                              (-0.62, -0.14, 0.018), (-0.14, 0.0, 0.009), (0.0, 0.28, 0.018), (0.28, 1.25, 0.04)),
                      spaced((-1.24, -0.36, 0.05), (-0.36, 0.45, 0.026), (0.45, 1.22, 0.018))), texcoord)


def _blot(angle, height, at_angle, at_height, half_angle, half_height):
    """1 in the middle of an ellipse, 0 outside."""
    return 1.0 - smooth_step(0.25, 1.0, math.hypot((angle - at_angle) / half_angle, (height - at_height) / half_height))


def _along(angle, height, knots, width):
    """1 on a line through knots (angle, height), 0 from `width` off; falls off at its ends."""
    first, last = knots[0][0], knots[-1][0]
    if not first < angle < last:
        return 0.0
    t = (angle - first) / (last - first)
    near = 1.0 - smooth_step(0.3 * width, width, abs(height - curve_through(knots, t)[1]))
    return near * smooth_step(0.0, 0.12, t) * smooth_step(0.0, 0.2, 1.0 - t)


def complexion(u, v):
    """Display colour of the skin at texture coordinates: lips, cheeks, lids, brows and lashes."""
    angle, height = 180.0 * u, BASE + v * (CROWN - BASE)
    mottled = 0.5 + 0.5 * noise(0.35 * angle, 9.0 * height, 1.7)
    red = 0.10 * mottled
    red += 0.5 * _blot(angle, height, 38.0, -0.34, 26.0, 0.34) + 0.45 * _blot(angle, height, 0.0, -0.37, 9.0, 0.18)
    red += 0.5 * _blot(angle, height, 101.0, -0.10, 14.0, 0.42) + 0.2 * _blot(angle, height, 25.0, 0.0, 14.0, 0.14)
    upper = _along(angle, height, [(-9.0, -0.635), (0.0, -0.63), (6.0, -0.625), (18.5, -0.668)], 0.055)
    lower = _along(angle, height, [(-9.0, -0.72), (0.0, -0.735), (8.0, -0.73), (18.5, -0.672)], 0.07)
    lips = max(upper, lower)
    brow = _along(angle, height, [(7.0, 0.20), (17.0, 0.245), (29.0, 0.285), (42.0, 0.225)], 0.045 + 0.01 * noise(3.0 * angle, 40.0 * height, 0.0))
    lash = _along(angle, height, [(14.5, -0.045), (19.5, -0.085), (24.2, -0.105), (29.0, -0.085), (35.5, -0.02)], 0.022)
    skin = (0.90 - 0.03 * red, 0.72 - 0.17 * red, 0.60 - 0.17 * red)
    mouth, hair = (0.78, 0.42, 0.38), (0.30, 0.21, 0.16)
    dark = max(0.75 * brow, 0.9 * lash)
    return tuple((s + 0.9 * lips * (m - s)) * (1.0 - dark) + h * dark for s, m, h in zip(skin, mouth, hair))
