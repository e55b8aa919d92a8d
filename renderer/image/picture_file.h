// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "image/color_configuration.h"
#include "image/color_encoding.h"
#include "image/framebuffers.h"
#include "image/layered_format.h"
#include "image/metadata.h"
#include "image/sample_blocks.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace orca::image {

/// Finished pixels of one buffer: rows bottom up, components interleaved, 32-bit words (floats, or integers
/// for labels).
struct Layer {
    const Buffer* buffer;
    std::span<const float> pixels; ///< from the first pixel's first word to the last one's last
    std::size_t wordsPerPixel = 0; ///< from a pixel to the next; 0: its components lie close by

    [[nodiscard]] std::size_t stride() const {
        return wordsPerPixel != 0 ? wordsPerPixel : static_cast<std::size_t>(buffer->components);
    }
    /// The layer's own words alone.
    [[nodiscard]] std::vector<float> words() const {
        std::vector<float> own;
        for (std::size_t pixel = 0; pixel < pixels.size(); pixel += stride()) {
            const auto first = pixels.begin() + static_cast<std::ptrdiff_t>(pixel);
            own.insert(own.end(), first, first + buffer->components);
        }
        return own;
    }
};

/// What all layers of a picture share.
struct PictureFrame {
    int width, height; ///< of the whole picture, pixels
    struct {
        int xl, yl, xh, yh;
    } window;               ///< rendered pixels, inclusive, lower left origin; the layers' extent
    ColorEncoding encoding; ///< of files of whole numbers
    DisplayView display;    ///< of the same files, in place of the encoding's gamma and of the sRGB curve
    bool isRec709 = true;   ///< colours have the primaries of Rec. 709, as layered files then say
    Metadata metadata;      ///< of the whole file
    std::map<std::string, Metadata> layerMetadata; ///< by layer name
    Metadata idMetadata;      ///< of the picture and of layers of ids (see cryptomatte.h), not of all layers
    float pixelAspect = 1.0f; ///< width / height of a pixel
    int threads = 1;          ///< that may compress a file
    const std::atomic<bool>* stop = nullptr; ///< when set, a file being written is given up; null: never

    [[nodiscard]] int windowWidth() const { return window.xh - window.xl + 1; }
    [[nodiscard]] int windowHeight() const { return window.yh - window.yl + 1; }
};

/// Writes one OpenEXR with all layers. Multi-part: the primary buffer is the first part, with plain R G B A,
/// named "beauty", or after its buffer where another layer has that name; every other part is named after its
/// layer with fully qualified channels (`diffuse.R`, `cameraDepth.Z`, `normalWorld.X`, scalars and labels
/// `.Y`). Labels are whole numbers; filtered colours half and everything else float where the format does not
/// say otherwise. Written to a temporary name and moved into place. False with a message when it cannot be
/// written.
bool writeLayeredExr(const std::string& path, const PictureFrame& frame, std::span<const Layer> layers,
                     const LayeredFormat& format, Log& log);

/// The sums of a block of samples over the window.
struct SummedBlock {
    SampleRange samples;
    std::vector<Layer> layers;
    Layer weights;   ///< sums of the pixel filter's weights; no buffer
    Layer distances; ///< of the closest samples from the pixels' centres; no buffer, and no pixels where
                     ///< every layer is a mean
};

/// Writes the sums of a range of samples, for mergeExr to add those of all ranges and to finish the picture:
/// an OpenEXR with a part for each block and part of the finished file. Part "sums A:B NAME" has the channels
/// of part NAME, and part "weights A:B" `weight` and `distance`, float all, labels whole numbers.
/// @param blocks of the range, in order
/// @param samples of each pixel in the whole picture
/// @param format of the finished file, its compression left out
/// False with a message when it cannot be written.
bool writeSampleSums(const std::string& path, PictureFrame frame, const std::vector<SummedBlock>& blocks,
                     SampleRange range, unsigned samples, const LayeredFormat& format, Log& log);

/// What a layered file says of its picture.
struct FinishedPicture {
    std::array<int, 4> window;               ///< xl yl xh yh, as in PictureFrame
    std::map<std::string, std::string> text; ///< of the whole file's metadata, the texts
};
/// Nothing when there is no such file, or when a part of it is not complete.
[[nodiscard]] std::optional<FinishedPicture> finishedPicture(const std::string& path);

/// What `writeLayeredExr` writes for these buffers, without writing: parts in file order with their channels.
struct PartDescription {
    std::string name;
    std::vector<std::string> channels;
    std::string_view storage; ///< "half", "float" or "uint"
    const Buffer* buffer;
};
[[nodiscard]] std::vector<PartDescription> describeParts(std::span<const Buffer* const> buffers,
                                                         const LayeredFormat& format = {});

/// Pixels of a buffer as they were between two statements of output shaders.
struct EarlierLayer {
    const Buffer* buffer;
    int shadersBefore; ///< statements that had run
    std::vector<float> words;
};
/// Which of them the files of the buffers show.
[[nodiscard]] bool isShownAfter(const Buffer& buffer, int shaderStatements);

/// Writes the files that the buffers themselves name (framebuffer and output statements), buffers of one EXR
/// name as layers of one file; formats by extension, else by file type word. Relative names are below
/// `directory`. False when one could not be written; the others are.
/// @param earlier what `output` statements show that output shaders follow
bool writeBufferFiles(const std::string& directory, const PictureFrame& frame, std::span<const Layer> layers,
                      std::span<const EarlierLayer> earlier, Log& log);

/// Paths that `writeBufferFiles` writes for these buffers.
[[nodiscard]] std::vector<std::string> bufferFilePaths(const std::string& directory,
                                                       std::span<const Buffer* const> buffers);

/// Writes a layer as an 8-bit picture to look at, without alpha: colours as the frame's display shows them,
/// without one by its encoding, with the sRGB curve where its gamma is 1; vectors from -1..1 and numbers from
/// their range in the picture mapped to 0..1; ids in false colours. The format
/// follows the extension, see `previewFormat`.
bool writePreview(const std::string& path, const PictureFrame& frame, const Layer& layer, Log& log);

/// The image library's word for the format that `writePreview` writes under a name: PNG without an extension.
/// Nothing where the extension is that of no format that can be written, or of the layered file.
[[nodiscard]] std::optional<std::string> previewFormat(const std::string& path);

/// Channel names of a layer as the layered file has them.
[[nodiscard]] std::vector<std::string> channelNames(const Buffer& buffer);

/// Layers that the layered file takes: everything but the scratch buffer, the primary one first.
[[nodiscard]] std::vector<const Buffer*> layeredBuffers(const FramebufferSet& set);

} // namespace orca::image
