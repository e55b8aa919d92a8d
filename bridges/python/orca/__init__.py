# SPDX-License-Identifier: Apache-2.0
"""Renders scenes with orca-render and hands their layers over as numpy arrays.

    import orca
    result = orca.Scene("scene.mi").render(passes=["diffuse", "specular"])
    picture = result["beauty"]  # float32, (height, width, channels), the top row first

The renderer runs as a process of its own, so that a shader that crashes, a scene without end and too little memory end a render and
not the interpreter, and Ctrl-C stops it. The layers are written to memory that both processes share. The logger "orca" receives its
warnings.
"""

from .builder import Connected
from .command import find_command
from .errors import Error
from .placing import at, looking, scaled, turned
from .process import Message, Progress
from .result import Result
from .scene import Scene

__all__ = ["Connected", "Error", "Message", "Progress", "Result", "Scene", "at", "find_command", "looking", "scaled", "turned"]
