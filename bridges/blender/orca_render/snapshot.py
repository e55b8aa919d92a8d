# SPDX-License-Identifier: Apache-2.0
"""What a dependency graph shows at one moment."""

import dataclasses
import typing

from . import meshes

MESH_TYPES = {"MESH", "CURVE", "SURFACE", "META", "FONT"}
UNSUPPORTED = {"VOLUME": "volume objects", "GPENCIL": "grease pencils", "POINTCLOUD": "point clouds",
               "LIGHT_PROBE": ""}


@dataclasses.dataclass
class Shown:
    """An object or light, at one of the places where it is shown."""
    key: tuple  # the same at other moments
    thing: typing.Any  # evaluated object of Blender; of instances valid only while it is visited
    original: typing.Any  # the object that the file has, for collections and settings
    owner: typing.Any  # the object of the view layer that shows it: of an instance the one that places it
    matrix: typing.Any  # from the thing's space into the world


def shown_things(depsgraph):
    """Everything that renders, one by one."""
    for instance in depsgraph.object_instances:
        thing = instance.object
        if not instance.show_self or (not instance.is_instance and thing.hide_render):
            continue
        parent = instance.parent if instance.is_instance else None
        numbers = tuple(instance.persistent_id) if instance.is_instance else ()
        yield Shown((thing.name_full, parent.name_full if parent else "", numbers), thing, thing.original,
                    (parent or thing).original, instance.matrix_world.copy())


class MeshNumbers:
    """Tells meshes apart: things that show the same evaluated data share one, which is named by the first of them."""

    def __init__(self):
        self._first = {}

    def key(self, shown):
        data = shown.thing.data
        # Text, curves and the like are evaluated for every object by itself.
        number = data.as_pointer() if shown.thing.type == "MESH" else shown.thing.as_pointer()
        return self._first.setdefault(number, shown.key)


@dataclasses.dataclass
class Later:
    """Where everything is at the end of the shutter."""
    matrices: dict = dataclasses.field(default_factory=dict)  # by key of what is shown
    positions: dict = dataclasses.field(default_factory=dict)  # of vertices, by key of the mesh


def later_of(depsgraph):
    """Places of all things and of their vertices."""
    later, numbers = Later(), MeshNumbers()
    for shown in shown_things(depsgraph):
        later.matrices[shown.key] = shown.matrix
        if shown.thing.type not in MESH_TYPES:
            continue
        key = numbers.key(shown)
        if key not in later.positions:
            with evaluated_mesh(shown.thing, depsgraph) as mesh:
                later.positions[key] = meshes.positions(mesh) if mesh else None
    return later


class evaluated_mesh:
    """The mesh that a thing is rendered as, for as long as the block lasts; None where it has none."""

    def __init__(self, thing, depsgraph):
        self._thing = thing
        self._depsgraph = depsgraph

    def __enter__(self):
        try:
            return self._thing.to_mesh(preserve_all_data_layers=False, depsgraph=self._depsgraph)
        except RuntimeError:  # a curve without faces, for instance
            return None

    def __exit__(self, *_):
        self._thing.to_mesh_clear()
