// SPDX-License-Identifier: Apache-2.0
#include "orcaUtilities.h"

#include <shader.h>

// Intended: messages are the library's own and contain no conversions.
#pragma GCC diagnostic ignored "-Wformat-security"

void orcaFatal(const std::string& message) {
    mi_fatal(message.c_str());
}

void orcaError(const std::string& message) {
    mi_error(message.c_str());
}

void orcaWarning(const std::string& message) {
    mi_warning(message.c_str());
}

void orcaInfo(const std::string& message) {
    mi_info(message.c_str());
}
