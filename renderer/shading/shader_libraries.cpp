// SPDX-License-Identifier: Apache-2.0
#include "shading/shader_libraries.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <dlfcn.h>
#include <elf.h>

namespace orca::shading {

namespace {

/// Says how much of a library is missing: the system maps what its header announces, and ends the process
/// where the file does not reach. Empty for a whole file, and for what is no library of this machine.
std::string whatIsMissing(const std::string& path) {
    std::ifstream file(path, std::ios::binary | std::ios::ate);
    const auto size = static_cast<std::uint64_t>(std::max<std::streamoff>(0, file.tellg()));
    Elf64_Ehdr header{};
    file.seekg(0);
    if (!file.read(reinterpret_cast<char*>(&header), sizeof header)) return {};
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != ELFCLASS64 ||
        header.e_phentsize != sizeof(Elf64_Phdr))
        return {};
    std::uint64_t end = header.e_phoff + std::uint64_t{header.e_phnum} * sizeof(Elf64_Phdr);
    file.seekg(static_cast<std::streamoff>(header.e_phoff));
    for (int i = 0; i < header.e_phnum; ++i) {
        Elf64_Phdr segment{};
        if (!file.read(reinterpret_cast<char*>(&segment), sizeof segment)) break;
        if (segment.p_type == PT_LOAD) end = std::max(end, segment.p_offset + segment.p_filesz);
    }
    return end > size ? fmt::format("it is truncated: {} bytes of at least {}", size, end) : std::string();
}

} // namespace

bool ShaderLibraries::load(const std::string& file, const std::vector<std::string>& searchPaths,
                           const SourceLocation& location, Log& log) {
    namespace fs = std::filesystem;
    std::vector<std::string> candidates;
    if (file.find('/') != std::string::npos) {
        candidates.push_back(file);
    } else {
        for (const std::string& directory : searchPaths)
            candidates.push_back((fs::path(directory) / file).string());
    }

    std::string tried;
    for (const std::string& candidate : candidates) {
        std::error_code ignored;
        if (!fs::exists(candidate, ignored)) {
            tried += "\n  " + candidate + ": no such file";
            continue;
        }
        if (const std::string missing = whatIsMissing(candidate); !missing.empty()) {
            tried += "\n  " + candidate + ": " + missing;
            continue;
        }
        // A path with a slash, so that the loader takes this very file.
        const std::string path = fs::absolute(candidate, ignored).string();
        void* const handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
        if (!handle) {
            const char* const reason = dlerror();
            tried += "\n  " + (reason ? std::string(reason) : path + ": cannot be loaded");
            continue;
        }
        const bool known = std::any_of(libraries_.begin(), libraries_.end(),
                                       [&](const Library& library) { return library.handle == handle; });
        if (known) dlclose(handle);
        else libraries_.push_back({path, handle});
        return true;
    }
    if (candidates.empty()) tried = "\n  the library path is empty";
    log.errorAt(location, "SHDR", "cannot load the shader library \"{}\"; tried:{}", file, tried);
    return false;
}

ShaderLibraries::Symbol ShaderLibraries::find(const std::string& name) const {
    for (const Library& library : libraries_)
        if (void* const address = dlsym(library.handle, name.c_str())) return {address, &library.path};
    return {};
}

void* ShaderLibraries::findIn(const std::string& library, const std::string& name) const {
    for (const Library& candidate : libraries_)
        if (candidate.path == library) return dlsym(candidate.handle, name.c_str());
    return nullptr;
}

std::vector<std::string> ShaderLibraries::paths() const {
    std::vector<std::string> all;
    for (const Library& library : libraries_) all.push_back(library.path);
    return all;
}

std::string ShaderLibraries::list() const {
    std::string text;
    for (const Library& library : libraries_) text += (text.empty() ? "" : ", ") + library.path;
    return text.empty() ? "none is linked" : text;
}

} // namespace orca::shading
