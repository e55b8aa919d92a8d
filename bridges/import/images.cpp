// SPDX-License-Identifier: Apache-2.0
#include "images.h"

#include <OpenImageIO/imagebuf.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>

namespace orca::bridge {

namespace {

namespace fs = std::filesystem;

/// As the names in model files are meant: other systems' separators, and those of URIs.
std::string cleaned(std::string name) {
    std::replace(name.begin(), name.end(), '\\', '/');
    if (name.rfind("file://", 0) == 0) name.erase(0, 7);
    std::string plain;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const auto isHex = [&](std::size_t at) { return at < name.size() && std::isxdigit(name[at]); };
        if (name[i] == '%' && isHex(i + 1) && isHex(i + 2)) {
            plain += static_cast<char>(std::strtol(name.substr(i + 1, 2).c_str(), nullptr, 16));
            i += 2;
        } else {
            plain += name[i];
        }
    }
    return plain;
}

std::string fileStem(const std::string& name) {
    std::string stem;
    for (const char c : name)
        stem += std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_' ? c : '_';
    return stem.empty() ? "image" : stem;
}

Pixel filled(const float* channels, int count) {
    if (count < 3) return {channels[0], channels[0], channels[0], count == 2 ? channels[1] : 1.0f};
    return {channels[0], channels[1], channels[2], count > 3 ? channels[3] : 1.0f};
}

} // namespace

Images::Images(const ModelFile& model, const std::string& scenePath, SceneText& text, Losses& losses)
    : model_(model), text_(text), losses_(losses) {
    const fs::path scene =
        scenePath == "-" ? fs::current_path() / "standard_output" : fs::absolute(scenePath);
    sceneFolder_ = scene.parent_path();
    folder_ = sceneFolder_ / (scene.stem().string() + "_textures");
}

const fs::path& Images::folder() {
    std::error_code problem;
    if (!folderExists_) fs::create_directories(folder_, problem);
    if (problem)
        throw WriteError(
            fmt::format("cannot make the folder \"{}\": {}", folder_.string(), problem.message()));
    folderExists_ = true;
    return folder_;
}

std::optional<fs::path> Images::file(const aiString& texture) {
    const std::string key = texture.C_Str();
    if (const auto known = files_.find(key); known != files_.end()) return known->second;
    std::optional<fs::path>& found = files_[key];
    if (const aiTexture* const embedded = model_.scene().GetEmbeddedTexture(key.c_str()))
        return found = unpack(*embedded, key);
    const fs::path name = cleaned(key), models = fs::absolute(model_.path()).parent_path();
    // Files that were moved often lie next to the model, whatever folder they had on another machine.
    const fs::path candidates[] = {models / name, models / name.filename(),
                                   models / "textures" / name.filename()};
    std::error_code ignored;
    for (const fs::path& candidate : candidates)
        if (!name.empty() && fs::is_regular_file(candidate, ignored))
            return found = fs::weakly_canonical(candidate);
    losses_.add("images that are not there", key);
    return found;
}

fs::path Images::unpack(const aiTexture& texture, const std::string& key) {
    const std::string named =
        texture.mFilename.length > 0 ? fs::path(cleaned(texture.mFilename.C_Str())).stem() : fs::path();
    const std::string stem = fmt::format("{}_{}", fileStem(named), fileStem(key.substr(key.find('*') + 1)));
    if (texture.mHeight == 0) { // a file within the file
        const fs::path path = folder() / fmt::format("{}.{}", stem, fileStem(texture.achFormatHint));
        std::ofstream out(path, std::ios::binary);
        out.write(reinterpret_cast<const char*>(texture.pcData), texture.mWidth);
        if (!out.flush()) throw WriteError(fmt::format("cannot write \"{}\"", path.string()));
        return path;
    }
    const fs::path path = folder() / (stem + ".png");
    const auto width = static_cast<int>(texture.mWidth), height = static_cast<int>(texture.mHeight);
    OIIO::ImageBuf image(OIIO::ImageSpec(width, height, 4, OIIO::TypeDesc::UINT8));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const aiTexel& texel = texture.pcData[static_cast<std::size_t>(y) * texture.mWidth + x];
            const float channels[] = {texel.r / 255.0f, texel.g / 255.0f, texel.b / 255.0f, texel.a / 255.0f};
            image.setpixel(x, y, channels);
        }
    if (!image.write(path.string())) throw WriteError(image.geterror());
    return path;
}

std::optional<fs::path> Images::derive(const std::string& name, const fs::path& first, const fs::path& second,
                                       const std::function<Pixel(const Pixel&, const Pixel&)>& compute) {
    const std::string key = fmt::format("{}|{}|{}", name, first.string(), second.string());
    if (const auto known = derived_.find(key); known != derived_.end()) return known->second;
    std::optional<fs::path>& path = derived_[key];
    OIIO::ImageBuf a(first.string()), other(second == first ? std::string() : second.string());
    OIIO::ImageBuf& b = second == first ? a : other;
    for (OIIO::ImageBuf* const image : {&a, &b})
        if (!image->read(0, 0, true, OIIO::TypeDesc::FLOAT)) {
            losses_.add("images that cannot be read", image->name());
            return path;
        }
    OIIO::ImageBuf result(OIIO::ImageSpec(a.spec().width, a.spec().height, 3, OIIO::TypeDesc::UINT8));
    std::vector<float> atA(a.nchannels()), atB(b.nchannels());
    for (int y = 0; y < a.spec().height; ++y)
        for (int x = 0; x < a.spec().width; ++x) {
            a.getpixel(x, y, atA.data(), a.nchannels());
            if (&a == &b) atB = atA;
            else
                b.interppixel_NDC((static_cast<float>(x) + 0.5f) / static_cast<float>(a.spec().width),
                                  (static_cast<float>(y) + 0.5f) / static_cast<float>(a.spec().height),
                                  atB.data(), OIIO::ImageBuf::WrapClamp);
            const Pixel pixel = compute(filled(atA.data(), a.nchannels()), filled(atB.data(), b.nchannels()));
            result.setpixel(x, y, pixel.data(), 3);
        }
    path = folder() / fmt::format("{}_{}_{}.png", fileStem(first.stem().string()), name, derived_.size());
    if (!result.write(path->string())) throw WriteError(result.geterror());
    return path;
}

std::string Images::element(const fs::path& image, bool isColor) {
    std::string extension = image.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(), ::tolower);
    isColor = isColor && extension != ".exr" && extension != ".hdr";
    std::string& name = elements_[{image, isColor}];
    if (!name.empty()) return name;
    name = text_.name(image.filename().string());
    const fs::path relative = image.lexically_relative(sceneFolder_);
    text_.print("color texture \"{}\"{} \"{}\"\n", name, isColor ? " colorprofile \"sRGB\"" : "",
                (relative.empty() ? image : relative).string());
    return name;
}

} // namespace orca::bridge
