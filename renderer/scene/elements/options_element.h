// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/elements/approximation.h"
#include "scene/elements/element.h"

#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace orca::scene {

/// Value of a string option: bool, integer, number, text, or 3 or 4 numbers.
using OptionValue = std::variant<bool, int, float, std::string, std::vector<float>>;

/// `frame buffer n` of the options, known to shaders as "fb<n>".
struct NumberedFramebuffer {
    int number = 0;
    std::string datatype = "rgba";
    std::optional<bool> interpolate;
    SourceLocation location;
};

/// What the options say of gathered light beside the fields of their record.
struct GatherOptions {
    std::optional<int> reflectionDepth, refractionDepth,
        traceDepth; ///< of gather rays; else the picture's own
    bool radiiInPixels = false;
    float falloffStart = 0.0f, falloffStop = 0.0f; ///< scene units; stop 0: rays reach any distance
    miColor scale{1, 1, 1, 1};                     ///< of what is seen gathered
    miColor secondaryScale{1, 1, 1, 1};            ///< of what gather rays find gathered
    float presampleDensity = 1.0f;                 ///< 0: nothing is gathered ahead, every sample for itself
};

/// Equal segments of the shutter that movements are told in; the ray-tracing kernel tells no more apart.
inline constexpr int motionStepsAtMost = 128;

struct OptionsElement final : Element {
    OptionsElement();
    void* record() override { return &options; }
    [[nodiscard]] int recordSize() const override { return sizeof(options); }
    void visitReferences(const std::function<void(miTag)>& visit) const override;

    miOptions options{};
    std::map<std::string, OptionValue, std::less<>> strings;
    std::vector<NumberedFramebuffer> framebuffers;
    std::optional<Approximation> approximation; ///< of displaced polygons, over what objects say
    float maxDisplacement = 0.0f;               ///< the same; 0: what objects say
    bool filterClips = false;                   ///< samples' values are clipped to 0..1 before filtering
    bool samplesLocked = true;                  ///< the same sample pattern on every frame
    bool premultiply = true, dither = false, desaturate = false; ///< conversion to integer files
    std::string colorClip = "raw";
    std::string shadowMapMode = "off";
    GatherOptions gather;
};

} // namespace orca::scene
