// SPDX-License-Identifier: Apache-2.0
#include "scene/language/reader.h"

#include <algorithm>
#include <set>

namespace orca::scene {

namespace {

/// Takes lights and cameras out of a group and of the groups below: an assembly adds objects only.
void keepObjectsOnly(Database& database, GroupElement& group, std::set<miTag>& seen) {
    if (!seen.insert(group.tag).second) return;
    std::erase_if(group.members, [&](miTag member) {
        const auto* const instance = database.find<InstanceElement>(member);
        Element* const item = instance ? database.get(instance->instance.item) : nullptr;
        if (!item) return false;
        if (item->type == miSCENE_GROUP) keepObjectsOnly(database, static_cast<GroupElement&>(*item), seen);
        return item->type == miSCENE_LIGHT || item->type == miSCENE_CAMERA;
    });
}

} // namespace

/// Reads the file of an element of its own. False when reading was stopped.
bool Reader::readFileOf(Reader& inner, const Element& element, const std::string& file) {
    constexpr int deepest = 32;
    if (fileDepth_ >= deepest) {
        error(element.location,
              "{} \"{}\": files of assemblies and objects lie inside each other more than {} deep", block_,
              element.name, deepest);
        return false;
    }
    inner.outerNamespaces_ = inner.namespaces_.size();
    inner.fileDepth_ = fileDepth_ + 1;
    // Included in place, so that the file is searched for, and reported when missing, like any other.
    const auto linesBefore = static_cast<std::size_t>(std::max(0, element.location.line - 1));
    return inner.read(element.location.file, std::string(linesBefore, '\n') + "$include \"" + file + "\"\n");
}

/// The file is read at once, inside a namespace of the assembly's name; its boxes are for renderers that
/// wait.
void Reader::readAssembly(const Token& token) {
    auto& element = target<GroupElement>(token, miSCENE_GROUP, false);
    const Definition defined(*this, token, element.tag);
    std::string file;
    while (!endsBlock("assembly", element.name)) {
        const Token word = next();
        if (word.isWord("box") || (word.isWord("motion") && accept("box"))) {
            if (!atNumber()) continue;
            vector("the box's lower corner");
            vector("the box's upper corner");
        } else if (word.isWord("file")) {
            file = string("the assembly's file");
        } else {
            fail(word, "assembly \"{}\": expected box, motion box or file, not {}", element.name,
                 word.shown());
        }
    }
    if (file.empty()) {
        error(element.location, "assembly \"{}\" names no file, so it stays empty", element.name);
        return;
    }
    Reader inner(scene_, options_, callbacks_);
    inner.namespaces_ = namespaces_;
    inner.namespaces_.push_back(element.name);
    const int errorsBefore = scene_.errors_;
    SceneWriter* const writer = stream_.writer();
    if (writer) {
        writer->discardStatement();
        writer->word("namespace");
        writer->string(token.text);
        writer->beginStatement();
    }
    const bool finished = readFileOf(inner, element, file);
    if (auto* const root = database_.find<GroupElement>(inner.assemblyRoot_)) {
        std::set<miTag> seen;
        keepObjectsOnly(database_, *root, seen);
        element.members = root->members;
    } else if (finished && scene_.errors_ == errorsBefore) { // else errors of its file have been reported
        error(element.location, "assembly \"{}\": its file \"{}\" names no root group, so it stays empty",
              element.name, file);
    }
    if (!writer) return;
    writer->beginStatement();
    writer->word("end namespace");
    writer->beginStatement();
    writer->word("instgroup");
    writer->string(token.text);
    for (const miTag member : element.members) {
        writer->beginLine(1);
        writer->string("::" + database_.get(member)->name);
    }
    writer->beginLine(0);
    writer->word("end instgroup");
}

} // namespace orca::scene
