// SPDX-License-Identifier: Apache-2.0
#include "output_files.h"

#include "frames.h"
#include "layer_arrays.h"
#include "layered_format_words.h"

#include "image/file_in_place.h"
#include "image/light_map_file.h"
#include "image/picture_file.h"
#include "scene/light_map_targets.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <filesystem>

#include <sys/stat.h>

namespace orca::app {

namespace {

namespace fs = std::filesystem;

bool samePath(const std::string& a, const std::string& b) {
    return fs::path(a).lexically_normal() == fs::path(b).lexically_normal();
}

/// The layered file without -o: named after the scene, in the working directory.
std::string defaultName(const std::string& scene) {
    const std::string stem = scene == "-" ? "picture" : fs::path(scene).stem().string();
    return stem + ".exr";
}

/// The path that a file really has: nothing but its own name tells files apart that are yet to be written.
std::string canonicalPath(const std::string& path) {
    std::error_code problem;
    const fs::path canonical = fs::weakly_canonical(fs::absolute(path, problem), problem);
    return problem ? path : canonical.string();
}

std::uint64_t pixelsIn(const render::Picture& picture) {
    const render::PixelWindow window = picture.window();
    return static_cast<std::uint64_t>(window.width()) * static_cast<std::uint64_t>(window.height());
}

/// Of a pixel in the layered file, before compression.
std::uint64_t layeredBytesPerPixel(const render::Picture& picture, const image::LayeredFormat& format) {
    std::uint64_t bytes = 0;
    for (const image::PartDescription& part :
         image::describeParts(image::layeredBuffers(picture.framebuffers()), format))
        bytes += part.channels.size() * (part.storage == "half" ? 2 : 4);
    return bytes;
}

std::string megabytes(std::uint64_t bytes) {
    return fmt::format("{:.1f} MB", static_cast<double>(bytes) * 1e-6);
}

} // namespace

bool isStream(const std::string& path) {
    std::error_code missing;
    const fs::file_status status = fs::status(path, missing);
    return fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status);
}

OutputFiles::OutputFiles(const CommandLine& command, Log& log)
    : command_(command), log_(log), policy_(command) {
}

std::string OutputFiles::nameFor(const std::string& pattern, const char* option, int frame) {
    const std::string name = withFrame(pattern, frame);
    if (name.empty() || isStream(name) || named_.insert(name).second) return name;
    const std::string numbered = withFrameAdded(name, frame);
    log_.warning("MAIN",
                 "\"{}\" holds an earlier picture of this run, so frame {} goes to \"{}\"; put #### into the "
                 "name given to {}",
                 name, frame, numbered, option);
    named_.insert(numbered);
    return numbered;
}

PictureFiles OutputFiles::next(const image::FramebufferSet& buffers, int frame) {
    PictureFiles files;
    files.frame = frame;
    if (command_.checkpointSeconds) files.checkpoint = withFrame(command_.checkpointFile, frame);
    if (!command_.writesFiles || command_.pixel) return files;
    if (command_.writesSceneFiles && !command_.samples)
        files.sceneFiles = image::bufferFilePaths(command_.fileDirectory, image::layeredBuffers(buffers));
    files.png = nameFor(command_.png, "--png", frame);
    files.layerDirectory = nameFor(command_.pngLayers, "--png-layers", frame);
    std::string layered = command_.output;
    if (layered.empty()) {
        layered = defaultName(command_.scenes.front());
        const bool taken =
            std::any_of(files.sceneFiles.begin(), files.sceneFiles.end(),
                        [&](const std::string& file) { return samePath(file, withFrame(layered, frame)); });
        if (taken) layered = fs::path(layered).replace_extension(".layers.exr").string();
    }
    files.layered = nameFor(layered, "-o", frame);
    // Two files of one name are found later, and are no pictures of two frames.
    const bool isSame = withFrame(command_.deep, frame) == files.layered;
    files.deep = isSame ? files.layered : nameFor(command_.deep, "--deep", frame);
    if (command_.keepsNoisy) files.noisy = fs::path(files.layered).replace_extension(".noisy.exr").string();
    if (command_.checkpointSeconds && files.checkpoint.empty())
        files.checkpoint = files.layered + ".checkpoint";
    return files;
}

std::string OutputFiles::lightMapDirectory() const {
    return command_.fileDirectory == CommandLine().fileDirectory ? std::string() : command_.fileDirectory;
}

std::vector<std::string> OutputFiles::lightMaps(const scene::Database& database, int frame) const {
    std::vector<std::string> paths;
    if (!command_.writesFiles || !command_.writesSceneFiles || command_.pixel) return paths;
    for (const scene::TextureElement* const texture : scene::lightMapTextures(database))
        if (std::string path = image::lightMapPath(*texture, lightMapDirectory(), frame); !path.empty())
            paths.push_back(std::move(path));
    return paths;
}

bool OutputFiles::writeLightMap(const scene::TextureElement& texture, int frame,
                                const std::atomic<bool>& stop) const {
    if (!command_.writesFiles || !command_.writesSceneFiles || command_.pixel || texture.file.empty())
        return true;
    image::PictureFrame like{};
    like.metadata["software"] = "orca-render " ORCA_VERSION;
    like.stop = &stop;
    return image::writeLightMap(texture, lightMapDirectory(), frame, like, log_);
}

std::vector<OutputFiles::Planned> OutputFiles::planned(const PictureFiles& files,
                                                       const render::Picture& picture) const {
    // Compression about halves floats, four of them in a file of the scene's; of a preview's three bytes it
    // leaves about two.
    const std::uint64_t pixels = pixelsIn(picture);
    const std::uint64_t layeredBytes =
        pixels * layeredBytesPerPixel(picture, command_.format) / (command_.samples ? 1 : 2);
    const std::uint64_t previewBytes = 2 * pixels;
    constexpr std::uint64_t deepBytesPerPixel = 48; // two samples of six floats
    std::vector<Planned> plan;
    const auto add = [&](const std::string& path, const std::string& role, std::uint64_t bytes) {
        if (!path.empty()) plan.push_back({path, role, bytes});
    };
    add(files.layered, "the layered file (-o)", layeredBytes);
    if (!files.noisy.empty()) add(files.noisy, "the noisy layers (--keep-noisy)", layeredBytes);
    add(files.deep, "the deep file (--deep)", pixels * deepBytesPerPixel);
    for (const std::string& file : files.sceneFiles)
        add(file, "a file that the scene's framebuffer or output statements name", 8 * pixels);
    for (const std::string& file : files.lightMaps) add(file, "a light map", 0);
    add(files.png, "the picture to look at (--png)", previewBytes);
    if (!files.layerDirectory.empty())
        for (const image::Buffer* buffer : image::layeredBuffers(picture.framebuffers()))
            add(fmt::format("{}/{}.png", files.layerDirectory, buffer->name),
                fmt::format("layer \"{}\" (--png-layers)", buffer->name), previewBytes);
    add(files.checkpoint, "the checkpoint (--checkpoint)",
        pixels * picture.framebuffers().wordsPerSample() * 4);
    add(command_.statisticsFile, "the statistics (--stats-json)", 0);
    return plan;
}

bool OutputFiles::checkPolicy(const std::vector<Planned>& plan) const {
    bool good = true;
    for (const Planned& file : plan) {
        if (policy_.mayWrite(file.path)) continue;
        log_.error("MAIN", "\"{}\", {}, is refused: {}", file.path, file.role, policy_.writingRule());
        good = false;
    }
    return good;
}

bool OutputFiles::checkConflicts(const std::vector<Planned>& plan, const std::vector<InputFile>& inputs,
                                 const PictureFiles& files) {
    std::map<std::string, const InputFile*> inputAt;
    for (const InputFile& input : inputs) inputAt.emplace(canonicalPath(input.path), &input);
    std::map<std::string, const Planned*> plannedAt;
    bool good = true;
    for (const Planned& file : plan) {
        const std::string path = canonicalPath(file.path);
        if (const auto input = inputAt.find(path); input != inputAt.end()) {
            log_.errorAt(input->second->place, "MAIN",
                         "\"{}\" is {}, and {} would overwrite it; give that another name", file.path,
                         input->second->what, file.role);
            good = false;
        }
        if (const auto [other, isFirst] = plannedAt.emplace(path, &file); !isFirst) {
            log_.error("MAIN", "\"{}\" would be both {} and {}; give one of them another name", file.path,
                       other->second->role, file.role);
            good = false;
        }
        const bool isLightMap =
            std::find(files.lightMaps.begin(), files.lightMaps.end(), file.path) != files.lightMaps.end();
        if (file.path == command_.statisticsFile || file.path == files.checkpoint || isLightMap)
            continue; // one for all frames, removed before the next one, or made again for it
        if (const auto [earlier, isFirst] = frame_.emplace(path, files.frame); !isFirst) {
            log_.error(
                "MAIN",
                "\"{}\" holds frame {} of this run, and frame {} would overwrite it; give each frame a "
                "name of its own",
                file.path, earlier->second, files.frame);
            good = false;
        }
    }
    return good;
}

bool OutputFiles::checkSpace(const std::vector<Planned>& plan) const {
    if (!command_.checksSpace) return true;
    struct Disk {
        std::string file; ///< the largest there
        std::uint64_t most = 0, needed = 0;
    };
    std::map<dev_t, Disk> disks;
    for (const Planned& file : plan) {
        struct stat status {};
        if (::stat(fs::path(canonicalPath(file.path)).parent_path().c_str(), &status) != 0) continue;
        Disk& disk = disks[status.st_dev];
        disk.needed += file.bytes;
        if (disk.file.empty() || file.bytes > disk.most) disk.file = file.path, disk.most = file.bytes;
    }
    bool good = true;
    for (const auto& [device, disk] : disks) {
        std::error_code unknown;
        const fs::space_info space = fs::space(fs::path(canonicalPath(disk.file)).parent_path(), unknown);
        if (unknown || space.available >= disk.needed) continue;
        log_.error("MAIN",
                   "the disk of \"{}\" has {} left, and the picture's files are estimated to take {} there; "
                   "make room, choose another disk or render with --no-space-check",
                   disk.file, megabytes(space.available), megabytes(disk.needed));
        good = false;
    }
    return good;
}

bool OutputFiles::check(const PictureFiles& files, const render::Picture& picture,
                        const std::vector<InputFile>& inputs) {
    if (command_.arraysTo && arraysFrame_) {
        log_.error("MAIN",
                   "the arrays of one picture can be handed over, and frame {} would overwrite frame {}; "
                   "choose one of them with --frames",
                   files.frame, *arraysFrame_);
        return false;
    }
    arraysFrame_ = files.frame;
    std::vector<Planned> plan = planned(files, picture);
    if (!checkPolicy(plan)) return false;
    if (const std::string fault =
            faultOfFormat(command_.format, image::layeredBuffers(picture.framebuffers()));
        !fault.empty() && !files.layered.empty()) {
        log_.error("MAIN", "--exr-type: {}", fault);
        return false;
    }
    std::erase_if(plan, [](const Planned& file) { return isStream(file.path); });
    if (!checkConflicts(plan, inputs, files)) return false;
    if (!files.layerDirectory.empty()) {
        std::error_code problem; // what could not be made is found missing next
        fs::create_directories(files.layerDirectory, problem);
    }
    bool good = true;
    for (const Planned& file : plan) good = image::canWrite(file.path, log_) && good;
    return good && checkSpace(plan);
}

void OutputFiles::remember(const PictureFiles& files) {
    std::vector<std::string> paths = files.sceneFiles;
    for (const std::string& name : {files.layered, files.deep, files.png, files.layerDirectory}) {
        if (name.empty() || isStream(name)) continue;
        named_.insert(name);
        if (name != files.layerDirectory) paths.push_back(name);
    }
    for (const std::string& path : paths)
        if (!isStream(path)) frame_.emplace(canonicalPath(path), files.frame);
}

bool OutputFiles::write(const PictureFiles& files, const render::FrameResult& result) const {
    if (command_.arraysTo && !writeArrays(*command_.arraysTo, result, files.frame, log_)) return false;
    if (!command_.writesFiles || command_.pixel) return true;
    const image::PictureFrame& picture = result.frame();
    if (result.sampleRange) {
        const unsigned samples = samplesOf(result.picture().options.options);
        const std::vector<image::SampleRange> ranges = image::blocksOf(*result.sampleRange, samples);
        std::vector<image::SummedBlock> blocks;
        for (std::size_t i = 0; i < ranges.size(); ++i)
            blocks.push_back(result.film().summedBlock(i, ranges[i]));
        return image::writeSampleSums(files.layered, picture, blocks, *result.sampleRange, samples,
                                      command_.format, log_);
    }
    const std::vector<image::Layer> layers = result.layers();
    bool good = image::writeLayeredExr(files.layered, picture, layers, command_.format, log_);
    if (!files.deep.empty())
        good = image::writeDeepExr(files.deep, picture, result.deep->picture(result.film().window()), log_) &&
               good;
    if (!files.noisy.empty())
        good = image::writeLayeredExr(files.noisy, picture, result.film().layers(result.noisy),
                                      command_.format, log_) &&
               good;
    if (command_.writesSceneFiles)
        good = image::writeBufferFiles(command_.fileDirectory, picture, layers, result.earlier, log_) && good;
    for (const image::Layer& layer : layers) {
        if (layer.buffer->primary && !files.png.empty())
            good = image::writePreview(files.png, picture, layer, log_) && good;
        if (files.layerDirectory.empty()) continue;
        const std::string name = fmt::format("{}/{}.png", files.layerDirectory, layer.buffer->name);
        good = image::writePreview(name, picture, layer, log_) && good;
    }
    return good;
}

std::uint64_t OutputFiles::bytesOf(const PictureFiles& files) {
    std::uint64_t bytes = 0;
    std::vector<std::string> paths = files.sceneFiles;
    paths.insert(paths.end(), files.lightMaps.begin(), files.lightMaps.end());
    paths.insert(paths.end(), {files.layered, files.deep, files.png});
    if (!files.noisy.empty()) paths.push_back(files.noisy);
    for (const std::string& path : paths) {
        std::error_code missing;
        const std::uint64_t size = path.empty() || isStream(path) ? 0 : fs::file_size(path, missing);
        if (!missing) bytes += size;
    }
    return bytes;
}

void OutputFiles::list(const PictureFiles& files, const image::FramebufferSet& buffers) const {
    if (!files.layered.empty()) {
        fmt::print("{}\n", files.layered);
        if (!files.noisy.empty()) fmt::print("{}\n", files.noisy);
        for (const image::PartDescription& part :
             image::describeParts(image::layeredBuffers(buffers), command_.format))
            fmt::print("  {:<30} {:<6} {}\n", part.name, part.storage, fmt::join(part.channels, " "));
    }
    for (const auto* const names : {&files.sceneFiles, &files.lightMaps})
        for (const std::string& file : *names) fmt::print("{}\n", file);
    for (const std::string& file : {files.deep, files.png})
        if (!file.empty()) fmt::print("{}\n", file);
    if (files.layerDirectory.empty()) return;
    for (const image::Buffer* buffer : image::layeredBuffers(buffers))
        fmt::print("{}/{}.png\n", files.layerDirectory, buffer->name);
}

void OutputFiles::printPixel(const render::FrameResult& result) {
    for (const image::Layer& layer : result.layers()) {
        fmt::print("{:<30}", layer.buffer->name);
        for (const float value : layer.pixels) {
            std::uint32_t label;
            std::memcpy(&label, &value, sizeof label);
            if (layer.buffer->type == miIMG_TYPE_TAG) fmt::print(" {}", label);
            else fmt::print(" {:.7g}", value);
        }
        fmt::print("\n");
    }
}

} // namespace orca::app
