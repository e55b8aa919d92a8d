# SPDX-License-Identifier: Apache-2.0
"""A scene to be rendered: from files, from text, or built element by element."""

import os

from .builder import Builder
from .command import find_command, run
from .errors import Error, error_of
from .result import Result
from .settings import Settings


class Scene(Builder):
    """A scene, and the settings that it is rendered with.

    Scene("a.mi") or Scene(["geometry.mi", "shot.mi"]) reads files, as if they were one, each time that it is rendered.
    Scene(text="...") is in the scene language. Scene() is empty, and knows the shader libraries: shader(), material(), mesh(),
    instance(), light() and camera() fill it. add() adds text to any of them, read after the files.

    Settings go over what the scene says: `scene.resolution = (640, 360)` or `scene.set("resolution", (640, 360))`; None takes one
    back. They have the names of orca-render's options (samples, contrast, filter, trace_depth, shutter, window ...).

    The renderer runs as a process of its own: a shader that crashes ends a render with an Error, and not the interpreter.
    """

    def __init__(self, paths=None, *, text=None, command=None):
        """command: the orca-render to take; None: the one that find_command() finds, when it is needed."""
        if paths is not None and text is not None:
            raise TypeError("a scene is read from files or from text; add() adds text to files")
        single = isinstance(paths, (str, os.PathLike))
        object.__setattr__(self, "_settings", Settings())
        object.__setattr__(self, "_paths", [] if paths is None else [os.fspath(path) for path in ([paths] if single else paths)])
        object.__setattr__(self, "_command", command)
        super().__init__(knows_libraries=paths is None and text is None)
        if text is not None:
            self.add(text)

    def __setattr__(self, name, value):
        # A setting that is misspelt must not be taken for an attribute.
        if name.startswith("_") or isinstance(getattr(type(self), name, None), property):
            object.__setattr__(self, name, value)
        else:
            self._settings.set(name, value)

    def __getattr__(self, name):
        if not name.startswith("_") and Settings.known(name):
            return self._settings.get(name)
        raise AttributeError(f"a scene has no {name!r}")

    def set(self, name, value):
        """Sets a setting; None: as the scene has it. AttributeError for a name that is none."""
        self._settings.set(name, value)

    def render(self, passes=(), *, frame=None, threads=0, progress=None):
        """Renders a picture and returns its Result.

        passes: names of passes to make besides those that the scene sets up, as of `orca-render --passes`; a list, or a text
            with commas
        frame: number of the picture, for a scene that has several
        threads: 0 for all processors
        progress: called with a Progress about once a second
        Raises Error when there is no picture, or one with errors (Error.result). Ctrl-C stops the render, as does an exception
        of `progress`. Files that the scene itself names are not written.
        """
        command = self._found_command()
        listed = passes if isinstance(passes, str) else ",".join(passes)
        arguments = [*(["--passes", listed] if listed else []), *(["--frames", str(frame)] if frame is not None else []),
                     "--threads", str(threads), "--files", "off"]
        descriptor = os.memfd_create("orca arrays")
        result = None
        try:
            code, messages = self._run(command, [*arguments, "--arrays-to", str(descriptor)], progress, (descriptor,))
            if os.fstat(descriptor).st_size > 0:
                result = Result(command, descriptor, messages)
        finally:
            if result is None:
                os.close(descriptor)
        if code != 0:
            raise error_of(code, messages, result)
        if result is None:
            raise Error("no picture was rendered", messages, code)
        return result

    def check(self):
        """Reads the scene and looks for its mistakes, shaders, textures and pass masks. Returns the warnings, raises Error."""
        code, messages = self._run(self._found_command(), ["--check"])
        if code != 0:
            raise error_of(code, messages)
        return [message for message in messages if message.kind == "warning"]

    def write(self, path):
        """Writes the scene as one file, with all that its files include."""
        command = self._found_command()
        code, messages = self._run(command, ["--echo", os.fspath(path)])
        if code != 0:
            raise error_of(code, messages)

    def _found_command(self):
        return os.fspath(self._command) if self._command else find_command()

    def _run(self, command, arguments, progress=None, pass_fds=()):
        """Runs orca-render on the scene, whose own text it gets as standard input."""
        content = self._content()
        scenes = [*self._paths, *(["-"] if content.strip() else [])]
        if not scenes:
            raise Error("the scene is empty")
        with open(os.memfd_create("orca scene"), "w+b") as stream:
            stream.write(content)
            stream.seek(0)
            return run(command, [*self._settings.arguments(), *arguments, "--", *scenes], progress, stream, pass_fds)
