// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

/// Hand a message to the renderer as it stands: the text is the format, so it must hold no per-cent sign.
void orcaFatal(const std::string& message);
void orcaError(const std::string& message);
void orcaWarning(const std::string& message);
void orcaInfo(const std::string& message);
