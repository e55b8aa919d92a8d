# SPDX-License-Identifier: Apache-2.0
"""Settings of a scene that go over its own: the options of orca-render, as attributes."""

import difflib
import os


def _word(value):
    return {True: "on", False: "off"}[value] if isinstance(value, bool) else os.fspath(value) if hasattr(value, "__fspath__") else str(value)


def _several(value):
    return [value] if isinstance(value, (str, os.PathLike)) or not hasattr(value, "__iter__") else list(value)


def _words(option, value):
    """One number or word, or several."""
    return [option, *map(_word, _several(value))]


def _size(option, value):
    width, height = value
    return [option, f"{width}x{height}"]


def _flag(option, value):
    return [option] if value else []


def _either(option, value):
    return [option if value else option.replace("--", "--no-", 1)]


def _each(option, value):
    return [f"{option}={_word(item)}" for item in _several(value)]


def _pairs(option, value):
    return [f"{option}={name}={_word(content)}" for name, content in value.items()]


# Name of the setting: the option of orca-render, and how its values are written. The option says what they mean.
SETTINGS = {
    "resolution": ("--size", _size),
    "window": ("--window", _words),
    "overscan": ("--overscan", _words),
    "ocio": ("--ocio", _words),
    "display": ("--display", _words),
    "view": ("--view", _words),
    **{words: ("--" + words.replace(" ", "-"), _words) for words in (
        "samples", "contrast", "filter", "trace", "trace depth", "shadow", "motion", "shutter", "output shaders", "gamma", "colorclip",
        "premultiply", "desaturate", "dither", "tile size", "texture memory", "limit time", "limit memory", "limit rays")},
    "default light": ("--default-light", _either),
    **{words: ("--" + words.replace(" ", "-"), _flag) for words in (
        "strict", "render anyway", "portable", "reproducible", "no link", "denoise")},
    "include": ("--include", _each),
    "library path": ("--library-path", _each),
    "texture path": ("--texture-path", _each),
    "read only under": ("--read-only-under", _each),
    "link": ("--link", _each),
    "variables": ("--set", _pairs),
    "registry": ("--registry", _pairs),
}


class Settings:
    """Values by name. None: as the scene has it."""

    def __init__(self):
        self._values = {}

    @staticmethod
    def known(name):
        return name.replace("_", " ") in SETTINGS

    def set(self, name, value):
        """Raises AttributeError for a name that is none, ValueError or TypeError for a value that cannot be written."""
        words = name.replace("_", " ")
        if words not in SETTINGS:
            near = difflib.get_close_matches(words, SETTINGS, 1)
            raise AttributeError(f"there is no setting {name!r}" + (f", did you mean {near[0]!r}?" if near else ""))
        option, write = SETTINGS[words]
        if value is not None:
            write(option, value)  # a wrong form is told here and not when it is rendered
        self._values[words] = value

    def get(self, name):
        return self._values.get(name.replace("_", " "))

    def arguments(self):
        """Of orca-render."""
        return [word for words, value in self._values.items() if value is not None for word in SETTINGS[words][1](SETTINGS[words][0], value)]
