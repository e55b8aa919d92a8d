// SPDX-License-Identifier: Apache-2.0
#include "deep_request.h"

#include <algorithm>

namespace orca::app {

bool checkDeep(const CommandLine& command, const render::Picture& picture, Log& log) {
    if (command.deep.empty()) return true;
    const miOptions& options = picture.options.options;
    if (options.min_samples < 0) {
        log.error(
            "MAIN",
            "--deep: options \"{}\" sample only some pixels (samples {} {}) and interpolate the others, "
            "which have nothing by depth; give --samples 0 or more",
            picture.options.name, options.min_samples, options.max_samples);
        return false;
    }
    if (options.filter == miFILTER_MITCHELL || options.filter == miFILTER_LANCZOS) {
        log.error("MAIN",
                  "--deep: the pixel filters mitchell and lanczos subtract what is around a pixel, which no "
                  "deep sample can hold; give --filter box, triangle or gauss");
        return false;
    }
    const image::FramebufferSet& set = picture.framebuffers();
    if (!set.outputShaders().empty() && !options.no_output)
        log.warning("MAIN", "--deep: what output shaders change is not in the deep file");
    if (options.contour_contrast != miNULLTAG)
        log.warning("MAIN", "--deep: contour lines are not in the deep file");
    return true;
}

} // namespace orca::app
