// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <shader.h>

#include <cstddef>
#include <functional>

namespace orca {

/// The arenas that are alive, for the leak report.
class BlockArenas {
public:
    struct Use {
        const char* file;
        int line;
        std::size_t blocks; ///< handed out and not given back
        std::size_t bytes;  ///< held by the arena
    };
    static void visit(const std::function<void(const Use&)>& visitor);
};

} // namespace orca
