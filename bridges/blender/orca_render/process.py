# SPDX-License-Identifier: Apache-2.0
"""orca-render as a child process: its progress, its messages, its end."""

import dataclasses
import json
import os
import queue
import re
import subprocess
import threading
import typing

MESSAGE = re.compile(r"^(?:\S+Z )?[A-Z]+ +\d+\.\d+ +(fatal|error|warning) *: (.*)$")
STOP_SECONDS = 20  # that a stopped process has to write what it has rendered

# What exit codes mean to somebody who renders from Blender.
ADVICE = {
    1: "rendering failed; the messages above say where",
    2: "orca-render does not understand the add-on: both have to be of one version",
    3: "the scene has errors; with \"Keep Files\" in the render properties, the scene that was written can be looked at",
    4: "a file could not be written: see whether the folder of temporary files is full",
    6: "a limit of memory or time was reached",
}


@dataclasses.dataclass
class Progress:
    phase: str  # prepare, gather, render, write, done, lost
    fraction: float  # of the phase
    remaining: typing.Optional[float]  # seconds


@dataclasses.dataclass
class Message:
    kind: str  # fatal, error, warning
    text: str


class RenderProcess:
    """A running orca-render. Its output is read by a thread, so that nothing waits for it."""

    def __init__(self, command, arguments):
        """Starts the process; OSError where there is no such command."""
        self._process = subprocess.Popen([command, *arguments, "--progress", "json"], stdin=subprocess.DEVNULL,
                                         stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, errors="replace")
        self._lines = queue.Queue()
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def _read(self):
        for line in self._process.stderr:
            self._lines.put(line.rstrip("\n"))
        self._lines.put(None)

    def event(self, seconds):
        """The next Progress or Message, or None where there is none for so long; raises EOFError after the last."""
        try:
            line = self._lines.get(timeout=seconds)
        except queue.Empty:
            return None
        if line is None:
            raise EOFError
        if line.startswith("{"):
            try:
                report = json.loads(line)
                return Progress(report["phase"], report.get("fraction", 1.0), report.get("remainingSeconds"))
            except (ValueError, KeyError):
                return None
        found = MESSAGE.match(line)
        return Message(*found.groups()) if found else None

    def end(self):
        """Waits for the process and returns its exit code, negative for a signal."""
        code = self._process.wait()
        self._reader.join()
        self._process.stderr.close()
        return code

    def stop(self):
        """Asks the process to stop, and ends it when it does not; no more than end() for one that has ended."""
        if self._process.poll() is None:
            self._process.terminate()
        try:
            self._process.wait(STOP_SECONDS)
        except subprocess.TimeoutExpired:
            self._process.kill()
        return self.end()


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
