// SPDX-License-Identifier: Apache-2.0
#include "checkpoints.h"

#include "checkpoint_description.h"
#include "color_management.h"
#include "exit_codes.h"
#include "layered_format_words.h"
#include "picture_identity.h"

#include "image/picture_file.h"
#include "render/checkpoint/checkpoint_writer.h"
#include "render/tile_renderer.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

namespace orca::app {

namespace {

namespace fs = std::filesystem;

bool exists(const std::string& path) {
    std::error_code ignored;
    return fs::exists(path, ignored);
}

/// A word as a shell reads it.
std::string shellWord(const std::string& word) {
    constexpr std::string_view plain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-+=./,:@%#";
    if (!word.empty() && word.find_first_not_of(plain) == std::string::npos && word.front() != '#')
        return word;
    std::string text = "'";
    for (const char c : word) text += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return text + "'";
}

} // namespace

Checkpoints::Checkpoints(const CommandLine& command, Log& log, const StopSignal& stop)
    : command_(command), log_(log), stop_(stop) {
}

bool Checkpoints::isFinished(const PictureFiles& files, const render::CheckpointHeader& identity,
                             int frame) const {
    if (!command_.skipsExisting && !command_.resumes) return false;
    if (files.layered.empty() || !exists(files.layered)) return false;
    if (!files.checkpoint.empty() && exists(files.checkpoint))
        return false; // an unfinished one to go on with
    if (!std::all_of(files.sceneFiles.begin(), files.sceneFiles.end(), exists)) return false;
    if (!files.png.empty() && !exists(files.png)) return false;
    if (!files.deep.empty() && !exists(files.deep)) return false;
    const auto picture = image::finishedPicture(files.layered);
    if (!picture) {
        log_.warning("MAIN", "\"{}\" is there but not complete: frame {} is rendered again", files.layered,
                     frame);
        return false;
    }
    const auto hash = picture->text.find("pictureHash");
    const auto samples = picture->text.find("sampleRange"), wanted = identity.find("sample range");
    const bool sameSamples = samples == picture->text.end()
                                 ? wanted == identity.end()
                                 : wanted != identity.end() && samples->second == wanted->second;
    const auto stored = picture->text.find(formatKey);
    const bool sameFormat =
        textOf(command_.format) == (stored == picture->text.end() ? std::string() : stored->second);
    const auto& [xl, yl, xh, yh] = picture->window;
    if (hash == picture->text.end() || hash->second != hashOf(identity) || !sameSamples || !sameFormat ||
        fmt::format("{} {} {} {}", xl, yl, xh, yh) != identity.at("window")) {
        log_.warning("MAIN",
                     "\"{}\" is of another scene, options, window, kind of file or version: frame {} is "
                     "rendered again",
                     files.layered, frame);
        return false;
    }
    log_.info("MAIN", "frame {} is skipped: \"{}\" is complete", frame, files.layered);
    return true;
}

std::optional<render::CheckpointSettings>
Checkpoints::settings(const PictureFiles& files, const render::Picture& picture,
                      const std::optional<image::SampleRange>& samples,
                      const render::CheckpointHeader& identity, int frame) const {
    if (files.checkpoint.empty()) return {};
    render::CheckpointSettings settings;
    settings.file = files.checkpoint;
    settings.seconds = command_.checkpointSeconds.value_or(0.0);
    settings.requests = &stop_.checkpointRequests();
    settings.header = identity;
    settings.header["vector unit"] = command_.portable ? "any" : vectorUnit();
    const int tileSize = picture.options.options.task_size;
    settings.header["tile size"] =
        std::to_string(tileSize > 0 ? tileSize : render::TileRenderer::automaticTileSize);
    settings.header["about.picture"] = describePicture(picture, samples, frame);
    settings.resumes = command_.resumes && exists(files.checkpoint);
    if (settings.resumes) log_.info("MAIN", "frame {} goes on from \"{}\"", frame, files.checkpoint);
    return settings;
}

void Checkpoints::discard(const PictureFiles& files) const {
    std::error_code ignored;
    if (!files.checkpoint.empty()) fs::remove(files.checkpoint, ignored);
}

std::string Checkpoints::stopText(const PictureFiles& files) const {
    return fmt::format(
        "frame {} is not complete; what is rendered is in \"{}\", and this goes on with it: {}", files.frame,
        files.checkpoint, resumingCommand(command_));
}

std::string resumingCommand(const CommandLine& command) {
    std::vector<std::string> words = command.words;
    if (!command.resumes) words.emplace_back("--resume");
    for (std::string& word : words) word = shellWord(word);
    return fmt::format("{}", fmt::join(words, " "));
}

int developCheckpoint(const CommandLine& command, Log& log) {
    try {
        render::CheckpointInput input(command.developed);
        render::CheckpointHeader header = render::readHeader(input);
        DescribedPicture picture(header["about.picture"], log);
        // It holds every pixel of the film, so a film that is larger than the file is made up.
        input.demand(render::Film::bytesNeeded(picture.framebuffers(), render::sampledBy(picture.areas()),
                                               picture.blocks()));
        render::Film film(picture.framebuffers(), picture.window(), render::sampledBy(picture.areas()),
                          picture.blocks());
        render::RenderState state(film, picture.tileSize(), true);
        state.read(input);
        input.finish();
        render::AdaptiveSampler(picture.areas(), {}).fillGaps(film);
        film.resolve();

        ColorManagement colors(command, log);
        if (!colors.choose()) return exitUsage;
        image::PictureFrame frame = picture.frame();
        frame.display = colors.display();
        const std::vector<image::Layer> layers = film.layers();
        const std::string output = command.output.empty()
                                       ? fs::path(command.developed).stem().string() + ".preview.exr"
                                       : command.output;
        bool written = image::writeLayeredExr(output, frame, layers, command.format, log);
        for (const image::Layer& layer : layers)
            if (layer.buffer->primary && !command.png.empty())
                written = image::writePreview(command.png, frame, layer, log) && written;
        return written ? exitRendered : exitNotWritten;
    } catch (const render::CheckpointFault& fault) {
        log.error("MAIN", "cannot develop \"{}\": {}", command.developed, fault.what());
        return exitUsage;
    }
}

} // namespace orca::app
