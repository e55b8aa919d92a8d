#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Measures how fast a large mesh is read, and how much memory it takes, in the forms that the scene language has for it.

Writes a wavy plane of that many triangles in each form, reads it (--check) and renders one pixel of it, and prints

    text       vectors, vertices and polygons as text
    binary     the vectors between backquotes, vertices and polygons as text
    trilist    one binary block of vertices and one of triangles
    hair       hairs of four straight segments in binary blocks, as many segments as triangles
    curves     the same of two cubic segments, half as many

with the processor time of reading and MB of the file in a second of it; the time of the clock and of the processors until the pixel
is there, the acceleration structure included; and bytes of memory a triangle or segment with that structure and the text of the scene. What the
command takes for a scene of two triangles is left out of all but the clock.
"""
import argparse
import array
import json
import math
import os
import pathlib
import subprocess
import sys
import tempfile

HEAD = """options "options" object space samples 0 0 trace on end options
camera "camera" framebuffer "main" datatype "rgba_fp" primary on
    resolution 8 8 aspect 1 aperture 1 focal 1 clip 0.01 1000 end camera
instance "camera here" "camera" transform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 -3 1 end instance
material "grey" end material
object "mesh" visible on shadow on trace on group
"""
TAIL = """end group end object
instance "mesh here" "mesh" material "grey" end instance
instgroup "all" "camera here" "mesh here" end instgroup
render "all" "camera here" "options"
"""


def big_endian(code, values):
    block = array.array(code, values)
    if sys.byteorder == "little":
        block.byteswap()
    return block.tobytes()


def row_of_points(y, cells):
    return [(2 * x / cells - 1, 2 * y / cells - 1, 0.1 * math.sin(14 * x / cells) * math.cos(10 * y / cells))
            for x in range(cells + 1)]


def row_of_triangles(y, cells):
    for x in range(cells):
        a = y * (cells + 1) + x
        yield a, a + 1, a + cells + 2
        yield a, a + cells + 2, a + cells + 1


def write_text(file, cells, binary):
    for y in range(cells + 1):
        points = row_of_points(y, cells)
        if binary:
            file.write(b"".join(b"`" + big_endian("f", point) + b"`" for point in points) + b"\n")
        else:
            file.write("".join("%.7g %.7g %.7g\n" % point for point in points).encode())
    for y in range(cells + 1):
        file.write("".join(f"v {y * (cells + 1) + x}\n" for x in range(cells + 1)).encode())
    for y in range(cells):
        file.write("".join("c %d %d %d\n" % corners for corners in row_of_triangles(y, cells)).encode())


def write_trilist(file, cells):
    file.write(f"trilist vertex {(cells + 1) ** 2} p triangle {2 * cells * cells} scalar `".encode())
    for y in range(cells + 1):
        file.write(big_endian("f", [number for point in row_of_points(y, cells) for number in point]))
    file.write(b"` integer `")
    for y in range(cells):
        file.write(big_endian("i", [index for corners in row_of_triangles(y, cells) for index in corners]))
    file.write(b"` end trilist\n")


def write_hair(file, cells, degree):
    hairs, vertices = max(1, cells * cells // 2), 5 if degree == 1 else 7
    file.write(f"hair degree {degree} radius 0.0005 scalars {3 * vertices * hairs} `".encode())
    across = math.isqrt(hairs) + 1
    for first in range(0, hairs, 1000):
        numbers = []
        for hair in range(first, min(hairs, first + 1000)):
            x, y = 2 * (hair % across) / across - 1, 2 * (hair // across) / across - 1
            for k in range(vertices):
                t = k / (vertices - 1)
                numbers += (x + 0.02 * math.sin(hair + 3 * t) * t, y + 0.02 * math.cos(hair) * t, 0.1 * t)
        file.write(big_endian("f", numbers))
    file.write(f"` hairs {hairs} `".encode())
    file.write(big_endian("i", range(0, 3 * vertices * hairs, 3 * vertices)))
    file.write(b"` end hair\n")


FORMS = {"text": lambda file, cells: write_text(file, cells, False),
         "binary": lambda file, cells: write_text(file, cells, True),
         "trilist": write_trilist,
         "hair": lambda file, cells: write_hair(file, cells, 1),
         "curves": lambda file, cells: write_hair(file, cells, 3)}


def write_scene(path, form, cells):
    with open(path, "wb") as file:
        file.write(HEAD.encode())
        FORMS[form](file, cells)
        file.write(TAIL.encode())


def run(render, scene, *options):
    """Processor time and clock time of a run in seconds, and its statistics where it renders."""
    statistics = scene.with_suffix(".json")
    statistics.unlink(missing_ok=True)
    command = [render, str(scene), "-v", "1", *options]
    if "--check" not in options:
        command += ["--stats-json", str(statistics)]
    before, start = os.times(), os.times().elapsed
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL)
    after = os.times()
    spent = after.children_user + after.children_system - before.children_user - before.children_system
    return spent, after.elapsed - start, json.loads(statistics.read_text()) if statistics.exists() else {}


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    root = pathlib.Path(__file__).resolve().parent.parent
    parser.add_argument("--render", default=root / "build/release/bin/orca-render", help="the orca-render to measure")
    parser.add_argument("--triangles", type=int, default=1000000, help="(default: 1000000)")
    parser.add_argument("--rounds", type=int, default=3, help="the fastest counts (default: 3)")
    parser.add_argument("--forms", nargs="+", choices=FORMS, default=["text", "binary", "trilist"])
    arguments = parser.parse_args()
    cells = max(1, round(math.sqrt(arguments.triangles / 2)))

    with tempfile.TemporaryDirectory() as folder:
        scene = pathlib.Path(folder) / "scene.mi"

        def fastest(*options):
            return min((run(arguments.render, scene, *options) for _ in range(arguments.rounds)), key=lambda each: each[0])

        pixel = ("--pixel", "4,4", "--files", "off")
        write_scene(scene, "trilist", 1)
        empty_read = fastest("--check")[0]
        empty_render, _, empty = fastest(*pixel)
        print(f"{'form':8} {'file MB':>8} {'read CPU s':>11} {'MB/s':>6} {'pixel s':>8} {'pixel CPU s':>12} {'bytes/element':>15}")
        for form in arguments.forms:
            write_scene(scene, form, cells)
            size = scene.stat().st_size / 1e6
            read = max(fastest("--check")[0] - empty_read, 1e-3)
            spent, elapsed, statistics = fastest(*pixel)
            memory = (statistics["peakMemoryBytes"] - empty["peakMemoryBytes"]) / (statistics["triangles"] + statistics["hairSegments"])
            print(f"{form:8} {size:8.1f} {read:11.2f} {size / read:6.0f} {elapsed:8.2f} {spent - empty_render:12.2f} {memory:15.0f}")


if __name__ == "__main__":
    main()
