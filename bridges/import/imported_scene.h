// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene_text.h"

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace orca::bridge {

struct ImportOptions {
    double scale = 1;                          ///< after the file's own unit
    std::optional<bool> zIsUp;                 ///< whether the z axis becomes y; nothing: as the file says
    double creaseDegrees = 60;                 ///< of meshes without normals
    std::optional<std::pair<int, int>> frames; ///< first and last; nothing: one picture of the rest pose
    double framesPerSecond = 24;               ///< frame 0 is the animation's start
    int animation = 1;                         ///< number of the file's animation, from 1
    double shutter = 0;                        ///< frames that it is open for motion blur; 0: none
    std::optional<std::pair<int, int>> size;   ///< pixels; nothing: 960 wide, of the camera's shape
    std::string camera;                        ///< name of the file's; empty: the first
    std::optional<bool> studio;                ///< a dome and a sun; nothing: where the file has no light
    bool ground = false;                       ///< a floor below everything
    std::string program;                       ///< that writes the scene, for its first line
};

/// What an import gave, for a report.
struct ImportSummary {
    std::size_t objects = 0, instances = 0, triangles = 0, materials = 0, lights = 0, cameras = 0, frames = 0;
    std::vector<std::string> losses; ///< what the scene has not, a line each
};

/// Writes a model as a scene that renders at once. Textures go into the folder SCENE_textures next to it.
/// Throws WriteError, or ImportError when there is no camera or animation as asked for.
ImportSummary writeScene(const ModelFile& model, const ImportOptions& options, const std::string& scenePath);

/// Writes the triangles of a model alone, all in one space, as statements of one object. The first lines name
/// the files that were read: `#: reads "FILE"`.
/// @param tagged triangles carry the number of their material in the file, from 0
void writeGeometry(const ModelFile& model, const ImportOptions& options, bool tagged,
                   const std::string& path);

} // namespace orca::bridge
