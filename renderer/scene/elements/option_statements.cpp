// SPDX-License-Identifier: Apache-2.0
#include "scene/elements/option_statements.h"

#include "scene/elements/option_words.h"
#include "scene/elements/options_element.h"
#include "scene/elements/ray_words.h"

#include <algorithm>
#include <iterator>

namespace orca::scene {

namespace {

using Form = OptionStatement::Form;
using V = OptionValues;

constexpr OptionValues on{.word = 1};
constexpr OptionValues off{};

constexpr OptionValues word(int code) {
    return {.word = code};
}

template <class... N>
constexpr OptionValues numbers(N... values) {
    return {.count = sizeof...(N), .numbers = {static_cast<double>(values)...}};
}

constexpr NumberRange atLeastZero{.least = 0.0};
constexpr NumberRange filterWidth{.least = 0.0, .most = 64.0, .above = true}; // pixels
constexpr NumberRange aboveZero{.least = 0.0, .above = true};

constexpr std::string_view kernelDecides = "the ray-tracing kernel chooses its own structures";

miColor gatherScale(const V& v) {
    return {v.at(0), v.at(1), v.at(2), v.count > 3 ? v.at(3) : 1.0f};
}

miColor contrast(const V& v) {
    return {v.at(0), v.at(1), v.at(2), v.count > 3 ? v.at(3) : (v.at(0) + v.at(1) + v.at(2)) / 3.0f};
}

/// A switch whose field says "off".
template <miCBoolean miOptions::*no>
void setShaderClass(OptionsElement& o, const V& v) {
    o.options.*no = v.word == 0;
}

/// Adding an option is a row here; its value goes into miOptions or, where shaders do not ask for it, into
/// OptionsElement.
constexpr OptionStatement statements[] = {
    // sampling
    {.words = "samples",
     .fewest = 1,
     .most = 2,
     .integers = 2,
     .range = {coarsestSamplingLevel, finestSamplingLevel},
     .ascending = true,
     .defaults = numbers(-2, 0),
     .set =
         [](OptionsElement& o, const V& v) {
             o.options.min_samples = v.integer(0);
             o.options.max_samples =
                 v.count > 1 ? v.integer(1) : std::max(o.options.max_samples, v.integer(0));
         }},
    {.words = "min samples",
     .fewest = 1,
     .most = 1,
     .integers = 1,
     .range = {coarsestSamplingLevel, finestSamplingLevel},
     .defaults = numbers(-2),
     .set =
         [](OptionsElement& o, const V& v) {
             o.options.min_samples = v.integer(0);
             o.options.max_samples = std::max(o.options.max_samples, v.integer(0));
         }},
    {.words = "max samples",
     .fewest = 1,
     .most = 1,
     .integers = 1,
     .range = {coarsestSamplingLevel, finestSamplingLevel},
     .defaults = numbers(0),
     .set =
         [](OptionsElement& o, const V& v) {
             o.options.max_samples = v.integer(0);
             o.options.min_samples = std::min(o.options.min_samples, v.integer(0));
         }},
    {.words = "samples collect",
     .fewest = 1,
     .most = 1,
     .integers = 1,
     .range = {0, mostVisibilitySamples},
     .defaults = numbers(4),
     .set = [](OptionsElement& o, const V& v) { o.visibilitySamples = std::max(1, v.integer(0)); }},
    {.words = "samples motion",
     .fewest = 1,
     .most = 1,
     .integers = 1,
     .range = atLeastZero,
     .missing = "every sample has its own time"},
    {.words = "contrast",
     .fewest = 3,
     .most = 4,
     .range = atLeastZero,
     .defaults = numbers(0.1, 0.1, 0.1, 0.1),
     .set = [](OptionsElement& o, const V& v) { o.options.contrast = contrast(v); }},
    {.words = "time contrast",
     .fewest = 3,
     .most = 4,
     .range = atLeastZero,
     .defaults = numbers(0.2, 0.2, 0.2, 0.2),
     .set = [](OptionsElement& o, const V& v) { o.options.time_contrast = contrast(v); }},
    {.words = "filter",
     .choices = filterWords,
     .flag = "clip",
     .flagMissing = "samples are filtered with their full range",
     .most = 2,
     .range = filterWidth,
     .defaults = word(miFILTER_BOX),
     .set =
         [](OptionsElement& o, const V& v) {
             const float width = defaultFilterWidth(static_cast<char>(v.word));
             o.options.filter = static_cast<char>(v.word);
             o.options.filter_size_x = v.count > 0 ? v.at(0) : width;
             o.options.filter_size_y = v.count > 1 ? v.at(1) : o.options.filter_size_x;
         }},
    {.words = "jitter",
     .fewest = 1,
     .most = 1,
     .range = {0.0, 1.0},
     .defaults = numbers(0),
     .set = [](OptionsElement& o, const V& v) { o.options.jitter = v.at(0); }},
    {.words = "samplelock",
     .choices = switchWords,
     .defaults = on,
     .set = [](OptionsElement& o, const V& v) { o.samplesLocked = v.word != 0; }},
    {.words = "shading samples",
     .fewest = 1,
     .most = 1,
     .range = aboveZero,
     .defaults = numbers(1),
     .set = [](OptionsElement& o, const V& v) { o.shadingSamples = v.at(0); }},
    {.words = "shutter",
     .fewest = 1,
     .most = 2,
     .defaults = numbers(0, 0),
     .set =
         [](OptionsElement& o, const V& v) {
             o.options.shutter_delay = v.count > 1 ? v.at(0) : 0.0f;
             o.options.shutter = v.at(v.count - 1);
         }},
    {.words = "overscan",
     .fewest = 1,
     .most = 2,
     .integers = 2,
     .range = {0, overscanAtMost},
     .defaults = numbers(0),
     .set =
         [](OptionsElement& o, const V& v) {
             o.overscan = {v.integer(0), v.count > 1 ? v.integer(1) : v.integer(0)};
         }},
    {.words = "task size",
     .fewest = 1,
     .most = 1,
     .integers = 1,
     .range = {0, 1024},
     .defaults = numbers(0),
     .set = [](OptionsElement& o, const V& v) { o.options.task_size = v.integer(0); }},

    // rays, shadows, motion
    {.words = "trace",
     .choices = switchWords,
     .defaults = on,
     .set = [](OptionsElement& o, const V& v) { o.options.trace = v.word; }},
    {.words = "trace depth",
     .fewest = 1,
     .most = 3,
     .integers = 3,
     .range = atLeastZero,
     .defaults = numbers(1, 1, 1),
     .set =
         [](OptionsElement& o, const V& v) {
             o.options.reflection_depth = v.integer(0);
             if (v.count > 1) o.options.refraction_depth = v.integer(1);
             if (v.count > 2) o.options.trace_depth = v.integer(2);
         }},
    {.words = "scanline",
     .choices = scanlineWords,
     .defaults = on,
     .set = [](OptionsElement& o, const V& v) { o.options.scanline = v.word; },
     .level = LogLevel::Info},
    {.words = "shadow",
     .choices = shadowWords,
     .defaults = word(miSHADOW_SIMPLE),
     .set =
         [](OptionsElement& o, const V& v) {
             o.options.shadow = static_cast<char>(v.word);
             o.options.shadow_sort = v.word == miSHADOW_SORTED;
         }},
    {.words = "shadowmap",
     .choices = shadowMapWords,
     .defaults = off,
     .set = [](OptionsElement& o, const V& v) { o.options.use_shadow_maps = v.word != 0; }},
    {.words = "shadowmap bias",
     .fewest = 1,
     .most = 1,
     .range = atLeastZero,
     .defaults = numbers(0),
     .set = [](OptionsElement& o, const V& v) { o.shadowMapBias = v.at(0); }},
    {.words = "shadowmap rebuild",
     .choices = rebuildWords,
     .defaults = on,
     .missing = "every picture makes its own shadow maps",
     .level = LogLevel::Info},
    {.words = "shadowmap motion",
     .choices = switchWords,
     .missing = "shadow maps show the scene as the shutter opens"},
    {.words = "shadowmap window",
     .missing = "shadow maps cover all that their light reaches",
     .level = LogLevel::Info},
    {.words = "motion",
     .choices = switchWords,
     .defaults = off,
     .set = [](OptionsElement& o, const V& v) { o.options.motion = static_cast<miUint>(v.word); }},
    {.words = "motion steps",
     .fewest = 1,
     .most = 1,
     .integers = 1,
     .range = {1, motionStepsAtMost},
     .defaults = numbers(1),
     .set = [](OptionsElement& o, const V& v) { o.options.motion_steps = v.integer(0); }},
    {.words = "face",
     .choices = faceWords,
     .defaults = word('a'),
     .set = [](OptionsElement& o, const V& v) { o.options.face = v.word; }},
    {.words = "object space", .set = [](OptionsElement& o, const V&) { o.options.render_space = 'o'; }},
    {.words = "camera space", .missing = "only object space is supported", .level = LogLevel::Error},
    {.words = "mixed space", .missing = "only object space is supported", .level = LogLevel::Error},

    // classes of shaders
    {.words = "lens", .choices = switchWords, .defaults = on, .set = setShaderClass<&miOptions::no_lens>},
    {.words = "volume", .choices = switchWords, .defaults = on, .set = setShaderClass<&miOptions::no_volume>},
    {.words = "displace",
     .choices = switchWords,
     .defaults = on,
     .set = setShaderClass<&miOptions::no_displace>},
    {.words = "geometry",
     .choices = switchWords,
     .defaults = on,
     .set = setShaderClass<&miOptions::no_geometry>},
    {.words = "output", .choices = switchWords, .defaults = on, .set = setShaderClass<&miOptions::no_output>},
    {.words = "merge",
     .choices = switchWords,
     .defaults = on,
     .set = setShaderClass<&miOptions::no_merge>,
     .missing = "there are no surfaces that would be merged",
     .level = LogLevel::Info},
    {.words = "pass",
     .choices = switchWords,
     .defaults = on,
     .missing = "\"pass\" statements of cameras are not supported"},
    {.words = "hair", .choices = switchWords, .defaults = on, .set = setShaderClass<&miOptions::no_hair>},
    {.words = "lightmap",
     .choices = lightmapWords,
     .defaults = word(static_cast<int>(LightMaps::On)),
     .set = [](OptionsElement& o, const V& v) { o.lightMaps = static_cast<LightMaps>(v.word); }},
    {.words = "autovolume",
     .choices = switchWords,
     .defaults = off,
     .missing = "shaders keep track of the volumes that they enter"},
    {.words = "state", .form = Form::Own},
    {.words = "inheritance",
     .form = Form::Own,
     .missing = "instances hand flags down by the renderer's own rules",
     .level = LogLevel::Info},
    {.words = "traversal",
     .form = Form::Own,
     .missing = "instances hand flags down by the renderer's own rules",
     .level = LogLevel::Info},
    {.words = "contour", .form = Form::Own},

    // displacement
    {.words = "max displace",
     .fewest = 1,
     .most = 1,
     .range = atLeastZero,
     .defaults = numbers(0),
     .set = [](OptionsElement& o, const V& v) { o.maxDisplacement = v.at(0); }},
    {.words = "displace presample",
     .choices = switchWords,
     .defaults = on,
     .missing = "bounds of displaced surfaces always follow from their shaders",
     .level = LogLevel::Info},
    {.words = "approximate", .form = Form::Own},

    // colours in files of whole numbers
    {.words = "colorclip",
     .choices = colorClipWords,
     .defaults = word(static_cast<int>(ColorClip::Raw)),
     .set = [](OptionsElement& o, const V& v) { o.colorClip = static_cast<ColorClip>(v.word); }},
    {.words = "premultiply",
     .choices = switchWords,
     .defaults = on,
     .set = [](OptionsElement& o, const V& v) { o.premultiply = v.word != 0; }},
    {.words = "desaturate",
     .choices = switchWords,
     .defaults = off,
     .set = [](OptionsElement& o, const V& v) { o.desaturate = v.word != 0; }},
    {.words = "dither",
     .choices = switchWords,
     .defaults = off,
     .set = [](OptionsElement& o, const V& v) { o.dither = v.word != 0; }},
    {.words = "gamma",
     .fewest = 1,
     .most = 1,
     .range = aboveZero,
     .defaults = numbers(1),
     .set = [](OptionsElement& o, const V& v) { o.options.gamma = v.at(0); }},
    {.words = "luminance weight",
     .fewest = 3,
     .most = 3,
     .range = atLeastZero,
     .defaults = numbers(0.299, 0.587, 0.114),
     .set =
         [](OptionsElement& o, const V& v) {
             o.options.luminance_weight = {v.at(0), v.at(1), v.at(2), 0.0f};
         }},
    {.words = "frame buffer", .form = Form::Own},
    {.words = "data", .form = Form::Own},

    // many lights
    {.words = "light samples",
     .fewest = 1,
     .most = 1,
     .integers = 1,
     .range = {0, mostLightSamples},
     .defaults = numbers(0),
     .set = [](OptionsElement& o, const V& v) { o.lightSamples = v.integer(0); }},

    // gathered light
    {.words = "finalgather",
     .choices = gatherWords,
     .defaults = off,
     .set = [](OptionsElement& o, const V& v) { o.options.finalgather = v.word != 0; }},
    {.words = "finalgather accuracy",
     .flag = "view",
     .fewest = 1,
     .most = 3,
     .integers = 1,
     .range = atLeastZero,
     .defaults = numbers(1000),
     .set =
         [](OptionsElement& o, const V& v) {
             o.gather.radiiInPixels = v.flag;
             o.options.finalgather_rays = v.integer(0);
             if (v.count > 1) o.options.finalgather_maxradius = v.at(1);
             if (v.count > 2) o.options.finalgather_minradius = v.at(2);
         }},
    {.words = "finalgather trace depth",
     .fewest = 1,
     .most = 4,
     .integers = 4,
     .range = atLeastZero,
     .set =
         [](OptionsElement& o, const V& v) {
             const auto given = [&](int i) {
                 return v.count > i ? std::optional(v.integer(i)) : std::nullopt;
             };
             o.gather.reflectionDepth = given(0);
             o.gather.refractionDepth = given(1);
             o.gather.traceDepth = given(2);
             if (v.count > 3) o.options.finalgather_diffuse_depth = v.integer(3);
         }},
    {.words = "finalgather falloff",
     .fewest = 1,
     .most = 2,
     .range = atLeastZero,
     .ascending = true,
     .defaults = numbers(0, 0),
     .set =
         [](OptionsElement& o, const V& v) {
             o.gather.falloffStart = v.count > 1 ? v.at(0) : 0.0f;
             o.gather.falloffStop = v.at(v.count - 1);
         }},
    {.words = "finalgather scale",
     .fewest = 3,
     .most = 4,
     .defaults = numbers(1, 1, 1, 1),
     .set = [](OptionsElement& o, const V& v) { o.gather.scale = gatherScale(v); }},
    {.words = "finalgather secondary scale",
     .fewest = 3,
     .most = 4,
     .defaults = numbers(1, 1, 1, 1),
     .set = [](OptionsElement& o, const V& v) { o.gather.secondaryScale = gatherScale(v); }},
    {.words = "finalgather presample density",
     .fewest = 1,
     .most = 1,
     .range = atLeastZero,
     .defaults = numbers(1),
     .set = [](OptionsElement& o, const V& v) { o.gather.presampleDensity = v.at(0); }},
    {.words = "finalgather filter",
     .fewest = 1,
     .most = 1,
     .integers = 1,
     .range = atLeastZero,
     .missing = "bright samples are not filtered out",
     .level = LogLevel::Info},
    {.words = "finalgather file",
     .form = Form::Text,
     .missing = "gathered light is kept in no file; every picture gathers its own",
     .level = LogLevel::Info},
    {.words = "finalgather rebuild",
     .choices = rebuildWords,
     .defaults = on,
     .missing = "gathered light is kept in no file; every picture gathers its own",
     .level = LogLevel::Info},

    // other light
    {.words = "caustic", .choices = photonWords, .defaults = off, .set = [](OptionsElement&, const V&) {}},
    {.words = "caustic accuracy", .form = Form::Rest, .missing = noPhotons, .level = LogLevel::Info},
    {.words = "caustic filter", .form = Form::Rest, .missing = noPhotons, .level = LogLevel::Info},
    {.words = "caustic scale", .form = Form::Rest, .missing = noPhotons, .level = LogLevel::Info},
    {.words = "globillum", .choices = photonWords, .defaults = off, .set = [](OptionsElement&, const V&) {}},
    {.words = "globillum accuracy", .form = Form::Rest, .missing = noPhotons, .level = LogLevel::Info},
    {.words = "globillum filter", .form = Form::Rest, .missing = noPhotons, .level = LogLevel::Info},
    {.words = "globillum scale", .form = Form::Rest, .missing = noPhotons, .level = LogLevel::Info},
    {.words = "photonvol", .form = Form::Rest, .missing = noPhotons, .level = LogLevel::Info},
    {.words = "photonmap", .form = Form::Rest, .missing = noPhotons, .level = LogLevel::Info},
    {.words = "photonmap file", .form = Form::Text, .missing = noPhotons, .level = LogLevel::Info},
    {.words = "photon", .form = Form::Rest, .missing = noPhotons, .level = LogLevel::Info},
    {.words = "importon", .form = Form::Rest, .missing = noPhotons},
    {.words = "irradiance", .form = Form::Rest, .missing = "no irradiance particles are traced"},
    {.words = "ambient", .form = Form::Rest, .missing = "occlusion is traced by shaders that ask for it"},
    {.words = "ao", .form = Form::Rest, .missing = "occlusion is traced by shaders that ask for it"},

    // speed and display
    {.words = "acceleration",
     .choices = accelerationWords,
     .missing = kernelDecides,
     .level = LogLevel::Info},
    {.words = "acceleration large bsp", .missing = kernelDecides, .level = LogLevel::Info},
    {.words = "bsp", .form = Form::Rest, .missing = kernelDecides, .level = LogLevel::Info},
    {.words = "large", .form = Form::Rest, .missing = kernelDecides, .level = LogLevel::Info},
    {.words = "grid", .form = Form::Rest, .missing = kernelDecides, .level = LogLevel::Info},
    {.words = "diagnostic", .form = Form::Rest, .missing = "diagnostic pictures are not supported"},
    {.words = "hardware",
     .form = Form::Rest,
     .missing = "graphics hardware is not used",
     .level = LogLevel::Info},
    {.words = "progressive",
     .form = Form::Rest,
     .missing = "pictures are rendered tile by tile",
     .level = LogLevel::Info},
};

} // namespace

std::span<const OptionStatement> optionStatements() {
    return statements;
}

const OptionStatement& optionStatement(std::string_view words) {
    return *std::find_if(std::begin(statements), std::end(statements),
                         [&](const OptionStatement& each) { return each.words == words; });
}

} // namespace orca::scene
