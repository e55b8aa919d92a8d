# SPDX-License-Identifier: Apache-2.0
"""Layers of a finished file as passes of Blender's render result."""

import dataclasses

import numpy

from .passes import MOTION, Join

# Passes of places and directions, with y up.
UPRIGHT_SOURCES = {"normal", "normalWorld", "motionVector3D", "position"}


def register(engine, scene, view_layer, layers):
    """Tells Blender which passes a view layer will have, for the compositor's sockets."""
    for layer in layers:
        letters, kind, _ = layer.shape
        engine.register_pass(scene, view_layer, layer.name, len(letters), letters, kind)


@dataclasses.dataclass
class Shot:
    """What layers are turned into passes by."""
    layers: list  # of passes.Layer
    world: object  # of Blender or None, for its mist
    names: object  # mattes.Names
    shutter: float  # frames that it is open for


def load(result, path, shot):
    """Fills the result's passes from a layered file."""
    result.load_from_file(path)
    for layer in shot.layers:  # what a layer is joined with comes after it, and is not changed before
        change = _change_of(layer, shot, result)
        if change is not None:
            values = _values(result, layer.name)
            flat = numpy.ascontiguousarray(change(values), numpy.float32).reshape(-1, values.shape[2])
            result.layers[0].passes[layer.name].rect.foreach_set(flat)


def _values(result, name):
    """Values of a pass, height x width x channels, the lower row first."""
    render_pass = result.layers[0].passes[name]
    values = numpy.empty((result.resolution_x * result.resolution_y, render_pass.channels), numpy.float32)
    render_pass.rect.foreach_get(values)
    return values.reshape(result.resolution_y, result.resolution_x, -1)


def _change_of(layer, shot, result):
    """How a layer's values become those that Blender expects; None where they are those."""
    if layer.name == "Mist":
        return lambda values: _mist(values, shot.world.mist_settings) if shot.world else values
    if layer.name == MOTION:
        return lambda values: _frame_motion(values, shot.shutter)
    if layer.name == "UV":
        return _marked
    if layer.is_smooth:  # the camera looks along -z, but along z in Cycles' data for denoisers
        return lambda values: values * (1, 1, -1)
    if layer.is_matte:
        return lambda values: shot.names.translated(layer.source, values)
    if layer.source in UPRIGHT_SOURCES:
        return _upright
    if layer.join:
        return lambda values: _joined(layer, values, _values(result, layer.other), shot.names)
    return None


def _joined(layer, values, others, names):
    if layer.join == Join.MATERIAL_INDEX:
        return names.material_indices(others) * (values > 0)
    if layer.join == Join.DIFFERENCE:
        return values - others * (1, 1, 1, 0)
    if layer.join == Join.SUM:
        return numpy.concatenate([values[..., :3] + others[..., :3], values[..., 3:]], axis=2)
    quotient = numpy.divide(values, others, out=numpy.zeros_like(values), where=others != 0)
    quotient[..., 3:] = values[..., 3:]
    return quotient


def _frame_motion(values, shutter):
    """Movement in pixels since the frame before and to the next one, each backwards: that of the shutter, evenly."""
    backwards = -values[..., :2] / shutter
    return numpy.concatenate([backwards, backwards], axis=2)


def _marked(coordinates):
    """Texture coordinates with a 1 where there are any."""
    marked = coordinates.copy()
    marked[..., 2] = (coordinates[..., :2] != 0).any(axis=-1)
    return marked


def _upright(values):
    """From vectors with y up to such with z up; alpha stays."""
    turned = values.copy()
    turned[..., 1], turned[..., 2] = -values[..., 2], values[..., 1]
    return turned


def _mist(distance, settings):
    reach = numpy.clip((distance - settings.start) / max(settings.depth, 1e-6), 0, 1)
    if settings.falloff == "QUADRATIC":
        reach = reach ** 2
    elif settings.falloff == "INVERSE_QUADRATIC":
        reach = numpy.sqrt(reach)
    return numpy.where(distance > 0, settings.intensity + (1 - settings.intensity) * reach, 1.0)
