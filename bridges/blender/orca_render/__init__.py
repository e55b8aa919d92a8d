# SPDX-License-Identifier: Apache-2.0
"""Renders scenes of Blender with orca-render, which makes all passes in one render."""

bl_info = {
    "name": "Orca",
    "author": "Orca contributors",
    "version": (0, 1, 0),
    "blender": (3, 4, 0),
    "location": "Properties > Render > Render Engine; File > Export > Orca Scene",
    "description": "Renders with orca-render: multi-pass shaders, layered OpenEXR",
    "category": "Render",
}

import bpy

from . import engine, operators, panels, preferences, settings


def register():
    bpy.utils.register_class(preferences.OrcaPreferences)
    settings.register()
    bpy.utils.register_class(engine.OrcaRenderEngine)
    operators.register()
    panels.register()


def unregister():
    panels.unregister()
    operators.unregister()
    bpy.utils.unregister_class(engine.OrcaRenderEngine)
    settings.unregister()
    bpy.utils.unregister_class(preferences.OrcaPreferences)
