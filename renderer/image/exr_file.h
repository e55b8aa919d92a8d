// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/picture_file.h"

#include <span>
#include <string>
#include <vector>

namespace orca::image {

/// One channel of an EXR part, taken from a layer's pixels.
struct ExrChannel {
    enum class Storage { Half, Float, Label };
    std::string name;
    const Layer* layer;
    int component; ///< of the layer's pixels
    Storage storage;
};

struct ExrPart {
    std::string name;
    std::vector<ExrChannel> channels;
    Metadata metadata;
    ExrCompression compression;
    Metadata keyedMetadata{}; ///< as metadata, under keys that stay as they are where parts are merged
};

/// How the parts of a file are cut.
struct ExrTiles {
    int size = 0; ///< pixels; 0: rows
    bool mipMaps = false;
};

/// Writes parts over the frame's window to `path`. Throws std::exception with the reason when it cannot.
void writeExr(const std::string& path, const PictureFrame& frame, const std::vector<ExrPart>& parts,
              const ExrTiles& tiles = {});

/// The parts of the layered file. Refers to `layers`.
[[nodiscard]] std::vector<ExrPart> layeredParts(const PictureFrame& frame, std::span<const Layer> layers,
                                                const LayeredFormat& format);

/// Bare channel names by data type: R G B A, X Y Z, Z for depth, A for alpha, Y for other scalars and labels.
[[nodiscard]] std::vector<std::string> bareChannelNames(const Buffer& buffer);

} // namespace orca::image
