// SPDX-License-Identifier: Apache-2.0
#include "scene/language/reader.h"

#include <algorithm>
#include <array>

namespace orca::scene {

void Reader::readCamera(const Token& token, bool incremental) {
    auto& element = target<CameraElement>(token, miSCENE_CAMERA, incremental);
    const Definition defined(*this, token, element.tag);
    miTag data = miNULLTAG; // that this block gives; an incremental one may replace what the camera had
    while (!endsBlock("camera", element.name)) {
        const Token word = next();
        if (word.isWord("framebuffer")) {
            readFramebuffer(element);
        } else if (word.isWord("output")) {
            element.outputs.push_back(readOutput(
                {fmt::format("camera \"{}\", output", element.name), element.name}, locationOf(word)));
        } else if (word.isWord("data")) {
            readCameraData(element, data);
        } else if (!readCameraStatement(element, word)) {
            fail(word, "camera \"{}\": unknown statement {}", element.name, word.shown());
        }
    }
}

/// A camera has one block of its own; `before` is what the statements so far gave.
void Reader::readCameraData(CameraElement& element, miTag& before) {
    const Token at = peek();
    const miTag given = dataReference();
    const auto chainHasBefore = [&] {
        // A chain is a cycle only by mistake, which has been reported; the limit ends the loop then.
        constexpr int longest = 1000;
        miTag link = given;
        for (int i = 0; link != miNULLTAG && link != before && i < longest; ++i) {
            auto* const block = database_.find<UserdataElement>(link);
            link = block ? block->userdata()->next_data : miNULLTAG;
        }
        return link == before;
    };
    if (before != miNULLTAG && given != miNULLTAG && !chainHasBefore()) {
        const std::string &replaced = database_.get(before)->name, &name = database_.get(given)->name;
        warning(
            locationOf(at),
            "camera \"{}\": its data \"{}\" replaces \"{}\", which shaders do not see; to keep both, write "
            "data \"{}\" into the block \"{}\"",
            element.name, name, replaced, replaced, name);
    }
    element.camera.userdata = before = given;
}

void Reader::readFramebuffer(CameraElement& element) {
    const Token token = nameToken("a frame buffer");
    auto found = std::find_if(element.framebuffers.begin(), element.framebuffers.end(),
                              [&](const FramebufferDefinition& buffer) { return buffer.name == token.text; });
    if (found == element.framebuffers.end()) {
        element.framebuffers.emplace_back();
        found = element.framebuffers.end() - 1;
        found->name = std::string(token.text);
        found->location = locationOf(token);
    }
    FramebufferDefinition& buffer = *found;
    const auto ignored = [&](std::string_view word, std::string_view reason) {
        withoutEffect(LogLevel::Warning, locationOf(token), fmt::format("frame buffer \"{}\"", buffer.name),
                      word, reason);
    };
    for (;;) {
        if (accept("datatype")) {
            const Token type = peek();
            buffer.datatype = string("a data type");
            if (buffer.datatype.empty()) fail(type, "the data type is empty");
        } else if (accept("filtering")) {
            buffer.filtering = boolean("filtering");
        } else if (accept("filename")) {
            if (!atString())
                fail(peek(), "expected the file's name as a quoted string, not {}", peek().shown());
            buffer.filename = fileNameIn(next());
        } else if (accept("filetype")) {
            buffer.filetype = string("the file type");
        } else if (accept("colorprofile")) {
            string("the colour profile");
            ignored("colorprofile", "files hold the rendered values; \"gamma\" of the options changes them");
        } else if (accept("compression")) {
            buffer.compression = string("the compression");
        } else if (accept("quality")) {
            buffer.quality = atString() ? std::string(next().text) : std::to_string(integer("the quality"));
        } else if (accept("field")) {
            string("the field");
            ignored("field", "all lines of a frame are rendered");
        } else if (accept("dpi")) {
            buffer.dpi = integer("the resolution in dots per inch");
        } else if (accept("dod")) {
            if (boolean("dod")) ignored("dod", "files hold the whole rendered window");
        } else if (accept("premultiplied")) {
            buffer.premultiplied = boolean("premultiplied");
        } else if (accept("primary")) {
            buffer.primary = boolean("primary");
        } else if (accept("tiled")) {
            if (boolean("tiled")) ignored("tiled", "files are written line by line");
        } else if (accept("user")) {
            buffer.user = boolean("user");
        } else if (accept("useopacity")) {
            buffer.useopacity = boolean("useopacity");
        } else {
            return;
        }
    }
}

OutputStatement Reader::readOutput(const ShaderUse& use, const SourceLocation& location) {
    OutputStatement output;
    output.location = location;
    std::string buffersText;
    if (atString() && !peek(1).is('(')) {
        const std::string buffers = buffersText = string("the buffers");
        for (std::size_t start = 0; start <= buffers.size();) {
            const std::size_t stop = std::min(buffers.find(',', start), buffers.size());
            std::string one = buffers.substr(start, stop - start);
            one.erase(0, one.find_first_not_of(' '));
            one.erase(one.find_last_not_of(' ') + 1);
            OutputStatement::Buffer buffer;
            if (!one.empty() && (one[0] == '+' || one[0] == '-')) {
                buffer.interpolate = one[0] == '+';
                one.erase(0, 1);
            }
            buffer.name = one;
            output.buffers.push_back(std::move(buffer));
            start = stop + 1;
        }
    }
    if (atShaderList()) {
        readShaderList(use, &output.shaders);
    } else {
        // With two strings, the first is the format or the buffers; which of them, the buffers tell.
        const Token first = next();
        if (first.kind != Token::Kind::String)
            fail(first, "expected the output file's format as a quoted string, not {}", first.shown());
        const bool hasFormat = atString();
        output.filetype = hasFormat ? std::string(first.text) : buffersText;
        if (!hasFormat && buffersText.empty())
            fail(peek(), "expected the output file's name, not {}", peek().shown());
        output.filename = fileNameIn(hasFormat ? next() : first);
        if (accept("quality")) output.quality = integer("the quality");
    }
    return output;
}

/// Before the next statement of the block, or its end.
bool Reader::atCameraStatement() {
    constexpr std::array<std::string_view, 20> words = {
        "end",        "framebuffer", "output", "pass", "focal", "aperture", "aspect",
        "resolution", "offset",      "window", "clip", "frame", "field",    "lens",
        "volume",     "environment", "tag",    "data", "dof",   "stereo"};
    const Token& token = peek();
    return token.kind == Token::Kind::End ||
           (token.kind == Token::Kind::Symbol &&
            std::find(words.begin(), words.end(), token.text) != words.end());
}

bool Reader::readCameraStatement(CameraElement& element, const Token& token) {
    if (token.kind != Token::Kind::Symbol) return false;
    const std::string word(token.text);
    miCamera& camera = element.camera;
    const auto positive = [&](std::string_view of, float least, float most) {
        const Token at = peek();
        const float value = number(of);
        if (!(value > 0)) fail(at, "camera \"{}\": {} must be positive", element.name, of);
        if (value < least || value > most)
            fail(at, "camera \"{}\": {} must be from {} to {}, not {}", element.name, of, least, most, value);
        return value;
    };
    constexpr float shortest = 1e-9f, longest = 1e9f; // scene units
    const auto list = [&](miTag& slot) {
        ShaderUse use{fmt::format("camera \"{}\", {}", element.name, word), element.name};
        use.existing = slot;
        slot = readShaderList(use);
    };
    if (word == "focal") {
        camera.orthographic = accept("infinity");
        if (!camera.orthographic) camera.focal = positive("the focal length", shortest, longest);
    } else if (word == "aperture") {
        camera.aperture = positive("the aperture", shortest, longest);
    } else if (word == "aspect") {
        camera.aspect = positive("the aspect", 1e-4f, 1e4f);
    } else if (word == "resolution") {
        constexpr int largest = 1 << 16;
        const Token at = peek();
        const int x = positiveInteger("the width in pixels"), y = positiveInteger("the height in pixels");
        if (x > largest || y > largest) fail(at, "pictures are at most {} pixels wide and high", largest);
        element.setResolution(x, y);
    } else if (word == "offset") {
        camera.x_offset = number("the offset in x");
        camera.y_offset = number("the offset in y");
    } else if (word == "window") {
        const int xl = integer("the window's left column"), yl = integer("the window's lowest row");
        const int xh = integer("the window's right column"), yh = integer("the window's highest row");
        element.setWindow(xl, yl, xh, yh);
    } else if (word == "clip") {
        const Token at = peek();
        camera.clip.min = number("the near distance");
        camera.clip.max = number("the far distance");
        if (!(camera.clip.min < camera.clip.max))
            fail(at, "the near distance must be below the far distance");
    } else if (word == "frame") {
        camera.frame = integer("the frame number");
        element.hasFrame = true;
        if (atNumber()) camera.frame_time = next().number;
    } else if (word == "field") {
        camera.frame_field = integer("the field");
        if (camera.frame_field != 0)
            withoutEffect(LogLevel::Warning, locationOf(token), fmt::format("camera \"{}\"", element.name),
                          word, "all lines of a frame are rendered");
    } else if (word == "lens") {
        list(camera.lens);
    } else if (word == "volume") {
        list(camera.volume);
    } else if (word == "environment") {
        list(camera.environment);
    } else if (word == "tag") {
        element.label = static_cast<miUint>(integer("the label"));
    } else if (word == "dof") {
        number("the plane in focus");
        number("the radius of confusion");
        unsupported(
            LogLevel::Error, locationOf(token), "dof",
            fmt::format("camera \"{}\": depth of field by \"dof\" is not supported; use a lens shader",
                        element.name));
    } else if (word == "pass") {
        withoutEffect(LogLevel::Warning, locationOf(token), fmt::format("camera \"{}\"", element.name), word,
                      "pictures are not merged from files");
        while (!atCameraStatement()) {
            if (peek().is('(')) skipBalanced();
            else next();
        }
    } else if (word == "stereo") {
        unsupported(LogLevel::Error, locationOf(token), word,
                    fmt::format("camera \"{}\": \"{}\" is not supported", element.name, word));
        while (!atCameraStatement()) next();
    } else {
        return false;
    }
    return true;
}

} // namespace orca::scene
