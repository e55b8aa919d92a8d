// SPDX-License-Identifier: Apache-2.0
#include "fuzz_input.h"

#include "image/merge_exr.h"
#include "image/picture_file.h"

using namespace orca;

/// A part of a picture: asked whether it is finished, and joined with itself.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fuzz::InputFile file({reinterpret_cast<const char*>(data), size});
    Log log(LogLevel::None);
    static_cast<void>(image::finishedPicture(file.path()));
    image::mergeExr({file.path(), file.path()}, "/dev/null", log);
    return 0;
}
