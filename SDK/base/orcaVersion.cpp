// SPDX-License-Identifier: Apache-2.0
#include "orcaVersion.h"

#define ORCA_TEXT_OF(number) #number
#define ORCA_DOTTED(major, minor, patch) ORCA_TEXT_OF(major) "." ORCA_TEXT_OF(minor) "." ORCA_TEXT_OF(patch)

extern "C" {

const char* orcaLibraryVersion(void) {
    return ORCA_DOTTED(ORCA_VERSION_MAJOR, ORCA_VERSION_MINOR, ORCA_VERSION_PATCH);
}

int orcaLibraryAbiVersion(void) {
    return ORCA_ABI_VERSION;
}

} // extern "C"
