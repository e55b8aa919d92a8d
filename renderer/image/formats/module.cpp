// SPDX-License-Identifier: Apache-2.0
#include "image/formats/library_formats.h"

/// What `imageFormats` looks for in the module.
extern "C" __attribute__((visibility("default"))) orca::image::ImageFormats& orcaImageFormats() {
    static orca::image::LibraryFormats formats;
    return formats;
}
