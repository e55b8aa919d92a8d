# SPDX-License-Identifier: Apache-2.0
"""Where orca-render is."""

import os
import shutil

import bpy
from bpy.props import StringProperty

COMMAND = "orca-render"


class OrcaPreferences(bpy.types.AddonPreferences):
    """Preferences of the add-on."""

    bl_idname = __package__

    command: StringProperty(name="orca-render", description="The renderer's command; empty: the one on the search path",
                            subtype="FILE_PATH")

    def draw(self, context):
        self.layout.prop(self, "command")
        found = command()
        self.layout.label(text=f"Renders with {found}" if found else missing(), icon="CHECKMARK" if found else "ERROR")


def _chosen():
    entry = bpy.context.preferences.addons.get(__package__)
    return bpy.path.abspath(entry.preferences.command) if entry and entry.preferences else ""


def command():
    """Absolute name of orca-render, or None where it is not found."""
    found = shutil.which(_chosen() or COMMAND)
    return os.path.abspath(found) if found else None


def missing():
    """What to say where it is not found."""
    chosen = _chosen()
    where = f"there is no command {chosen}" if chosen else "orca-render is not on the search path"
    return f"{where}: name it in Edit > Preferences > Add-ons > Orca"
