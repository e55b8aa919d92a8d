// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "command_line.h"

#include <filesystem>
#include <string>
#include <vector>

namespace orca::app {

/// Which files a scene may have read, loaded and written. Paths are compared with their symbolic links
/// followed, at the time of the question: what changes the folders meanwhile is not noticed.
class FilePolicy {
public:
    explicit FilePolicy(const CommandLine& command);

    /// True when some file may not be read.
    [[nodiscard]] bool restrictsReading() const { return !readable_.empty(); }
    /// Whether a statement may have a file read. The declarations and libraries that come with the command
    /// always may be.
    [[nodiscard]] bool mayRead(const std::string& path) const;
    /// True when no library is refused.
    [[nodiscard]] bool mayLinkAll() const { return !command_.linksShippedOnly && readable_.empty(); }
    /// Of the folders where a statement's library is looked for, those whose file may be loaded; the file's
    /// own folder where it names one.
    [[nodiscard]] std::vector<std::string> linkable(const std::string& file,
                                                    const std::vector<std::string>& searchPaths) const;
    [[nodiscard]] bool mayWrite(const std::string& path) const;

    /// What may be, for messages: "only files below \"a\" and \"b\" may be read (--read-only-under)".
    [[nodiscard]] std::string readingRule() const;
    [[nodiscard]] std::string linkingRule() const;
    [[nodiscard]] std::string writingRule() const;

private:
    [[nodiscard]] bool mayLink(const std::string& path) const;

    const CommandLine& command_;
    std::vector<std::filesystem::path> readable_, writable_; ///< canonical folders; empty: all
    std::vector<std::filesystem::path> declarations_;        ///< the installation's, canonical
    std::vector<std::filesystem::path> shippedLibraries_;    ///< files, canonical
};

} // namespace orca::app
