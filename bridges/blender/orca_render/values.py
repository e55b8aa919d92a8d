# SPDX-License-Identifier: Apache-2.0
"""What parameters hold: a constant, or a texture times a colour plus a colour."""

import dataclasses
import typing

from .image_parts import CHANNELS, LUMINANCE, Part


@dataclasses.dataclass(frozen=True)
class Texture:
    """A look-up that a node of the scene does."""
    kind: str  # "image", "panorama", "colors" or "checker"
    node: typing.Any  # of Blender
    part: Part = Part()  # of an image
    groups: tuple = ()  # through which the node was reached
    element: str = ""  # name of a texture of the scene that is taken instead of the node's image


@dataclasses.dataclass(frozen=True)
class Value:
    """A colour: `gain` times the texture plus `offset`, or without texture `offset` alone."""
    offset: tuple = (0.0, 0.0, 0.0)
    gain: tuple = (1.0, 1.0, 1.0)
    texture: typing.Optional[Texture] = None

    @property
    def is_constant(self):
        return self.texture is None

    @property
    def is_black(self):
        return self.is_constant and max(self.offset) <= 0

    @property
    def scalar(self):
        """Luminance of the constant part, as Blender turns colours into numbers."""
        return sum(weight * channel for weight, channel in zip(LUMINANCE, self.offset))

    @property
    def mean_color(self):
        """The colour, or of a texture what middle grey would give."""
        return self.offset if self.is_constant else tuple(0.5 * g + o for g, o in zip(self.gain, self.offset))

    @property
    def mean(self):
        """The number, in the same sense."""
        return sum(weight * channel for weight, channel in zip(LUMINANCE, self.mean_color))

    @property
    def grey(self):
        """The same as a number, which Blender makes of a colour that is connected to one."""
        if self.texture is None or self.texture.kind != "image":
            return self
        return self.reduced("grey")

    def reduced(self, channel):
        """One channel of a colour that is constant or of an image, red, green, blue or grey."""
        if self.is_constant:
            return constant(self.scalar if channel == "grey" else self.offset[CHANNELS.index(channel)])
        texture = dataclasses.replace(self.texture, part=self.texture.part.reduced(channel))
        if channel == "grey":
            return Value(self.offset, self.gain, texture)
        at = CHANNELS.index(channel)
        return Value((self.offset[at],) * 3, (self.gain[at],) * 3, texture)

    def scaled(self, factor):
        """Times a number or a colour."""
        factor = _rgb(factor)
        return Value(_times(self.offset, factor), _times(self.gain, factor), self.texture)

    def plus(self, summand):
        return Value(tuple(o + s for o, s in zip(self.offset, _rgb(summand))), self.gain, self.texture)

    def inverted(self):
        """One minus the value."""
        return self.scaled(-1).plus(1)


def _rgb(value):
    return (float(value),) * 3 if isinstance(value, (int, float)) else tuple(value)


def _times(a, b):
    return tuple(x * y for x, y in zip(a, b))


def constant(value):
    return Value(_rgb(value))
