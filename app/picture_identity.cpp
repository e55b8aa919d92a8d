// SPDX-License-Identifier: Apache-2.0
#include "picture_identity.h"

#include "portable.h"

#include "image/image_formats.h"
#include "render/checkpoint/checkpoint_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>

namespace orca::app {

namespace {

namespace fs = std::filesystem;

constexpr std::uint64_t wholeUpTo = 1u << 20;
constexpr std::uint64_t sampleBytes = 1u << 16;

const std::string fileKey = "file "; // and its path

std::string hexadecimal(const render::Checksum& checksum) {
    return fmt::format("{:016x}", checksum.value());
}

/// Content of a file, as the identity counts it.
std::string hashOfFile(const std::string& path) {
    std::error_code failure;
    const std::uint64_t size = fs::is_regular_file(path, failure) ? fs::file_size(path, failure) : 0;
    std::ifstream file(path, std::ios::binary);
    if (failure || !file) return "missing";
    render::Checksum checksum;
    checksum.add(&size, sizeof size);
    std::vector<char> bytes(size <= wholeUpTo ? size : sampleBytes);
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    checksum.add(bytes.data(), bytes.size());
    if (size > wholeUpTo) {
        file.seekg(-static_cast<std::streamoff>(sampleBytes), std::ios::end);
        file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        checksum.add(bytes.data(), bytes.size());
    }
    return hexadecimal(checksum);
}

std::string textOf(const scene::OptionValues& values) {
    std::string text = fmt::format("{} {}", values.word, values.flag ? 1 : 0);
    for (int i = 0; i < values.count; ++i)
        text += fmt::format(" {}", values.numbers[static_cast<std::size_t>(i)]);
    return text;
}

std::string textOf(const std::map<std::string, std::string>& values) {
    std::string text;
    for (const auto& [name, value] : values) text += fmt::format("{}={};", name, value);
    return text;
}

} // namespace

render::CheckpointHeader pictureIdentity(const CommandLine& command, const render::Picture& picture,
                                         const std::optional<image::SampleRange>& samples, int frame,
                                         const std::vector<InputFile>& inputs) {
    render::CheckpointHeader identity;
    identity["program"] = fmt::format("orca-render {} ({})", ORCA_VERSION, hashOfFile("/proc/self/exe"));
    identity["image formats"] = hashOfFile(image::imageFormatsFile());
    for (const InputFile& input : inputs) identity[fileKey + input.path] = hashOfFile(input.path);
    for (const Overrides::Option& option : command.overrides.options)
        if (option.statement->words != "task size") // the pixels do not depend on tiles
            identity[fmt::format("option \"{}\"", option.statement->words)] = textOf(option.values);
    if (!command.variables.empty()) identity["--set"] = textOf(command.variables);
    if (!command.registry.empty()) identity["--registry"] = textOf(command.registry);

    const miCamera& camera = picture.camera();
    const render::PixelWindow window = picture.window();
    identity["size"] = fmt::format("{}x{}", camera.x_resolution, camera.y_resolution);
    identity["window"] = fmt::format("{} {} {} {}", window.xl, window.yl, window.xh, window.yh);
    if (picture.hasOverscan())
        identity["overscan"] =
            fmt::format("{} {}", picture.options.overscan.across, picture.options.overscan.up);
    if (samples) identity["sample range"] = image::textOf(*samples, samplesOf(picture.options.options));
    if (command.portable) identity["arithmetic"] = arithmetic();
    if (command.denoises) identity["--denoise"] = "on";
    identity["frame"] = std::to_string(frame);
    identity["camera"] = picture.elements().camera->name;
    std::string buffers;
    for (const image::Buffer& buffer : picture.framebuffers().buffers())
        buffers += fmt::format("{} {};", buffer.name, static_cast<int>(buffer.type));
    identity["frame buffers"] = buffers;
    return identity;
}

void addColors(render::CheckpointHeader& identity, const ColorManagement& colors) {
    if (!colors.used()) return;
    identity["colour configuration"] = hashOfFile(colors.file());
    if (colors.display().configuration)
        identity["view"] = fmt::format("{} {}", colors.display().display, colors.display().view);
}

std::string hashOf(const render::CheckpointHeader& identity) {
    render::Checksum checksum;
    for (const auto& [name, value] : identity) {
        if (name == "window" || name == "sample range") continue;
        checksum.add(name.c_str(), name.size() + 1);
        checksum.add(value.c_str(), value.size() + 1);
    }
    return hexadecimal(checksum);
}

std::string sceneHashOf(const render::CheckpointHeader& identity) {
    render::Checksum checksum;
    for (const auto& [name, value] : identity)
        if (name.starts_with(fileKey)) checksum.add(value.c_str(), value.size() + 1);
    return hexadecimal(checksum);
}

std::string vectorUnit() {
#if defined(__x86_64__)
    std::string text = "x86-64";
    if (__builtin_cpu_supports("sse4.2")) text += " sse4.2";
    if (__builtin_cpu_supports("avx")) text += " avx";
    if (__builtin_cpu_supports("avx2")) text += " avx2";
    if (__builtin_cpu_supports("fma")) text += " fma";
    if (__builtin_cpu_supports("avx512f")) text += " avx512f";
    return text;
#else
    return "of this machine";
#endif
}

} // namespace orca::app
