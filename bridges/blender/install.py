# SPDX-License-Identifier: Apache-2.0
"""Installs the add-on for the user who runs Blender, enables it and tells it where orca-render is.

usage: blender -b --python install.py [-- COMMAND]
Without COMMAND it is the orca-render that was installed, or built, together with this script, else the one on the search path.
"""
import pathlib
import shutil
import sys

import addon_utils
import bpy

NAME = "orca_render"
HERE = pathlib.Path(__file__).resolve().parent
# From the folder of an installed tree, and from the source tree.
CANDIDATES = (HERE.parent.parent.parent / "bin" / "orca-render", HERE.parent.parent / "build" / "release" / "bin" / "orca-render")


def main():
    arguments = sys.argv[sys.argv.index("--") + 1:] if "--" in sys.argv else []
    command = arguments[0] if arguments else next((str(path) for path in CANDIDATES if path.is_file()), "")
    if command and not shutil.which(command):
        sys.exit(f"install.py: there is no command {command}")
    if NAME in bpy.context.preferences.addons:
        addon_utils.disable(NAME, default_set=True)
    target = pathlib.Path(bpy.utils.user_resource("SCRIPTS", path="addons", create=True)) / NAME
    shutil.rmtree(target, ignore_errors=True)
    shutil.copytree(HERE / NAME, target, ignore=shutil.ignore_patterns("__pycache__"))
    shutil.copytree(HERE.parent / "python" / "orca", target / "orca", ignore=shutil.ignore_patterns("__pycache__"))
    if str(target.parent) not in sys.path:  # a folder that Blender did not find when it started
        sys.path.append(str(target.parent))
    if addon_utils.enable(NAME, default_set=True, persistent=True) is None:
        sys.exit(f"install.py: Blender {bpy.app.version_string} cannot load the add-on; it is for Blender 3.4")
    bpy.context.preferences.addons[NAME].preferences.command = command
    bpy.ops.wm.save_userpref()
    print(f"installed in {target}, renders with {command or 'the orca-render on the search path'}")
    print('In Blender, choose "Orca" as Render Engine in the properties of the render.')


main()
