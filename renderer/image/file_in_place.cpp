// SPDX-License-Identifier: Apache-2.0
#include "image/file_in_place.h"

#include "image/picture_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <unistd.h>

namespace orca::image {

namespace fs = std::filesystem;

FileInPlace::FileInPlace(const fs::path& path) : path_(path), temporary_(path) {
    temporary_.replace_filename(
        fmt::format(".{}.{}{}", path.stem().string(), ::getpid(), path.extension().string()));
}

FileInPlace::~FileInPlace() {
    std::error_code ignored;
    fs::remove(temporary_, ignored);
}

void FileInPlace::commit() {
    fs::rename(temporary_, path_);
}

bool canWrite(const std::string& path, Log& log, std::uint64_t bytes) {
    const fs::path file(path);
    const fs::path directory = file.has_parent_path() ? file.parent_path() : fs::path(".");
    std::error_code failure;
    const auto refuse = [&](const std::string& why) {
        log.error("IMG", "cannot write \"{}\": {}", path, why);
        return false;
    };
    if (!file.has_filename()) return refuse("the name ends in a directory; give a file name");
    if (!fs::exists(directory, failure))
        return refuse("the directory \"" + directory.string() +
                      "\" does not exist; create it or choose another");
    if (!fs::is_directory(directory, failure))
        return refuse(fmt::format("\"{}\" is no directory", directory.string()));
    if (fs::is_directory(file, failure)) return refuse("a directory has that name; choose another");

    // Tested by creating one: read-only mounts and quotas do not show in permission bits.
    const FileInPlace trial(file);
    std::FILE* opened = std::fopen(trial.temporaryPath().c_str(), "wb");
    if (!opened) return refuse(std::strerror(errno));
    std::fclose(opened);
    const fs::space_info space = fs::space(directory, failure);
    if (!failure && space.available < bytes) {
        return refuse(fmt::format("{} MB are free on that disk and up to {} MB are needed",
                                  space.available >> 20, (bytes >> 20) + 1));
    }
    return true;
}

} // namespace orca::image
