// SPDX-License-Identifier: Apache-2.0
#include "command_documents.h"
#include "exit_codes.h"

#include "image/make_texture.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include <exception>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

/// Where an image's texture goes: beside it, or into a folder, with the ending .tx.
fs::path textureOf(const fs::path& image, const std::string& folder) {
    const fs::path name = fs::path(image).replace_extension(".tx");
    return folder.empty() ? name : fs::path(folder) / name.filename();
}

bool isNewer(const fs::path& file, const fs::path& than) {
    std::error_code ignored;
    return fs::exists(file, ignored) &&
           fs::last_write_time(file, ignored) >= fs::last_write_time(than, ignored);
}

bool samePath(const fs::path& a, const fs::path& b) {
    std::error_code ignored;
    return fs::weakly_canonical(a, ignored) == fs::weakly_canonical(b, ignored);
}

} // namespace

/// orca-texture: makes tiled, mip-mapped texture files of images.
int main(int argc, char** argv) {
    using namespace orca;
    using namespace orca::app;
    using Numbers = image::TextureFileSettings::Numbers;
    CLI::App app(
        "Makes tiled, mip-mapped texture files of images: renders read as much of them as they show, at the "
        "size at which they show it.",
        "orca-texture");
    app.set_version_flag("--version", "orca-texture " ORCA_VERSION);
    std::vector<std::string> images;
    std::string output, folder, profile = "linear", numbers;
    image::TextureFileSettings settings;
    bool updates = false;
    app.add_option("images", images, "images of any format that textures may have")
        ->required()
        ->type_name("IMAGE");
    app.add_option("-o,--output", output,
                   "texture file of a single image; by default its name with the ending .tx")
        ->type_name("FILE");
    app.add_option("-d,--directory", folder, "where the texture files go; by default where their images are")
        ->type_name("DIR")
        ->excludes("--output");
    app.add_option(
           "--colorprofile", profile,
           "colours of the images: linear, sRGB or gamma2.2; the texture files hold linear light, so scenes "
           "name no profile for them")
        ->type_name("NAME");
    app.add_option("--numbers", numbers,
                   "what pixels are stored as; by default as in the image, or half with a profile")
        ->type_name("KIND")
        ->check(CLI::IsMember({"byte", "word", "half", "float"}));
    app.add_option("--tile", settings.tileSize, "width and height of the tiles in pixels, a multiple of 16")
        ->type_name("N")
        ->check(CLI::Range(16, 1024));
    app.add_flag("--update", updates, "leave out images whose texture file is newer");
    constexpr ExitCodeMeaning codes[] = {
        {"0", "all texture files are written"},
        {"2", "the command line is wrong"},
        {"4", "an image cannot be read, or a texture file cannot be written"}};
    addDocuments(app, "exr", codes, {});
    try {
        app.parse(argc, argv);
        const auto known = scene::colorProfileNamed(profile);
        if (!known)
            throw CLI::ValidationError("--colorprofile", fmt::format("\"{}\" is not known; {} are", profile,
                                                                     scene::colorProfileNames));
        settings.profile = *known;
        if (settings.tileSize % 16 != 0)
            throw CLI::ValidationError("--tile", fmt::format("{} is no multiple of 16", settings.tileSize));
        if (!output.empty() && images.size() > 1)
            throw CLI::ValidationError("--output", "it names one file, and there are several images");
    } catch (const CLI::Success& done) {
        return app.exit(done);
    } catch (const CLI::ParseError& problem) {
        fmt::print(stderr, "orca-texture: {}\n", problem.what());
        return exitUsage;
    }
    const std::map<std::string, Numbers> kinds = {
        {"byte", Numbers::Byte}, {"word", Numbers::Word}, {"half", Numbers::Half}, {"float", Numbers::Float}};
    if (!numbers.empty()) settings.numbers = kinds.at(numbers);

    int exitCode = exitRendered;
    for (const std::string& image : images) {
        const fs::path file = output.empty() ? textureOf(image, folder) : fs::path(output);
        if (updates && isNewer(file, image)) continue;
        try {
            if (samePath(file, image)) throw std::runtime_error("the texture file would replace it");
            image::makeTextureFile(image, file.string(), settings);
        } catch (const std::exception& failure) {
            fmt::print(stderr, "orca-texture: \"{}\": {}\n", image, failure.what());
            exitCode = exitNotWritten;
        }
    }
    return exitCode;
}
