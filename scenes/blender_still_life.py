# SPDX-License-Identifier: Apache-2.0
"""Makes a still life in Blender, renders it with the render engine Orca, and puts the picture and four of its passes together.

usage: blender -b --python scenes/blender_still_life.py -- PICTURE.png      (after ./orca blender)
"""
import pathlib
import sys
import tempfile

import bpy
import numpy
from mathutils import Vector

WIDTH, HEIGHT = 640, 360
PASSES = ("diffuse", "specular", "reflection", "shadow")


def material(name, **inputs):
    """A principled surface with the inputs named as the node's, spaces as underscores."""
    result = bpy.data.materials.new(name)
    result.use_nodes = True
    node = result.node_tree.nodes["Principled BSDF"]
    for key, value in inputs.items():
        node.inputs[key.replace("_", " ")].default_value = value
    return result


def add(primitive, surface, smooth=True, **settings):
    getattr(bpy.ops.mesh, f"primitive_{primitive}_add")(**settings)
    thing = bpy.context.object
    thing.data.materials.append(surface)
    if smooth:
        bpy.ops.object.shade_smooth()
    return thing


def turned_to(thing, target):
    thing.rotation_euler = (Vector(target) - thing.location).to_track_quat("-Z", "Y").to_euler()


def checkered(surface):
    """Lays a checker on a surface's base colour."""
    tree = surface.node_tree
    checker, coordinates = tree.nodes.new("ShaderNodeTexChecker"), tree.nodes.new("ShaderNodeTexCoord")
    checker.inputs["Scale"].default_value = 24
    checker.inputs["Color1"].default_value, checker.inputs["Color2"].default_value = (0.55, 0.5, 0.45, 1), (0.3, 0.28, 0.27, 1)
    tree.links.new(coordinates.outputs["UV"], checker.inputs["Vector"])
    tree.links.new(checker.outputs["Color"], tree.nodes["Principled BSDF"].inputs["Base Color"])


def add_things():
    floor = material("floor", Roughness=0.75)
    checkered(floor)
    add("plane", floor, smooth=False, size=12)
    head = add("monkey", material("clay", Base_Color=(0.75, 0.22, 0.1, 1), Roughness=0.35), size=1.6, location=(-0.9, 0.2, 0.68))
    head.rotation_euler = (-0.35, 0, 0.35)
    head.modifiers.new("round", "SUBSURF").render_levels = 3
    glass = material("glass", Base_Color=(0.9, 1, 0.95, 1), Roughness=0.0, Transmission=1.0, IOR=1.45)
    add("uv_sphere", glass, segments=96, ring_count=48, radius=0.55, location=(0.55, -0.55, 0.55))
    gold = material("gold", Base_Color=(1, 0.72, 0.3, 1), Metallic=1.0, Roughness=0.25)
    add("uv_sphere", gold, segments=96, ring_count=48, radius=0.75, location=(1.25, 0.9, 0.75))
    add("torus", material("blue", Base_Color=(0.05, 0.15, 0.6, 1), Roughness=0.2), major_segments=96, minor_segments=32, major_radius=0.42,
        minor_radius=0.14, location=(-0.1, -1.3, 0.14))


def add_light(name, power, size, color, at):
    bpy.ops.object.light_add(type="AREA", location=at)
    lamp = bpy.context.object
    lamp.data.energy, lamp.data.size, lamp.data.color, lamp.name = power, size, color, name
    lamp.visible_camera = False
    turned_to(lamp, (0, 0, 0.5))


def make_scene():
    bpy.ops.object.select_all(action="SELECT")
    bpy.ops.object.delete()
    scene = bpy.context.scene
    add_things()
    add_light("key", 260, 1.5, (1, 0.9, 0.8), (-3, -2.5, 3.5))
    add_light("rim", 160, 1.0, (0.7, 0.85, 1), (3, 2.5, 3))
    scene.world = bpy.data.worlds.new("sky")
    scene.world.color = (0.22, 0.26, 0.32)
    bpy.ops.object.camera_add(location=(0.3, -5.6, 2.3))
    scene.camera = bpy.context.object
    turned_to(scene.camera, (0.1, 0, 0.62))
    scene.camera.data.lens = 42
    scene.camera.data.dof.use_dof, scene.camera.data.dof.focus_distance, scene.camera.data.dof.aperture_fstop = True, 5.6, 1.4
    scene.render.engine = "ORCA"
    scene.render.resolution_x, scene.render.resolution_y, scene.render.resolution_percentage = WIDTH, HEIGHT, 100
    scene.orca.samples_max, scene.orca.light_samples = 2, 3
    for name in PASSES:
        scene.view_layers[0].orca.passes.add().source = name
    return scene


def rendered(scene, folder):
    """The picture and the passes as the compositor writes them, the lower row first."""
    scene.use_nodes = True
    tree = scene.node_tree
    layers, files = tree.nodes["Render Layers"], tree.nodes.new("CompositorNodeOutputFile")
    files.base_path, files.format.file_format = folder, "OPEN_EXR"
    files.file_slots.clear()
    for name in ("Image", *PASSES):
        files.file_slots.new(name)
        tree.links.new(layers.outputs[name], files.inputs[name])
    bpy.ops.render.render()
    for name in ("Image", *PASSES):
        image = bpy.data.images.load(f"{folder}/{name}{scene.frame_current:04d}.exr")
        pixels = numpy.empty(WIDTH * HEIGHT * 4, numpy.float32)
        image.pixels.foreach_get(pixels)
        yield pixels.reshape(HEIGHT, WIDTH, 4)


def save(pixels, path):
    shown = numpy.clip(pixels, 0, 1)
    shown = numpy.where(shown <= 0.0031308, shown * 12.92, 1.055 * numpy.maximum(shown, 0.0031308) ** (1 / 2.4) - 0.055)
    shown[..., 3] = 1
    image = bpy.data.images.new("picture", shown.shape[1], shown.shape[0])
    image.pixels.foreach_set(numpy.ascontiguousarray(shown, numpy.float32).ravel())
    image.filepath_raw, image.file_format = str(path), "PNG"
    image.save()


def main():
    target = pathlib.Path(sys.argv[sys.argv.index("--") + 1]).resolve()
    with tempfile.TemporaryDirectory() as folder:
        picture, *layers = rendered(make_scene(), folder)
    part = len(PASSES)
    small = [layer.reshape(HEIGHT // part, part, WIDTH // part, part, 4).mean(axis=(1, 3)) for layer in layers]
    save(numpy.concatenate([numpy.concatenate(small, axis=1), picture]), target)


if __name__ == "__main__":
    main()
