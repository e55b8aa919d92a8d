# SPDX-License-Identifier: Apache-2.0
"""Images of Blender as textures of the scene: files where there are any, else pixels within the scene."""

import os
import struct
import zlib

import bpy
import numpy

from . import scene_text
from .image_parts import Part

# Colour spaces of Blender whose values are those of light, and those that have a profile in scenes.
LINEAR = {"Linear", "Non-Color", "Raw"}
PROFILES = {"sRGB": "sRGB"}
LEAST_STEP = 1 / 512  # half of one of 8 bits
PLAIN = Part()


def _decoded(display):
    return numpy.where(display <= 0.04045, display / 12.92, ((numpy.maximum(display, 0.04045) + 0.055) / 1.055) ** 2.4)


def _encoded(linear):
    return numpy.where(linear <= 0.0031308, linear * 12.92, 1.055 * numpy.maximum(linear, 0.0031308) ** (1 / 2.4) - 0.055)


def _resized(pixels, width, height):
    """The nearest pixels of an array for another size."""
    if pixels.shape[:2] == (height, width):
        return pixels
    rows = (numpy.arange(height) + 0.5) * pixels.shape[0] / height
    columns = (numpy.arange(width) + 0.5) * pixels.shape[1] / width
    return pixels[rows.astype(int)][:, columns.astype(int)]


def _write_png(path, pixels):
    """Writes an array of height x width x 3 with values from 0 to 1 in 8 bits."""
    height, width = pixels.shape[:2]
    lines = numpy.zeros((height, 1 + 3 * width), numpy.uint8)  # each line begins with the number of its filter: none
    lines[:, 1:] = (pixels * 255 + 0.5).astype(numpy.uint8).reshape(height, -1)

    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    with open(path, "wb") as file:
        file.write(b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0))
                   + chunk(b"IDAT", zlib.compress(lines.tobytes(), 3)) + chunk(b"IEND", b""))


def _stored(image):
    """Values in one row, the lower pixels first: linear ones of images of floats, and those of the file of others; None for an image
    without pixels."""
    width, height = image.size
    if not width or not height:
        return None
    pixels = numpy.empty(width * height * 4, numpy.float32)
    image.pixels.foreach_get(pixels)
    return pixels


class Images:
    """Prints each image once, with its first use.

    folder: where files that Blender has packed are unpacked, with a name that is absolute
    """

    def __init__(self, text, losses, frame, folder):
        self._text = text
        self._losses = losses
        self._frame = frame
        self._folder = folder
        self._names = {}
        self._parts = {}

    def element(self, image, user):
        """Name of the texture for an image as an image user (its frame of a sequence) shows it; None where there is none."""
        if image is None:
            return None
        if image.source in {"MOVIE", "VIEWER"}:
            self._losses.add("movies and results as images", image.name)
            return None
        key = (image.name_full, self._frame_of(user) if image.source == "SEQUENCE" else 0)
        if key not in self._names:
            self._names[key] = self._print(image, self._file(image, user))
        return self._names[key]

    def part(self, image, user, part):
        """Name of a texture of a part of an image, which is the image itself where it shows the same; None for no image."""
        if image is None or part == PLAIN:
            return self.element(image, user)
        key = (image.name_full, part)
        if key not in self._parts:
            pixels = self._pixels(image)
            if pixels is None or numpy.abs(part.of(pixels) - pixels[..., :3]).max() < LEAST_STEP:
                self._parts[key] = self.element(image, user)
            else:
                self._parts[key] = self.derived(part.name, [(image, user)], part.of, part.is_color)
        return self._parts[key]

    def derived(self, kind, sources, compute, is_color=False):
        """Name of a texture that is computed of images pixel by pixel; None where one of them is missing.

        kind: part of its name, different for different computations
        sources: images with their users; all are brought to the size of the first
        compute: from arrays of height x width x 4 (linear, alpha last) to one of height x width x 3
        is_color: whether it is stored as display values, which have finer steps in the dark
        """
        key = (kind, *(image.name_full if image else None for image, _ in sources))
        if key not in self._names:
            arrays = [self._pixels(image) if image else None for image, _ in sources]
            self._names[key] = None
            if all(array is not None for array in arrays):
                height, width = arrays[0].shape[:2]
                result = numpy.clip(compute(*(_resized(array, width, height) for array in arrays)), 0, 1)
                path = self._new_file(f"{sources[0][0].name}_{kind}", ".png")
                _write_png(path, _encoded(result) if is_color else result)
                name = self._names[key] = self._text.name(f"{sources[0][0].name} {kind}")
                profile = ' colorprofile "sRGB"' if is_color else ""
                self._text.print(f'color texture "{name}"{profile} {scene_text.quoted(path)}')
        return self._names[key]

    def _pixels(self, image):
        """Linear values, the upper row first; None for an image that has none."""
        pixels = _stored(image)
        if pixels is None:
            self._losses.add("images that are not there", image.name)
            return None
        width, height = image.size
        pixels = pixels.reshape(height, width, 4)[::-1]
        if not image.is_float and image.colorspace_settings.name in PROFILES:
            pixels = numpy.concatenate([_decoded(pixels[..., :3]), pixels[..., 3:]], axis=2)
        return pixels

    def _frame_of(self, user):
        """Number of a sequence's file at the frame that is rendered."""
        return max(1, min(self._frame - user.frame_start + 1, user.frame_duration)) + user.frame_offset

    def _file(self, image, user):
        """Absolute name of the image's file, or None for an image that has none."""
        if image.is_dirty:
            return None
        if image.packed_file:
            return self._unpacked(image)
        if image.source == "GENERATED" or not image.filepath:
            return None
        if image.source == "SEQUENCE":
            user.frame_current = self._frame_of(user)
            return bpy.path.abspath(image.filepath_from_user(image_user=user), library=image.library)
        return os.path.realpath(bpy.path.abspath(image.filepath, library=image.library))

    def _unpacked(self, image):
        path = self._new_file(image.name, os.path.splitext(image.filepath)[1] or "." + image.file_format.lower())
        with open(path, "wb") as file:
            file.write(image.packed_file.data)
        return path

    def _new_file(self, wanted, extension):
        os.makedirs(self._folder, exist_ok=True)
        stem = "".join(c if c.isalnum() or c in "-_" else "_" for c in wanted)
        return os.path.join(self._folder, f"{stem}_{len(self._names)}{extension}")

    def _print(self, image, path):
        space = image.colorspace_settings.name
        profile = f' colorprofile "{PROFILES[space]}"' if space in PROFILES else ""
        if space and not profile and space not in LINEAR:
            self._losses.add(f"the colour space {space} of images, taken as linear", image.name)
        name = self._text.name(image.name)
        if path is not None:
            if "<UDIM>" not in path and not os.path.exists(path):
                self._losses.add("images that are not there", path)
                return None
            self._text.print(f'color texture "{name}"{profile} {scene_text.quoted(path)}')
            return name
        pixels = _stored(image)
        if pixels is None:
            self._losses.add("images without pixels", image.name)
            return None
        width, height = image.size
        if image.is_float:
            self._text.print(f'color texture "{name}" [ {width} {height} 4 ]')
            self._text.bytes(pixels.astype(">f4").tobytes())
        else:
            self._text.print(f'color texture "{name}"{profile} [ {width} {height} 1 ]')
            self._text.bytes(numpy.clip(pixels * 255 + 0.5, 0, 255).astype(numpy.uint8))
        return name
