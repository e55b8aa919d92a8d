// SPDX-License-Identifier: Apache-2.0
#include "scene/elements/ray_words.h"
#include "scene/elements/words.h"
#include "scene/language/reader.h"

#include <array>
#include <cmath>

namespace orca::scene {

void Reader::readMaterial(const Token& token, bool incremental) {
    auto& element = target<MaterialElement>(token, miSCENE_MATERIAL, incremental);
    const Definition defined(*this, token, element.tag);
    miMaterial& material = element.material;
    const std::string owner = fmt::format("material \"{}\"", element.name);
    if (accept("opaque")) material.opaque = miTRUE;
    if (const auto* base = readMaterialBase({owner, element.name})) {
        const miBoolean opaque = material.opaque;
        material = base->material;
        material.opaque = material.opaque || opaque;
        if (base != &element) element.base = base->tag;
    } else if (atShaderList()) {
        ShaderUse use{owner, element.name};
        use.existing = material.shader;
        material.shader = readShaderList(use);
    }
    struct Slot {
        std::string_view word;
        miTag miMaterial::*shader;
        bool shares;              ///< "f" () takes the material shader's parameters
        std::string_view missing; ///< why the slot has no effect
    };
    constexpr std::array<Slot, 9> slots = {{{"displace", &miMaterial::displace, true, {}},
                                            {"shadow", &miMaterial::shadow, true, {}},
                                            {"volume", &miMaterial::volume, true, {}},
                                            {"environment", &miMaterial::environment, false, {}},
                                            {"contour", &miMaterial::contour, false, {}},
                                            {"photon", &miMaterial::photon, true, noPhotons},
                                            {"photonvol", &miMaterial::photonvol, true, noPhotons},
                                            {"lightmap", &miMaterial::lightmap, false, {}},
                                            {"bsdf", nullptr, false, "materials shade by their first list"}}};
    while (!endsBlock("material", element.name)) {
        const Token word = next();
        const Slot* slot = nullptr;
        for (const Slot& known : slots) {
            if (word.isWord(known.word)) slot = &known;
        }
        if (slot) {
            ShaderUse use{fmt::format("{}, {}", owner, slot->word), element.name};
            if (slot->shares) use.shareFrom = material.shader;
            use.existing = slot->shader ? material.*slot->shader : miNULLTAG;
            const miTag list = readShaderList(use);
            if (slot->shader) material.*slot->shader = list;
            if (list && !slot->missing.empty()) {
                withoutEffect(LogLevel::Warning, locationOf(word), owner, slot->word, slot->missing);
            }
        } else if (word.isWord("opaque")) {
            material.opaque = miTRUE;
        } else if (word.isWord("tag")) {
            material.label = static_cast<miUint>(integer("the label"));
        } else if (word.isWord("data")) {
            material.userdata = dataReference();
        } else {
            fail(word, "{}: expected a slot such as \"shadow\", or \"end material\", not {}", owner,
                 word.shown());
        }
    }
}

/// A material that gives its slots to the one being read: named, as in = "m", or that of a phenomenon.
const MaterialElement* Reader::readMaterialBase(const ShaderUse& use) {
    if (peek().is('=') && peek(1).isName()) {
        const auto* base = database_.find<MaterialElement>(lookUp(peek(1).text));
        if (!base) return nullptr;
        next();
        next();
        return base;
    }
    const DeclarationElement* const phenomenon = atPhenomenon();
    if (!phenomenon || !database_.find<MaterialElement>(phenomenon->body->root)) return nullptr;
    return database_.find<MaterialElement>(readPhenomenonUse(use));
}

void Reader::readLight(const Token& token, bool incremental) {
    auto& element = target<LightElement>(token, miSCENE_LIGHT, incremental);
    const Definition defined(*this, token, element.tag);
    if (atShaderList()) {
        ShaderUse use{fmt::format("light \"{}\"", element.name), element.name};
        use.existing = element.light.shader;
        element.light.shader = readShaderList(use);
    }
    while (!endsBlock("light", element.name)) {
        const Token word = next();
        if (!readLightStatement(element, word)) {
            fail(word, "light \"{}\": unknown statement {}", element.name, word.shown());
        }
    }
    finishLight(element);
}

void Reader::finishLight(LightElement& element) {
    miLight& light = element.light;
    if (element.hasDirection && element.hasSpread && element.hasOrigin) {
        light.type = miLIGHT_SPOT;
    } else if (element.hasDirection && !element.hasOrigin) {
        light.type = miLIGHT_DIRECTION;
    } else {
        light.type = miLIGHT_ORIGIN;
    }
}

bool Reader::readLightStatement(LightElement& element, const Token& token) {
    if (token.kind != Token::Kind::Symbol) return false;
    const std::string word(token.text);
    const std::string owner = fmt::format("light \"{}\"", element.name);
    miLight& light = element.light;
    if (word == "origin") {
        light.origin = vector("the light's origin");
        element.hasOrigin = true;
    } else if (word == "direction") {
        const Token at = peek();
        const miVector given = vector("the light's direction");
        const float length = std::sqrt(given.x * given.x + given.y * given.y + given.z * given.z);
        if (!(length > 0) || !std::isfinite(length)) {
            fail(at, "light \"{}\": the direction has no length", element.name);
        }
        light.direction = {given.x / length, given.y / length, given.z / length};
        element.hasDirection = true;
    } else if (word == "spread") {
        const Token at = peek();
        light.spread = number("the cosine of the cone's half angle");
        if (!(light.spread >= -1.0f && light.spread <= 1.0f)) {
            fail(at,
                 "light \"{}\": spread is the cosine of half the cone's angle and lies between -1 and 1, not "
                 "{}",
                 element.name, light.spread);
        }
        element.hasSpread = true;
    } else if (word == "emitter") {
        light.emitter = readShaderList({owner + ", emitter", element.name});
        withoutEffect(LogLevel::Info, locationOf(token), owner, word, noPhotons);
    } else if (word == "visible") {
        light.visible = acceptBoolean().value_or(true);
    } else if (word == "tag") {
        light.label = static_cast<miUint>(integer("the label"));
    } else if (word == "data") {
        light.userdata = dataReference();
    } else if (word == "energy") {
        const miVector energy = vector("the energy");
        light.energy = {energy.x, energy.y, energy.z, 0.0f};
    } else if (word == "exponent") {
        light.exponent = number("the exponent");
    } else if (word == "caustic" || word == "globillum") {
        accept("photons");
        integer("the number of photons");
        acceptInteger();
        withoutEffect(LogLevel::Info, locationOf(token), owner, word + " photons", noPhotons);
    } else if (word == "shadowmap") {
        readShadowMap(element, locationOf(token));
    } else if (word == "lightprofile") {
        light.lightprofile = optionalReference({miSCENE_LIGHTPROFILE}, "a light profile");
    } else {
        return readLightArea(element, word);
    }
    return true;
}

bool Reader::readLightArea(LightElement& element, std::string_view word) {
    miLight& light = element.light;
    const auto sampleDefaults = [&](int u, int v) {
        light.samples_u = u;
        light.samples_v = v;
        light.low_level = 0;
        light.low_samples_u = light.low_samples_v = 2;
    };
    const auto positiveRadius = [&] {
        const Token at = peek();
        light.radius = number("the radius");
        if (!(light.radius > 0)) fail(at, "light \"{}\": the radius must be positive", element.name);
    };
    const Word* const shape = findWord(lightShapeWords, word);
    if (!shape) return false;
    light.area = miLIGHT_NONE;
    element.areaObject = miNULLTAG;
    if (shape->code == miLIGHT_USER) {
        sampleDefaults(4, 5);
        readAreaSampling(element);
    } else if (shape->code == miLIGHT_OBJECT) {
        if (!peek().isName() || peek().isWord("end")) return true;
        element.areaObject = reference(next(), {miSCENE_INSTANCE, miSCENE_OBJECT}, "the instance that emits");
        sampleDefaults(4, 5);
        readAreaSampling(element);
    } else {
        if (!atNumber()) return true; // the bare keyword removes the shape
        if (shape->code == miLIGHT_RECTANGLE) {
            sampleDefaults(3, 3);
            light.edge_u = vector("the rectangle's first edge");
            light.edge_v = vector("the rectangle's second edge");
        } else {
            sampleDefaults(4, 5);
            if (shape->code != miLIGHT_SPHERE) light.axis = vector("the axis");
            positiveRadius();
        }
        readAreaSampling(element);
    }
    light.area = shape->code;
    return true;
}

void Reader::readAreaSampling(LightElement& element) {
    miLight& light = element.light;
    if (peek().kind != Token::Kind::Integer) return;
    light.samples_u = positiveInteger("the number of samples in u");
    light.samples_v = positiveInteger("the number of samples in v");
    if (const auto level = acceptInteger()) {
        light.low_level = *level;
        if (peek().kind == Token::Kind::Integer) {
            light.low_samples_u = positiveInteger("the lower number of samples in u");
            light.low_samples_v = positiveInteger("the lower number of samples in v");
        }
    }
}

void Reader::readShadowMap(LightElement& element, const SourceLocation& location) {
    miLight& light = element.light;
    const auto ignored = [&](const char* word, std::string_view reason) {
        withoutEffect(LogLevel::Warning, location, fmt::format("light \"{}\"", element.name),
                      std::string("shadowmap ") + word, reason);
    };
    const auto notNegative = [&](std::string_view of) {
        const Token at = peek();
        const float value = number(of);
        if (!(value >= 0.0f))
            fail(at, "light \"{}\": {} must be at least 0, not {}", element.name, of, value);
        return value;
    };
    const auto samples = [&] {
        const Token at = peek();
        const int count = integer("the number of samples");
        if (count < 0)
            fail(at, "light \"{}\": the number of samples must be at least 0, not {}", element.name, count);
        return count;
    };
    if (const std::optional<bool> on = acceptBoolean()) {
        light.use_shadow_maps = *on;
    } else if (accept("detail")) {
        if (accept("samples")) {
            light.shadowmap_samples = samples();
        } else {
            light.use_shadow_maps = miTRUE;
            ignored("detail", "shadow maps hold depths alone; transparent things cast full shadows in them");
        }
    } else if (accept("resolution")) {
        light.shadowmap_resolution = positiveInteger("the shadow map's resolution");
    } else if (accept("samples")) {
        light.shadowmap_samples = samples();
    } else if (accept("softness")) {
        light.shadowmap_softness = notNegative("the softness");
    } else if (accept("bias")) {
        light.shadowmap_bias = notNegative("the bias");
    } else if (accept("accuracy")) {
        number("the accuracy");
        ignored("accuracy", "a map has the resolution that is given, or 512");
    } else if (accept("file")) {
        string("the shadow map's file");
        ignored("file", "every picture makes its own shadow maps");
    } else if (accept("camera")) {
        string("the shadow map's camera");
        ignored("camera", "shadow maps look from the light");
    } else if (accept("color")) {
        ignored("color", "shadow maps hold depths alone");
    } else if (accept("alpha")) {
        ignored("alpha", "shadow maps hold depths alone");
    } else {
        light.use_shadow_maps = miTRUE;
    }
}

} // namespace orca::scene
