# SPDX-License-Identifier: Apache-2.0
"""Mattes by name: ids of what the scene file calls things become those of Blender's names."""

import json

import numpy

# Blender's switch of a view layer, the passes' name, data type of the frame buffer.
MATTES = (("use_pass_cryptomatte_object", "CryptoObject", "crypto_object"), ("use_pass_cryptomatte_material", "CryptoMaterial", "crypto_material"),
          ("use_pass_cryptomatte_asset", "CryptoAsset", "crypto_asset"))
TYPES = {name: kind for _, name, kind in MATTES}
WORD = 0xffffffff


def levels_of(view_layer):
    """How many passes each kind of matte has, two ids in each."""
    return (min(max(view_layer.pass_cryptomatte_depth, 2), 16) + 1) // 2


def _turned(word, bits):
    return (word << bits | word >> (32 - bits)) & WORD


def murmur_hash(text):
    """MurmurHash3 (A. Appleby), 32 bits, seed 0."""
    data, hashed = text.encode(), 0
    for begin in range(0, len(data), 4):
        block = int.from_bytes(data[begin:begin + 4], "little")
        hashed ^= _turned(block * 0xcc9e2d51 & WORD, 15) * 0x1b873593 & WORD
        if begin + 4 <= len(data):
            hashed = (_turned(hashed, 13) * 5 + 0xe6546b64) & WORD
    hashed ^= len(data)
    hashed = (hashed ^ hashed >> 16) * 0x85ebca6b & WORD
    hashed = (hashed ^ hashed >> 13) * 0xc2b2ae35 & WORD
    return hashed ^ hashed >> 16


def id_of(name):
    """The bits of a name's id, which is a normal float."""
    hashed = murmur_hash(name)
    return hashed ^ 1 << 23 if hashed >> 23 & 255 in (0, 255) else hashed


class Names:
    """Blender's names of what a scene file holds, by kind of matte and by the file's name."""

    def __init__(self):
        self._names = {name: {} for name in TYPES}
        self._indices = {}  # Blender's pass indices of materials, by the file's names

    def add_instance(self, instance, thing):
        """thing: object of Blender that the instance shows; its asset is the outermost of its parents."""
        asset = thing
        while asset.parent:
            asset = asset.parent
        self._names["CryptoObject"][instance] = thing.name
        self._names["CryptoAsset"][instance] = asset.name

    def add_material(self, name, material):
        """material: of Blender, None for the one of objects without any"""
        self._names["CryptoMaterial"][name] = material.name if material else name
        if material:
            self._indices[name] = material.pass_index

    def material_indices(self, mattes):
        """Pass index of the material whose id is first in mattes with ids of the file's names, one channel."""
        words = numpy.ascontiguousarray(mattes[..., :1], numpy.float32).view(numpy.uint32)
        indices = numpy.zeros(words.shape, numpy.float32)
        for name, index in self._indices.items():
            indices[words == id_of(name)] = index
        return indices

    def translated(self, matte, values):
        """Values of a pass with ids of Blender's names."""
        ids = {id_of(ours): id_of(theirs) for ours, theirs in self._names[matte].items()}
        known = numpy.array(sorted(ids), numpy.uint32)
        wanted = numpy.array([ids[key] for key in sorted(ids)], numpy.uint32)
        words = numpy.ascontiguousarray(values, numpy.float32).view(numpy.uint32)
        pairs = words[..., 0::2]
        if len(known):
            places = numpy.minimum(numpy.searchsorted(known, pairs), len(known) - 1)
            words[..., 0::2] = numpy.where(known[places] == pairs, wanted[places], pairs)
        return words.view(numpy.float32)

    def metadata(self, view_layer, layers):
        """Keys and values that tell Blender which name has which id."""
        for matte in {layer.source: None for layer in layers if layer.source in TYPES}:
            name = f"{view_layer}.{matte}"
            key = f"cryptomatte/{murmur_hash(name):08x}"[:-1]
            ids = {theirs: f"{id_of(theirs):08x}" for theirs in sorted(set(self._names[matte].values()))}
            yield from ((f"{key}/name", name), (f"{key}/hash", "MurmurHash3_32"), (f"{key}/conversion", "uint32_to_float32"),
                        (f"{key}/manifest", json.dumps(ids, ensure_ascii=False)))
