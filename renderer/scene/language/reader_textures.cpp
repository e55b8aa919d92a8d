// SPDX-License-Identifier: Apache-2.0
#include "scene/language/reader.h"

namespace orca::scene {

void Reader::readTexture(const Token& token, std::string_view firstWord, bool incremental) {
    bool writable = false, local = false;
    std::optional<float> filter;
    std::optional<TextureElement::Kind> kind;
    std::string word(firstWord);
    for (;;) {
        if (word == "writable") {
            writable = true;
        } else if (word == "local") {
            local = true;
        } else if (word == "filter") {
            filter = atNumber() ? next().number : 1.0f;
        } else if (word == "color") {
            kind = TextureElement::Kind::Color;
        } else if (word == "scalar") {
            kind = TextureElement::Kind::Scalar;
        } else if (word == "vector") {
            kind = TextureElement::Kind::Vector;
        } else if (word == "texture") {
            break;
        } else {
            fail(peek(), "expected \"texture\" before {}", peek().shown());
        }
        if (peek().kind != Token::Kind::Symbol) fail(peek(), "expected \"texture\", not {}", peek().shown());
        word = std::string(next().text);
    }
    if (!kind) fail(token, "a texture is a color, scalar or vector texture");
    const Token nameOf = nameToken("a texture");
    auto& element = target<TextureElement>(nameOf, miSCENE_TEXTURE, incremental);
    const Definition defined(*this, nameOf, element.tag);
    element.kind = *kind;
    element.components = *kind == TextureElement::Kind::Color    ? 4
                         : *kind == TextureElement::Kind::Scalar ? 1
                                                                 : 3;
    element.local = local;
    element.writable = writable;
    element.filter = filter;
    element.sceneDirectory = stream_.directory();
    const SourceLocation profileAt = locationOf(peek());
    const Profile profile = accept("colorprofile") ? readColorProfileName() : Profile{};
    element.colorProfile = profile.builtIn;
    element.colorSpaces = profile.spaces;
    element.colorSpace = profile.space;
    element.file.clear();
    element.fileType.clear();
    element.pixelFormat.clear();
    element.width = element.height = 0;
    element.pixels.clear();
    element.baked.reset();
    element.shader = miNULLTAG;
    if (profile.spaces && (writable || peek().is('[')))
        error(profileAt,
              "texture \"{}\": colour space \"{}\" is for image files; pixels written in the scene and "
              "writable "
              "textures take {}",
              element.name, profile.space, colorProfileNames);
    if (peek().is('[')) {
        readInlinePixels(element, locationOf(nameOf));
    } else if (atShaderList()) {
        element.shader = readShaderList({fmt::format("texture \"{}\"", element.name), element.name});
    } else if (atString()) {
        element.file = inputFileIn(next());
        if (writable) readWritableFile(element);
    } else {
        fail(peek(), "texture \"{}\": expected a file name, pixels or a shader, not {}", element.name,
             peek().shown());
    }
}

/// What follows the name of a file that light map shaders fill: its type, its pixel format and its size.
void Reader::readWritableFile(TextureElement& element) {
    if (atString()) element.fileType = std::string(next().text);
    if (atString()) element.pixelFormat = std::string(next().text);
    if (!peek().is('[')) return;
    readTextureSize(element, "the file");
    expect(']', "the size");
}

/// From the bracket to the height.
void Reader::readTextureSize(TextureElement& element, std::string_view before) {
    constexpr int largest = 1 << 15;
    expect('[', before);
    const Token at = peek();
    element.width = positiveInteger("the width in pixels");
    element.height = positiveInteger("the height in pixels");
    if (element.width > largest || element.height > largest) {
        fail(at, "texture \"{}\": textures in a scene are at most {} pixels wide and high", element.name,
             largest);
    }
}

void Reader::readInlinePixels(TextureElement& element, const SourceLocation& location) {
    const Token at = peek();
    readTextureSize(element, "the texture's name");
    element.bytesPerComponent = acceptInteger().value_or(1);
    if (element.bytesPerComponent != 1 && element.bytesPerComponent != 2 && element.bytesPerComponent != 4) {
        fail(at, "texture \"{}\": components have 1, 2 or 4 bytes, not {}", element.name,
             element.bytesPerComponent);
    }
    expect(']', "the size");
    while (peek().kind == Token::Kind::Bytes) {
        const Token bytes = next();
        appendHex(element.pixels, bytes.text, locationOf(bytes));
    }
    const std::size_t needed = static_cast<std::size_t>(element.width) * element.height * element.components *
                               element.bytesPerComponent;
    if (element.pixels.size() != needed && !(element.writable && element.pixels.empty())) {
        error(location,
              "texture \"{}\": {} x {} pixels of {} components with {} bytes each need {} bytes, not {}",
              element.name, element.width, element.height, element.components, element.bytesPerComponent,
              needed, element.pixels.size());
    }
}

Reader::Profile Reader::readColorProfileName() {
    const Token name = nameToken("a colour profile");
    if (const auto known = colorProfileNamed(name.text)) return {*known, nullptr, {}};
    const ColorSpaces* const spaces = options_.colorSpaces ? options_.colorSpaces() : nullptr;
    if (spaces && spaces->knows(name.text)) return {ColorProfile::Linear, spaces, std::string(name.text)};
    std::string others = "; colour spaces by their names need a colour configuration (--ocio, $OCIO)";
    if (spaces) {
        others = ", and in the colour configuration";
        for (const std::string& space : spaces->names()) others += fmt::format(" \"{}\"", space);
    }
    error(locationOf(name), "colour profile \"{}\" is not known; {} are{}", name.text, colorProfileNames,
          others);
    return {};
}

void Reader::readLightProfile(const Token& token, bool incremental) {
    auto& element = target<LightProfileElement>(token, miSCENE_LIGHTPROFILE, incremental);
    const Definition defined(*this, token, element.tag);
    bool hasFormat = incremental;
    element.sceneDirectory = stream_.directory();
    while (!endsBlock("lightprofile", element.name)) {
        const Token word = next();
        if (word.isWord("format")) {
            const Token format = next();
            if (!format.isWord("ies") && !format.isWord("eulumdat")) {
                fail(format, "expected ies or eulumdat, not {}", format.shown());
            }
            element.format = format.isWord("ies") ? LightProfileElement::Format::Ies
                                                  : LightProfileElement::Format::Eulumdat;
            hasFormat = true;
        } else if (word.isWord("file")) {
            if (!atString()) fail(peek(), "expected the profile's file, not {}", peek().shown());
            element.file = inputFileIn(next());
        } else if (word.isWord("flags")) {
            element.flags = integer("the flags");
        } else if (word.isWord("hermite")) {
            const Token at = peek();
            element.hermite = integer("the degree of interpolation");
            if (element.hermite != 1 && element.hermite != 3) {
                fail(at, "light profile \"{}\": the degree of interpolation is 1 or 3, not {}", element.name,
                     element.hermite);
            }
        } else if (word.isWord("resolution")) {
            integer("the horizontal resolution");
            integer("the vertical resolution");
            unsupported(
                LogLevel::Warning, locationOf(word), "light profile resolution",
                fmt::format("light profile \"{}\": \"resolution\" has no effect: light is interpolated "
                            "between the angles of the file, not on a grid",
                            element.name));
        } else {
            fail(word, "light profile \"{}\": unknown statement {}", element.name, word.shown());
        }
    }
    if (!hasFormat) {
        error(locationOf(token), "light profile \"{}\" has no format (ies or eulumdat)", element.name);
    }
}

void Reader::readOther(const Token& token, std::string_view kind) {
    auto& element = target<OtherElement>(token, miSCENE_OTHER, false);
    const Definition defined(*this, token, element.tag);
    element.kind = std::string(kind);
    unsupported(LogLevel::Warning, locationOf(token), std::string(kind),
                fmt::format("{} \"{}\" is skipped: {} elements are not supported", kind, element.name, kind));
    for (;;) {
        const Token skipped = next();
        if (skipped.kind == Token::Kind::End)
            fail(skipped, "{} \"{}\" has no \"end {}\"", kind, element.name, kind);
        if (skipped.kind == Token::Kind::Backquote) stream_.skipBinary();
        if (skipped.isWord("end") && accept(kind)) break;
    }
}

} // namespace orca::scene
