// SPDX-License-Identifier: Apache-2.0
#include "pass_masks.h"

#include "base/nearest_name.h"
#include "pass_block.h"
#include "pass_catalogue.h"
#include "pass_selection.h"

#include <orcaNamedPasses.h>

#include <fmt/format.h>

#include <algorithm>
#include <cctype>

namespace orca::app {

namespace {

constexpr const char* module = "PASS";
constexpr std::size_t bitsPerDigit = 4;

const std::string* textOf(const scene::Database& database, miTag tag) {
    const auto* element = database.find<scene::StringElement>(tag);
    return element ? &element->text : nullptr;
}

const scene::UserdataElement* firstData(const scene::Database& database, miTag userdata) {
    return database.find<scene::UserdataElement>(userdata);
}

bool isLinks(const scene::UserdataElement& data) {
    return data.declaration && data.declaration->name == "orcaPassLinks";
}

const scene::UserdataElement* linksIn(const scene::Database& database, miTag userdata) {
    for (const auto* data = firstData(database, userdata); data;
         data = firstData(database, data->userdata()->next_data))
        if (isLinks(*data)) return data;
    return nullptr;
}

/// The string that shaders take for the mask: the first parameter of the first block. Null for none.
const std::string* maskIn(const scene::Database& database, const scene::UserdataElement& data) {
    if (!data.declaration || data.declaration->parameters.empty()) return nullptr;
    const scene::Parameter& first = data.declaration->parameters.front();
    if (first.type != miTYPE_STRING || first.isArray) return nullptr;
    return textOf(database, *reinterpret_cast<const miTag*>(data.userdata()->parameters));
}

template <class Visit>
void visitInstances(const scene::Database& database, const Visit& visit) {
    for (miTag tag = 1; tag < database.endTag(); ++tag)
        if (auto* instance = database.find<scene::InstanceElement>(tag)) visit(*instance);
}

int digitValue(char digit) {
    if (digit >= '0' && digit <= '9') return digit - '0';
    return std::tolower(static_cast<unsigned char>(digit)) - 'a' + 10;
}

bool isIn(const std::string& mask, std::size_t bit) {
    return bit / bitsPerDigit < mask.size() &&
           (digitValue(mask[bit / bitsPerDigit]) >> (bit % bitsPerDigit) & 1) != 0;
}

/// Takes the bits of a scene's mask over. Passes that were added to the scene's own it lets in.
void place(const std::string& mask, const MaskPlaces* places, std::vector<bool>& selected) {
    const std::size_t count = places ? places->count : selected.size();
    for (std::size_t bit = 0; bit < count; ++bit)
        if (const std::size_t now = places ? places->of(bit) : bit; now < selected.size())
            selected[now] = isIn(mask, bit);
}

std::string textOf(const std::vector<bool>& selected) {
    std::string mask;
    for (std::size_t first = 0; first < selected.size(); first += bitsPerDigit) {
        int digit = 0;
        for (std::size_t k = 0; k < bitsPerDigit && first + k < selected.size(); ++k)
            digit |= selected[first + k] << k;
        mask += "0123456789ABCDEF"[digit];
    }
    return mask;
}

/// Their names, in quotes.
std::string listOf(const std::vector<const scene::InstanceElement*>& instances) {
    constexpr std::size_t most = 100; // names in the header of a file
    std::string list;
    for (std::size_t i = 0; i < std::min(most, instances.size()); ++i)
        list += fmt::format("{}\"{}\"", list.empty() ? "" : " ", instances[i]->name);
    if (instances.size() > most) list += fmt::format(" and {} more", instances.size() - most);
    return list;
}

/// Instances that a pass lets in, and those that it does not.
struct Admission {
    std::vector<const scene::InstanceElement*> in, out;

    void add(const scene::InstanceElement& instance, bool isAdmitted) {
        (isAdmitted ? in : out).push_back(&instance);
    }
    /// The shorter of the two lists.
    [[nodiscard]] std::string text() const {
        if (out.empty()) return "all";
        if (in.empty()) return "none";
        const bool namesOut = out.size() < in.size();
        const auto& named = namesOut ? out : in;
        return (namesOut ? "all but " : "") + listOf(named);
    }
};

} // namespace

std::vector<PassMasks::Bit> PassMasks::bitsOf(const scene::CameraElement& camera) const {
    std::vector<Bit> bits;
    const FrameBufferData* const block = passBlock(database_, camera);
    if (!block) return bits;
    auto& data = const_cast<FrameBufferData&>(*block);
    const auto nameOf = [&](miTag tag) {
        const std::string* text = textOf(database_, tag);
        return text ? *text : std::string();
    };
    for (int i = 0; i < data.n_frameBufferInfo; ++i) {
        const int type = typeOfRecord(data, i);
        bits.push_back(
            {nameOf(arrayElements(data.frameBufferInfo, data.i_frameBufferInfo)[i].frameBufferName),
             type < 0 ? "" : passType(static_cast<PassTypeID>(type)).name});
    }
    // The shaders of utility passes know their bit.
    const miTag* const others = arrayElements(data.nonMaterialFrameBuffers, data.i_nonMaterialFrameBuffers);
    for (miTag tag = 1; tag < database_.endTag(); ++tag) {
        const auto* shader = database_.find<scene::FunctionElement>(tag);
        if (!shader) continue;
        const std::vector<scene::Parameter>& parameters = shader->declaration->parameters;
        if (parameters.size() < 2 || parameters[0].name != "passIndex" ||
            parameters[1].name != "contributionIndex")
            continue;
        const auto* values = reinterpret_cast<const miInteger*>(shader->function()->parameters);
        const int index = values[0], bit = values[1];
        constexpr int mostBits = 1 << 16;
        if (index < 0 || index >= data.n_nonMaterialFrameBuffers || bit < 0 || bit >= mostBits) continue;
        if (static_cast<std::size_t>(bit) >= bits.size()) bits.resize(static_cast<std::size_t>(bit) + 1);
        if (Bit& found = bits[static_cast<std::size_t>(bit)]; found.frameBuffer.empty())
            found.frameBuffer = nameOf(others[index]);
    }
    return bits;
}

/// Sets the bits of the passes that a list names.
bool PassMasks::select(const scene::UserdataElement& links, const std::vector<Bit>& bits, const miTag* names,
                       int count, bool included, std::vector<bool>& selected) {
    bool good = true;
    for (int i = 0; i < count; ++i) {
        const std::string* const name = textOf(database_, names[i]);
        if (!name) continue;
        bool found = findPass(*name) != nullptr; // one that this picture need not have
        std::vector<std::string_view> known;
        for (std::size_t bit = 0; bit < bits.size(); ++bit) {
            known.push_back(bits[bit].frameBuffer);
            if (bits[bit].frameBuffer != *name && bits[bit].type != *name) continue;
            selected[bit] = included;
            found = true;
        }
        if (found) continue;
        std::string nearest = nearestName(*name, known);
        if (nearest.empty()) nearest = nearestPassName(*name);
        log_.errorAt(links.location, module, "data \"{}\": there is no pass or frame buffer \"{}\"{}",
                     links.name, *name,
                     nearest.empty() ? "" : fmt::format(" (did you mean \"{}\"?)", nearest));
        good = false;
    }
    return good;
}

bool PassMasks::apply(const scene::UserdataElement& element, const std::vector<Bit>& bits,
                      std::vector<bool>& selected) {
    auto& links = const_cast<PassLinks&>(*reinterpret_cast<const PassLinks*>(element.userdata()->parameters));
    if (links.n_only > 0) selected.assign(bits.size(), false);
    bool good = select(element, bits, arrayElements(links.only, links.i_only), links.n_only, true, selected);
    good &= select(element, bits, arrayElements(links.exclude, links.i_exclude), links.n_exclude, false,
                   selected);
    return select(element, bits, arrayElements(links.include, links.i_include), links.n_include, true,
                  selected) &&
           good;
}

/// Puts the mask first in the instance's chain, where shaders look for it.
void PassMasks::give(scene::InstanceElement& instance, const std::string& mask) {
    miTag& head = instance.instance.userdata;
    miTag& own = masks_[instance.tag];
    if (own == miNULLTAG || own != head) {
        auto data = std::make_unique<scene::UserdataElement>();
        data->declaration = database_.find<scene::DeclarationElement>(database_.declaration("orcaPassMask"));
        data->name = database_.get(head)->name;
        data->location = database_.get(head)->location;
        data->values.resize(1);
        data->userdata()->next_data = head;
        own = head = database_.add(std::move(data));
        ++instance.revision;
    }
    auto& data = *database_.find<scene::UserdataElement>(own);
    data.values[0].kind = scene::Value::Kind::Literal;
    data.values[0].words = {database_.internString(mask)};
    data.rebuild();
}

/// The scene's own mask or links, then those that --passes has put before them.
bool PassMasks::resolve(scene::InstanceElement& instance, const std::vector<Bit>& bits,
                        const MaskPlaces* places) {
    const auto* data = firstData(database_, instance.instance.userdata);
    if (data && masks_.count(instance.tag) && masks_[instance.tag] == data->tag)
        data = firstData(database_, data->userdata()->next_data);
    const scene::UserdataElement* added = nullptr;
    if (data && data->name.rfind(selectionLinksName, 0) == 0) {
        added = data;
        data = firstData(database_, data->userdata()->next_data);
    }
    const std::string* const raw = data ? maskIn(database_, *data) : nullptr;
    const scene::UserdataElement* const links = data ? linksIn(database_, data->tag) : nullptr;
    if (raw && links)
        log_.once(
            "links behind a mask " + instance.name,
            {LogLevel::Warning, module, 0,
             fmt::format("instance \"{}\" has a pass mask, \"{}\", so its orcaPassLinks \"{}\" are ignored",
                         instance.name, data->name, links->name),
             links->location});
    const bool isChanged = added || (raw && places);
    if (raw ? !isChanged : !links && !added) return true;

    std::vector<bool> selected(bits.size(), true);
    bool good = true;
    if (raw && !raw->empty()) place(*raw, places, selected);
    else if (links && !raw) good = apply(*links, bits, selected);
    if (added) good = apply(*added, bits, selected) && good;
    if (good) give(instance, textOf(selected));
    return good;
}

bool PassMasks::resolveLinks(const scene::CameraElement& camera, const MaskPlaces* places) {
    const std::vector<Bit> bits = bitsOf(camera);
    bool good = true;
    visitInstances(database_,
                   [&](scene::InstanceElement& instance) { good = resolve(instance, bits, places) && good; });
    for (miTag tag = 1; tag < database_.endTag(); ++tag) {
        const auto* object = database_.find<scene::ObjectElement>(tag);
        if (const auto* links = object ? linksIn(database_, object->object.userdata) : nullptr)
            log_.once(
                "links of an object " + object->name,
                {LogLevel::Warning, module, 0,
                 fmt::format("object \"{}\" has orcaPassLinks, \"{}\", which are read on instances only",
                             object->name, links->name),
                 links->location});
    }
    return good;
}

void PassMasks::checkMask(const scene::UserdataElement& data, const std::string& mask,
                          const std::vector<Bit>& bits) {
    const auto warn = [&](const std::string& key, std::string text) {
        log_.once(
            fmt::format("mask {} {}", data.tag, key),
            {LogLevel::Warning, module, 0, fmt::format("data \"{}\": {}", data.name, text), data.location});
    };
    const auto wrong =
        std::find_if_not(mask.begin(), mask.end(), [](unsigned char c) { return std::isxdigit(c) != 0; });
    if (wrong != mask.end()) {
        warn("digits",
             fmt::format("the pass mask \"{}\" holds \"{}\", which is no hexadecimal digit", mask, *wrong));
        return;
    }
    if (bits.empty() || mask.empty()) return;
    std::vector<std::string> beyond;
    bool isInOne = false;
    for (std::size_t bit = 0; bit < bits.size(); ++bit) {
        isInOne = isInOne || isIn(mask, bit);
        if (bit / bitsPerDigit >= mask.size() && !bits[bit].frameBuffer.empty())
            beyond.push_back(bits[bit].frameBuffer);
    }
    constexpr std::size_t shown = 6;
    const std::size_t count = beyond.size();
    if (count > shown) beyond.resize(shown);
    if (!isInOne) {
        warn("empty", fmt::format("the pass mask \"{}\" excludes what it is on from all passes", mask));
    } else if (count > 0) {
        warn("short",
             fmt::format("the pass mask \"{}\" has {} digit{}, and the {} passes need {}: it excludes {}{}",
                         mask, mask.size(), mask.size() == 1 ? "" : "s", bits.size(),
                         (bits.size() + bitsPerDigit - 1) / bitsPerDigit, fmt::join(beyond, ", "),
                         count > shown ? ", ..." : ""));
    }
}

std::map<std::string, image::Metadata> PassMasks::admitted(const scene::CameraElement& camera) const {
    const std::vector<Bit> bits = bitsOf(camera);
    std::vector<Admission> lights(bits.size()), objects(bits.size());
    visitInstances(database_, [&](const scene::InstanceElement& instance) {
        const bool isLight = database_.find<scene::LightElement>(instance.instance.item) != nullptr;
        if (!isLight && !database_.find<scene::ObjectElement>(instance.instance.item)) return;
        const auto* const data = firstData(database_, instance.instance.userdata);
        const std::string* const mask = data ? maskIn(database_, *data) : nullptr;
        for (std::size_t bit = 0; bit < bits.size(); ++bit)
            (isLight ? lights : objects)[bit].add(instance, !mask || mask->empty() || isIn(*mask, bit));
    });
    std::map<std::string, image::Metadata> metadata;
    for (std::size_t bit = 0; bit < bits.size(); ++bit) {
        image::Metadata& ofPass = metadata[bits[bit].frameBuffer];
        if (!bits[bit].type.empty()) ofPass["passLights"] = lights[bit].text(); // geometry has no light
        ofPass["passObjects"] = objects[bit].text();
    }
    return metadata;
}

image::Metadata PassMasks::everyone() const {
    std::vector<const scene::InstanceElement*> lights, objects;
    visitInstances(database_, [&](const scene::InstanceElement& instance) {
        if (database_.find<scene::LightElement>(instance.instance.item)) lights.push_back(&instance);
        else if (database_.find<scene::ObjectElement>(instance.instance.item)) objects.push_back(&instance);
    });
    return {{"lights", listOf(lights)}, {"objects", listOf(objects)}};
}

void PassMasks::check(const scene::CameraElement& camera) {
    const std::vector<Bit> bits = bitsOf(camera);
    visitInstances(database_, [&](const scene::InstanceElement& instance) {
        const auto* const data = firstData(database_, instance.instance.userdata);
        if (const std::string* const mask = data ? maskIn(database_, *data) : nullptr)
            checkMask(*data, *mask, bits);
    });
}

} // namespace orca::app
