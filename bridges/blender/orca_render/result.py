# SPDX-License-Identifier: Apache-2.0
"""Layers of a finished file as passes of Blender's render result."""

import numpy

BACKGROUND_DEPTH = 1e10  # of Blender's depth where nothing is


def register(engine, scene, view_layer, layers):
    """Tells Blender which passes a view layer will have, for the compositor's sockets."""
    for layer in layers:
        letters, kind, _ = layer.shape
        engine.register_pass(scene, view_layer, layer.name, len(letters), letters, kind)


def load(result, path, layers, camera_view, world, names):
    """Fills the result's passes from a layered file.

    camera_view: camera.View of the picture, None for panoramas
    world: Blender's world or None, for its mist and its light group
    names: mattes.Names
    """
    result.load_from_file(path)
    for layer in layers:
        change = _change_of(layer, camera_view, world, result, names)
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


def _change_of(layer, view, world, result, names):
    """How a layer's values become those that Blender expects; None where they are those."""
    if layer.name == "Depth":
        return lambda values: _axial_depth(values, view)
    if layer.name == "Mist":
        return lambda values: _mist(values, world.mist_settings) if world else values
    if layer.is_matte:
        return lambda values: names.translated(layer.source, values)
    if layer.source in {"normal", "normalWorld", "motionVector3D"}:
        return _upright
    if layer.source == "beauty" and layer.light_group and not (world and world.lightgroup == layer.light_group):
        return lambda values: values - _values(result, "Env") * (1, 1, 1, 0)
    return None


def _upright(values):
    """From vectors with y up to such with z up; alpha stays."""
    turned = values.copy()
    turned[..., 1], turned[..., 2] = -values[..., 2], values[..., 1]
    return turned


def _axial_depth(distance, view):
    """Distance along the view axis from the distance from the camera."""
    depth = distance
    if view is not None and not view.is_parallel:
        height, width = distance.shape[:2]
        x = view.left + (numpy.arange(width) + 0.5) / width * view.width
        y = view.bottom + (numpy.arange(height) + 0.5) / height * view.height
        depth = distance / numpy.sqrt(1 + x[None, :, None] ** 2 + y[:, None, None] ** 2)
    return numpy.where(distance > 0, depth, BACKGROUND_DEPTH)


def _mist(distance, settings):
    reach = numpy.clip((distance - settings.start) / max(settings.depth, 1e-6), 0, 1)
    if settings.falloff == "QUADRATIC":
        reach = reach ** 2
    elif settings.falloff == "INVERSE_QUADRATIC":
        reach = numpy.sqrt(reach)
    return numpy.where(distance > 0, settings.intensity + (1 - settings.intensity) * reach, 1.0)
