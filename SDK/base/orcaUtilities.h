// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

/// Messages through the renderer. The text is passed as its format, unchanged, so it must not contain a
/// per-cent sign. orcaFatal does not return.
void orcaFatal(const std::string& message);
void orcaError(const std::string& message);
void orcaWarning(const std::string& message);
void orcaInfo(const std::string& message);
