// SPDX-License-Identifier: Apache-2.0
#include "scene/language/reader.h"

#include <array>

namespace orca::scene {

void Reader::readObject(const Token& token, bool incremental) {
    auto& element = target<ObjectElement>(token, miSCENE_OBJECT, incremental);
    const Definition defined(*this, token, element.tag);
    lastMaterialName_.clear();
    lastMaterial_ = miNULLTAG;
    bool replaced = !incremental;
    while (!endsBlock("object", element.name)) {
        const Token word = next();
        if (word.isWord("group") || word.isWord("trilist")) {
            // An incremental change repeats all of the geometry.
            if (!replaced) {
                element.groups.clear();
                element.triangleLists.clear();
                replaced = true;
            }
            if (word.isWord("group")) {
                readGroup(element);
            } else {
                readTriangleList(element, word);
            }
        } else if (word.isWord("basis")) {
            skipGeometry(element, locationOf(word), "free-form surfaces and curves", "object");
        } else if (word.isWord("hair") || word.isWord("particle")) {
            skipGeometry(element, locationOf(word), word.isWord("hair") ? "hair" : "particles", word.text);
        } else if (!readObjectFlag(element, word) && !readObjectStatement(element, word)) {
            fail(word, "object \"{}\": unknown statement {}", element.name, word.shown());
        }
    }
    element.updateBounds();
    const miObject& object = element.object;
    if (!incremental && !object.visible && !object.shadow && !object.trace) {
        warning(
            locationOf(token),
            "object \"{}\" has none of \"visible\", \"shadow\" and \"trace\" on; it is seen only where an "
            "instance switches them on",
            element.name);
    }
}

bool Reader::readObjectFlag(ObjectElement& element, const Token& token) {
    if (token.kind != Token::Kind::Symbol) return false;
    const std::string_view word = token.text;
    miObject& object = element.object;
    struct Flag {
        std::string_view word;
        miCBoolean miObject::*flag; ///< null: read and without effect
        miCBoolean miObject::*mode;
    };
    constexpr std::array<Flag, 12> flags = {{{"visible", &miObject::visible, nullptr},
                                             {"shadow", &miObject::shadow, &miObject::shadow_mode},
                                             {"trace", &miObject::trace, nullptr},
                                             {"reflection", nullptr, &miObject::reflection},
                                             {"refraction", nullptr, &miObject::refraction},
                                             {"transparency", nullptr, &miObject::transparency},
                                             {"finalgather", nullptr, &miObject::finalgather},
                                             {"shadowmap", nullptr, nullptr},
                                             {"select", nullptr, nullptr},
                                             {"caustic", nullptr, nullptr},
                                             {"globillum", nullptr, nullptr},
                                             {"tagged", nullptr, nullptr}}};
    for (const Flag& known : flags) {
        if (word != known.word) continue;
        if (word == "finalgather" && accept("file")) {
            string("the gather's file");
            return true;
        }
        if (word != "visible" && word != "trace" && word != "tagged" && peek().kind == Token::Kind::Integer) {
            const int mode = integer("the mode");
            if (known.mode) object.*known.mode = static_cast<miCBoolean>(mode);
            if (known.flag) object.*known.flag = (mode & 1) != 0;
            return true;
        }
        const bool on = acceptBoolean().value_or(true);
        if (word == "tagged") element.tagged = on;
        if (known.flag) object.*known.flag = on;
        return true;
    }
    return false;
}

bool Reader::readObjectStatement(ObjectElement& element, const Token& token) {
    if (token.kind != Token::Kind::Symbol) return false;
    const std::string_view word = token.text;
    const auto box = [&] {
        if (!atNumber()) return; // our own bounds are what counts
        vector("the box's lower corner");
        vector("the box's upper corner");
    };
    if (word == "box" || (word == "motion" && accept("box"))) {
        box();
    } else if (word == "face") {
        const Token side = next();
        if (!side.isWord("front") && !side.isWord("back") && !side.isWord("both")) {
            fail(side, "expected front, back or both, not {}", side.shown());
        }
        element.face = side.isWord("both") ? 'a' : side.text[0];
        element.object.face = static_cast<miCBoolean>(*element.face);
    } else if (word == "tag") {
        element.object.label = static_cast<miUint>(integer("the label"));
    } else if (word == "data") {
        element.object.userdata = dataReference();
    } else if (word == "max" && accept("displace")) {
        element.maxDisplacement = std::max(0.0f, number("the largest displacement"));
    } else if (word == "samples") {
        integer("the sampling level");
        acceptInteger();
    } else if (word == "shading" && accept("samples")) {
        number("the shading rate");
    } else if (word == "ray" && accept("offset")) {
        number("the ray offset");
    } else if (word == "approximate") {
        if (const auto approximation = readApproximation()) element.approximation = approximation;
    } else {
        return false;
    }
    return true;
}

void Reader::readGroup(ObjectElement& element) {
    if (peek().isName() &&
        (peek(1).isNumber() || peek(1).isWord("merge") || peek().kind == Token::Kind::String)) {
        next();
    }
    if (accept("merge")) number("the merging distance");
    PolygonGroup group;
    readVectors(group);
    readVertices(group, element);
    for (;;) {
        const Token word = peek();
        if (word.isWord("end")) {
            expectEnd("group");
            break;
        }
        if (word.kind == Token::Kind::End)
            fail(word, "the file ends inside a group of object \"{}\"", element.name);
        next();
        if (word.isWord("c") || word.isWord("cp") || word.isWord("p")) {
            readPolygon(group, element, word);
        } else if (word.isWord("trilist")) {
            readTriangleList(element, word);
        } else if (word.isWord("approximate")) {
            if (const auto approximation = readApproximation()) element.approximation = approximation;
        } else if (word.kind == Token::Kind::Symbol) {
            constexpr std::array<std::string_view, 10> surfaces = {
                "surface", "curve",       "trim",   "special", "connect",
                "space",   "subdivision", "ccmesh", "hair",    "particle"};
            bool isSurface = false;
            for (const std::string_view known : surfaces) isSurface = isSurface || word.text == known;
            if (!isSurface) {
                fail(word, "object \"{}\": expected vectors, vertices, polygons or \"end group\", not {}",
                     element.name, word.shown());
            }
            skipGeometry(element, locationOf(word), word.text, "group");
            return;
        } else {
            fail(word, "object \"{}\": expected a polygon or \"end group\", not {}", element.name,
                 word.shown());
        }
    }
    if (!group.polygons.empty()) element.groups.push_back(std::move(group));
}

void Reader::skipGeometry(ObjectElement& element, const SourceLocation& location, std::string_view kind,
                          std::string_view until) {
    element.isEmpty = true;
    unsupported(LogLevel::Error, location, "geometry " + std::string(kind),
                fmt::format("object \"{}\": {} not supported, object skipped", element.name, kind));
    for (;;) {
        const Token token = peek();
        if (token.kind == Token::Kind::End) fail(token, "the file ends inside object \"{}\"", element.name);
        if (token.isWord("end") && peek(1).isWord(until)) {
            if (until == "object") return; // its own end is for the caller
            next();
            next();
            return;
        }
        next();
        if (token.kind == Token::Kind::Backquote) stream_.skipBinary();
    }
}

} // namespace orca::scene
