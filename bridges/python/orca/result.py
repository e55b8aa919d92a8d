# SPDX-License-Identifier: Apache-2.0
"""A rendered picture: its layers as arrays."""

import collections.abc
import fractions
import json
import mmap
import os
import weakref

import numpy

from .command import run_well

SIGNATURE = b"orca arrays 1 "
PAGE = 4096


def metadata_from(values):
    """Metadata with matrices as arrays and rates as fractions."""
    def value_from(value):
        if isinstance(value, list):
            return numpy.reshape(value, (4, 4))
        return fractions.Fraction(value["numerator"], value["denominator"]) if isinstance(value, dict) else value
    return {key: value_from(value) for key, value in values.items()}


class Result(collections.abc.Mapping):
    """Layers by name, as arrays of shape (height, width, channels), the top row first.

    Numbers are float32, those of labels uint32. The arrays share their memory with the renderer, which has written them
    there: nothing is copied. They may be changed, and live as long as any of them is in use. Layers have the names that
    they have in the layered file: the picture itself comes first, as "beauty" where no pass is called so.

    width, height: of the layers, in pixels
    size: width and height of the whole picture
    window: left, bottom, right and top pixel of the layers in it, inclusive, counted from the lower left
    metadata: what the layered file says about the picture: scene, frame, camera, samples, worldToCamera ...; matrices are for
        points as rows
    camera_to_world: 4 x 4 matrix for points as rows, None where the file would have none
    messages: what the renderer said
    """

    def __init__(self, command, descriptor, messages=()):
        """descriptor: an open file that orca-render has written its arrays to; belongs to the result from now on."""
        self._command = command
        self._descriptor = descriptor
        self._close = weakref.finalize(self, os.close, descriptor)
        memory = mmap.mmap(descriptor, 0)
        line = memory.readline()
        length = int(line[len(SIGNATURE):])
        head = json.loads(memory[len(line):len(line) + length])
        begin = -(-(len(line) + length) // PAGE) * PAGE
        left, bottom, right, top = self.window = tuple(head["picture"]["window"])
        self.width, self.height = right - left + 1, top - bottom + 1
        self.size = tuple(head["picture"]["size"])
        self.metadata = metadata_from({**head["idMetadata"], **head["metadata"]})
        self.camera_to_world = self.metadata.get("cameraToWorld")
        self.messages = list(messages)
        self._about = {layer["name"]: layer for layer in head["layers"]}
        self._metadata = head["layerMetadata"]
        self._arrays = {
            name: numpy.ndarray((self.height, self.width, len(about["channels"])), about["type"], memory, begin + about["offset"])
            for name, about in self._about.items()}

    def __getitem__(self, name):
        try:
            return self._arrays[name]
        except KeyError:
            raise KeyError(f"there is no layer {name!r}; there are {', '.join(self._arrays)}") from None

    def __iter__(self):
        return iter(self._arrays)

    def __len__(self):
        return len(self._arrays)

    def __repr__(self):
        return f"<orca.Result {self.width} x {self.height}: {', '.join(self._arrays)}>"

    @property
    def picture(self):
        """The picture itself, whatever its layer is called."""
        return next(iter(self._arrays.values()))

    @property
    def names(self):
        """Names of the layers, that of the picture first."""
        return list(self._arrays)

    def channels(self, name):
        """Names of a layer's channels, such as ["R", "G", "B", "A"]."""
        self[name]
        return list(self._about[name]["channels"])

    def layer_metadata(self, name):
        """What is known about a layer that a pass feeds: type, flags, trace levels."""
        self[name]
        return metadata_from(self._metadata.get(self._about[name]["buffer"], {}))

    def save(self, path, single_part=False, compression=None, types=None, tiles=None, mip_maps=False):
        """Writes a file of the layers as the arrays hold them now.

        path: ending in .exr a layered file, the one that orca-render would have written; with another extension, such as
            .png, the picture alone, for looking at
        single_part, compression, types, tiles, mip_maps: how the layered file is stored, as --single-part, --exr-compression,
            --exr-type, --exr-tiles and --exr-mip-maps say it
        Raises Error where it cannot be written.
        """
        path = os.fspath(path)
        option = "--output" if os.path.splitext(path)[1].lower() == ".exr" else "--png"
        stored = [f"--exr-{name}={value}" for name, value in (("compression", compression), ("type", types), ("tiles", tiles)) if value]
        stored += [flag for flag, given in (("--single-part", single_part), ("--exr-mip-maps", mip_maps)) if given]
        run_well(self._command, ["--develop", f"/proc/self/fd/{self._descriptor}", f"{option}={path}", *stored],
                 pass_fds=(self._descriptor,))
