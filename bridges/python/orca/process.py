# SPDX-License-Identifier: Apache-2.0
"""orca-render as a child process: its progress, its messages, its end."""

import dataclasses
import json
import queue
import re
import subprocess
import threading
import typing

MESSAGE = re.compile(r"^(?:\S+Z )?[A-Z]+ +\d+\.\d+ +(fatal|error|warning|info|progress|debug|vdebug) *: (.*)$")
USAGE = re.compile(r"^orca-render: (.*)$")  # what is wrong with the command line
PLACE = re.compile(r"^(.+?):(\d+):(\d+): ")
STOP_SECONDS = 20  # that a stopped process has to write what it has rendered


@dataclasses.dataclass
class Progress:
    """How far a picture is.

    phase: "prepare", "gather", "render", "contours", "write", "done" or "lost"
    fraction: of the phase, 0 to 1
    remaining: seconds, None where that is not known
    """
    phase: str
    fraction: float
    remaining: typing.Optional[float]


@dataclasses.dataclass
class Message:
    """What the renderer says.

    kind: "fatal", "error", "warning", "info", "progress", "debug" or "vdebug"
    text: with the place in the scene that it is about
    """
    kind: str
    text: str

    @property
    def place(self):
        """File, line and column that the message is about, or None."""
        found = PLACE.match(self.text)
        return (found[1], int(found[2]), int(found[3])) if found else None


class RenderProcess:
    """A running orca-render. Its output is read by a thread, so that nothing waits for it."""

    def __init__(self, command, arguments, stdin=subprocess.DEVNULL, pass_fds=()):
        """Starts the process; OSError where there is no such command."""
        self._process = subprocess.Popen([command, "--progress", "json", *arguments], stdin=stdin, pass_fds=pass_fds,
                                         stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, errors="replace")
        self._lines = queue.Queue()
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()

    def _read(self):
        for line in self._process.stderr:
            self._lines.put(line.rstrip("\n"))
        self._lines.put(None)

    def event(self, seconds=None):
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
        if usage := USAGE.match(line):
            return Message("error", usage[1])
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
