# SPDX-License-Identifier: Apache-2.0
"""orca-render as a child process: its progress, its messages, its end."""

import dataclasses
import json
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
        """Asks the process to stop, and ends it when it does not."""
        self._process.terminate()
        try:
            self._process.wait(STOP_SECONDS)
        except subprocess.TimeoutExpired:
            self._process.kill()
        return self.end()
