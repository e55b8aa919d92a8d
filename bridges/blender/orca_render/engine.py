# SPDX-License-Identifier: Apache-2.0
"""The render engine: writes the scene, runs orca-render, takes its layers over."""

import math
import os
import shutil
import tempfile

import bpy

from . import camera, passes, preferences, process, result, scene_export, scene_text

POLL_SECONDS = 0.1
SHOWN_MESSAGES = 20
# Shares of the progress bar at which phases begin, and their lengths.
PHASES = {"prepare": (0.0, 0.05), "gather": (0.05, 0.35), "render": (0.4, 0.58), "write": (0.98, 0.02), "done": (1.0, 0.0)}

SHOWS_PREVIEWS = not bpy.app.background  # nobody sees them there

# Set by the exporter: a file to which scenes are written in place of being rendered.
export_path = None


class OrcaRenderEngine(bpy.types.RenderEngine):
    """Orca: pictures and passes by orca-render."""

    bl_idname = "ORCA"
    bl_label = "Orca"
    bl_use_preview = False
    bl_use_shading_nodes_custom = False
    bl_use_eevee_viewport = True
    bl_use_postprocess = True

    def update_render_passes(self, scene=None, renderlayer=None):
        result.register(self, scene, renderlayer, passes.layers_of(renderlayer, scene.camera, scene.world))

    def render(self, depsgraph):
        losses = scene_text.Losses()
        try:
            if export_path:
                self._write(depsgraph, export_path, "", losses)
            else:
                self._render(depsgraph, losses)
        except (scene_export.ExportError, OSError) as problem:
            self.report({"ERROR"}, f"Orca: {problem}")
            self.error_set(f"Orca: {problem}")
        for line in losses.lines():
            self.report({"WARNING"}, f"Orca: left out: {line}")

    def _write(self, depsgraph, path, prefix, losses):
        scene = depsgraph.scene
        frame = scene.frame_current
        chosen = self.camera_override or scene.camera
        job = scene_export.Job(passes.layers_of(depsgraph.view_layer, chosen, scene.world), prefix, self.resolution_x, self.resolution_y,
                               os.path.splitext(path)[0] + "_textures", chosen)

        def go(moment):
            whole = math.floor(moment)
            self.frame_set(whole, moment - whole)

        self.update_stats("", "Writing the scene")
        try:
            scene_export.write_scene(path, depsgraph, job, go, losses)
        finally:
            if scene_export.shutter_of(scene, job.layers):
                self.frame_set(frame, 0.0)
        return job

    def _render(self, depsgraph, losses):
        command = preferences.command()
        if command is None:
            raise scene_export.ExportError(preferences.missing())
        scene, view_layer = depsgraph.scene, depsgraph.view_layer
        with tempfile.TemporaryDirectory(prefix="orca_", dir=bpy.app.tempdir) as folder:
            stem = f"{scene.name}_{view_layer.name}_{scene.frame_current:04d}"
            stem = "".join(c if c.isalnum() or c in "-_" else "_" for c in stem)
            scene_file, layered_file = (os.path.join(folder, stem + extension) for extension in (".mi", ".exr"))
            job = self._write(depsgraph, scene_file, view_layer.name + ".", losses)
            picture = process.Picture(command, scene_file, layered_file)
            self._run(picture, scene, lambda: self._take(depsgraph, job, layered_file))
            if scene.orca.keep_files:
                shutil.copytree(folder, bpy.path.abspath(scene.orca.keep_folder), dirs_exist_ok=True)

    def _run(self, picture, scene, take):
        """Renders a picture to its end, or until the user or an error ends it; takes over what there is of it."""
        interval = scene.orca.preview_seconds if SHOWS_PREVIEWS else 0
        child = picture.render(interval, scene.render.threads if scene.render.threads_mode == "FIXED" else 0)
        shown = 0
        try:
            while not self._is_stopped():
                event = child.event(POLL_SECONDS)
                if isinstance(event, process.Progress):
                    self._show(event)
                elif isinstance(event, process.Message):
                    shown += 1
                    if shown <= SHOWN_MESSAGES:
                        self.report({"WARNING"} if event.kind == "warning" else {"ERROR"}, f"Orca: {event.text}")
                if interval and picture.develop_new():
                    take()
            child.stop()
            if picture.develop_new():
                take()
            return
        except EOFError:
            code = child.end()
        finally:
            child.stop()
        if shown > SHOWN_MESSAGES:
            self.report({"WARNING"}, f"Orca: {shown - SHOWN_MESSAGES} more messages")
        if os.path.exists(picture.layered_file) and code in (0, 1):  # 1: what can be is written
            take()
        if code != 0:
            problem = process.ADVICE.get(code, f"orca-render was ended by signal {-code}" if code < 0 else f"exit code {code}")
            self.report({"ERROR"}, f"Orca: {problem}")
            self.error_set(f"Orca: {problem}")

    def _is_stopped(self):
        return self.test_break()

    def _show(self, event):
        begin, length = PHASES.get(event.phase, (0.0, 0.0))
        self.update_progress(begin + length * event.fraction)
        left = f", {event.remaining:.0f} s left" if event.remaining else ""
        self.update_stats("", f"{event.phase.capitalize()} {100 * event.fraction:.0f} %{left}")

    def _take(self, depsgraph, job, layered_file):
        scene = depsgraph.scene
        picture = camera.picture_of(scene.render, job.width, job.height)
        begin, end = scene_export.shutter_of(scene, job.layers) or (0.0, 1.0)
        shot = result.Shot(job.layers, scene.world, job.names, end - begin)
        render_result = self.begin_result(0, 0, picture.width, picture.height, layer=depsgraph.view_layer.name, view=self.active_view_get())
        try:
            result.load(render_result, layered_file, shot)
        finally:
            self.end_result(render_result)
        for key, value in job.names.metadata(depsgraph.view_layer.name, job.layers):
            self.get_result().stamp_data_add_field(key, value)
