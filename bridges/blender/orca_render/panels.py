# SPDX-License-Identifier: Apache-2.0
"""Panels of the render and view layer properties."""

import bpy

from . import mattes, passes
from .engine import OrcaRenderEngine

# Panels of Blender for its old engine that hold nothing of this one's, and those for its other engines that do.
HIDDEN = {"DATA_PT_light", "DATA_PT_area", "DATA_PT_preview", "DATA_PT_falloff_curve", "VIEWLAYER_PT_filter", "VIEWLAYER_PT_layer_passes"}
SHOWN = {"DATA_PT_EEVEE_light", "DATA_PT_camera_dof", "DATA_PT_camera_dof_aperture", "EEVEE_MATERIAL_PT_context_material",
         "EEVEE_MATERIAL_PT_surface", "EEVEE_WORLD_PT_surface", "EEVEE_WORLD_PT_mist"}


class _Panel:
    bl_space_type = "PROPERTIES"
    bl_region_type = "WINDOW"
    COMPAT_ENGINES = {OrcaRenderEngine.bl_idname}

    @classmethod
    def poll(cls, context):
        return context.engine in cls.COMPAT_ENGINES

    def column(self):
        self.layout.use_property_split = True
        self.layout.use_property_decorate = False
        return self.layout.column()


class ORCA_RENDER_PT_sampling(_Panel, bpy.types.Panel):
    bl_label = "Sampling"
    bl_context = "render"

    def draw(self, context):
        settings, column = context.scene.orca, self.column()
        row = column.column(align=True)
        row.prop(settings, "samples_min", text="Samples 4^N Min")
        row.prop(settings, "samples_max")
        for name in ("contrast", "filter", "filter_size", "shadow_rays", "light_samples", "mesh_lights"):
            column.prop(settings, name)


class ORCA_RENDER_PT_rays(_Panel, bpy.types.Panel):
    bl_label = "Light Paths"
    bl_context = "render"

    def draw(self, context):
        settings, column = context.scene.orca, self.column()
        for name in ("reflections", "refractions", "trace_sum"):
            column.prop(settings, name)


class ORCA_RENDER_PT_indirect(_Panel, bpy.types.Panel):
    bl_label = "Indirect Light"
    bl_context = "render"

    def draw_header(self, context):
        self.layout.prop(context.scene.orca, "indirect_light", text="")

    def draw(self, context):
        settings, column = context.scene.orca, self.column()
        column.active = settings.indirect_light
        for name in ("gather_rays", "gather_bounces", "gather_density"):
            column.prop(settings, name)


class ORCA_RENDER_PT_motion(_Panel, bpy.types.Panel):
    bl_label = "Motion Blur"
    bl_context = "render"

    def draw_header(self, context):
        self.layout.prop(context.scene.render, "use_motion_blur", text="")

    def draw(self, context):
        column = self.column()
        column.active = context.scene.render.use_motion_blur
        column.prop(context.scene.render, "motion_blur_shutter")
        column.prop(context.scene.orca, "shutter_position")
        column.prop(context.scene.orca, "motion_steps")


class ORCA_RENDER_PT_film(_Panel, bpy.types.Panel):
    bl_label = "Film and Files"
    bl_context = "render"

    def draw(self, context):
        column = self.column()
        column.prop(context.scene.render, "film_transparent", text="Transparent")
        column.prop(context.scene.orca, "preview_seconds")
        column.prop(context.scene.orca, "keep_files")
        column.prop(context.scene.orca, "keep_folder")


class ORCA_VIEWLAYER_PT_passes(_Panel, bpy.types.Panel):
    bl_label = "Passes"
    bl_context = "view_layer"

    def draw(self, context):
        column = self.column()
        for switch, _ in passes.BLENDER_PASSES:
            column.prop(context.view_layer, switch)
        column.prop(context.view_layer.orca, "denoising_data")
        for switch, _, _ in mattes.MATTES:
            column.prop(context.view_layer, switch, text="Cryptomatte " + switch.rsplit("_", 1)[1].capitalize())
        column.prop(context.view_layer, "pass_cryptomatte_depth", text="Levels")


class ORCA_UL_passes(bpy.types.UIList):
    """Rows of the list of passes."""

    def draw_item(self, context, layout, data, item, icon, active_data, active_property, index=0):
        layout.prop(item, "enabled", text="")
        layout.label(text=item.layer_name)


class ORCA_VIEWLAYER_PT_orca_passes(_Panel, bpy.types.Panel):
    bl_label = "Orca Passes"
    bl_context = "view_layer"

    def draw(self, context):
        settings = context.view_layer.orca
        row = self.layout.row()
        row.template_list("ORCA_UL_passes", "", settings, "passes", settings, "active")
        buttons = row.column(align=True)
        buttons.operator("orca.add_pass", icon="ADD", text="")
        buttons.operator("orca.remove_pass", icon="REMOVE", text="")
        self.layout.operator_menu_enum("orca.add_passes", "which")
        column = self.column()
        if not 0 <= settings.active < len(settings.passes):
            return
        chosen = settings.passes[settings.active]
        column.prop(chosen, "source")
        column.prop(chosen, "name")
        column.prop_search(chosen, "light_group", context.view_layer, "lightgroups")
        for name in ("collection", "reflections", "refractions"):
            column.prop(chosen, name)


class ORCA_VIEWLAYER_PT_light_groups(_Panel, bpy.types.Panel):
    bl_label = "Light Groups"
    bl_context = "view_layer"

    def draw(self, context):
        view_layer, row = context.view_layer, self.layout.row()
        row.template_list("UI_UL_list", "lightgroups", view_layer, "lightgroups", view_layer, "active_lightgroup_index", rows=3)
        buttons = row.column(align=True)
        buttons.operator("scene.view_layer_add_lightgroup", icon="ADD", text="")
        buttons.operator("scene.view_layer_remove_lightgroup", icon="REMOVE", text="")


class ORCA_OBJECT_PT_visibility(_Panel, bpy.types.Panel):
    bl_label = "Orca Visibility"
    bl_context = "object"

    def draw(self, context):
        thing, column = context.object, self.column()
        if thing.type == "LIGHT":
            for name in ("camera", "glossy"):
                column.prop(thing, "visible_" + name, text=name.capitalize())
        else:
            for name in ("camera", "diffuse", "glossy", "transmission", "shadow"):
                column.prop(thing, "visible_" + name, text=name.capitalize())
            column.prop(thing, "is_shadow_catcher")
            column.prop(thing, "is_holdout")
            column.prop(thing, "pass_index")
        column.prop_search(thing, "lightgroup", context.view_layer, "lightgroups", text="Light Group")


class ORCA_WORLD_PT_light_group(_Panel, bpy.types.Panel):
    bl_label = "Light Group"
    bl_context = "world"

    @classmethod
    def poll(cls, context):
        return context.world is not None and super().poll(context)

    def draw(self, context):
        self.column().prop_search(context.world, "lightgroup", context.view_layer, "lightgroups", text="Light Group")


CLASSES = (ORCA_RENDER_PT_sampling, ORCA_RENDER_PT_rays, ORCA_RENDER_PT_indirect, ORCA_RENDER_PT_motion, ORCA_RENDER_PT_film,
           ORCA_VIEWLAYER_PT_passes, ORCA_UL_passes, ORCA_VIEWLAYER_PT_orca_passes, ORCA_VIEWLAYER_PT_light_groups,
           ORCA_OBJECT_PT_visibility, ORCA_WORLD_PT_light_group)


def _shared_panels():
    """The engines of Blender's own panels that this engine shows as well."""
    for panel in bpy.types.Panel.__subclasses__():
        engines, name = getattr(panel, "COMPAT_ENGINES", None), panel.__name__.removeprefix("NODE_")
        if not engines or panel in CLASSES or name in HIDDEN or "freestyle" in name:
            continue
        if "BLENDER_RENDER" in engines or name in SHOWN:
            yield engines


def register():
    for cls in CLASSES:
        bpy.utils.register_class(cls)
    for engines in _shared_panels():
        engines.add(OrcaRenderEngine.bl_idname)


def unregister():
    for engines in _shared_panels():
        engines.discard(OrcaRenderEngine.bl_idname)
    for cls in reversed(CLASSES):
        bpy.utils.unregister_class(cls)
