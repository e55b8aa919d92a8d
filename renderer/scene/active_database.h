// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/database.h"

namespace orca::scene {

/// What the interface's functions act on where the caller gives them no state: the database of the renderer
/// that is active in this process; while none is, an empty one.
[[nodiscard]] inline Database& activeDatabase();

/// Null: none is active. Call before rendering threads start and after they have ended.
void setActiveDatabase(Database* database);

namespace implementation {
inline Database* active = nullptr;
[[nodiscard]] Database& emptyDatabase();
} // namespace implementation

inline Database& activeDatabase() { // several times for each sample
    return implementation::active ? *implementation::active : implementation::emptyDatabase();
}

} // namespace orca::scene
