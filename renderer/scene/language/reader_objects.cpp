// SPDX-License-Identifier: Apache-2.0
#include "scene/elements/ray_words.h"
#include "scene/elements/words.h"
#include "scene/language/reader.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace orca::scene {

namespace {

/// Gives back the memory that growing lists hold ahead: of a large mesh it is a tenth.
void releaseSpareMemory(PolygonGroup& group) {
    group.vectors.shrink_to_fit();
    group.polygons.shrink_to_fit();
    group.loops.shrink_to_fit();
    for (auto* indices : {&group.position, &group.normal, &group.derivU, &group.derivV})
        indices->shrink_to_fit();
    for (PolygonGroup::TextureSpace& space : group.textures) space.coordinate.shrink_to_fit();
    group.corners.shrink_to_fit();
}

} // namespace

void Reader::readObject(const Token& token, bool incremental) {
    // The object of a file fills the one that names the file, whatever it is called there.
    ObjectElement* const placeholder = std::exchange(placeholder_, nullptr);
    auto& element = placeholder ? *placeholder : target<ObjectElement>(token, miSCENE_OBJECT, incremental);
    if (placeholder && stream_.writer()) {
        stream_.writer()->discardStatement();
        stream_.writer()->word("incremental object");
        stream_.writer()->string("::" + element.name);
    }
    std::optional<Definition> defined;
    if (!placeholder) defined.emplace(*this, token, element.tag);
    lastMaterialName_.clear();
    lastMaterial_ = miNULLTAG;
    bases_.clear();
    bool replaced = !incremental && !placeholder;
    Token file;
    while (!endsBlock("object", element.name)) {
        const Token word = next();
        if (word.isWord("group") || word.isWord("trilist") || word.isWord("mesh") || word.isWord("hair")) {
            // An incremental change repeats all of the geometry.
            if (!replaced) {
                element.clearGeometry();
                replaced = true;
            }
            if (word.isWord("group")) {
                readGroup(element);
            } else if (word.isWord("mesh")) {
                readMeshFile(element);
            } else if (word.isWord("hair")) {
                readHair(element, word);
            } else {
                readTriangleList(element, word);
            }
        } else if (word.isWord("file")) {
            if (!atString())
                fail(peek(), "expected the object's file as a quoted string, not {}", peek().shown());
            file = next();
            if (stream_.writer()) stream_.writer()->discardLine();
        } else if (word.isWord("basis")) {
            readBasis();
        } else if (word.isWord("particle")) {
            skipGeometry(element, locationOf(word), "particles", word.text);
        } else if (!readObjectFlag(element, word) && !readObjectStatement(element, word)) {
            fail(word, "object \"{}\": unknown statement {}", element.name, word.shown());
        }
    }
    if (file.kind == Token::Kind::String) {
        Reader inner(scene_, options_, callbacks_);
        inner.namespaces_ = namespaces_;
        inner.placeholder_ = &element;
        const int errorsBefore = scene_.errors_;
        if (readFileOf(inner, element, std::string(file.text)) && inner.placeholder_ &&
            scene_.errors_ == errorsBefore) {
            error(locationOf(file), "object \"{}\": its file \"{}\" holds no object, so it stays empty",
                  element.name, file.text);
        }
    }
    element.updateRecord();
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
    if (word == "tagged") {
        element.tagged = acceptBoolean().value_or(true);
        return true;
    }
    for (const RayWord& known : rayWords) {
        if (word != known.word) continue;
        const SourceLocation location = locationOf(token);
        const std::string owner = fmt::format("object \"{}\"", element.name);
        if (word == "finalgather" && accept("file")) {
            string("the gather's file");
            withoutEffect(LogLevel::Info, location, owner, "finalgather file",
                          "gathered light is kept in no file");
            return true;
        }
        bool given = true; // anything but "off"
        if (known.hasMode && peek().kind == Token::Kind::Integer) {
            const int mode = integer("the mode");
            if (known.objectMode) object.*known.objectMode = static_cast<miCBoolean>(mode);
            if (known.objectSwitch) object.*known.objectSwitch = (mode & 1) != 0;
        } else {
            given = acceptBoolean().value_or(true);
            if (known.objectSwitch) object.*known.objectSwitch = given;
        }
        if (given && !known.missing.empty())
            withoutEffect(LogLevel::Info, location, owner, word, known.missing);
        return true;
    }
    return false;
}

bool Reader::readObjectStatement(ObjectElement& element, const Token& token) {
    if (token.kind != Token::Kind::Symbol) return false;
    const std::string_view word = token.text;
    const auto ignored = [&](LogLevel level, std::string_view words, std::string_view reason) {
        withoutEffect(level, locationOf(token), fmt::format("object \"{}\"", element.name), words, reason);
    };
    const auto box = [&] {
        if (!atNumber()) return; // bounds are computed from the points
        vector("the box's lower corner");
        vector("the box's upper corner");
    };
    if (word == "box" || (word == "motion" && accept("box"))) {
        box();
    } else if (word == "face") {
        const Token side = next();
        const Word* const chosen =
            side.kind == Token::Kind::Symbol ? findWord(faceWords, side.text) : nullptr;
        if (!chosen) fail(side, "expected {}, not {}", listOf(faceWords), side.shown());
        element.face = static_cast<char>(chosen->code);
        element.object.face = static_cast<miCBoolean>(chosen->code);
    } else if (word == "tag") {
        element.object.label = static_cast<miUint>(integer("the label"));
        element.hasLabel = true;
    } else if (word == "data") {
        element.object.userdata = dataReference();
    } else if (word == "max" && accept("displace")) {
        const Token at = peek();
        const float most = number("the largest displacement");
        if (!(most >= 0.0f)) {
            fail(at, "object \"{}\": the largest displacement must be at least 0, not {}", element.name,
                 most);
        }
        element.maxDisplacement = most;
    } else if (word == "samples") {
        integer("the sampling level");
        acceptInteger();
        ignored(LogLevel::Warning, word, "all of the picture is sampled by the options");
    } else if (word == "shading" && accept("samples")) {
        number("the shading rate");
        ignored(LogLevel::Warning, "shading samples", "every sample is shaded");
    } else if (word == "ray" && accept("offset")) {
        number("the ray offset");
        ignored(LogLevel::Info, "ray offset", "offsets of rays follow from the precision of their origin");
    } else if (word == "approximate") {
        readObjectApproximation(element);
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
    const Token merge = peek();
    const bool merges = accept("merge");
    if (merges) {
        const Token at = peek();
        const float distance = number("the merging distance");
        if (!(distance >= 0.0f))
            fail(at, "object \"{}\": the merging distance must be at least 0, not {}", element.name,
                 distance);
        element.mergeDistance = std::max(element.mergeDistance, distance);
    }
    PolygonGroup group;
    readVectors(group);
    readVertices(group, element);
    for (;;) {
        const Token word = peek();
        if (word.isWord("end")) {
            newLine(1);
            expectEnd("group");
            break;
        }
        newLine(2);
        if (word.kind == Token::Kind::End)
            fail(word, "the file ends inside a group of object \"{}\"", element.name);
        next();
        if (word.isWord("c") || word.isWord("cp") || word.isWord("p")) {
            readPolygon(group, element, word);
        } else if (word.isWord("trilist")) {
            readTriangleList(element, word);
        } else if (word.isWord("approximate")) {
            readObjectApproximation(element);
        } else if (word.isWord("subdivision") || word.isWord("ccmesh")) {
            readSubdivisionSurface(group, element, word);
        } else if (word.isWord("basis")) {
            readBasis();
        } else if (word.isWord("curve")) {
            readCurve(group, element, word);
        } else if (word.isWord("surface")) {
            readSurface(group, element, word);
        } else if (word.isWord("connect")) {
            readConnection(element, word);
        } else if (word.isWord("space") && accept("curve")) {
            skipSpaceCurve(element, locationOf(word));
        } else if (word.isWord("hair")) {
            readHair(element, word);
        } else if (word.isWord("particle")) {
            skipGeometry(element, locationOf(word), "particles", "group");
            return;
        } else if (word.kind == Token::Kind::Symbol) {
            fail(word,
                 "object \"{}\": expected vectors, vertices, polygons, surfaces or \"end group\", not {}",
                 element.name, word.shown());
        } else {
            fail(word, "object \"{}\": expected a polygon or \"end group\", not {}", element.name,
                 word.shown());
        }
    }
    if (group.polygons.empty()) return;
    if (merges)
        withoutEffect(LogLevel::Info, locationOf(merge), fmt::format("object \"{}\"", element.name), "merge",
                      "vertices of polygons are taken as they are");
    releaseSpareMemory(group);
    element.groups.push_back(std::move(group));
}

/// What the file is imported as is read in place of the statement.
void Reader::readMeshFile(const ObjectElement& element) {
    const Token name = next();
    if (name.kind != Token::Kind::String)
        fail(name, "object \"{}\": expected the mesh's file, not {}", element.name, name.shown());
    const std::string file = fileNameIn(name);
    const std::string path = file.starts_with('/') ? file : stream_.directory() + file;
    const auto refuseUnlessReadable = [&](const std::string& read) {
        if (options_.mayRead && !options_.mayRead(read))
            fail(name, "object \"{}\": \"{}\" may not be read", element.name, read);
    };
    refuseUnlessReadable(path);
    if (!callbacks_.importMesh) fail(name, "object \"{}\": mesh files cannot be read here", element.name);
    ImportedMesh mesh = callbacks_.importMesh(path, element.tagged);
    if (!mesh.failure.empty()) fail(name, "object \"{}\": {}", element.name, mesh.failure);
    for (const std::string& read : mesh.files) {
        refuseUnlessReadable(read); // a mesh file names others
        scene_.files_.push_back({read, locationOf(name)});
    }
    if (stream_.writer()) stream_.writer()->discardLine();
    stream_.open(path, std::move(mesh.statements));
}

/// A space curve is never seen: what else the group holds goes on behind it.
void Reader::skipSpaceCurve(ObjectElement& element, const SourceLocation& location) {
    constexpr std::array<std::string_view, 13> others = {
        "end",    "c",     "cp",    "p",       "trilist",     "surface", "subdivision",
        "ccmesh", "basis", "curve", "connect", "approximate", "space"};
    withoutEffect(LogLevel::Info, location, fmt::format("object \"{}\"", element.name), "space curve",
                  "curves in space are not rendered");
    const auto isOther = [&](std::string_view word) { return peek().isWord(word); };
    while (std::none_of(others.begin(), others.end(), isOther)) {
        if (peek().kind == Token::Kind::End)
            fail(peek(), "the file ends inside a space curve of object \"{}\"", element.name);
        next();
    }
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
            if (until == "object") return; // the caller reads the object's end
            next();
            next();
            return;
        }
        next();
        if (token.kind == Token::Kind::Backquote) stream_.skipBinary();
    }
}

} // namespace orca::scene
