# SPDX-License-Identifier: Apache-2.0
"""Writes what a view layer of Blender shows as a scene."""

import dataclasses
import os

from . import camera, lights, mattes, meshes, passes, scene_text, snapshot, strands, world
from .images import Images
from .materials import Materials


class ExportError(Exception):
    """What keeps the scene from being rendered, and what to do about it."""


@dataclasses.dataclass
class Job:
    """What is written."""
    layers: list  # of passes.Layer
    prefix: str  # of frame buffers' names
    width: int  # pixels of the picture
    height: int
    folder: str  # for images that are in no file
    camera: object  # object of Blender
    names: mattes.Names = dataclasses.field(default_factory=mattes.Names)  # filled in when it is written


def shutter_of(scene, layers):
    """Frames from the scene's own to the shutter's opening and closing; None where neither picture nor layers show motion."""
    moving = {layer.name for layer in layers if layer.source.startswith("motionVector")}
    if not scene.render.use_motion_blur and moving <= {passes.MOTION}:
        return (0.0, 1.0) if moving else None  # the picture is that of the frame, movement that to the next one
    length = scene.render.motion_blur_shutter
    begin = {"START": 0.0, "CENTER": -length / 2, "END": -length}[scene.orca.shutter_position]
    return begin, begin + length


@dataclasses.dataclass
class _Placed:
    """An object at a place, printed once all that it refers to is."""
    key: tuple
    original: object  # of Blender
    matrix: object
    element: str  # name of the object
    materials: list  # names
    flags: list  # statements
    collections: list  # names of those that layers ask for
    emission: str  # as a parameter's value; empty: it is no light
    light_group: str


class _SceneExport:
    """One scene; its parts are printed in the order in which they are needed."""

    def __init__(self, stream, depsgraph, job, losses):
        self._depsgraph = depsgraph
        self._scene = depsgraph.scene_eval
        self._view_layer = depsgraph.view_layer_eval
        self._settings = self._scene.orca
        self._job = job
        self._losses = losses
        self._text = scene_text.SceneText(stream)
        self._setup = passes.PassSetup(job.layers, job.prefix)
        self._frame = self._scene.frame_current
        self._images = Images(self._text, losses, self._frame, job.folder)
        self._numbers = snapshot.MeshNumbers()
        self._objects = {}  # names of objects by mesh; None for a mesh without triangles
        self._links = {}  # names of data blocks by what they leave out
        self._members = []  # of the root group
        self._later = snapshot.Later()
        wanted = {layer.collection for layer in job.layers if layer.collection}
        self._collections = {c.name: {o.name_full for o in c.all_objects} for c in self._scene.collection.children_recursive
                             if c.name in wanted}

    def write(self, go):
        """Prints the scene. go(frame): brings the depsgraph to a moment."""
        if self._scene.render.use_multiview:
            self._losses.add("stereo views, which all are the camera's own")
        shutter = shutter_of(self._scene, self._job.layers)
        eye = self._job.camera
        if shutter:
            go(self._frame + shutter[1])
            self._later = snapshot.later_of(self._depsgraph)
            later_eye = eye.evaluated_get(self._depsgraph).matrix_world.copy()
            go(self._frame + shutter[0])
        names = {part: self._text.name(part) for part in ("settings", "camera", "camera here", "passes", "scene")}
        self._text.print(scene_text.HEAD)
        self._options(names["settings"])
        self._world = world.World(self._text, self._images, self._losses, self._scene.world, self._settings.light_samples)
        # Where the picture is to have no background, reflections still show it.
        hidden = self._scene.render.film_transparent
        self._materials = Materials(self._text, self._images, self._losses, self._setup.material_shaders,
                                    self._world.environment if hidden else "", (self._settings.reflections, self._settings.refractions))
        self._things()
        if self._world.dome:
            self._light_instance("dome here", self._world.dome, self._scene.world.lightgroup)
        self._setup.write(self._text, names["passes"])
        view = eye.evaluated_get(self._depsgraph)
        picture = camera.picture_of(self._scene.render, self._job.width, self._job.height)
        camera.write(self._text, names["camera"], view, view.matrix_world, self._scene, picture, self._frame,
                     self._setup.camera_statements(names["passes"]), "" if hidden else self._world.environment, self._losses)
        self._text.print(f'instance "{names["camera here"]}" "{names["camera"]}"')
        self._text.transform(scene_text.rigid(view.matrix_world))
        if shutter and later_eye != view.matrix_world:
            self._text.transform(scene_text.rigid(later_eye), "motion transform")
        self._text.print("end instance\n")
        self._members.append(names["camera here"])
        self._text.print(f'instgroup "{names["scene"]}"')
        for member in self._members:
            self._text.print(f'    "{member}"')
        self._text.print(f'end instgroup\n\nrender "{names["scene"]}" "{names["camera here"]}" "{names["settings"]}"')

    def _options(self, name):
        s = self._settings
        contrast = " ".join([f"{s.contrast:.6g}"] * 4)
        motion = ""
        if shutter_of(self._scene, self._job.layers):
            blurs = scene_text.switch(self._scene.render.use_motion_blur)
            motion = f"    motion {blurs}  motion steps {s.motion_steps}  shutter 0 1\n"
        gather = ""
        if s.indirect_light:
            gather = (f"    finalgather on  finalgather accuracy {s.gather_rays}  finalgather presample density {s.gather_density:.6g}\n"
                      f"    finalgather trace depth {s.reflections} {s.refractions} {s.trace_sum} {s.gather_bounces - 1}\n")
        self._text.print(f'options "{name}"\n    object space\n    samples {s.samples_min} {s.samples_max}  contrast {contrast}\n'
                         f"    filter {s.filter.lower()} {s.filter_size:.6g} {s.filter_size:.6g}\n"
                         f"    trace on  trace depth {s.reflections} {s.refractions} {s.trace_sum}  shadow on\n{motion}{gather}"
                         f'    state "velaBaseState" ( "additivePasses" on )\n          "orcaFrameBufferState" ( ){self._setup.state_shaders}\n'
                         "end options\n")

    def _things(self):
        """Prints objects, lights and materials, then the instances that place them."""
        placed = []
        for shown in snapshot.shown_things(self._depsgraph):
            kind = shown.thing.type
            if not scene_text.is_invertible(shown.matrix):
                continue
            if kind == "LIGHT":
                self._light(shown)
            elif kind in snapshot.MESH_TYPES:
                element = self._object(shown)
                if element:
                    placed.append(self._placed(shown, element))
                placed += self._particle_hairs(shown)
            elif kind == "CURVES":
                element = self._hairs(("curves", shown.thing.data.as_pointer()), shown.thing.data.name, strands.of_curves, shown.thing.data)
                if element:
                    placed.append(dataclasses.replace(self._placed(shown, element), emission=""))
            elif snapshot.UNSUPPORTED.get(kind):
                self._losses.add(snapshot.UNSUPPORTED[kind], shown.thing.name)
            self._note_losses(shown.thing)
        for each in placed:
            self._instance(each)

    def _note_losses(self, thing):
        for system in getattr(thing, "particle_systems", ()):
            if system.settings.render_type in {"HALO", "LINE"} or (system.settings.type != "HAIR" and system.settings.render_type == "PATH"):
                self._losses.add("particles that are no objects", thing.name)

    # --- objects ---

    def _slots(self, thing):
        override = self._view_layer.material_override
        if override:
            return [override]
        return [slot.material for slot in thing.material_slots] or [None]

    def _object(self, shown):
        """Name of the object for what is shown, printed with its first use."""
        key = self._numbers.key(shown)
        if key not in self._objects:
            with snapshot.evaluated_mesh(shown.thing, self._depsgraph) as mesh:
                wanted = self._materials.wanted(self._slots(shown.thing))
                found = meshes.triangles(mesh, wanted, self._later.positions.get(key)) if mesh else None
                self._objects[key] = None
                if found is not None:
                    name = self._objects[key] = self._text.name(shown.thing.data.name)
                    meshes.write(self._text, name, found)
        return self._objects[key]

    def _hairs(self, key, wanted, make, *of):
        """Name of the object for the hairs that make(*of) gives, printed with its first use; None where there are none."""
        if key not in self._objects:
            found = make(*of)
            self._objects[key] = None
            if found is not None:
                name = self._objects[key] = self._text.name(wanted)
                self._text.hairs(name, found.points, found.starts)
        return self._objects[key]

    def _particle_hairs(self, shown):
        """The hairs of a thing's particle systems, each with the material that its settings name."""
        thing = shown.thing
        placed = []
        for number, system in enumerate(getattr(thing, "particle_systems", ())):
            if system.settings.type != "HAIR" or system.settings.render_type != "PATH":
                continue
            key = ("particles", thing.name_full, number)
            element = self._hairs(key, f"{thing.name} {system.name}", strands.of_particles, thing, system)
            if element:
                own = self._placed(shown, element)
                slot = min(max(system.settings.material - 1, 0), len(own.materials) - 1)
                placed.append(dataclasses.replace(own, materials=[own.materials[slot]], emission=""))
        return placed

    def _materials_of(self, shown):
        thing = shown.thing
        if thing.is_shadow_catcher:
            return [self._materials.special("catcher")]
        if shown.owner.holdout_get(view_layer=self._depsgraph.view_layer):
            return [self._materials.special("holdout")]
        names = [self._materials.name(material) for material in self._slots(thing)]
        for name, material in zip(names, self._slots(thing)):
            self._job.names.add_material(name, material)
        return names

    def _flags(self, shown):
        """Statements of an instance that say which rays see the object."""
        thing = shown.thing
        is_hidden = not thing.visible_camera or shown.owner.indirect_only_get(view_layer=self._depsgraph.view_layer)
        flags = ["visible off"] if is_hidden else []
        flags += [] if thing.visible_shadow else ["shadow off"]
        flags += [] if thing.visible_glossy else ["reflection 2"]
        flags += [] if thing.visible_transmission else ["refraction 2"]
        flags += [] if thing.visible_diffuse else ["finalgather 2"]
        if any(layer.source == "label" for layer in self._job.layers):
            flags.append(f"tag {thing.pass_index}")
        return flags

    def _placed(self, shown, element):
        thing = shown.thing
        slots = self._slots(thing)
        emission = self._materials.emission(slots[0]) if len(slots) == 1 and self._settings.mesh_lights else ""
        if len(slots) > 1 and any(self._materials.emission(slot) for slot in slots):
            self._losses.add("light on other things from meshes with several materials, of which some emit", thing.name)
        return _Placed(shown.key, shown.original, shown.matrix, element, self._materials_of(shown), self._flags(shown), self._collections_of(shown),
                       emission, shown.original.lightgroup)

    def _instance(self, placed):
        links = self._link_block(self._setup.left_out_of(collections=placed.collections))
        materials = placed.materials
        listed = f'"{materials[0]}"' if len(materials) == 1 else "[ " + ", ".join(f'"{m}"' for m in materials) + " ]"
        # Gathered light would bring a second time what emitters send as lights.
        flags = placed.flags + (["finalgather 2"] if placed.emission and "finalgather 2" not in placed.flags else [])
        name = self._text.name(placed.key[0] + " here")
        self._text.print(f'instance "{name}" "{placed.element}"\n    material {listed}' + "".join(f"  {flag}" for flag in flags) + links)
        self._text.transform(placed.matrix)
        later = self._later.matrices.get(placed.key)
        if later is not None and later != placed.matrix and scene_text.is_invertible(later):
            self._text.transform(later, "motion transform")
        self._text.print("end instance")
        self._members.append(name)
        self._job.names.add_instance(name, placed.original)
        if placed.emission:
            light = self._text.name(placed.key[0] + " light")
            lights.write_emitter(self._text, light, name, placed.emission, self._settings.light_samples)
            self._light_instance(light + " here", light, placed.light_group)

    def _collections_of(self, shown):
        names = {shown.original.name_full, shown.key[1]}
        return [name for name, members in self._collections.items() if members & names]

    def _link_block(self, left_out):
        """The statement of an instance that keeps it out of some layers."""
        if not left_out:
            return ""
        key = tuple(left_out)
        if key not in self._links:
            self._links[key] = self._text.name("links")
            listed = ", ".join(f'"{buffer}"' for buffer in key)
            self._text.print(f'data "{self._links[key]}" "orcaPassLinks" ( "exclude" [ {listed} ] ) end data')
        return f'  data "{self._links[key]}"'

    # --- lights ---

    def _light(self, shown):
        if self._later.matrices.get(shown.key, shown.matrix) != shown.matrix:
            self._losses.add("motion of lights", shown.thing.name)
        name = self._text.name(shown.thing.data.name)
        lights.write(self._text, name, shown.thing, self._settings.shadow_rays, shown.matrix, self._losses)
        self._light_instance(shown.key[0] + " here", name, shown.original.lightgroup, lights.placement(shown.thing, shown.matrix),
                             shown.original, lights.flags(shown.thing))

    def _light_instance(self, wanted, light, group, placement=None, original=None, flags=""):
        links = self._link_block(self._setup.left_out_of(light_group=group))
        name = self._text.name(wanted)
        self._text.print(f'instance "{name}" "{light}"{flags}{links}')
        if placement is not None:
            self._text.transform(placement)
        self._text.print("end instance")
        self._members.append(name)
        if original:
            self._job.names.add_instance(name, original)


def write_scene(path, depsgraph, job, go, losses):
    """Writes the scene of the depsgraph's view layer to a file.

    go: function that brings the depsgraph to a frame (a float), for motion blur; the caller brings it back
    losses: scene_text.Losses, which receives what the scene leaves out
    Raises ExportError where there is nothing to render with, OSError where the file cannot be written.
    """
    if job.camera is None:
        raise ExportError("the scene has no camera: choose one in the properties of the scene")
    for name in (job.prefix, *(layer.name for layer in job.layers)):
        if '"' in name or "\\" in name:
            raise ExportError(f"names of view layers and passes cannot hold quotation marks and backslashes: rename {name.rstrip('.')}")
    os.makedirs(os.path.dirname(path) or ".", exist_ok=True)
    with open(path, "wb") as stream:
        _SceneExport(stream, depsgraph, job, losses).write(go)
