#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Renders one interior with orca-render and with Blender's Cycles and compares the time for the same error.

A room with furniture, all of it diffuse, under twenty area lamps; direct light alone. Both get the same triangles,
colours, lamps and camera, a box filter of one pixel and no adaptive sampling. First the two references (many samples)
have to agree by region; then each renderer's error is taken against its own reference. Times are processor seconds of
rendering a picture, its preparation included and the start of the program left out.

Needs a release build, Debian's packages blender, python3-openimageio and python3-numpy, and some minutes.
"""

import argparse
import json
import math
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
EYE, TARGET, FOCAL = (0.6, 1.6, 4.6), (-0.1, 0.95, -0.5), 0.9  # focal length over the width of the picture


# --- the scene: y up, metres ---------------------------------------------------------------------------------------

def box(centre, half, degrees=0.0):
    """Points and outward quadrilaterals of a box, turned about y."""
    c, s = math.cos(math.radians(degrees)), math.sin(math.radians(degrees))
    corners = [(x * half[0], y * half[1], z * half[2]) for z in (-1, 1) for y in (-1, 1) for x in (-1, 1)]
    points = [(centre[0] + c * x + s * z, centre[1] + y, centre[2] - s * x + c * z) for x, y, z in corners]
    return points, [(4, 5, 7, 6), (1, 0, 2, 3), (5, 1, 3, 7), (0, 4, 6, 2), (6, 7, 3, 2), (0, 1, 5, 4)]


def ball(centre, radius, columns=32, rows=16):
    points = [(centre[0] + radius * math.sin(math.pi * j / rows) * math.cos(2 * math.pi * i / columns),
               centre[1] + radius * math.cos(math.pi * j / rows),
               centre[2] + radius * math.sin(math.pi * j / rows) * math.sin(2 * math.pi * i / columns))
              for j in range(rows + 1) for i in range(columns)]
    faces = []
    for j in range(rows):
        for i in range(columns):
            a, b = j * columns + i, j * columns + (i + 1) % columns
            faces.append(tuple(k for k in (a, b, b + columns, a + columns)
                               if not (j == 0 and k == b) and not (j == rows - 1 and k == a + columns)))
    return points, faces


def things():
    """(points, faces, colour) of everything."""
    room, inward = box((0, 1.4, 1), (3, 1.4, 4))
    yield room, [tuple(reversed(face)) for face in inward], (0.75, 0.72, 0.68)
    wood, cloth, paint, clay = (0.45, 0.28, 0.15), (0.25, 0.35, 0.5), (0.7, 0.2, 0.15), (0.6, 0.5, 0.4)
    yield *box((0, 0.72, -0.6), (0.9, 0.03, 0.5)), wood
    for x in (-0.8, 0.8):
        for z in (-1.0, -0.2):
            yield *box((x, 0.345, z), (0.04, 0.345, 0.04)), wood
    for x, z, turn in ((-1.3, -0.6, 80), (1.3, -0.7, -95), (0.1, 0.4, 175), (-0.2, -1.5, 5)):
        yield *box((x, 0.42, z), (0.24, 0.04, 0.24), turn), cloth
        yield *box((x, 0.2, z), (0.05, 0.18, 0.05), turn), wood
        back = math.radians(turn)
        yield *box((x - 0.22 * math.sin(back), 0.75, z - 0.22 * math.cos(back)), (0.24, 0.25, 0.02), turn), cloth
    yield *box((-2.7, 1.0, -1.6), (0.25, 1.0, 0.9)), paint
    yield *box((2.75, 0.4, 0.2), (0.22, 0.4, 1.0)), paint
    for x, y, z, radius in ((-0.4, 0.9, -0.5, 0.15), (0.2, 0.85, -0.7, 0.1), (0.5, 0.83, -0.4, 0.08), (2.7, 0.95, 0.0, 0.15),
                            (-1.9, 0.3, 1.0, 0.3), (1.8, 0.25, 0.9, 0.25)):
        yield *ball((x, y, z), radius), clay


def lamps():
    """(x, z, radiance) of squares 0.4 wide below the ceiling, which shine down."""
    for i in range(5):
        for j in range(4):
            warm = (i + 2 * j) % 3 / 2
            yield -2.2 + 1.1 * i, -2.2 + 1.6 * j, (1.6 + 0.5 * warm, 1.8, 2.3 - 0.8 * warm)


LAMP_HALF, LAMP_HEIGHT = 0.2, 2.75


def camera_axes():
    """Right, up and back of the camera."""
    back = [e - t for e, t in zip(EYE, TARGET)]
    size = math.hypot(*back)
    back = [b / size for b in back]
    right = [back[2], 0.0, -back[0]]
    size = math.hypot(*right)
    right = [r / size for r in right]
    up = [back[1] * right[2] - back[2] * right[1], back[2] * right[0] - back[0] * right[2],
          back[0] * right[1] - back[1] * right[0]]
    return right, up, back


# --- orca-render ---------------------------------------------------------------------------------------------------

def scene_text(shadow_rays):
    text = ['link "velabase.so"', 'link "orca.so"', "$include <velabase.mi>", "$include <orca.mi>",
            'options "quality" object space samples 0 0 filter box 1 1 trace on trace depth 0 0 0 shadow on',
            '    state "velaBaseState" ( ) "orcaFrameBufferState" ( ) end options',
            'camera "camera" framebuffer "main" datatype "rgba_fp" filtering on primary on',
            f"    resolution 320 180 aspect 1.7777778 aperture 1 focal {FOCAL} clip 0.01 1000 end camera"]
    axes = camera_axes()
    place = [f"{axes[0][k]:.8f} {axes[1][k]:.8f} {axes[2][k]:.8f} 0" for k in range(3)]
    moved = " ".join(f"{-sum(a * e for a, e in zip(axis, EYE)):.8f}" for axis in axes)
    text.append(f'instance "camera here" "camera" transform {"  ".join(place)}  {moved} 1 end instance')
    members = ["camera here"]
    for i, (points, faces, colour) in enumerate(things()):
        text += [f'shader "s{i}" "orcaVelaLambert" ( "color" {" ".join(map(str, colour))} 1, "diffuse" 1 )',
                 f'material "m{i}" opaque "orcaVelaShadingEngine" ( "surfaceShader" "s{i}" ) shadow "orcaVelaFastShadow" ( ) end material',
                 f'object "o{i}" visible on trace on shadow on group']
        text += [f"{p[0]:.8f} {p[1]:.8f} {p[2]:.8f}" for p in points] + [f"v {k}" for k in range(len(points))]
        text += [f'p "m{i}" ' + " ".join(map(str, face)) for face in faces]
        text += ["end group end object", f'instance "o{i} here" "o{i}" end instance']
        members.append(f"o{i} here")
    for i, (x, z, radiance) in enumerate(lamps()):
        h = 1 / LAMP_HALF  # the light's axes: x, then -z, then y of the world
        text += [f'light "l{i}" "orcaVelaAreaLight" ( "color" {" ".join(f"{r:.6f}" for r in radiance)} 1, "shadowRays" {shadow_rays} )'
                 " origin 0 0 0 end light",
                 f'instance "l{i} here" "l{i}" transform {h} 0 0 0  0 0 1 0  0 {-h} 0 0  {-x * h} {z * h} {-LAMP_HEIGHT} 1 end instance']
        members.append(f"l{i} here")
    text.append('instgroup "scene" ' + " ".join(f'"{m}"' for m in members) + ' end instgroup\nrender "scene" "camera here" "quality"\n')
    return "\n".join(text)


def render_orca(command, folder, size, level, shadow_rays, threads):
    """Picture and processor seconds at 4^level samples a pixel."""
    scene, image, statistics = folder / "room.mi", folder / "room.exr", folder / "room.json"
    scene.write_text(scene_text(shadow_rays))
    statistics.unlink(missing_ok=True)
    subprocess.run([command, scene, "--size", f"{size[0]}x{size[1]}", "--samples", str(level), str(level), "-t", str(threads),
                    "-o", image, "--stats-json", statistics, "-v", "2"], check=True)
    return pixels(image), json.loads(statistics.read_text().splitlines()[-1])["cpuSeconds"]


# --- Cycles: this file again, as a script inside Blender -------------------------------------------------------------

def render_cycles(command, folder, size, samples, threads):
    image = folder / "cycles.exr"
    run = subprocess.run([command, "-b", "--factory-startup", "-t", str(threads), "--python-exit-code", "1", "--python", __file__, "--",
                          "inside", str(image), str(size[0]), str(size[1]), str(samples)], stdout=subprocess.PIPE, text=True)
    seconds = [line.split()[1] for line in run.stdout.splitlines() if line.startswith("processor-seconds ")]
    if run.returncode or not seconds:
        sys.exit(f"interior_beside_cycles.py: {command} failed:\n{run.stdout[-2000:]}")
    return pixels(image), float(seconds[0])


def inside_blender(image, width, height, samples):
    import bpy
    from mathutils import Matrix
    for thing in list(bpy.data.objects):
        bpy.data.objects.remove(thing)
    scene = bpy.context.scene
    for points, faces, colour in things():
        mesh = bpy.data.meshes.new("mesh")
        mesh.from_pydata(points, [], faces)
        material = bpy.data.materials.new("material")
        material.use_nodes = True
        nodes = material.node_tree.nodes
        nodes.clear()
        diffuse, output = nodes.new("ShaderNodeBsdfDiffuse"), nodes.new("ShaderNodeOutputMaterial")
        diffuse.inputs["Color"].default_value = (*colour, 1)
        material.node_tree.links.new(diffuse.outputs[0], output.inputs[0])
        mesh.materials.append(material)
        scene.collection.objects.link(bpy.data.objects.new("thing", mesh))
    area = (2 * LAMP_HALF) ** 2
    for x, z, radiance in lamps():
        light = bpy.data.lights.new("lamp", "AREA")
        light.shape, light.size = "SQUARE", 2 * LAMP_HALF
        light.color, light.energy = radiance, 4 * area  # an area lamp of Blender has the radiance P / 4 A
        light.use_shadow = True
        lamp = bpy.data.objects.new("lamp", light)
        lamp.matrix_world = Matrix(((1, 0, 0, x), (0, 0, 1, LAMP_HEIGHT), (0, -1, 0, z), (0, 0, 0, 1)))
        lamp.visible_camera = False
        scene.collection.objects.link(lamp)
    camera = bpy.data.cameras.new("camera")
    camera.sensor_fit, camera.sensor_width, camera.lens = "HORIZONTAL", 36, 36 * FOCAL
    eye = bpy.data.objects.new("camera", camera)
    right, up, back = camera_axes()
    eye.matrix_world = Matrix([[right[k], up[k], back[k], EYE[k]] for k in range(3)] + [[0, 0, 0, 1]])
    scene.collection.objects.link(eye)
    scene.camera, scene.world = eye, None
    scene.render.engine = "CYCLES"
    scene.render.resolution_x, scene.render.resolution_y, scene.render.resolution_percentage = width, height, 100
    scene.render.image_settings.file_format, scene.render.image_settings.color_depth = "OPEN_EXR", "32"
    scene.render.filepath = image
    cycles = scene.cycles
    cycles.device, cycles.samples, cycles.use_adaptive_sampling, cycles.use_denoising = "CPU", samples, False, False
    cycles.max_bounces, cycles.pixel_filter_type, cycles.light_sampling_threshold = 0, "BOX", 0
    cycles.sample_clamp_direct = cycles.sample_clamp_indirect = 0
    before = time.process_time()
    bpy.ops.render.render(write_still=True)
    print("processor-seconds", time.process_time() - before)


# --- comparing -------------------------------------------------------------------------------------------------------

def pixels(path):
    import numpy
    import OpenImageIO
    image = OpenImageIO.ImageInput.open(str(path))
    if image is None:
        sys.exit(f"interior_beside_cycles.py: cannot read {path}: {OpenImageIO.geterror()}")
    spec = image.spec()
    return numpy.asarray(image.read_image(0, 0, 0, 3, "float"), dtype=float).reshape(spec.height, spec.width, 3)


def error(picture, reference):
    return float(((picture - reference) ** 2).mean() ** 0.5)


def show_regions(ours, theirs):
    """Prints the means of 4 x 3 regions; the largest relative difference."""
    largest = 0.0
    print("\nreferences, mean of each region: orca-render / Cycles")
    for j in range(3):
        row = []
        for i in range(4):
            part = (slice(j * ours.shape[0] // 3, (j + 1) * ours.shape[0] // 3),
                    slice(i * ours.shape[1] // 4, (i + 1) * ours.shape[1] // 4))
            a, b = ours[part].mean(), theirs[part].mean()
            largest = max(largest, abs(a / b - 1))
            row.append(f"{a:.4f} / {b:.4f}")
        print("   " + "   ".join(row))
    print(f"largest difference {100 * largest:.2f} %")
    return largest


def time_for(wanted, runs):
    """Seconds for an error, on the line through the runs around it in logarithms; None outside of them."""
    for (seconds, high), (more, low) in zip(runs, runs[1:]):
        if low <= wanted <= high:
            share = math.log(wanted / high) / math.log(low / high)
            return seconds * (more / seconds) ** share
    return None


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--size", default="320x180", metavar="WxH")
    parser.add_argument("--levels", type=int, nargs="+", default=[0, 1, 2, 3], help="of orca-render: 4^level samples a pixel")
    parser.add_argument("--shadow-rays", type=int, default=1, help="of each lamp at each of those samples (default 1)")
    parser.add_argument("--samples", type=int, nargs="+", default=[16, 64, 256, 1024], help="of Cycles")
    parser.add_argument("--references", type=int, nargs=2, default=[5, 8192], metavar=("LEVEL", "SAMPLES"))
    parser.add_argument("--threads", type=int, default=2)
    parser.add_argument("--blender", default="blender", help="command (default: %(default)s)")
    parser.add_argument("--orca-render", default=ROOT / "build/release/bin/orca-render", metavar="COMMAND")
    wanted = parser.parse_args()
    blender = shutil.which(wanted.blender)
    if not blender:
        sys.exit(f"interior_beside_cycles.py: there is no command {wanted.blender!r}; install Blender (Debian's package blender) or "
                 "name it with --blender")
    if not shutil.which(str(wanted.orca_render)):
        sys.exit(f"interior_beside_cycles.py: there is no {wanted.orca_render}; build it (./orca build)")
    size = tuple(map(int, wanted.size.split("x")))
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        ours, own_seconds = render_orca(wanted.orca_render, folder, size, wanted.references[0], 1, wanted.threads)
        theirs, their_seconds = render_cycles(blender, folder, size, wanted.references[1], wanted.threads)
        print(f"{size[0]} x {size[1]} pixels; references: {own_seconds:.1f} s and {their_seconds:.1f} s of processor time")
        if show_regions(ours, theirs) > 0.01:
            sys.exit("interior_beside_cycles.py: the references differ by more than 1 %, so errors cannot be compared")
        runs = {"orca-render": [], "Cycles": []}
        print(f"\n{'':14}{'samples':>10}{'seconds':>10}{'error':>12}")
        for level in wanted.levels:
            picture, seconds = render_orca(wanted.orca_render, folder, size, level, wanted.shadow_rays, wanted.threads)
            runs["orca-render"].append((seconds, error(picture, ours)))
            print(f"{'orca-render':14}{4 ** level:>10}{seconds:>10.2f}{runs['orca-render'][-1][1]:>12.5f}")
        for samples in wanted.samples:
            picture, seconds = render_cycles(blender, folder, size, samples, wanted.threads)
            runs["Cycles"].append((seconds, error(picture, theirs)))
            print(f"{'Cycles':14}{samples:>10}{seconds:>10.2f}{runs['Cycles'][-1][1]:>12.5f}")
        print("\nat equal error: seconds of orca-render over those of Cycles")
        for _, wanted_error in sorted(runs["orca-render"] + runs["Cycles"], key=lambda run: -run[1]):
            own, other = (time_for(wanted_error, runs[name]) for name in ("orca-render", "Cycles"))
            if own and other:
                print(f"   error {wanted_error:.5f}   {own:.2f} / {other:.2f} = {own / other:.2f}")


if __name__ == "__main__":
    if "--" in sys.argv and sys.argv[sys.argv.index("--") + 1:][:1] == ["inside"]:
        _, path, width, height, samples = sys.argv[sys.argv.index("--") + 1:]
        inside_blender(path, int(width), int(height), int(samples))
    else:
        main()
