// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orca {

/// True for an address in a segment that the program or an open library has been loaded with as read-only: a
/// text literal, say, whose characters never change. False for memory of any other kind. Walks the libraries
/// under the loader's lock, so callers remember the answer.
[[nodiscard]] bool isInConstantSegment(const void* address);

} // namespace orca
