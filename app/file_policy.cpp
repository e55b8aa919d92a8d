// SPDX-License-Identifier: Apache-2.0
#include "file_policy.h"

#include "installation.h"

#include <fmt/format.h>

#include <algorithm>

namespace orca::app {

namespace {

namespace fs = std::filesystem;

/// With the links of all that exists of it followed. Empty where that fails, which is below no folder.
fs::path resolved(const std::string& path) {
    std::error_code problem;
    const fs::path absolute = fs::absolute(path, problem);
    const fs::path canonical = problem ? fs::path() : fs::weakly_canonical(absolute, problem);
    return problem ? fs::path() : canonical;
}

std::vector<fs::path> allResolved(const std::vector<std::string>& paths) {
    std::vector<fs::path> all;
    for (const std::string& path : paths) all.push_back(resolved(path));
    return all;
}

bool isBelow(const fs::path& path, const std::vector<fs::path>& folders) {
    return std::any_of(folders.begin(), folders.end(), [&](const fs::path& folder) {
        return !folder.empty() &&
               std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first == folder.end();
    });
}

std::string rule(const std::vector<std::string>& folders, const char* done, const char* option) {
    std::string list;
    for (const std::string& folder : folders)
        list += fmt::format("{}\"{}\"", list.empty() ? "" : " and ", folder);
    return fmt::format("only files below {} may be {} ({})", list, done, option);
}

} // namespace

FilePolicy::FilePolicy(const CommandLine& command)
    : command_(command),
      readable_(allResolved(command.readFolders)),
      writable_(allResolved(command.writeFolders)),
      declarations_(allResolved(installation().declarationPaths)) {
    for (const std::string& folder : installation().libraryPaths)
        for (const char* const library : shippedLibraries)
            shippedLibraries_.push_back(resolved((fs::path(folder) / library).string()));
}

bool FilePolicy::mayRead(const std::string& path) const {
    if (readable_.empty()) return true;
    const fs::path file = resolved(path);
    return isBelow(file, readable_) || isBelow(file, declarations_);
}

bool FilePolicy::mayLink(const std::string& path) const {
    const fs::path file = resolved(path);
    if (std::find(shippedLibraries_.begin(), shippedLibraries_.end(), file) != shippedLibraries_.end())
        return true;
    return !command_.linksShippedOnly && (readable_.empty() || isBelow(file, readable_));
}

std::vector<std::string> FilePolicy::linkable(const std::string& file,
                                              const std::vector<std::string>& searchPaths) const {
    if (file.find('/') != std::string::npos)
        return mayLink(file) ? std::vector{fs::path(file).parent_path().string()}
                             : std::vector<std::string>();
    std::vector<std::string> allowed;
    for (const std::string& folder : searchPaths)
        if (mayLink((fs::path(folder) / file).string())) allowed.push_back(folder);
    return allowed;
}

bool FilePolicy::mayWrite(const std::string& path) const {
    return writable_.empty() || isBelow(resolved(path), writable_);
}

std::string FilePolicy::readingRule() const {
    return rule(command_.readFolders, "read", "--read-only-under");
}

std::string FilePolicy::linkingRule() const {
    if (command_.linksShippedOnly)
        return fmt::format("only {}, which come with orca-render, may be loaded (--no-link)",
                           fmt::join(shippedLibraries, " and "));
    return rule(command_.readFolders, "loaded", "--read-only-under");
}

std::string FilePolicy::writingRule() const {
    return rule(command_.writeFolders, "written", "--write-only-under");
}

} // namespace orca::app
