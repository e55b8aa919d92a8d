// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace orca::image {

/// A file that appears under its name only when it is complete: written under a temporary name in the same
/// directory, moved by `commit`, removed otherwise. So no viewer or render farm reads half a picture.
class FileInPlace {
public:
    explicit FileInPlace(const std::filesystem::path& path);
    ~FileInPlace();
    FileInPlace(const FileInPlace&) = delete;
    FileInPlace& operator=(const FileInPlace&) = delete;

    /// Ends in the extension of the final name.
    [[nodiscard]] std::string temporaryPath() const { return temporary_.string(); }
    /// Throws std::filesystem::filesystem_error when the file cannot be moved.
    void commit();

private:
    std::filesystem::path path_, temporary_;
};

} // namespace orca::image
