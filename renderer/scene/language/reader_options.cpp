// SPDX-License-Identifier: Apache-2.0
#include "scene/language/reader.h"

#include <algorithm>
#include <array>

namespace orca::scene {

namespace {

/// Everything that can begin an options statement: where reading goes on behind one that is not known.
constexpr std::array<std::string_view, 58> optionWords = {
    "samples",    "contrast",    "time",        "filter",    "jitter",     "samplelock",  "shading",
    "shutter",    "motion",      "trace",       "scanline",  "shadow",     "shadowmap",   "acceleration",
    "bsp",        "large",       "grid",        "task",      "face",       "lens",        "volume",
    "geometry",   "displace",    "output",      "pass",      "autovolume", "merge",       "lightmap",
    "max",        "approximate", "caustic",     "globillum", "photonvol",  "photonmap",   "photon",
    "importon",   "irradiance",  "finalgather", "frame",     "colorclip",  "gamma",       "premultiply",
    "desaturate", "dither",      "object",      "camera",    "mixed",      "state",       "inheritance",
    "traversal",  "contour",     "diagnostic",  "luminance", "hardware",   "progressive", "ambient",
    "ao",         "data"};

bool isOptionWord(std::string_view word) {
    return std::find(optionWords.begin(), optionWords.end(), word) != optionWords.end();
}

} // namespace

void Reader::readOptions(const Token& token, bool incremental) {
    auto& element = target<OptionsElement>(token, miSCENE_OPTIONS, incremental);
    const Definition defined(*this, token, element.tag);
    while (!endsBlock("options", element.name)) {
        const Token word = next();
        if (word.kind == Token::Kind::String) {
            readStringOption(element, word);
        } else {
            readOptionStatement(element, word);
        }
    }
}

void Reader::readStringOption(OptionsElement& element, const Token& option) {
    const std::string key(option.text);
    if (const std::optional<bool> value = acceptBoolean()) {
        element.strings[key] = *value;
    } else if (atString()) {
        element.strings[key] = std::string(next().text);
    } else if (atNumber()) {
        const Token first = next();
        std::vector<float> numbers{first.number};
        while (numbers.size() < 4 && atNumber()) numbers.push_back(next().number);
        if (numbers.size() > 2) {
            element.strings[key] = numbers;
        } else if (numbers.size() == 2) {
            fail(option, "string option \"{}\" has 2 numbers; it takes 1, 3 or 4", key);
        } else if (first.kind == Token::Kind::Integer && first.fitsInteger) {
            element.strings[key] = first.integer;
        } else {
            element.strings[key] = first.number;
        }
    } else {
        fail(peek(), "string option \"{}\" needs a boolean, a string or numbers, not {}", key,
             peek().shown());
    }
}

void Reader::readOptionStatement(OptionsElement& element, const Token& token) {
    const std::string word(token.text);
    const SourceLocation location = locationOf(token);
    if (token.kind == Token::Kind::Symbol) {
        if (readSamplingOption(element, word) || readTraceOption(element, word, location) ||
            readSwitchOption(element, word) || readGatherOption(element, word, location)) {
            return;
        }
        if (word == "frame") {
            if (!accept("buffer"))
                fail(peek(), "expected \"buffer\" after \"frame\", not {}", peek().shown());
            readFramebufferOption(element, location);
            return;
        }
        if (word == "state") {
            ShaderUse use{fmt::format("options \"{}\"", element.name), element.name};
            use.existing = element.options.state_func;
            element.options.state_func = requiredShaderList(use, use.owner + ", state");
            return;
        }
        if (word == "data") {
            element.options.userdata = dataReference();
            return;
        }
        if (skipOption(word, location, element.name)) return;
    }
    const std::string nearest = nearestName(word, {optionWords.begin(), optionWords.end()});
    error(location, "options \"{}\": unknown statement {}{}", element.name, token.shown(),
          nearest.empty() ? "" : fmt::format(" (did you mean \"{}\"?)", nearest));
    skipToOption();
}

void Reader::skipToOption() {
    for (;;) {
        const Token& token = peek();
        if (token.kind == Token::Kind::End || token.isWord("end") || atString()) return;
        if (token.kind == Token::Kind::Symbol && isOptionWord(token.text)) return;
        next();
    }
}

bool Reader::readSamplingOption(OptionsElement& element, std::string_view word) {
    miOptions& options = element.options;
    const auto color = [&](std::string_view of) {
        miColor value{number(of), number(of), number(of), 0.0f};
        value.a = atNumber() ? next().number : (value.r + value.g + value.b) / 3.0f;
        return value;
    };
    if (word == "samples") {
        if (accept("collect") || accept("motion")) {
            integer("the rasterizer's sample count");
            return true;
        }
        const Token at = peek();
        options.min_samples = integer("the smallest sampling level");
        if (const std::optional<int> most = acceptInteger()) {
            options.max_samples = *most;
        } else {
            options.max_samples = std::max(options.max_samples, options.min_samples);
        }
        if (options.min_samples > options.max_samples) {
            fail(at, "the smallest sampling level, {}, is above the largest, {}", options.min_samples,
                 options.max_samples);
        }
        constexpr int largestLevel = 10; // a million samples a pixel
        if (options.max_samples > largestLevel || options.min_samples < -largestLevel) {
            fail(at, "sampling levels lie between -{} and {}: level n means 4^n samples a pixel",
                 largestLevel, largestLevel);
        }
    } else if (word == "contrast") {
        options.contrast = color("the contrast");
    } else if (word == "time" && accept("contrast")) {
        options.time_contrast = color("the time contrast");
    } else if (word == "filter") {
        struct Filter {
            std::string_view name;
            char code;
            float width;
        };
        constexpr std::array<Filter, 5> filters = {{{"box", miFILTER_BOX, 1.0f},
                                                    {"triangle", miFILTER_TRIANGLE, 2.0f},
                                                    {"gauss", miFILTER_GAUSS, 3.0f},
                                                    {"mitchell", miFILTER_MITCHELL, 4.0f},
                                                    {"lanczos", miFILTER_LANCZOS, 4.0f}}};
        const Token kind = next();
        const auto found = std::find_if(filters.begin(), filters.end(),
                                        [&](const Filter& filter) { return kind.isWord(filter.name); });
        if (found == filters.end()) {
            fail(kind, "expected a filter (box, triangle, gauss, mitchell, lanczos), not {}", kind.shown());
        }
        options.filter = found->code;
        element.filterClips = accept("clip");
        options.filter_size_x = options.filter_size_y = found->width;
        if (atNumber()) options.filter_size_x = options.filter_size_y = next().number;
        if (atNumber()) options.filter_size_y = next().number;
        if (!(options.filter_size_x > 0 && options.filter_size_y > 0))
            fail(kind, "filter sizes must be positive");
    } else if (word == "jitter") {
        options.jitter = number("the jitter");
    } else if (word == "samplelock") {
        element.samplesLocked = boolean("samplelock");
    } else if (word == "shading") {
        accept("samples");
        number("the shading rate");
    } else if (word == "shutter") {
        const float first = number("the shutter's time");
        const bool both = atNumber();
        options.shutter_delay = both ? first : 0.0f;
        options.shutter = both ? next().number : first;
    } else if (word == "task") {
        accept("size");
        options.task_size = integer("the task size");
    } else {
        return false;
    }
    return true;
}

bool Reader::readTraceOption(OptionsElement& element, std::string_view word, const SourceLocation& location) {
    miOptions& options = element.options;
    if (word == "trace") {
        if (!accept("depth")) {
            options.trace = boolean("trace");
            return true;
        }
        options.reflection_depth = integer("the reflection depth");
        if (const auto refraction = acceptInteger()) options.refraction_depth = *refraction;
        if (const auto sum = acceptInteger()) options.trace_depth = *sum;
    } else if (word == "scanline") {
        const Token mode = peek();
        if (const std::optional<bool> on = acceptBoolean()) {
            options.scanline = *on;
        } else if (accept("rapid") || accept("rasterizer")) {
            options.scanline = miSCANLINE_RASTERIZER;
        } else if (accept("opengl")) {
            options.scanline = 'o';
        } else {
            fail(mode, "expected a scanline mode (on, off, opengl, rapid, rasterizer), not {}", mode.shown());
        }
    } else if (word == "shadow") {
        const Token mode = peek();
        if (const std::optional<bool> on = acceptBoolean()) {
            options.shadow = *on ? miSHADOW_SIMPLE : miSHADOW_OFF;
        } else if (accept("sort")) {
            options.shadow = miSHADOW_SORTED;
        } else if (accept("segments") || accept("segment")) {
            options.shadow = miSHADOW_SEGMENTS;
        } else {
            fail(mode, "expected a shadow mode (on, off, sort, segments), not {}", mode.shown());
        }
        options.shadow_sort = options.shadow == miSHADOW_SORTED;
    } else if (word == "shadowmap") {
        if (accept("rebuild")) {
            if (!accept("merge")) boolean("shadowmap rebuild");
        } else if (accept("motion")) {
            boolean("shadowmap motion");
        } else if (accept("bias")) {
            number("the shadow map bias");
        } else if (!accept("window")) {
            const Token mode = next();
            element.shadowMapMode = std::string(mode.text);
            options.use_shadow_maps = !mode.isWord("off") && !mode.isWord("false");
        }
    } else if (word == "motion") {
        if (accept("steps")) {
            const Token at = peek();
            const int steps = positiveInteger("the number of motion steps");
            if (steps > motionStepsAtMost) {
                fail(at, "options \"{}\": motion steps are at most {}, not {}", element.name,
                     motionStepsAtMost, steps);
            }
            options.motion_steps = steps;
        } else {
            options.motion = boolean("motion");
        }
    } else if (word == "face") {
        const Token side = next();
        if (!side.isWord("front") && !side.isWord("back") && !side.isWord("both")) {
            fail(side, "expected front, back or both, not {}", side.shown());
        }
        options.face = side.isWord("both") ? 'a' : side.isWord("front") ? 'f' : 'b';
    } else if (word == "object" || word == "camera" || word == "mixed") {
        if (!accept("space")) fail(peek(), "expected \"space\" after \"{}\", not {}", word, peek().shown());
        if (word != "object") {
            unsupported(LogLevel::Error, location, std::string(word) + " space",
                        fmt::format("options \"{}\": {} space is not supported, only object space",
                                    element.name, word));
        }
    } else {
        return false;
    }
    return true;
}

bool Reader::readSwitchOption(OptionsElement& element, std::string_view word) {
    miOptions& options = element.options;
    struct ShaderSwitch {
        std::string_view name;
        miCBoolean miOptions::*off;
    };
    constexpr std::array<ShaderSwitch, 6> switches = {{{"lens", &miOptions::no_lens},
                                                       {"volume", &miOptions::no_volume},
                                                       {"geometry", &miOptions::no_geometry},
                                                       {"displace", &miOptions::no_displace},
                                                       {"output", &miOptions::no_output},
                                                       {"merge", &miOptions::no_merge}}};
    for (const ShaderSwitch& shaders : switches) {
        if (word != shaders.name) continue;
        if (word == "displace" && accept("presample")) {
            boolean("displace presample");
        } else {
            options.*shaders.off = !boolean(word);
        }
        return true;
    }
    if (word == "max") {
        accept("displace");
        element.maxDisplacement = std::max(0.0f, number("the largest displacement"));
    } else if (word == "approximate") {
        if (const auto approximation = readApproximation()) element.approximation = approximation;
        skipToOption();
    } else if (word == "premultiply") {
        element.premultiply = boolean(word);
    } else if (word == "dither") {
        element.dither = boolean(word);
    } else if (word == "desaturate") {
        element.desaturate = boolean(word);
    } else if (word == "gamma") {
        const Token at = peek();
        options.gamma = number("gamma");
        if (!(options.gamma > 0)) fail(at, "gamma must be positive");
    } else if (word == "colorclip") {
        element.colorClip = name("the colour clipping mode");
    } else if (word == "luminance") {
        accept("weight");
        const miVector weight = vector("the luminance weight");
        options.luminance_weight = {weight.x, weight.y, weight.z, 0.0f};
    } else {
        return false;
    }
    return true;
}

bool Reader::readGatherOption(OptionsElement& element, std::string_view word,
                              const SourceLocation& location) {
    miOptions& options = element.options;
    if (word == "finalgather") {
        GatherOptions& gather = element.gather;
        const auto color = [&](std::string_view of) {
            const miVector scale = vector(of);
            return miColor{scale.x, scale.y, scale.z, atNumber() ? next().number : 1.0f};
        };
        if (accept("accuracy")) {
            gather.radiiInPixels = accept("view");
            options.finalgather_rays = integer("the number of gather rays");
            if (atNumber()) options.finalgather_maxradius = next().number;
            if (atNumber()) options.finalgather_minradius = next().number;
        } else if (accept("trace")) {
            accept("depth");
            gather.reflectionDepth = integer("the gather's reflection depth");
            gather.refractionDepth = acceptInteger();
            gather.traceDepth = acceptInteger();
            if (const auto value = acceptInteger()) options.finalgather_diffuse_depth = *value;
        } else if (accept("falloff")) {
            const Token at = peek();
            const float first = number("the falloff distance");
            const bool both = atNumber();
            gather.falloffStart = both ? first : 0.0f;
            gather.falloffStop = both ? next().number : first;
            if (gather.falloffStart > gather.falloffStop)
                fail(at, "the falloff starts at {}, beyond its end at {}", gather.falloffStart,
                     gather.falloffStop);
        } else if (accept("scale")) {
            gather.scale = color("the gather's scale");
        } else if (accept("secondary")) {
            if (!accept("scale"))
                fail(peek(), "expected \"scale\" after \"secondary\", not {}", peek().shown());
            gather.secondaryScale = color("the gather's secondary scale");
        } else if (accept("filter")) {
            integer("the gather's filter size");
        } else if (accept("file")) {
            string("the gather map's file");
            unsupported(
                LogLevel::Info, location, "finalgather file",
                fmt::format(
                    "options \"{}\": gathered light is kept in no file; every picture gathers its own",
                    element.name));
        } else if (accept("rebuild")) {
            if (!accept("freeze")) boolean("finalgather rebuild");
        } else if (accept("presample")) {
            accept("density");
            const Token at = peek();
            gather.presampleDensity = number("the presampling density");
            if (!(gather.presampleDensity >= 0)) fail(at, "the presampling density must not be negative");
        } else if (accept("only") || accept("fastlookup")) {
            options.finalgather = miTRUE;
        } else {
            options.finalgather = boolean("finalgather");
        }
        return true;
    }
    if (word != "caustic" && word != "globillum") return false;
    const std::optional<bool> on = acceptBoolean();
    if (!on) {
        skipToOption();
    } else if (*on) {
        unsupported(
            LogLevel::Warning, location, std::string(word),
            fmt::format("options \"{}\": {} is not supported; no photons are traced", element.name, word));
    }
    return true;
}

bool Reader::skipOption(std::string_view word, const SourceLocation& location, const std::string& owner) {
    if (!isOptionWord(word)) return false;
    if (word == "contour") {
        unsupported(LogLevel::Error, location, "contour",
                    fmt::format("options \"{}\": contours are not supported", owner));
        if (!accept("store")) accept("contrast");
        while (atShader()) readShader({fmt::format("options \"{}\"", owner)}, miNULLTAG);
    } else if (word == "inheritance" || word == "traversal") {
        if (atShader()) {
            readShader({fmt::format("options \"{}\"", owner)}, miNULLTAG);
        } else {
            name("the inheritance function");
        }
    } else if (word == "photonmap") {
        if (accept("file")) {
            string("the photon map's file");
        } else {
            skipToOption();
        }
    } else {
        // Words of these statements may begin statements of their own ("bsp shadow", "diagnostic samples").
        if (word == "bsp" || word == "diagnostic" || word == "photon" || word == "large" ||
            word == "lightmap" || word == "acceleration" || word == "grid") {
            if (peek().kind == Token::Kind::Symbol && !peek().isWord("end")) next();
        }
        if (word == "photon" && (peek().isWord("depth"))) next();
        skipToOption();
    }
    return true;
}

void Reader::readFramebufferOption(OptionsElement& element, const SourceLocation& location) {
    NumberedFramebuffer buffer;
    buffer.number = integer("the frame buffer's number");
    buffer.location = location;
    if (atString() && !peek(1).is('(')) {
        std::string type(next().text);
        if (!type.empty() && (type[0] == '+' || type[0] == '-')) {
            buffer.interpolate = type[0] == '+';
            type.erase(0, 1);
        }
        buffer.datatype = type;
    }
    const auto same =
        std::find_if(element.framebuffers.begin(), element.framebuffers.end(),
                     [&](const NumberedFramebuffer& other) { return other.number == buffer.number; });
    if (same == element.framebuffers.end()) {
        element.framebuffers.push_back(std::move(buffer));
    } else {
        *same = std::move(buffer);
    }
}

} // namespace orca::scene
