// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "types.h"

miBEGIN_INTERFACE

/// Messages in printf form; a newline is appended and newlines inside become blanks in the printed line.
/// Thread-safe. `mi_fatal` ends the render and does not return.
void mi_fatal(const char* format, ...);
void mi_error(const char* format, ...);
void mi_warning(const char* format, ...);
void mi_info(const char* format, ...);
void mi_progress(const char* format, ...);
void mi_debug(const char* format, ...);
void mi_vdebug(const char* format, ...);

miEND_INTERFACE
