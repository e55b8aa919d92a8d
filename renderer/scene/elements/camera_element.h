// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/element.h"

#include <optional>
#include <string>
#include <vector>

namespace orca::scene {

/// A `framebuffer` statement. Names of data types are as in the scene file.
struct FramebufferDefinition {
    std::string name;
    std::string datatype = "rgba";
    std::optional<bool> filtering; ///< not given: decided by the data type
    std::string filename, filetype, compression;
    std::string quality; ///< a number or a word
    bool primary = false;
    std::optional<bool> user, premultiplied;
    bool useopacity = false;
    int dpi = 0; ///< of the file; 0: not given
    SourceLocation location;
};

/// An `output` statement: an image file, or output shaders on some buffers.
struct OutputStatement {
    struct Buffer {
        std::string name;                ///< data type, "fb<n>" or the name of a framebuffer
        std::optional<bool> interpolate; ///< "+" and "-" before the name
    };
    std::vector<Buffer> buffers;
    std::string filetype, filename; ///< of a file
    std::vector<miTag> shaders;     ///< of an output shader list, in order; empty for a file
    SourceLocation location;
    int quality = 0; ///< of a file, 1 to 100; 0: the buffer's own
};

struct CameraElement final : Element {
    CameraElement();
    void* record() override { return &camera; }
    [[nodiscard]] int recordSize() const override { return sizeof(camera); }
    void visitReferences(const std::function<void(miTag)>& visit) const override;

    /// Also resets the rendered window to the whole picture unless the scene gives one, which is then
    /// clipped.
    void setResolution(int x, int y);
    /// Inclusive pixel rectangle; clipped to the picture.
    void setWindow(int xl, int yl, int xh, int yh);

    miCamera camera{};
    miUint label = 0;
    std::vector<FramebufferDefinition> framebuffers;
    std::vector<OutputStatement> outputs;
    bool hasWindow = false;
    bool hasFrame = false; ///< the scene gives the frame number, which may be 0

private:
    void clipWindow();
    miCamera::miWindow asked_{};
};

} // namespace orca::scene
