# SPDX-License-Identifier: Apache-2.0
"""What of an image is looked up, where it is not simply its colour."""

import dataclasses
import typing
import zlib

import numpy

LUMINANCE = (0.2126, 0.7152, 0.0722)  # as Blender turns colours into numbers
CHANNELS = ("red", "green", "blue")
RAMP_STEPS = 256


@dataclasses.dataclass(frozen=True)
class Ramp:
    """Colours at even steps from 0 to 1, which are looked up at `gain` times a number plus `offset`."""
    gain: float
    offset: float
    colors: tuple

    def of(self, numbers):
        places = numpy.clip(numbers * self.gain + self.offset, 0, 1) * (RAMP_STEPS - 1)
        return numpy.array(self.colors, numpy.float32)[(places + 0.5).astype(int)]

    def reduced(self, channel):
        """The same with one number instead of a colour."""
        return dataclasses.replace(self, colors=tuple((_number(color, channel),) * 3 for color in self.colors))


@dataclasses.dataclass(frozen=True)
class Part:
    """A part of an image: a channel, or its colour, and what is made of it."""
    channel: str = "color"  # or alpha, grey, red, green, blue
    is_associated: bool = False  # times alpha, as Cycles shows images whose alpha is not used
    ramp: typing.Optional[Ramp] = None

    @property
    def is_color(self):
        return self.channel == "color" or self.ramp is not None

    @property
    def name(self):
        """Tells parts of one image apart."""
        ramp = f" ramp {zlib.crc32(repr(self.ramp).encode()):08x}" if self.ramp else ""
        return ("associated " if self.is_associated else "") + self.channel + ramp

    def reduced(self, channel):
        """One number of it, red, green, blue or grey; of a number itself."""
        if self.ramp:
            return dataclasses.replace(self, ramp=self.ramp.reduced(channel))
        return dataclasses.replace(self, channel=channel) if self.channel == "color" else self

    def of(self, pixels):
        """Three channels of an array of four, red, green, blue and alpha."""
        if self.channel == "alpha":
            numbers = pixels[..., 3]
        else:
            colors = pixels[..., :3] * pixels[..., 3:] if self.is_associated else pixels[..., :3]
            if self.channel == "color":
                return colors
            weights = LUMINANCE if self.channel == "grey" else [float(name == self.channel) for name in CHANNELS]
            numbers = colors @ numpy.array(weights, numpy.float32)
        return self.ramp.of(numbers) if self.ramp else numbers[..., None].repeat(3, axis=-1)


def _number(color, channel):
    return sum(w * c for w, c in zip(LUMINANCE, color)) if channel == "grey" else color[CHANNELS.index(channel)]
