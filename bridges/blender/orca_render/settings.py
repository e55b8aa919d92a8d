# SPDX-License-Identifier: Apache-2.0
"""Settings that scenes and view layers of Blender keep for this renderer."""

import bpy
from bpy.props import (BoolProperty, CollectionProperty, EnumProperty, FloatProperty, IntProperty, PointerProperty, StringProperty)

from . import passes

SOURCES = [(row[0], row[0], row[1]) for row in passes.MATERIAL_PASSES + passes.UTILITY_PASSES]


class OrcaPass(bpy.types.PropertyGroup):
    """A pass that a view layer asks for."""

    source: EnumProperty(name="Pass", description="What the pass shows", items=SOURCES, default="diffuse")
    name: StringProperty(name="Name", description="Name in the compositor; empty: that of the pass, with the light group and collection")
    enabled: BoolProperty(name="Render", description="Make this pass", default=True)
    light_group: StringProperty(name="Light Group", description="Light of this light group of the view layer alone; empty: of all lights")
    collection: PointerProperty(name="Collection", description="Objects of this collection alone", type=bpy.types.Collection)
    reflections: BoolProperty(name="In Reflections", description="Also what is seen in mirrors; off: what the camera sees directly")
    refractions: BoolProperty(name="In Refractions", description="Also what is seen through refracting surfaces")

    @property
    def layer_name(self):
        """Name of the pass in Blender."""
        parts = [self.source, self.light_group, self.collection.name if self.collection else ""]
        return self.name or "_".join(part for part in parts if part)


class OrcaViewLayer(bpy.types.PropertyGroup):
    """Settings of a view layer."""

    denoising_data: BoolProperty(name="Denoising Data", description="Normal, albedo and depth, for the compositor's Denoise node")
    passes: CollectionProperty(type=OrcaPass)
    active: IntProperty()

    def add(self, source):
        """Adds a pass of the catalogue, unless the view layer has it."""
        if not any(row.source == source and not row.light_group and not row.collection for row in self.passes):
            self.passes.add().source = source


class OrcaScene(bpy.types.PropertyGroup):
    """Settings of a scene."""

    samples_min: IntProperty(name="Min", description="Level of sampling that every pixel has: 4^N samples", default=1, min=-4, max=8)
    samples_max: IntProperty(name="Max", description="Level of sampling where neighbours differ: 4^N samples", default=3, min=-4, max=8)
    contrast: FloatProperty(name="Contrast", description="Difference to be seen at most; less takes more samples", default=0.03, min=0.0001,
                            max=1, precision=3)
    filter: EnumProperty(name="Filter", description="Pixel filter", default="GAUSS",
                         items=[(name.upper(), name.capitalize(), "") for name in ("box", "triangle", "gauss", "mitchell", "lanczos")])
    filter_size: FloatProperty(name="Size", description="Width and height of the filter in pixels", default=3, min=0.1, max=64)
    reflections: IntProperty(name="Reflections", description="Reflections on a path", default=4, min=0, max=600)
    refractions: IntProperty(name="Refractions", description="Refractions on a path", default=8, min=0, max=600)
    trace_sum: IntProperty(name="Both", description="Reflections and refractions together", default=10, min=0, max=600)
    shadow_rays: IntProperty(name="Soft Shadows", description="Rays to soft and area lights for each sample of the picture", default=4,
                             min=1, max=1024)
    light_samples: IntProperty(name="World Light", description="Rows and columns of rays to the world and to emitting meshes", default=4,
                               min=1, max=64)
    mesh_lights: BoolProperty(name="Meshes Light", description="Meshes whose material emits light the scene", default=True)
    indirect_light: BoolProperty(name="Indirect Light", description="Gather light that surfaces send one another", default=False)
    gather_rays: IntProperty(name="Rays", description="Rays for each point that light is gathered at", default=256, min=1, max=65536)
    gather_bounces: IntProperty(name="Bounces", description="Diffuse bounces of the light", default=2, min=1, max=16)
    gather_density: FloatProperty(name="Density", description="Points per 4 x 4 pixels at which light is gathered; 0: at every sample",
                                  default=1, min=0, max=16)
    shutter_position: EnumProperty(name="Position", description="When the shutter is open", default="CENTER", items=[
        ("START", "Start on Frame", "It opens at the frame"), ("CENTER", "Center on Frame", "The frame is its middle"),
        ("END", "End on Frame", "It closes at the frame")])
    motion_steps: IntProperty(name="Steps", description="Parts of the shutter in which things move straight", default=4, min=1, max=128)
    preview_seconds: FloatProperty(name="Preview", default=4, min=0, max=3600,
                                   description="Show how far the picture is at this interval, in seconds; 0: when it is done")
    keep_files: BoolProperty(name="Keep Files", description="Keep the scene and the layered file of each render")
    keep_folder: StringProperty(name="Folder", description="Where they are kept", subtype="DIR_PATH", default="//orca/")


CLASSES = (OrcaPass, OrcaViewLayer, OrcaScene)


def register():
    for cls in CLASSES:
        bpy.utils.register_class(cls)
    bpy.types.Scene.orca = PointerProperty(type=OrcaScene)
    bpy.types.ViewLayer.orca = PointerProperty(type=OrcaViewLayer)


def unregister():
    del bpy.types.ViewLayer.orca
    del bpy.types.Scene.orca
    for cls in reversed(CLASSES):
        bpy.utils.unregister_class(cls)
