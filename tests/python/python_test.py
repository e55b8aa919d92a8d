#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Renders with the module orca of a build: python_test.py BUILD [TEST ...]."""
import logging
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import unittest

import numpy

BUILD = pathlib.Path(sys.argv.pop(1)).resolve()
sys.path.insert(0, str(BUILD / "python"))
import orca  # noqa: E402

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
PAGE = (ROOT / "docs" / "python.md").read_text()


def card(more="", **camera):
    """A red right angle at the origin, one unit from its corner to its tips, lit from the front."""
    scene = orca.Scene()
    scene.add(more)
    scene.material("red", color=(0.8, 0.2, 0.1), diffuse=1.0)
    scene.mesh("angle", numpy.array([(0, 0, 0), (1, 0, 0), (0, 1, 0)], float), [(0, 1, 2)])
    scene.instance("angle", "red", orca.at(1, 1, 0) @ orca.scaled(2))
    scene.light("front", "orcaVelaDirectionalLight", direction=(0, 0, -1))
    scene.camera((0, 0, 4), (0, 0, 0), field_of_view=90, resolution=(80, 80), **camera)
    scene.filter = ("box", 1, 1)
    return scene


class Module(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        (self.folder / "scenes").symlink_to(ROOT / "scenes")
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(self.folder)

    def refused(self, said, action):
        """The error that the action raises, which says this."""
        with self.assertRaisesRegex(orca.Error, said) as raised:
            action()
        return raised.exception

    def test_examples_of_the_page_run(self):
        examples = re.findall(r"```python\n(.*?)```", PAGE, re.DOTALL)
        self.assertLessEqual(len(examples[0].splitlines()), 10)
        for example in examples:
            subprocess.run([sys.executable, "-B", "-c", example], check=True, stdout=subprocess.DEVNULL,
                           env={**os.environ, "PYTHONPATH": str(BUILD / "python")})
        self.assertTrue(all((self.folder / name).stat().st_size for example in examples for name in re.findall(r'save\("(.*?)"', example)))

    def test_arrays_and_files_are_those_of_the_command(self):
        scene = orca.Scene("scenes/lantern.mi")
        scene.resolution, scene.samples, scene.reproducible = (48, 27), (0, 1), True
        result = scene.render(passes=["label", "diffuse"], threads=2)
        result.save("ours.exr")
        options = ["scenes/lantern.mi", "--size", "48x27", "--samples", "0", "1", "--passes", "label,diffuse", "--reproducible"]
        subprocess.run([orca.find_command(), *options, "-o", "theirs.exr", "--files", "layers", "-v", "2"], check=True)
        self.assertEqual(pathlib.Path("ours.exr").read_bytes(), pathlib.Path("theirs.exr").read_bytes())
        told = subprocess.run([orca.find_command(), *options, "--pixel", "20,4"], check=True, text=True, stdout=subprocess.PIPE).stdout
        for line in told.splitlines():
            name, *values = line.split()
            layer = result.picture if name == "main" else result[name]
            self.assertEqual([f"{v:.7g}" if layer.dtype.kind == "f" else str(v) for v in layer[27 - 1 - 4, 20]], values, name)
        result.picture[:] = 0
        result.save("black.exr")
        self.assertNotEqual(pathlib.Path("black.exr").read_bytes(), pathlib.Path("theirs.exr").read_bytes())

    def test_a_triangle_is_where_it_was_built(self):
        scene = card()
        scene.samples = (2, 2)
        result = scene.render(passes="diffuse")
        self.assertEqual((result["beauty"].dtype, result["diffuse"].shape, result.channels("diffuse")), (numpy.float32, (80, 80, 4), list("RGBA")))
        # Eight units across at the distance of the triangle, whose corner is at (1, 1) and whose sides are 2.
        x, y = numpy.meshgrid((numpy.arange(80) + 0.5) / 10 - 5, 3 - (numpy.arange(80) + 0.5) / 10)
        inside = numpy.minimum(numpy.minimum(x, y), (2 - x - y) / 2 ** 0.5)
        alpha = result["beauty"][..., 3]
        self.assertTrue((alpha[inside > 0.1] == 1).all() and (alpha[inside < -0.1] == 0).all() and (inside > 0.1).sum() > 100)
        numpy.testing.assert_allclose(result["diffuse"][inside > 0.1], numpy.full(((inside > 0.1).sum(), 4), (0.8, 0.2, 0.1, 1)), rtol=1e-5)

    def test_what_is_wrong_is_told(self):
        (self.folder / "bad.mi").write_text('camera "a"\n    resolutio 3\nend camera\n')
        error = self.refused('unknown statement "resolutio"', orca.Scene("bad.mi").render)
        self.assertEqual((pathlib.Path(error.file).name, error.line, error.exit_code), ("bad.mi", 2, 3))
        self.refused("did you mean", lambda: card().render(passes=["difuse"]))
        two = orca.Scene(text=card()._content().decode("utf-8", "surrogateescape"))
        two.add('render "scene" "camera here" "settings"')
        self.refused("one picture", two.render)
        self.assertEqual(two.render(frame=2).metadata["frame"], 2)
        self.refused("is empty", orca.Scene(text="").render)
        with self.assertRaisesRegex(AttributeError, "did you mean 'samples'"):
            card().sampels = 3
        for points, triangles, more, said in (([(0, 0)], [(0, 0, 0)], {}, "rows of three"), ([(0, 0, 0)], [(0, 0, 1)], {}, "there are 1"),
                                              ([(0, 0, 0)], [(0, 0, 0)], {"uvs": [(1, 2, 3)]}, "uvs are rows of 2")):
            with self.assertRaisesRegex(ValueError, said):
                orca.Scene().mesh("m", points, triangles, **more)
        with self.assertLogs("orca", logging.WARNING) as logged:
            square = orca.Scene("scenes/lantern.mi")
            square.resolution, square.samples = (16, 16), (0, 0)
            square.render()
        self.assertIn("has another shape", logged.output[0])

    def test_a_shader_that_crashes_costs_the_render_alone(self):
        crash = ('link "orca-test-shaders.so" declare shader color "testEnds" ( string "how" ) version 1 end declare\n'
                 'material "end" opaque "testEnds" ( "how" "fault" ) end material')
        scene = card(crash, statements="frame 2")
        scene.instance("angle", "end")
        error = self.refused("testEnds.*SIGSEGV", scene.render)
        self.assertEqual((error.result, error.exit_code), (None, 1))
        self.assertGreater(card().render()["beauty"].max(), 0.7)

    def test_interrupts_and_errors_of_progress_stop_it(self):
        scene = card()
        scene.resolution, scene.samples = (8000, 8000), (4, 4)

        def interrupt(progress):
            if progress.phase == "render":
                os.kill(os.getpid(), signal.SIGINT)
        for progress, expected in ((interrupt, KeyboardInterrupt), (lambda progress: 1 / 0, ZeroDivisionError)):
            with self.assertRaises(expected):
                scene.render(progress=progress)
            self.assertEqual(pathlib.Path(f"/proc/self/task/{os.getpid()}/children").read_text(), "")


unittest.main()
