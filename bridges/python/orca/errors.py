# SPDX-License-Identifier: Apache-2.0
"""What goes wrong while a scene is read or rendered."""


class Error(Exception):
    """A scene that cannot be read or rendered, or a file that cannot be written.

    file, line, column: the place in the scene that the first error is about; None where it is about none. The text of a
        scene that comes from no file is called "standard input"
    messages: every Message of the renderer, in order
    exit_code: of orca-render; None where it did not run
    result: the picture, where errors of shaders have left one, else None
    """

    def __init__(self, text, messages=(), exit_code=None, result=None):
        super().__init__(text)
        self.messages = list(messages)
        self.exit_code = exit_code
        self.result = result
        first = next((m for m in self.messages if m.kind in ("fatal", "error")), None)
        self.file, self.line, self.column = (first.place if first else None) or (None, None, None)


def error_of(exit_code, messages, result=None):
    """The Error of a process that has ended with this exit code."""
    said = [m.text for m in messages if m.kind in ("fatal", "error")]
    text = said[0] if said else f"orca-render ended with exit status {exit_code}"
    more = f" (and {len(said) - 1} more errors)" if len(said) > 1 else ""
    return Error(text + more, messages, exit_code, result)
