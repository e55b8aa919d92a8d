# SPDX-License-Identifier: Apache-2.0
"""Scenes made in Blender, and their pictures as arrays: for the tests, inside Blender."""
import pathlib

import bmesh
import bpy
import numpy
from mathutils import Matrix, Vector

SIZE = (96, 54)


def fresh():
    """An empty scene, rendered with the filter that render_cycles has."""
    bpy.ops.wm.read_homefile(use_factory_startup=True, use_empty=True)
    scene = bpy.context.scene
    scene.render.engine = "ORCA"
    scene.render.resolution_x, scene.render.resolution_y, scene.render.resolution_percentage = *SIZE, 100
    scene.orca.filter, scene.orca.filter_size = "BOX", 1
    scene.use_nodes = True
    return scene


def place(thing, at, towards=None):
    """Puts an object somewhere; its -z axis points towards a place."""
    bpy.context.scene.collection.objects.link(thing)
    thing.matrix_world = Matrix.Translation(at)
    if towards is not None:
        thing.matrix_world @= (Vector(towards) - Vector(at)).to_track_quat("-Z", "Y").to_matrix().to_4x4()
    return thing


def add_camera(at, towards, lens=35.0):
    data = bpy.data.cameras.new("camera")
    data.lens = lens
    bpy.context.scene.camera = place(bpy.data.objects.new("camera", data), at, towards)
    return data


def material(name, kind="BsdfDiffuse", **inputs):
    """A material of one surface node, with the inputs named as the node's, spaces as underscores."""
    result = bpy.data.materials.new(name)
    result.use_nodes = True
    nodes = result.node_tree.nodes
    nodes.clear()
    node, output = nodes.new("ShaderNode" + kind), nodes.new("ShaderNodeOutputMaterial")
    for key, value in inputs.items():
        node.inputs[key.replace("_", " ")].default_value = value
    result.node_tree.links.new(node.outputs[0], output.inputs["Surface"])
    return result


def add_mesh(name, points, faces, *materials, at=(0, 0, 0)):
    mesh = bpy.data.meshes.new(name)
    mesh.from_pydata(points, [], faces)
    for each in materials:
        mesh.materials.append(each)
    return place(bpy.data.objects.new(name, mesh), at)


def box(half):
    """Points and faces of a box about the origin."""
    points = [(x * half[0], y * half[1], z * half[2]) for z in (-1, 1) for y in (-1, 1) for x in (-1, 1)]
    return points, [(4, 5, 7, 6), (1, 0, 2, 3), (5, 1, 3, 7), (0, 4, 6, 2), (6, 7, 3, 2), (0, 1, 5, 4)]


def add_light(kind, energy, at, towards, **settings):
    data = bpy.data.lights.new(kind.lower(), kind)
    data.energy = energy
    for key, value in settings.items():
        setattr(data, key, value)
    return place(bpy.data.objects.new(kind.lower(), data), at, towards)


def room():
    """A floor and a wall of two greys with a box before them, all diffuse, and a camera."""
    floor, wall, red = (material(name, Color=(*color, 1)) for name, color in
                        (("floor", (0.7, 0.7, 0.7)), ("wall", (0.4, 0.5, 0.6)), ("red", (0.8, 0.2, 0.1))))
    add_mesh("floor", [(-3, -2, 0), (3, -2, 0), (3, 3, 0), (-3, 3, 0)], [(0, 1, 2, 3)], floor)
    add_mesh("wall", [(-3, 2.5, 0), (3, 2.5, 0), (3, 2.5, 3), (-3, 2.5, 3)], [(0, 1, 2, 3)], wall)
    add_mesh("box", *box((0.5, 0.4, 0.6)), red, at=(-0.7, 0.6, 0.6))
    return add_camera((0.4, -4.6, 2.2), (0, 0.6, 0.7))


def render(folder, passes=("Image",)):
    """Renders, and returns the passes as arrays of height x width x 4, the upper row first."""
    scene = bpy.context.scene
    nodes, links = scene.node_tree.nodes, scene.node_tree.links
    nodes.clear()
    source, target = nodes.new("CompositorNodeRLayers"), nodes.new("CompositorNodeOutputFile")
    composite = nodes.new("CompositorNodeComposite")
    links.new(source.outputs["Image"], composite.inputs["Image"])
    target.base_path = str(folder)
    target.format.file_format, target.format.color_depth = "OPEN_EXR", "32"
    target.file_slots.clear()
    for name in passes:
        target.file_slots.new(name)
        if not source.outputs[name].enabled:
            raise AssertionError(f"the compositor has no pass {name}")
        links.new(source.outputs[name], target.inputs[name])
    bpy.ops.render.render()
    arrays = [read(pathlib.Path(folder) / f"{name}{scene.frame_current:04d}.exr") for name in passes]
    return arrays[0] if len(passes) == 1 else arrays


def read(path):
    image = bpy.data.images.load(str(path))
    width, height = image.size
    pixels = numpy.empty(width * height * 4, numpy.float32)
    image.pixels.foreach_get(pixels)
    bpy.data.images.remove(image)
    return pixels.reshape(height, width, 4)[::-1]


def balls(*materials):
    """A row of balls with texture coordinates, and a camera that sees nothing else; each has a column of the picture."""
    for i, each in enumerate(materials):
        mesh = bpy.data.meshes.new(each.name)
        shape = bmesh.new()
        shape.loops.layers.uv.new()
        bmesh.ops.create_uvsphere(shape, u_segments=48, v_segments=24, radius=0.45, calc_uvs=True)
        shape.to_mesh(mesh)
        for polygon in mesh.polygons:
            polygon.use_smooth = True
        mesh.materials.append(each)
        place(bpy.data.objects.new(each.name, mesh), (i, 0, 0))
    camera = add_camera(((len(materials) - 1) / 2, -8, 0), ((len(materials) - 1) / 2, 0, 0))
    camera.type, camera.ortho_scale = "ORTHO", len(materials)
    render = bpy.context.scene.render
    render.resolution_x, render.resolution_y = 32 * len(materials), 32


def render_cycles(folder, samples=64, bounces=0, passes=("Image",), traced=False):
    """The same scene by Cycles, without noise reduction or limits.

    bounces: of light that diffuse surfaces send one another
    traced: whether surfaces reflect and refract where nothing bounces
    """
    scene = bpy.context.scene
    scene.render.engine = "CYCLES"
    cycles = scene.cycles
    cycles.device, cycles.samples, cycles.use_adaptive_sampling, cycles.use_denoising = "CPU", samples, False, False
    cycles.max_bounces, cycles.diffuse_bounces, cycles.light_sampling_threshold = 12 if bounces or traced else 0, bounces, 0
    cycles.sample_clamp_direct = cycles.sample_clamp_indirect = 0
    cycles.pixel_filter_type = "BOX"
    try:
        return render(folder, passes)
    finally:
        scene.render.engine = "ORCA"


def regions(picture, columns=4, rows=3):
    """Means of the regions of a picture, rows x columns x 3."""
    height, width = picture.shape[:2]
    return numpy.array([[picture[j * height // rows:(j + 1) * height // rows, i * width // columns:(i + 1) * width // columns, :3]
                         .mean(axis=(0, 1)) for i in range(columns)] for j in range(rows)])


def largest_difference(ours, theirs):
    """Largest relative difference of regions, against the brighter regions' mean where they are dark."""
    a, b = regions(ours), regions(theirs)
    return float((numpy.abs(a - b) / numpy.maximum(b, 0.1 * b.mean())).max())
