// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include <sys/stat.h>

namespace orca::image {

/// A file that appears under its name only when all of it is on the disk: no viewer or render farm reads half
/// of it, and what had the name before stays until then.
///
/// The bytes go to a temporary file in the same directory, with an unpredictable name that begins with
/// ".orca-partial." and the file's own name. A lock marks it as in use; an unlocked one was left behind by a
/// process that was killed, and the next writer of the same file removes it. A symbolic link stays, the file
/// that it leads to is replaced. Mode and, where permitted, owner are those of the file that is replaced.
/// Devices and FIFOs are not replaced: they receive the bytes when all of them are there.
///
/// What goes wrong is thrown as std::runtime_error with the reason alone; the caller adds the name.
class FileInPlace {
public:
    /// @param stop when set, writing ends with an exception within a tenth of a second; null: never
    explicit FileInPlace(const std::filesystem::path& path, const std::atomic<bool>* stop = nullptr);
    /// Removes the temporary file unless `commit` has succeeded.
    ~FileInPlace();
    FileInPlace(const FileInPlace&) = delete;
    FileInPlace& operator=(const FileInPlace&) = delete;

    /// At the current position, which moves behind what is written.
    void write(const void* data, std::size_t size);
    void seek(std::uint64_t position);
    [[nodiscard]] std::uint64_t position() const { return position_; }
    /// Writes what is left, has the system write the file to its disk, and gives it its name.
    void commit();

private:
    struct CloseFile {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };

    [[noreturn]] void failWith(const std::string& reason);
    void createTemporary();
    void keepModeAndOwner() const;
    void replace();
    void stream() const;

    const std::atomic<bool>* stop_;
    std::filesystem::path path_;        ///< with its symbolic links followed
    std::filesystem::path temporary_;   ///< empty: in memory, for a stream
    std::optional<struct stat> before_; ///< of the file that will be replaced
    std::unique_ptr<std::FILE, CloseFile> file_;
    std::uint64_t position_ = 0, size_ = 0;
    bool failed_ = false; ///< libraries swallow exceptions of their last writes
};

/// False, with a message, when no file can be written under that name: for use before rendering starts.
/// Removes what killed processes have left of it.
bool canWrite(const std::string& path, Log& log);

/// Removes the temporary files of this process, for a process that ends at once.
void removeTemporaryFiles() noexcept;

} // namespace orca::image
