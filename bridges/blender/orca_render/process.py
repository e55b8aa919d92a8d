# SPDX-License-Identifier: Apache-2.0
"""orca-render as the add-on runs it."""

import os
import subprocess

from .orca.process import Message, Progress, RenderProcess  # noqa: F401

# What exit codes mean to somebody who renders from Blender.
ADVICE = {
    1: "rendering failed; the messages above say where",
    2: "orca-render does not understand the add-on: both have to be of one version",
    3: "the scene has errors; with \"Keep Files\" in the render properties, the scene that was written can be looked at",
    4: "a file could not be written: see whether the folder of temporary files is full",
    6: "a limit of memory or time was reached",
}


class Picture:
    """A scene file and the layered file that is made of it, whole or as far as it is.

    All layers are in one part of the file, which is what Blender reads.
    """

    def __init__(self, command, scene_file, layered_file):
        self.layered_file = layered_file
        self._command = command
        self._scene_file = scene_file
        self._checkpoint = layered_file + ".checkpoint"
        self._developed = None  # when the checkpoint was written that was developed last

    def render(self, interval, threads):
        """Starts the render, which keeps every `interval` seconds what it has, and when it is stopped; 0: then alone.

        threads: 0 for all processors
        """
        return RenderProcess(self._command, [
            self._scene_file, "-o", self.layered_file, "--files", "layers", "--single-part", "--checkpoint",
            f"{interval:g},{self._checkpoint}", *(["-t", str(threads)] if threads else [])])

    def develop_new(self):
        """Makes the layered file of what is rendered so far; False where that is no more than the last time."""
        try:
            written = os.stat(self._checkpoint).st_mtime_ns
        except FileNotFoundError:  # the render has not begun, or has finished
            return False
        if written == self._developed:
            return False
        self._developed = written
        done = subprocess.run([self._command, "--develop", self._checkpoint, "-o", self.layered_file, "--single-part", "-v", "1"],
                              stdin=subprocess.DEVNULL, capture_output=True, check=False)
        return done.returncode == 0
