// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"

namespace orca {

/// Where messages go that come from no particular renderer, such as those of the interface's functions: the
/// log of the renderer that is active in this process; while none is, one that prints everything to stderr.
[[nodiscard]] Log& activeLog();

/// Null: none is active. Call before rendering threads start and after they have ended.
void setActiveLog(Log* log);

} // namespace orca
