# SPDX-License-Identifier: Apache-2.0
"""Placements: 4 x 4 matrices for points as columns, from an instance's space into its parent's. They multiply: the right one acts
first. Lengths are scene units, y points up."""

import math

import numpy


def at(x, y, z):
    """Moved."""
    place = numpy.eye(4)
    place[:3, 3] = x, y, z
    return place


def scaled(x, y=None, z=None):
    """Larger, by one number or by three."""
    return numpy.diag([x, x if y is None else y, x if z is None else z, 1.0])


def turned(degrees, axis=(0, 1, 0)):
    """Turned about an axis through the origin, counter-clockwise seen from its tip."""
    x, y, z = numpy.asarray(axis, float) / numpy.linalg.norm(axis)
    cross = numpy.array([[0, -z, y], [z, 0, -x], [-y, x, 0]])
    angle = math.radians(degrees)
    place = numpy.eye(4)
    place[:3, :3] += math.sin(angle) * cross + (1 - math.cos(angle)) * cross @ cross
    return place


def looking(eye, target, up=(0, 1, 0)):
    """Something at `eye` that looks along its own -z at `target`. Raises ValueError where that leaves no direction, or where it
    looks along `up`."""
    back = numpy.subtract(eye, target).astype(float)
    right = numpy.cross(up, back)
    if not numpy.linalg.norm(right) > 1e-12 * max(1.0, numpy.linalg.norm(back)):
        raise ValueError(f"from {tuple(eye)} to {tuple(target)} is no direction that {tuple(up)} can be upright in")
    back /= numpy.linalg.norm(back)
    right /= numpy.linalg.norm(right)
    place = numpy.eye(4)
    place[:3, 0], place[:3, 1], place[:3, 2], place[:3, 3] = right, numpy.cross(back, right), back, eye
    return place


def into_instance(place):
    """The matrix that scene files hold for a placement: into the instance's space, for points as rows. Raises ValueError for one
    that is not 4 x 4 or has no inverse."""
    place = numpy.asarray(place, float)
    if place.shape != (4, 4):
        raise ValueError(f"a placement is a 4 x 4 matrix, not one of shape {place.shape}")
    try:
        return numpy.linalg.inv(place).T
    except numpy.linalg.LinAlgError:
        raise ValueError("the placement has no inverse: it flattens what it places") from None
