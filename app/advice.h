// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"

#include <string>

namespace orca::app {

/// What a user can do about a shader's message; empty when the message says all that is known.
[[nodiscard]] std::string adviceFor(const LogMessage& message);

/// Why a file that was given as a scene is none, by its extension: a model or a picture in another format.
/// Empty for what may be a scene.
[[nodiscard]] std::string whyNoScene(const std::string& path);

/// Why a layered OpenEXR should not be written under this name: it ends as another picture format does. Empty
/// for any other name.
[[nodiscard]] std::string whyNoDeepFile(const std::string& path);
[[nodiscard]] std::string whyNoLayeredFile(const std::string& path);

/// Why no picture to look at can be written under this name: its extension names a format that cannot be
/// written, or that of the layered file. Empty for any other name; PNG needs no extension.
[[nodiscard]] std::string whyNoPreview(const std::string& path);

} // namespace orca::app
