// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "image/picture_file.h"
#include "temporary_directory.h"

#include <gtest/gtest.h>

#include <bit>
#include <string>
#include <vector>

namespace orca::image::test {

using orca::test::TemporaryDirectory;

/// Messages that are kept and not printed.
struct QuietMessages : Log {
    QuietMessages() : Log(LogLevel::None, nullptr) { keep(true); }
    [[nodiscard]] std::string text() const {
        std::string all;
        for (const LogMessage& message : kept()) all += line(message) + '\n';
        return all;
    }
};

/// A camera's buffers with pixels whose value tells where they are: component c of pixel (x, y) of buffer b
/// holds 100 b + 10 y + x + c / 10; labels hold 1000 y + x.
class Picture {
public:
    Picture(const scene::CameraElement& camera, const PictureFrame& pictureFrame, Log& log)
        : frame(pictureFrame), set(camera, scene::OptionsElement(), log) {
        // As a film keeps them: all words of a pixel lie together.
        const std::vector<const Buffer*> buffers = layeredBuffers(set);
        for (int y = frame.window.yl; y <= frame.window.yh; ++y)
            for (int x = frame.window.xl; x <= frame.window.xh; ++x)
                for (const Buffer* buffer : buffers)
                    for (int c = 0; c < buffer->components; ++c) words_.push_back(value(*buffer, x, y, c));
        std::size_t stride = 0, first = 0;
        for (const Buffer* buffer : buffers) stride += static_cast<std::size_t>(buffer->components);
        for (const Buffer* buffer : buffers) {
            const auto components = static_cast<std::size_t>(buffer->components);
            layers.push_back({buffer, {words_.data() + first, words_.size() - stride + components}, stride});
            first += components;
        }
    }

    [[nodiscard]] float value(const Buffer& buffer, int x, int y, int c) const {
        if (buffer.type == miIMG_TYPE_TAG)
            return std::bit_cast<float>(static_cast<std::uint32_t>(1000 * y + x));
        return static_cast<float>(100 * indexOf(buffer)) + 10.0f * static_cast<float>(y) +
               static_cast<float>(x) + static_cast<float>(c) / 10.0f;
    }

    PictureFrame frame;
    FramebufferSet set;
    std::vector<Layer> layers;

private:
    [[nodiscard]] std::size_t indexOf(const Buffer& buffer) const {
        return static_cast<std::size_t>(&buffer - set.buffers().data());
    }
    std::vector<float> words_;
};

inline PictureFrame wholeFrame(int width, int height) {
    PictureFrame frame{};
    frame.width = width;
    frame.height = height;
    frame.window = {0, 0, width - 1, height - 1};
    return frame;
}

inline scene::FramebufferDefinition definition(const std::string& name, const std::string& datatype) {
    scene::FramebufferDefinition statement;
    statement.name = name;
    statement.datatype = datatype;
    return statement;
}

} // namespace orca::image::test
