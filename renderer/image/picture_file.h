// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/framebuffers.h"
#include "scene/messages.h"

#include <map>
#include <span>
#include <string>
#include <vector>

namespace orca::image {

/// Finished pixels of one buffer: rows bottom up, components interleaved, 32-bit words (floats, or integers for labels).
struct Layer {
    const Buffer* buffer;
    std::span<const float> pixels;
};

/// What all layers of a picture share.
struct PictureFrame {
    int width, height;                        ///< of the whole picture, pixels
    struct {
        int xl, yl, xh, yh;
    } window;                                 ///< rendered pixels, inclusive, lower left origin; the layers' extent
    float gamma = 1.0f;                       ///< applied to integer formats
    std::map<std::string, std::string> text;  ///< metadata of the whole file
    std::vector<float> cameraToWorld;         ///< 16, empty for none
    std::map<std::string, std::map<std::string, std::string>> layerText;  ///< metadata by layer name
};

enum class PartLayout { MultiPart, SinglePart };

/// Writes one OpenEXR with all layers. Multi-part: the primary buffer is the first part with plain R G B A; every other
/// part is named after its layer with fully qualified channels (`diffuse.R`, `cameraDepth.Z`, `normalWorld.X`, scalars
/// `.Y`). Colours half, everything else float, zip compressed. Written to a temporary name and moved into place.
/// False with a message when it cannot be written.
bool writeLayeredExr(const std::string& path, const PictureFrame& frame, std::span<const Layer> layers,
                     PartLayout layout, scene::Messages& messages);

/// Writes the files that the buffers themselves name (framebuffer and output statements), buffers of one EXR name as
/// layers of one file; formats by extension, else by file type word. Relative names are below `directory`.
bool writeBufferFiles(const std::string& directory, const PictureFrame& frame, std::span<const Layer> layers,
                      scene::Messages& messages);

/// True when `path` can be created: checked before rendering starts.
bool canWrite(const std::string& path, scene::Messages& messages);

/// Channel names of a layer as the layered file has them.
[[nodiscard]] std::vector<std::string> channelNames(const Buffer& buffer);

} // namespace orca::image
