// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"

#include <string>
#include <vector>

namespace orca::shading {

/// The shader libraries that are open, in link order. A library stays in the process once it is open: blocks
/// that its shaders allocated name their owner by texts inside it.
class ShaderLibraries {
public:
    /// See ShaderRuntime::loadLibrary.
    bool load(const std::string& file, const std::vector<std::string>& searchPaths,
              const SourceLocation& location, Log& log);

    struct Symbol {
        void* address = nullptr; ///< null: in no library
        const std::string* library = nullptr;
    };
    /// The first library that has the symbol wins.
    [[nodiscard]] Symbol find(const std::string& name) const;
    /// The symbol in that library only.
    [[nodiscard]] void* findIn(const std::string& library, const std::string& name) const;
    [[nodiscard]] std::size_t count() const { return libraries_.size(); }
    [[nodiscard]] std::vector<std::string> paths() const;
    /// "a.so, b.so", for messages.
    [[nodiscard]] std::string list() const;

private:
    struct Library {
        std::string path;
        void* handle;
    };
    std::vector<Library> libraries_;
};

} // namespace orca::shading
