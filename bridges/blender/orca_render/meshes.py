# SPDX-License-Identifier: Apache-2.0
"""Meshes as Blender evaluates them, written as lists of triangles."""

import dataclasses
import typing

import numpy


@dataclasses.dataclass
class Wanted:
    """What the materials of a mesh look up on it."""
    uv_map: str = ""  # empty: the one that renders
    colors: str | None = None  # name of a colour attribute; empty: the one that renders; None: no colours


@dataclasses.dataclass
class Triangles:
    """A row of numbers for each vertex (`codes` says of what), three vertices for each triangle, its material's slot."""
    codes: str
    vertices: numpy.ndarray
    corners: numpy.ndarray
    slots: numpy.ndarray

    @property
    def has_slots(self):
        return bool(len(self.slots) and self.slots.max() > 0)


def _read(collection, attribute, width, dtype=numpy.float32):
    values = numpy.empty(len(collection) * width, dtype)
    collection.foreach_get(attribute, values)
    return values.reshape(-1, width) if width > 1 else values


def positions(mesh):
    """Places of the vertices, in the object's space."""
    return _read(mesh.vertices, "co", 3)


def _texture_coordinates(mesh, name):
    """Two numbers for each corner of a face, or None for a mesh without such a map."""
    layers = mesh.uv_layers
    layer = layers.get(name) if name else next((layer for layer in layers if layer.active_render), None)
    if layer is None:
        layer = layers[0] if len(layers) else None
    return None if layer is None else _read(layer.data, "uv", 2)


def _colors(mesh, name, vertex_of_corner):
    """Red, green and blue for each corner of a face, white for a mesh without colours."""
    attributes = mesh.color_attributes
    attribute = attributes.get(name) if name else None
    if attribute is None and len(attributes):
        attribute = attributes[max(attributes.render_color_index, 0)]
    if attribute is None:
        return numpy.ones((len(vertex_of_corner), 3), numpy.float32)
    values = _read(attribute.data, "color", 4)[:, :3]
    return values[vertex_of_corner] if attribute.domain == "POINT" else values


def _weld(rows):
    """The distinct rows, and for each row its place among them.

    Rows are told apart by a hash of their bits; where two different rows have the same, which one in 10^8 meshes of a
    million vertices has, none are joined.
    """
    words = numpy.ascontiguousarray(rows).view(numpy.uint32).astype(numpy.uint64)
    multipliers = numpy.random.default_rng(1).integers(1, 2 ** 63, words.shape[1], numpy.uint64) * numpy.uint64(2) + numpy.uint64(1)
    hashes = (words * multipliers).sum(axis=1, dtype=numpy.uint64)
    hashes ^= hashes >> numpy.uint64(29)
    _, first, place = numpy.unique(hashes, return_index=True, return_inverse=True)
    if not numpy.array_equal(rows[first][place].view(numpy.uint32), numpy.ascontiguousarray(rows).view(numpy.uint32)):
        return rows, numpy.arange(len(rows), dtype=numpy.int32)
    return rows[first], place.astype(numpy.int32)


def triangles(mesh, wanted, moved: typing.Optional[numpy.ndarray] = None):
    """The triangles of an evaluated mesh; None where it has none.

    moved: places of the vertices at the end of the shutter, for a mesh that bends during it
    """
    mesh.calc_loop_triangles()
    if not len(mesh.loop_triangles):
        return None
    mesh.calc_normals_split()
    corners = _read(mesh.loop_triangles, "loops", 3, numpy.int32).ravel()
    slots = _read(mesh.loop_triangles, "material_index", 1, numpy.int32)
    vertex_of_corner = _read(mesh.loops, "vertex_index", 1, numpy.int32)
    places = positions(mesh)

    columns, codes = [places[vertex_of_corner], _read(mesh.loops, "normal", 3)], "p n"
    if moved is not None and moved.shape == places.shape and not numpy.array_equal(moved, places):
        columns.append((moved - places)[vertex_of_corner])
        codes += " m 1"
    uv = _texture_coordinates(mesh, wanted.uv_map)
    if uv is None and wanted.colors is not None:  # so that colours are always the second space
        uv = numpy.zeros((len(vertex_of_corner), 2), numpy.float32)
    if uv is not None:
        columns.append(uv)
        codes += " t 2"
    if wanted.colors is not None:
        columns.append(_colors(mesh, wanted.colors, vertex_of_corner))
        codes += " 3"
    rows = numpy.nan_to_num(numpy.concatenate(columns, axis=1)) + numpy.float32(0)
    vertices, place = _weld(rows)
    corners = place[corners].reshape(-1, 3)

    # Of triangles whose corners are in two places nothing can be seen.
    a, b, c = (vertices[corners[:, k], :3].astype(numpy.float64) for k in range(3))
    seen = (numpy.cross(b - a, c - a) ** 2).sum(axis=1) > 0
    if not seen.any():
        return None
    return Triangles(codes, vertices, corners[seen], slots[seen])


def write(text, name, mesh_triangles):
    """Prints an object; its triangles carry their slots where there are several."""
    text.triangles(name, mesh_triangles.codes, mesh_triangles.vertices, mesh_triangles.corners,
                   mesh_triangles.slots if mesh_triangles.has_slots else None)
