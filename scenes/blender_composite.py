# SPDX-License-Identifier: Apache-2.0
"""The shot of docs/tutorial-blender-to-composite.md: renders the still life of blender_still_life.py with light groups and passes, and
builds the compositor nodes that relight it, grade it and take its noise away.

usage: blender -b --python scenes/blender_composite.py -- FOLDER [SHOT.blend]      (after ./orca blender)
Writes the stages as pictures into the folder, and the file with scene and nodes where one is named.
"""
import pathlib
import sys

import bpy

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))
import blender_still_life as still_life  # noqa: E402

PASSES = ("diffuse", "specular", "reflection", "diffuseMaterialColor", "normalWorld")
# What is done to the light of each group: a factor for each channel.
RELIGHT = {"key": (0.55, 0.5, 0.5), "rim": (2.2, 1.5, 0.9), "sky": (0.7, 0.8, 1.2)}
# Parts of the picture that are added once more, or in part taken away.
GRADE = {"specular": 0.8, "diffuse": -0.15}
STAGES = ("rendered", "relit", "graded", "final")


def make_scene():
    scene = still_life.make_scene()
    view_layer = scene.view_layers[0]
    for group in RELIGHT:
        view_layer.lightgroups.add(name=group)
    for lamp in ("key", "rim"):
        bpy.data.objects[lamp].lightgroup = lamp
    scene.world.lightgroup = "sky"
    view_layer.orca.passes.clear()
    for name in PASSES:
        view_layer.orca.passes.add().source = name
    return scene


class Compositor:
    """Nodes that are joined by calls; what they give are sockets."""

    def __init__(self, scene):
        scene.use_nodes = True
        self.tree = scene.node_tree
        self.tree.nodes.clear()
        self.layers = self.node("RLayers")

    def node(self, kind, **settings):
        node = self.tree.nodes.new(f"CompositorNode{kind}")
        for name, value in settings.items():
            setattr(node, name, value)
        return node

    def rendered(self, name):
        return self.layers.outputs[name]

    def mixed(self, blend, first, second, factor=1.0):
        """Two pictures, or a picture and a colour, by a blend type."""
        node = self.node("MixRGB", blend_type=blend)
        node.inputs["Fac"].default_value = factor
        for socket, given in zip(node.inputs[1:3], (first, second)):
            if isinstance(given, tuple):
                socket.default_value = (*given, 1)
            else:
                self.tree.links.new(given, socket)
        return node.outputs["Image"]

    def without_noise(self, picture, guide):
        """Means of neighbours that look alike in the guide."""
        node = self.node("Bilateralblur", iterations=1, sigma_color=0.2, sigma_space=2)
        self.tree.links.new(picture, node.inputs["Image"])
        self.tree.links.new(guide, node.inputs["Determinator"])
        return node.outputs["Image"]

    def write(self, folder, stages):
        files = self.node("OutputFile", base_path=str(folder))
        files.format.file_format = "PNG"
        files.format.color_mode = "RGB"
        files.file_slots.clear()
        for name, picture in stages.items():
            files.file_slots.new(name)
            self.tree.links.new(picture, files.inputs[name])


def build(scene, folder):
    nodes = Compositor(scene)
    relit = None
    for group, factors in RELIGHT.items():
        light = nodes.mixed("MULTIPLY", nodes.rendered(f"Combined_{group}"), factors)
        relit = light if relit is None else nodes.mixed("ADD", relit, light)
    graded = relit
    for name, more in GRADE.items():
        graded = nodes.mixed("ADD" if more > 0 else "SUBTRACT", graded, nodes.rendered(name), abs(more))
    # Surfaces are told apart by their colour, by where they face, and by what is clearly no noise.
    guide = nodes.mixed("ADD", nodes.rendered("diffuseMaterialColor"), nodes.rendered("normalWorld"))
    guide = nodes.mixed("ADD", guide, graded)
    final = nodes.without_noise(graded, guide)
    composite = nodes.node("Composite")
    nodes.tree.links.new(final, composite.inputs["Image"])
    nodes.write(folder, dict(zip(STAGES, (nodes.rendered("Image"), relit, graded, final))))


def main():
    folder, *blend = (pathlib.Path(word).resolve() for word in sys.argv[sys.argv.index("--") + 1:])
    scene = make_scene()
    scene.view_settings.view_transform = "Standard"
    scene.orca.samples_max = 1  # some noise is left for the compositor
    build(scene, folder)
    if blend:
        bpy.ops.wm.save_as_mainfile(filepath=str(blend[0]))
    bpy.ops.render.render()
    for name in STAGES:
        (folder / f"{name}{scene.frame_current:04d}.png").replace(folder / f"{name}.png")


if __name__ == "__main__":
    main()
