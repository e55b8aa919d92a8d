// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"
#include "scene/database.h"

namespace orca::shading {

/// What the interface's functions act on when the caller hands them no state: the database and the messages
/// of the renderer in this process. Both null while none is active.
struct ActiveRenderer {
    scene::Database* database = nullptr;
    Log* log = nullptr;
};

/// Sets the active renderer; before rendering threads start and after they ended.
void activate(const ActiveRenderer& renderer);
[[nodiscard]] const ActiveRenderer& activeRenderer();

} // namespace orca::shading
