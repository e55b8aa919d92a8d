# SPDX-License-Identifier: Apache-2.0
"""Cameras of Blender: view, clipping, depth of field, panoramas."""

import dataclasses
import math

from . import scene_text

MILLIMETRE = 1e-3  # lenses are measured in them, whatever the scene's unit is


@dataclasses.dataclass
class Picture:
    """Pixels that are rendered: those of the region, where one is set."""
    width: int
    height: int
    left: float = 0.0  # the part of the whole view, 0 to 1
    right: float = 1.0
    bottom: float = 0.0
    top: float = 1.0


def picture_of(render, width, height):
    """The picture of a render that Blender wants `width` x `height` pixels of: those of the region, if there is one."""
    if not render.use_border:
        return Picture(width, height)
    # Blender cuts off the fractions of pixels.
    left, right = int(render.border_min_x * width), int(render.border_max_x * width)
    bottom, top = int(render.border_min_y * height), int(render.border_max_y * height)
    return Picture(right - left, top - bottom, left / width, right / width, bottom / height, top / height)


@dataclasses.dataclass
class View:
    """What is seen: the rectangle at a distance of 1, or of a parallel view the rectangle itself."""
    is_parallel: bool
    left: float
    right: float
    bottom: float
    top: float

    @property
    def width(self):
        return self.right - self.left

    @property
    def height(self):
        return self.top - self.bottom


def view_of(camera, scene, picture):
    """The view of a camera's data on the pixels of a picture."""
    corners = camera.view_frame(scene=scene)
    is_parallel = camera.type == "ORTHO"
    depth = 1.0 if is_parallel else -corners[0].z
    xs, ys = [c.x / depth for c in corners], [c.y / depth for c in corners]
    left, bottom = min(xs), min(ys)
    width, height = max(xs) - left, max(ys) - bottom
    return View(is_parallel, left + picture.left * width, left + picture.right * width,
                bottom + picture.bottom * height, bottom + picture.top * height)


def _thin_lens(camera, matrix):
    """The lens shader of a camera with depth of field, or nothing."""
    dof = camera.dof
    if not dof.use_dof:
        return []
    distance = dof.focus_distance
    if dof.focus_object is not None:
        distance = -(scene_text.rigid(matrix).inverted() @ dof.focus_object.matrix_world.translation).z
    if distance <= 0:
        return []
    stop = max(dof.aperture_fstop, 1e-5)
    radius = 1 / (2 * stop) if camera.type == "ORTHO" else camera.lens * MILLIMETRE / (2 * stop)
    shape = ""
    if dof.aperture_blades >= 3:
        shape = f', "blades" {dof.aperture_blades}, "bladeRotation" {math.degrees(dof.aperture_rotation):.6g}'
    if dof.aperture_ratio != 1:
        shape += f', "squeeze" {dof.aperture_ratio:.6g}'
    return [f'"velaThinLens" ( "focusDistance" {distance:.9g}, "apertureRadius" {radius:.9g}{shape} )']


def _panorama(camera, losses):
    """The lens shader of a camera that sees more than a plane shows."""
    settings = getattr(camera, "cycles", None)
    kind = getattr(settings, "panorama_type", "EQUIRECTANGULAR")
    if kind == "EQUIRECTANGULAR":
        return '"velaLatLongLens" ( )'
    if kind in ("FISHEYE_EQUIDISTANT", "FISHEYE_EQUISOLID"):
        projection = 0 if kind == "FISHEYE_EQUIDISTANT" else 1
        return f'"velaFisheyeLens" ( "angle" {math.degrees(settings.fisheye_fov):.6g}, "projection" {projection} )'
    losses.add("panoramas that are neither equirectangular nor fisheyes, shown as equirectangular", camera.name)
    return '"velaLatLongLens" ( )'


def write(text, name, camera_object, matrix, scene, picture, frame, statements, environment, losses):
    """Prints the camera.

    matrix: its placement, for the distance to what is in focus
    statements: frame buffers and data block
    environment: name of the environment's shader, or nothing where the background is empty
    """
    camera = camera_object.data
    view = view_of(camera, scene, picture)
    lenses = _thin_lens(camera, matrix)
    if camera.type == "PANO":
        lenses = [_panorama(camera, losses)]
    lenses.append('"orcaFrameBufferLens" ( )')
    # The picture's middle lies where the view's does, so many pixels off the axis.
    shift_x = -(view.left + view.right) / 2 / view.width * picture.width
    shift_y = -(view.bottom + view.top) / 2 / view.height * picture.height
    focal = "focal infinity  aperture" if view.is_parallel else "focal 1  aperture"
    text.print(f'camera "{name}"\n    framebuffer "main" datatype "rgba_fp" filtering on primary on\n{statements}'
               f"    resolution {picture.width} {picture.height}  aspect {view.width / view.height:.9g}\n"
               f"    {focal} {view.width:.9g}  offset {shift_x + 0.0:.9g} {shift_y + 0.0:.9g}\n"
               f"    clip {camera.clip_start:.9g} {camera.clip_end:.9g}  frame {frame}\n"
               f"    lens {' '.join(lenses)}" + (f'\n    environment = "{environment}"' if environment else "") + "\nend camera\n")
