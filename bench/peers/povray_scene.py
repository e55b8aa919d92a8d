# SPDX-License-Identifier: Apache-2.0
"""Writes a scene of hard point and directional lights for POV-Ray 3.7, and renders it."""
import os
import re
import subprocess

import numpy

from scene_model import PointLight, looking, unit


def vector(values, kind=""):
    return kind + "<" + ",".join(f"{v:.9g}" for v in values) + ">"


def scene_text(scene):
    camera, (width, height) = scene.camera, scene.size
    right, up, back = (looking(camera.eye, camera.target)[:3, k] for k in range(3))
    yield f"#version 3.7;\nglobal_settings {{ assumed_gamma 1.0 max_trace_level {1 + scene.reflections + scene.refractions} }}\n"
    yield f"background {{ {vector(scene.sky.color, 'rgb ')} }}\n"
    yield (f"camera {{ perspective location {vector(camera.eye)} right {vector(right / camera.focal)}"
           f" up {vector(up * height / width / camera.focal)} direction {vector(-back)} }}\n")
    for light in scene.lights:
        if isinstance(light, PointLight):  # color * 2 / (1 + (d / fade)^2) is color * 2 fade^2 / d^2 for a small fade distance
            fade = 0.01
            yield (f"light_source {{ {vector(light.position)} {vector([c / (2 * fade ** 2) for c in light.intensity], 'rgb ')}"
                   f" fade_distance {fade} fade_power 2 }}\n")
        else:
            yield f"light_source {{ {vector(-1000 * unit(light.direction))} {vector(light.strength, 'rgb ')} parallel point_at <0,0,0> }}\n"
    for instance in scene.instances:
        mesh, place = scene.meshes[instance.mesh], instance.place
        material, columns = mesh.material, place[:3, :4].T
        yield f"mesh2 {{ vertex_vectors {{ {len(mesh.points)}, {','.join(map(vector, mesh.points))} }}\n"
        if mesh.normals:
            yield f"normal_vectors {{ {len(mesh.normals)}, {','.join(map(vector, mesh.normals))} }}\n"
        yield f"face_indices {{ {len(mesh.faces)}, {','.join('<%d,%d,%d>' % tuple(face) for face in mesh.faces)} }}\n"
        if material.glass:
            yield f"pigment {{ {vector(material.glass, 'rgb ')} filter 1 }} finish {{ ambient 0 diffuse 0 }} interior {{ ior {material.ior} }}\n"
        else:
            yield (f"pigment {{ {vector(material.color, 'rgb ')} }} finish {{ ambient 0 diffuse 1 phong {material.highlight}"
                   f" phong_size {material.exponent} reflection {material.mirror} }}\n")
        yield f"matrix {vector(numpy.asarray(columns).ravel())} }}\n"


def render(command, folder, scene, grid, threads):
    """Wall seconds of sampling; grid x grid + 1 samples a pixel, 1 for a grid of 0."""
    text = folder / "scene.pov"
    with text.open("w") as file:
        file.writelines(scene_text(scene))
    samples = ["+A0.0", "+AM1", f"+R{grid}"] if grid else ["-A"]
    run = subprocess.run([command, f"+I{text}", f"+O{folder / 'pov.png'}", "+FN8", f"+W{scene.size[0]}", f"+H{scene.size[1]}", "-D",
                          f"+WT{threads}", *samples], cwd=folder, env=dict(os.environ, PWD=str(folder)), stderr=subprocess.PIPE, text=True,
                         check=False)
    traced = re.search(r"Trace Time:.*?\(([\d.]+) seconds", run.stderr)
    if run.returncode or not traced:
        raise SystemExit(f"{command} failed:\n{run.stderr[-2000:]}")
    return float(traced.group(1))
