# SPDX-License-Identifier: Apache-2.0
"""Operators: the list of passes, the export of scenes."""

import os

import bpy
from bpy.props import BoolProperty, EnumProperty, IntProperty, StringProperty
from bpy_extras.io_utils import ExportHelper

from . import engine, passes

SETS = {
    "COMPONENTS": passes.COMPONENTS,
    "MATERIAL": tuple(row[0] for row in passes.MATERIAL_PASSES[1:]),
    "UTILITY": tuple(row[0] for row in passes.UTILITY_PASSES),
}


class ORCA_OT_add_pass(bpy.types.Operator):
    """Add a pass to the view layer"""

    bl_idname = "orca.add_pass"
    bl_label = "Add Pass"
    bl_options = {"REGISTER", "UNDO"}

    def execute(self, context):
        settings = context.view_layer.orca
        settings.passes.add()
        settings.active = len(settings.passes) - 1
        return {"FINISHED"}


class ORCA_OT_remove_pass(bpy.types.Operator):
    """Remove the pass from the view layer"""

    bl_idname = "orca.remove_pass"
    bl_label = "Remove Pass"
    bl_options = {"REGISTER", "UNDO"}

    @classmethod
    def poll(cls, context):
        return bool(context.view_layer.orca.passes)

    def execute(self, context):
        settings = context.view_layer.orca
        settings.passes.remove(settings.active)
        settings.active = max(0, min(settings.active, len(settings.passes) - 1))
        return {"FINISHED"}


class ORCA_OT_add_passes(bpy.types.Operator):
    """Add several passes to the view layer"""

    bl_idname = "orca.add_passes"
    bl_label = "Add Passes"
    bl_options = {"REGISTER", "UNDO"}

    which: EnumProperty(name="Passes", items=[
        ("COMPONENTS", "Components", "The passes that add up to the picture"),
        ("MATERIAL", "All Material Passes", "Every pass that materials feed"),
        ("UTILITY", "All Utility Passes", "Every pass without light")])

    def execute(self, context):
        for source in SETS[self.which]:
            context.view_layer.orca.add(source)
        return {"FINISHED"}


class ORCA_OT_export(bpy.types.Operator, ExportHelper):
    """Write the scene as orca-render reads it"""

    bl_idname = "orca.export"
    bl_label = "Export Orca Scene"
    filename_ext = ".mi"

    filter_glob: StringProperty(default="*.mi", options={"HIDDEN"})
    animation: BoolProperty(name="Frames", description="A file for each frame, with its number in the name")
    first: IntProperty(name="First")
    last: IntProperty(name="Last")

    def invoke(self, context, event):
        self.first, self.last = context.scene.frame_start, context.scene.frame_end
        return super().invoke(context, event)

    def execute(self, context):
        scene = context.scene
        before = scene.frame_current, scene.render.engine
        frames = range(self.first, self.last + 1) if self.animation else [scene.frame_current]
        if not frames:
            self.report({"ERROR"}, f"there are no frames from {self.first} to {self.last}")
            return {"CANCELLED"}
        stem = os.path.splitext(self.filepath)[0]
        scene.render.engine = engine.OrcaRenderEngine.bl_idname
        try:
            for frame in frames:
                scene.frame_set(frame)
                engine.export_path = f"{stem}.{frame:04d}.mi" if self.animation else stem + ".mi"
                # As a render, so that modifiers and instances are those of renders.
                bpy.ops.render.render(layer=context.view_layer.name, scene=scene.name)
        except RuntimeError as problem:
            self.report({"ERROR"}, str(problem).strip())
            return {"CANCELLED"}
        finally:
            engine.export_path = None
            scene.render.engine = before[1]
            scene.frame_set(before[0])
        self.report({"INFO"}, f"wrote {len(frames)} file{'s' if len(frames) > 1 else ''}: {_file_name(stem, frames, self.animation)}")
        return {"FINISHED"}


def _file_name(stem, frames, animation):
    """The name of the files that were written, as orca-render takes it."""
    return f"{stem}.####.mi, --frames {frames[0]}-{frames[-1]}" if animation else stem + ".mi"


CLASSES = (ORCA_OT_add_pass, ORCA_OT_remove_pass, ORCA_OT_add_passes, ORCA_OT_export)


def _menu(self, context):
    self.layout.operator(ORCA_OT_export.bl_idname, text="Orca Scene (.mi)")


def register():
    for cls in CLASSES:
        bpy.utils.register_class(cls)
    bpy.types.TOPBAR_MT_file_export.append(_menu)


def unregister():
    bpy.types.TOPBAR_MT_file_export.remove(_menu)
    for cls in reversed(CLASSES):
        bpy.utils.unregister_class(cls)
