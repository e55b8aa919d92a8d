// SPDX-License-Identifier: Apache-2.0
#pragma once

/// The version of the library and of its framework. The build, the packages and the commands read it from
/// here.

#include "orcaExport.h"

#define ORCA_VERSION_MAJOR 0
#define ORCA_VERSION_MINOR 1
#define ORCA_VERSION_PATCH 0

/// Number of the binary interface, and the suffix of the libraries' SONAME. It is raised whenever something
/// changes that separately built shader libraries share at run time: the records of frame buffers, lights and
/// `VelabaseState`, the exported functions, the structures of `shader.h`. Libraries of one number run
/// together.
#define ORCA_ABI_VERSION 1

extern "C" {

/// "MAJOR.MINOR.PATCH" of the library that the function is linked into or was looked up in; the macros are
/// those of the headers that a caller was compiled with.
ORCA_EXPORT const char* orcaLibraryVersion(void);
/// Its ORCA_ABI_VERSION.
ORCA_EXPORT int orcaLibraryAbiVersion(void);

} // extern "C"
