// SPDX-License-Identifier: Apache-2.0
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
    } else if (atShader()) {
        ShaderUse use{owner, element.name};
        use.existing = material.shader;
        material.shader = readShaderList(use);
    }
    struct Slot {
        std::string_view word;
        miTag miMaterial::*shader;
        bool shares; ///< "f" () takes the material shader's parameters
    };
    constexpr std::array<Slot, 9> slots = {{{"displace", &miMaterial::displace, true},
                                            {"shadow", &miMaterial::shadow, true},
                                            {"volume", &miMaterial::volume, true},
                                            {"environment", &miMaterial::environment, false},
                                            {"contour", &miMaterial::contour, false},
                                            {"photon", &miMaterial::photon, true},
                                            {"photonvol", &miMaterial::photonvol, true},
                                            {"lightmap", &miMaterial::lightmap, false},
                                            {"bsdf", nullptr, false}}};
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
    if (atShader()) {
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
        light.emitter = readShaderList({fmt::format("light \"{}\", emitter", element.name), element.name});
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
    } else if (word == "shadowmap") {
        readShadowMap(element, locationOf(token));
    } else if (word == "lightprofile") {
        light.lightprofile = optionalReference({miSCENE_LIGHTPROFILE}, "a light profile");
    } else {
        return readLightArea(element, word, locationOf(token));
    }
    return true;
}

bool Reader::readLightArea(LightElement& element, std::string_view word, const SourceLocation& location) {
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
    if (word == "rectangle" || word == "disc" || word == "sphere" || word == "cylinder") {
        light.area = miLIGHT_NONE;
        if (!atNumber()) return true; // the bare keyword removes the shape
        sampleDefaults(4, 5);
        if (word == "rectangle") {
            sampleDefaults(3, 3);
            light.edge_u = vector("the rectangle's first edge");
            light.edge_v = vector("the rectangle's second edge");
            light.area = miLIGHT_RECTANGLE;
        } else {
            if (word != "sphere") light.axis = vector("the axis");
            positiveRadius();
            light.area = word == "disc" ? miLIGHT_DISC : word == "sphere" ? miLIGHT_SPHERE : miLIGHT_CYLINDER;
        }
        readAreaSampling(element);
    } else if (word == "object" || word == "user") {
        light.area = miLIGHT_NONE;
        if (word == "object") {
            if (!peek().isName() || peek().isWord("end")) return true;
            element.areaObject =
                reference(next(), {miSCENE_INSTANCE, miSCENE_OBJECT}, "the instance that emits");
        }
        light.area = word == "object" ? miLIGHT_OBJECT : miLIGHT_USER;
        readAreaSampling(element);
        unsupported(LogLevel::Error, location, "light shape " + std::string(word),
                    fmt::format("light \"{}\": {} lights are not supported", element.name, word));
    } else {
        return false;
    }
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
    if (const std::optional<bool> on = acceptBoolean()) {
        light.use_shadow_maps = *on;
    } else if (accept("detail")) {
        if (accept("samples")) {
            light.shadowmap_samples = integer("the number of samples");
        } else {
            light.use_shadow_maps = miTRUE;
            unsupported(
                LogLevel::Info, location, "shadowmap detail",
                fmt::format("light \"{}\": its shadow map knows depths alone; transparent things cast full "
                            "shadows in it",
                            element.name));
        }
    } else if (accept("resolution")) {
        light.shadowmap_resolution = positiveInteger("the shadow map's resolution");
    } else if (accept("samples")) {
        light.shadowmap_samples = integer("the number of samples");
    } else if (accept("softness")) {
        light.shadowmap_softness = number("the softness");
    } else if (accept("bias")) {
        light.shadowmap_bias = number("the bias");
    } else if (accept("accuracy")) {
        number("the accuracy");
    } else if (accept("file")) {
        element.shadowmapFile = string("the shadow map's file");
    } else if (accept("camera")) {
        string("the shadow map's camera");
    } else if (!accept("color") && !accept("alpha")) {
        light.use_shadow_maps = miTRUE;
    }
}

} // namespace orca::scene
