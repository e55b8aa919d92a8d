# SPDX-License-Identifier: Apache-2.0
"""Reads what sockets of node trees hold."""

import colorsys
import contextlib
import dataclasses

from .image_parts import RAMP_STEPS, Part, Ramp
from .values import Texture, Value, constant

WITH_ALPHA = {16, 32, 64, 128}  # bits of the pixels of images with alpha
MOST_NODES = 64  # along one path; trees cannot have cycles, but groups within groups are deep


def _constant_of(socket):
    value = socket.default_value
    return constant(value if isinstance(value, (int, float)) else list(value)[:3])


class Inputs:
    """Reads the sockets of one material, and notes in `losses` what it cannot read."""

    def __init__(self, material_name, losses):
        self._name = material_name
        self._losses = losses
        self._groups = {}  # for a group's tree, the node through which it was entered

    def lose(self, what):
        self._losses.add(what, self._name)

    @contextlib.contextmanager
    def followed(self, socket, groups=None):
        """The node and socket that feed a socket, through reroutes and groups; (None, socket) where nothing does.

        Of a group's input that nothing is connected to, the socket is that of the group, which holds the value.
        groups: those of a Texture, to read the sockets of its node
        """
        entered = dict(self._groups)
        if groups is not None:
            self._groups = dict(groups)
        yield self._source(socket)
        self._groups = entered

    def _texture(self, kind, node, part=Part()):
        return Value(texture=Texture(kind, node, part, tuple(self._groups.items())))

    def _source(self, socket):
        for _ in range(MOST_NODES):
            link = next((link for link in socket.links if link.is_valid and not link.is_muted), None)
            if link is None:
                return None, socket
            node, output = link.from_node, link.from_socket
            if node.type == "REROUTE":
                socket = node.inputs[0]
            elif node.type == "GROUP" and node.node_tree:
                inner = next((n for n in node.node_tree.nodes if n.type == "GROUP_OUTPUT" and n.is_active_output), None)
                if inner is None:
                    return None, socket
                self._groups[node.node_tree.name_full] = node
                socket = next(s for s in inner.inputs if s.identifier == output.identifier)
            elif node.type == "GROUP_INPUT":
                group = self._groups[node.id_data.name_full]
                socket = next(s for s in group.inputs if s.identifier == output.identifier)
            elif node.mute:
                through = next((link.from_socket for link in node.internal_links if link.to_socket == output), None)
                if through is None:
                    return None, socket
                socket = through.node.inputs[through.name]
            else:
                return node, output
        return None, socket

    def value(self, socket):
        """What a socket of a colour or a number holds."""
        with self.followed(socket) as (node, output):
            if node is None:
                return _constant_of(output)
            read = getattr(self, "_read_" + node.type.lower(), None)
            value = read(node, output) if read else None
            if value is not None:
                return value
        self.lose(f"nodes of the kind {node.bl_label}, whose socket keeps its own value")
        return _constant_of(socket) if hasattr(socket, "default_value") else constant(0.5)

    def number(self, socket, what):
        """What a socket of a number holds where only a constant will do; `what` is lost otherwise."""
        value = self.value(socket)
        if not value.is_constant:
            self.lose(what)
            return _constant_of(socket).scalar
        return value.scalar

    # --- nodes, by their type in lower case ---

    def _read_rgb(self, node, output):
        return constant(list(output.default_value)[:3])

    def _read_value(self, node, output):
        return constant(output.default_value)

    def _read_tex_image(self, node, output):
        if node.image is None:
            return constant((0, 0, 0))
        if output.identifier == "Alpha":
            return self._texture("image", node, Part("alpha"))
        has_alpha = node.image.depth in WITH_ALPHA and node.image.alpha_mode in {"STRAIGHT", "PREMUL"}
        return self._texture("image", node, Part(is_associated=has_alpha and not node.outputs["Alpha"].is_linked))

    def _read_tex_environment(self, node, output):
        return constant((0, 0, 0)) if node.image is None else self._texture("panorama", node)

    def _read_vertex_color(self, node, output):
        if output.identifier == "Alpha":
            return None
        return self._texture("colors", node)

    def _read_attribute(self, node, output):
        if output.identifier != "Color" or node.attribute_type != "GEOMETRY":
            return None
        return self._texture("colors", node)

    def _read_tex_checker(self, node, output):
        with self.followed(node.inputs["Vector"]) as (vector, _):
            pass
        if output.identifier != "Color" or vector is None or vector.type not in {"TEX_COORD", "UVMAP", "MAPPING"}:
            return None
        if any(socket.is_linked for socket in list(node.inputs)[1:]):
            return None
        return self._texture("checker", node)

    def _read_invert(self, node, output):
        factor, value = self.value(node.inputs["Fac"]), self.value(node.inputs["Color"])
        if not factor.is_constant:
            return None
        return self.mixed(factor.scalar, value, value.inverted())

    def _read_gamma(self, node, output):
        value, exponent = self.value(node.inputs["Color"]), self.value(node.inputs["Gamma"])
        if not (value.is_constant and exponent.is_constant):
            return None
        return constant([max(c, 0) ** exponent.scalar for c in value.offset])

    def _read_brightcontrast(self, node, output):
        value = self.value(node.inputs["Color"])
        bright, contrast = self.value(node.inputs["Bright"]), self.value(node.inputs["Contrast"])
        if not (bright.is_constant and contrast.is_constant):
            return None
        gain = 1 + contrast.scalar
        return value.scaled(gain).plus(bright.scalar - contrast.scalar * 0.5)

    def _read_hue_sat(self, node, output):
        value = self.value(node.inputs["Color"])
        others = [self.value(node.inputs[name]) for name in ("Hue", "Saturation", "Value", "Fac")]
        if not all(other.is_constant for other in others):
            return None
        hue, saturation, brightness, factor = (other.scalar for other in others)
        if not value.is_constant:
            return value.scaled(1 + factor * (brightness - 1)) if (hue, saturation) == (0.5, 1.0) else None
        h, s, v = colorsys.rgb_to_hsv(*value.offset)
        changed = colorsys.hsv_to_rgb((h + hue + 0.5) % 1.0, min(max(s * saturation, 0), 1), v * brightness)
        return self.mixed(factor, value, constant(changed))

    def _read_valtorgb(self, node, output):
        value = self.value(node.inputs["Fac"]).grey

        def color(place):
            result = node.color_ramp.evaluate(place)
            return (result[3],) * 3 if output.identifier == "Alpha" else tuple(result[:3])

        if value.is_constant:
            return constant(color(value.scalar))
        if value.texture.kind != "image" or value.texture.part.ramp:
            return None
        ramp = Ramp(value.gain[0], value.offset[0], tuple(color(i / (RAMP_STEPS - 1)) for i in range(RAMP_STEPS)))
        return Value(texture=dataclasses.replace(value.texture, part=dataclasses.replace(value.texture.part, ramp=ramp)))

    def _channel(self, socket, name):
        value = self.value(socket)
        return value.reduced(name) if value.is_constant or value.texture.kind == "image" else None

    def _read_separate_color(self, node, output):
        return self._channel(node.inputs["Color"], output.identifier.lower()) if node.mode == "RGB" else None

    def _read_seprgb(self, node, output):
        return self._channel(node.inputs["Image"], {"R": "red", "G": "green", "B": "blue"}[output.identifier])

    def _read_rgbtobw(self, node, output):
        return self._channel(node.inputs["Color"], "grey")

    def _read_combine_color(self, node, output):
        parts = [self.value(socket) for socket in node.inputs]
        return constant([part.scalar for part in parts]) if node.mode == "RGB" and all(part.is_constant for part in parts) else None

    def _read_map_range(self, node, output):
        if node.data_type != "FLOAT" or node.interpolation_type != "LINEAR":
            return None
        names = ("From Min", "From Max", "To Min", "To Max")
        ends = [self.value(next(s for s in node.inputs if s.name == name)) for name in names]
        if not all(end.is_constant for end in ends) or ends[0].scalar == ends[1].scalar:
            return None
        low, high, new_low, new_high = (end.scalar for end in ends)
        slope = (new_high - new_low) / (high - low)
        result = self.value(node.inputs["Value"]).scaled(slope).plus(new_low - low * slope)
        if node.clamp and result.is_constant:
            return constant(min(max(result.scalar, min(new_low, new_high)), max(new_low, new_high)))
        return result

    def _read_math(self, node, output):
        a = self.value(node.inputs[0])
        b = self.value(node.inputs[1]) if len(node.inputs) > 1 else constant(0)
        result = self._sum_or_product(node.operation, a, b)
        return self._limited(result, node.use_clamp)

    def _read_mix_rgb(self, node, output):
        return self._mix(node.blend_type, node.inputs["Fac"], node.inputs["Color1"], node.inputs["Color2"], node.use_clamp)

    def _read_mix(self, node, output):
        at = {"RGBA": ("Factor_Float", "A_Color", "B_Color"), "FLOAT": ("Factor_Float", "A_Float", "B_Float")}.get(node.data_type)
        if at is None:
            return None
        factor, a, b = (next(s for s in node.inputs if s.identifier == name) for name in at)
        return self._mix(node.blend_type if node.data_type == "RGBA" else "MIX", factor, a, b,
                         node.data_type == "RGBA" and node.clamp_result)

    # --- arithmetic that keeps the form of Value ---

    def _mix(self, blend, factor_socket, first, second, limited):
        factor, a, b = self.value(factor_socket).grey, self.value(first), self.value(second)
        if not factor.is_constant:
            # Between two constants, the factor's texture is what is looked up.
            if blend != "MIX" or not (a.is_constant and b.is_constant):
                return None
            difference = tuple(y - x for x, y in zip(a.offset, b.offset))
            return self._limited(factor.scaled(difference).plus(a.offset), limited)
        amount = min(max(factor.scalar, 0.0), 1.0)
        blended = b if blend == "MIX" else self._sum_or_product(blend, a, b)
        return None if blended is None else self._limited(self.mixed(amount, a, blended), limited)

    @staticmethod
    def _sum_or_product(operation, a, b):
        if operation == "MULTIPLY" and (a.is_constant or b.is_constant):
            return b.scaled(a.offset) if a.is_constant else a.scaled(b.offset)
        if operation == "ADD" and (a.is_constant or b.is_constant):
            return b.plus(a.offset) if a.is_constant else a.plus(b.offset)
        if operation == "SUBTRACT" and (a.is_constant or b.is_constant):
            return b.scaled(-1).plus(a.offset) if a.is_constant else a.plus([-c for c in b.offset])
        if operation == "DIVIDE" and b.is_constant and min(map(abs, b.offset)) > 0:
            return a.scaled([1 / c for c in b.offset])
        if operation == "POWER" and a.is_constant and b.is_constant:
            return constant([max(x, 0) ** y for x, y in zip(a.offset, b.offset)])
        return None

    @staticmethod
    def mixed(amount, a, b):
        """a (1 - amount) + b amount, of which one is constant or both are of one texture; None otherwise."""
        if amount in (0.0, 1.0):
            return b if amount else a
        a, b = a.scaled(1 - amount), b.scaled(amount)
        if a.is_constant:
            return b.plus(a.offset)
        if b.is_constant:
            return a.plus(b.offset)
        if a.texture == b.texture:
            return Value(tuple(x + y for x, y in zip(a.offset, b.offset)), tuple(x + y for x, y in zip(a.gain, b.gain)), a.texture)
        return None

    @staticmethod
    def _limited(value, limited):
        if value is None or not limited or not value.is_constant:
            return value
        return constant([min(max(c, 0.0), 1.0) for c in value.offset])
