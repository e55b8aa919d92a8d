// SPDX-License-Identifier: Apache-2.0
#include "scene/elements/ray_words.h"
#include "scene/elements/words.h"
#include "scene/language/reader.h"

namespace orca::scene {

void Reader::readInstance(const Token& token, bool incremental) {
    constexpr std::string_view expected = "a camera, a light, an object or an instance group";
    auto& element = target<InstanceElement>(token, miSCENE_INSTANCE, incremental);
    const Definition defined(*this, token, element.tag);
    const std::string owner = fmt::format("instance \"{}\"", element.name);
    if (accept("geometry")) {
        readShaderList({owner, element.name}, &element.geometryShaders);
    } else if (atString() || (!incremental && peek().isName())) {
        const Token item = next();
        element.instance.item =
            reference(item, {miSCENE_CAMERA, miSCENE_LIGHT, miSCENE_OBJECT, miSCENE_GROUP}, expected);
        if (incremental && database_.isInCycle(element.tag)) {
            element.instance.item = miNULLTAG;
            error(locationOf(item), "{}: \"{}\" contains this instance", owner, item.text);
        }
    } else if (!incremental) {
        fail(peek(), "{}: expected the name of {}, not {}", owner, expected, peek().shown());
    }
    while (!endsBlock("instance", element.name)) {
        const Token word = peek();
        if (word.is('(')) {
            withoutEffect(LogLevel::Info, locationOf(word), owner, "( )",
                          "they are values for an inheritance function, and none is called");
            skipBalanced();
            continue;
        }
        next();
        if (!readInstanceStatement(element, word)) {
            fail(word, "{}: unknown statement {}", owner, word.shown());
        }
    }
}

bool Reader::readInstanceFlag(InstanceElement& element, const Token& token) {
    InstanceFlags& flags = element.flags;
    const std::string_view word = token.text;
    const std::string owner = fmt::format("instance \"{}\"", element.name);
    if (word == "finalgather" && accept("force")) {
        boolean("finalgather force");
        withoutEffect(LogLevel::Info, locationOf(token), owner, "finalgather force",
                      "gathered light is kept apart for no instance");
        return true;
    }
    for (const RayWord& known : rayWords) {
        if (word != known.word) continue;
        const bool isSwitch = known.instanceSwitch || !known.instanceMode;
        const std::optional<bool> on = isSwitch ? acceptBoolean() : std::nullopt;
        const std::optional<int> mode = known.hasMode && !on ? acceptInteger() : std::nullopt;
        // The bare word resets what an earlier statement gave.
        if (known.instanceSwitch && (on || !mode)) flags.*known.instanceSwitch = on;
        if (known.instanceMode && (mode || !on)) flags.*known.instanceMode = mode;
        if (!known.missing.empty() && (mode || on.value_or(false)))
            withoutEffect(LogLevel::Info, locationOf(token), owner, word, known.missing);
        return true;
    }
    if (word != "face") return false;
    const Word* const side = peek().kind == Token::Kind::Symbol ? findWord(faceWords, peek().text) : nullptr;
    if (side) next();
    flags.face = side ? std::optional(static_cast<char>(side->code)) : std::nullopt;
    return true;
}

bool Reader::readInstanceStatement(InstanceElement& element, const Token& token) {
    if (token.kind != Token::Kind::Symbol) return false;
    const std::string word(token.text);
    const auto singular = [&](std::string_view of) {
        error(locationOf(token), "instance \"{}\": the {} cannot be inverted; a scale may be 0", element.name,
              of);
    };
    if (readInstanceFlag(element, token)) return true;
    if (word == "hide") {
        element.hidden = boolean("hide");
        element.instance.off = element.hidden;
    } else if (word == "transform") {
        if (!atNumber()) {
            element.clearTransform();
        } else if (!element.setTransform(matrix("the transformation"))) {
            singular("transformation");
        }
    } else if (word == "motion") {
        if (accept("off")) {
            element.motion = InstanceElement::Motion::Off;
        } else if (!accept("transform")) {
            fail(peek(), "expected \"transform\" or \"off\" after \"motion\", not {}", peek().shown());
        } else if (!atNumber()) {
            element.motion = InstanceElement::Motion::Inherited;
        } else {
            const InstanceElement::Matrix given = matrix("the motion transformation");
            InstanceElement::Matrix inverse;
            if (mi_matrix_invert(inverse.data(), given.data())) {
                element.motionTransform = given;
                mi_matrix_copy(element.instance.motion_transform, given.data());
                element.motion = InstanceElement::Motion::Given;
            } else {
                singular("motion transformation");
            }
        }
    } else if (word == "override") {
        element.overrides = true;
    } else if (word == "material") {
        element.materials.clear();
        if (peek().is('[')) {
            element.materials = referenceList({miSCENE_MATERIAL}, "a material");
        } else if (atString()) {
            if (const miTag material = reference(next(), {miSCENE_MATERIAL}, "a material")) {
                element.materials.push_back(material);
            }
        }
    } else if (word == "light") {
        readLightLinks(element);
    } else if (word == "approximate") {
        const bool bracketed = accept('[');
        const ApproximateStatement statement = readApproximation();
        if (statement.part == ApproximateStatement::Part::Polygons) {
            element.approximation = ofPolygons(statement);
        } else {
            withoutEffect(LogLevel::Warning, locationOf(token), fmt::format("instance \"{}\"", element.name),
                          "approximate surface",
                          "curved surfaces are tessellated once for all instances, as their object says");
        }
        while (bracketed && !accept(']')) {
            if (peek().kind == Token::Kind::End) fail(peek(), "{}: the list has no \"]\"", element.name);
            next();
        }
    } else if (word == "shading") {
        accept("samples");
        number("the shading rate");
        withoutEffect(LogLevel::Warning, locationOf(token), fmt::format("instance \"{}\"", element.name),
                      "shading samples", "every sample is shaded");
    } else if (word == "tag") {
        element.instance.label = static_cast<miUint>(integer("the label"));
        element.hasLabel = true;
    } else if (word == "data") {
        element.instance.userdata = dataReference();
    } else {
        return false;
    }
    return true;
}

void Reader::readLightLinks(InstanceElement& element) {
    // Both words are seen with and without quotes.
    const auto acceptLoosely = [&](std::string_view word) {
        if (!peek().isName() || peek().text != word) return false;
        next();
        return true;
    };
    LightLinks& links = acceptLoosely("shadow") ? element.shadowLights : element.lights;
    links = {};
    links.exclusive = acceptLoosely("exclusive");
    if (!accept('[')) return;
    links.given = true;
    while (!accept(']')) {
        if (const miTag light = lightReference(nameToken("a light instance"))) links.lights.push_back(light);
        if (!accept(',') && !peek().is(']')) {
            fail(peek(), "instance \"{}\": expected \",\" or \"]\" in the list of lights, not {}",
                 element.name, peek().shown());
        }
    }
}

void Reader::readGroupEntity(const Token& token, bool incremental) {
    auto& element = target<GroupElement>(token, miSCENE_GROUP, incremental);
    const Definition defined(*this, token, element.tag);
    std::vector<miTag> members;
    bool listed = false;
    while (!endsBlock("instgroup", element.name)) {
        const Token word = next();
        if (word.isWord("tag")) {
            element.label = static_cast<miUint>(integer("the label"));
        } else if (word.isWord("data")) {
            element.userdata = dataReference();
        } else if (word.isName()) {
            listed = true;
            if (const miTag member = reference(word, {miSCENE_INSTANCE}, "an instance"))
                members.push_back(member);
        } else {
            fail(word, "instance group \"{}\": expected the name of an instance, not {}", element.name,
                 word.shown());
        }
    }
    if (listed || !incremental) element.members = std::move(members);
    if (incremental && database_.isInCycle(element.tag)) {
        element.members.clear();
        error(locationOf(token), "instance group \"{}\": a member contains the group itself", element.name);
    }
}

} // namespace orca::scene
