// SPDX-License-Identifier: Apache-2.0
#include "pass_request.h"

#include "base/nearest_name.h"
#include "image/cryptomatte.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstring>
#include <optional>
#include <stdexcept>

#include <fnmatch.h>

namespace orca::app {

namespace {

constexpr int everyLevel = 1000; // deeper than any trace depth

struct LevelParameter {
    const char* name;
    miInteger FrameBufferDataRecord::*field;
};
constexpr LevelParameter levelParameters[] = {
    {"minReflectionLevel", &FrameBufferDataRecord::minReflectionLevel},
    {"maxReflectionLevel", &FrameBufferDataRecord::maxReflectionLevel},
    {"minRefractionLevel", &FrameBufferDataRecord::minRefractionLevel},
    {"maxRefractionLevel", &FrameBufferDataRecord::maxRefractionLevel}};

using Option = std::pair<std::string, std::string>;

template <class... A>
[[noreturn]] void refuse(fmt::format_string<A...> form, A&&... arguments) {
    throw std::invalid_argument(fmt::format(form, std::forward<A>(arguments)...));
}

/// "" or ", did you mean ...?"
std::string guess(const std::string& nearest) {
    return nearest.empty() ? nearest : fmt::format(", did you mean \"{}\"?", nearest);
}

/// Parts of a text between separators outside of brackets; empty ones are left out.
std::vector<std::string> split(std::string_view text, char separator) {
    std::vector<std::string> parts(1);
    int depth = 0;
    for (const char c : text) {
        depth += (c == '[') - (c == ']');
        if (c == separator && depth == 0) parts.emplace_back();
        else parts.back() += c;
    }
    if (depth != 0) refuse("the brackets of \"{}\" do not match", text);
    std::erase(parts, "");
    return parts;
}

bool isPattern(std::string_view text) {
    return text.find_first_of("*?") != std::string_view::npos;
}

/// The pass or preset that was most likely meant.
std::string nearestRequest(std::string_view name) {
    std::vector<std::string_view> names;
    for (const auto& passes : allPasses())
        for (const PassDescription& pass : passes) names.push_back(pass.name);
    for (const PassListDescription& list : passLists()) names.push_back(list.name);
    return nearestName(name, names);
}

/// Name and options of an item such as diffuse[light=key].
struct Item {
    std::string text, name;
    std::vector<Option> options;

    explicit Item(const std::string& item) : text(item), name(item.substr(0, item.find('['))) {
        if (name.size() == item.size()) return;
        if (name.empty() || item.back() != ']')
            refuse("\"{}\" is not a pass with options in brackets, such as diffuse[shadowed=off]", item);
        for (const std::string& option :
             split(std::string_view(item).substr(name.size() + 1, item.size() - name.size() - 2), ',')) {
            const std::size_t equals = option.find('=');
            if (equals == std::string::npos || equals == 0 || equals + 1 == option.size())
                refuse("\"{}\" of \"{}\" is not an option such as shadowed=off", option, item);
            options.emplace_back(option.substr(0, equals), option.substr(equals + 1));
        }
    }
};

bool switchOf(const Option& option) {
    if (option.second != "on" && option.second != "off")
        refuse("\"{}\" is on or off, not \"{}\"", option.first, option.second);
    return option.second == "on";
}

int levelOf(const Option& option) {
    int level = -1;
    const char* const end = option.second.data() + option.second.size();
    const auto read = std::from_chars(option.second.data(), end, level);
    if (read.ec != std::errc() || read.ptr != end || level < 0 || level > everyLevel)
        refuse("\"{}\" is a trace level from 0 to {}, not \"{}\"", option.first, everyLevel, option.second);
    return level;
}

/// Sets a field of a material pass's record.
void setRecord(PassRequest& request, const Option& option) {
    FrameBufferDataRecord& settings = request.settings;
    std::vector<std::string_view> known{"name", "light", "object"};
    for (const FrameBufferFlagParameter& flag : FRAME_BUFFER_FLAG_PARAMETERS) {
        known.push_back(flag.name);
        if (option.first != flag.name) continue;
        settings.*flag.field = switchOf(option);
        // What rays bring is wanted of all levels, unless a level is said as well.
        if (flag.bit == FB_INCLUDE_REFLECTION)
            settings.maxReflectionLevel = switchOf(option) ? everyLevel : 0;
        if (flag.bit == FB_INCLUDE_REFRACTION)
            settings.maxRefractionLevel = switchOf(option) ? everyLevel : 0;
        return;
    }
    for (const LevelParameter& level : levelParameters) {
        known.push_back(level.name);
        if (option.first != level.name) continue;
        settings.*level.field = levelOf(option);
        return;
    }
    refuse("pass \"{}\" has no option \"{}\"{}", request.pass->name, option.first,
           guess(nearestName(option.first, known)));
}

std::optional<float> numberOf(const Option& option) {
    float number = 0;
    const char* const end = option.second.data() + option.second.size();
    const auto read = std::from_chars(option.second.data(), end, number);
    return read.ec == std::errc() && read.ptr == end ? std::optional(number) : std::nullopt;
}

void setBackground(PassRequest& request, const Option& option) {
    if (request.pass->datatype != "z")
        refuse("pass \"{}\" is no depth, which alone has a \"background\"", request.pass->name);
    const std::optional<float> value = numberOf(option);
    if (!value)
        refuse("\"background\" of pass \"{}\" is a number, not \"{}\"", request.pass->name, option.second);
    request.background = *value;
}

/// A parameter of a utility pass's shader, whose declaration says later whether it has such a one.
void setParameter(PassRequest& request, const Option& option) {
    if (request.pass->shader.empty())
        refuse("pass \"{}\" has no option \"{}\"", request.pass->name, option.first);
    if (!numberOf(option) && option.second != "on" && option.second != "off")
        refuse("\"{}\" of pass \"{}\" is a number, on or off, not \"{}\"", option.first, request.pass->name,
               option.second);
    request.parameters.push_back(option);
}

void apply(PassRequest& request, const Option& option) {
    const PassDescription& pass = *request.pass;
    if (option.first == "name") {
        request.layer = option.second;
    } else if (option.first == "ranks" && image::cryptomatteType(pass.datatype)) {
        request.datatype = fmt::format("{}_{}", pass.datatype, option.second);
        if (!image::cryptomatteType(request.datatype))
            refuse("\"ranks\" is an even number from 2 to 16, not \"{}\"", option.second);
    } else if (option.first == "light") {
        if (pass.type < 0) refuse("pass \"{}\" holds no light, so \"light\" says nothing", pass.name);
        request.lights = split(option.second, '|');
    } else if (option.first == "object") {
        if (pass.type < 0 && (pass.shader.empty() || pass.ofState))
            refuse("pass \"{}\" does not know objects", pass.name);
        request.objects = split(option.second, '|');
    } else if (pass.type >= 0) {
        setRecord(request, option);
    } else if (option.first == "background") {
        setBackground(request, option);
    } else {
        setParameter(request, option);
    }
}

/// A pass with options. Unless these name the layer, it is called after the pass and whose it is.
PassRequest requestWith(const PassDescription& pass, std::vector<Option> options) {
    PassRequest request = requestOf(pass, "");
    // Levels go over what the switches say, wherever they are in the list.
    std::stable_partition(options.begin(), options.end(),
                          [](const Option& option) { return option.first.rfind("include", 0) == 0; });
    for (const Option& option : options) apply(request, option);
    if (!request.layer.empty()) return request;
    request.layer = pass.name;
    for (const auto* patterns : {&request.lights, &request.objects})
        for (const std::string& pattern : *patterns) {
            std::string name = layerName(pattern);
            name.erase(0, name.find_first_not_of('_'));
            name.erase(name.find_last_not_of('_') + 1);
            if (!name.empty()) request.layer += "_" + name;
        }
    return request;
}

class Parser {
public:
    void list(std::string_view text, const std::vector<Option>& outer) {
        for (const std::string& part : split(text, ',')) {
            Item item(part);
            item.options.insert(item.options.begin(), outer.begin(), outer.end());
            add(item);
        }
    }

    PassRequests requests;

private:
    void add(const Item& item) {
        if (isPattern(item.name)) {
            bool any = false;
            for (const auto& passes : allPasses())
                for (const PassDescription& pass : passes)
                    if (fitsPattern(std::string(pass.name), {item.name})) {
                        refuseName(item);
                        take(requestWith(pass, item.options));
                        any = true;
                    }
            if (!any) refuse("no pass fits \"{}\"; --list-passes prints them all", item.name);
        } else if (const PassListDescription* const preset = findPassList(item.name)) {
            addPreset(*preset, item);
        } else if (const PassDescription* const pass = findPass(item.name)) {
            take(requestWith(*pass, item.options));
        } else {
            refuse("there is no pass \"{}\"{}; --list-passes prints them all", item.name,
                   guess(nearestRequest(item.name)));
        }
    }

    void addPreset(const PassListDescription& preset, const Item& item) {
        using Content = PassListDescription::Content;
        const bool isOfScene = preset.content == Content::Lights || preset.content == Content::Objects;
        if (isOfScene && !item.options.empty()) refuse("\"{}\" takes no options", item.name);
        refuseName(item);
        switch (preset.content) {
        case Content::Materials:
            for (const PassDescription& pass : materialPasses()) take(requestWith(pass, item.options));
            break;
        case Content::Utilities:
            for (const PassDescription& pass : utilityPasses()) take(requestWith(pass, item.options));
            break;
        case Content::Components:
            requests.volumesOfScene |= item.options.empty();
            list(preset.list, item.options);
            break;
        case Content::Listed: list(preset.list, item.options); break;
        case Content::Lights: requests.eachLight = true; break;
        case Content::Objects: requests.eachObject = true; break;
        }
    }

    static void refuseName(const Item& item) {
        for (const Option& option : item.options)
            if (option.first == "name")
                refuse("\"{}\" may be several layers, which have no one name", item.text);
    }

    void take(PassRequest request) {
        for (const PassRequest& other : requests.layers) {
            if (other.layer != request.layer) continue;
            if (other == request) return;
            refuse("two layers would be called \"{}\"; give one of them a name: {}[...,name=NAME]",
                   request.layer, request.pass->name);
        }
        requests.layers.push_back(std::move(request));
    }
};

} // namespace

bool operator==(const PassRequest& a, const PassRequest& b) {
    return a.pass == b.pass && a.layer == b.layer && a.parameters == b.parameters && a.lights == b.lights &&
           a.objects == b.objects && a.datatype == b.datatype && a.less == b.less &&
           a.background == b.background && std::memcmp(&a.settings, &b.settings, sizeof a.settings) == 0;
}

PassRequests parsePassRequests(const std::vector<std::string>& lists) {
    Parser parser;
    for (const std::string& list : lists) parser.list(list, {});
    return std::move(parser.requests);
}

PassRequest requestOf(const PassDescription& pass, std::string layer) {
    PassRequest request;
    request.pass = &pass;
    request.layer = std::move(layer);
    request.datatype = pass.datatype;
    request.background = pass.background;
    for (const FrameBufferFlagParameter& flag : FRAME_BUFFER_FLAG_PARAMETERS)
        request.settings.*flag.field = (pass.flags & flag.bit) != 0;
    request.settings.maxReflectionLevel = pass.flags & FB_INCLUDE_REFLECTION ? everyLevel : 0;
    request.settings.maxRefractionLevel = pass.flags & FB_INCLUDE_REFRACTION ? everyLevel : 0;
    return request;
}

bool fitsPattern(const std::string& name, const std::vector<std::string>& patterns) {
    return std::any_of(patterns.begin(), patterns.end(), [&](const std::string& pattern) {
        return ::fnmatch(pattern.c_str(), name.c_str(), FNM_NOESCAPE) == 0;
    });
}

std::string layerName(std::string_view name) {
    std::string clean(name);
    for (char& c : clean)
        if (!std::isalnum(static_cast<unsigned char>(c)) && c != '-') c = '_';
    return clean;
}

} // namespace orca::app
