// SPDX-License-Identifier: Apache-2.0
#include "base/nearest_name.h"
#include "scene/elements/phenomenon.h"
#include "scene/language/reader.h"

#include <algorithm>

namespace orca::scene {

namespace {

bool isGlobal(std::string_view plain) {
    return plain.substr(0, 2) == "::";
}

} // namespace

std::string Reader::fullName(std::string_view plain) const {
    if (isGlobal(plain)) return std::string(plain.substr(2));
    if (namespaces_.empty()) return std::string(plain);
    return namespaces_.back() + "::" + std::string(plain);
}

miTag Reader::lookUp(std::string_view plain) const {
    if (isGlobal(plain)) return database_.named(plain.substr(2));
    if (phenomenon_) {
        if (const auto inner = innerNames_.find(plain); inner != innerNames_.end()) return inner->second;
    }
    for (auto scope = namespaces_.rbegin(); scope != namespaces_.rend(); ++scope) {
        if (const miTag tag = database_.named(*scope + "::" + std::string(plain))) return tag;
    }
    return database_.named(plain);
}

miTag Reader::lookUpDeclaration(std::string_view plain) const {
    if (isGlobal(plain)) return database_.declaration(plain.substr(2));
    for (auto scope = namespaces_.rbegin(); scope != namespaces_.rend(); ++scope) {
        if (const miTag tag = database_.declaration(*scope + "::" + std::string(plain))) return tag;
    }
    return database_.declaration(plain);
}

miTag Reader::reference(const Token& token, std::initializer_list<miScene_type> kinds,
                        std::string_view expected) {
    const auto fits = [&](const Element& element) {
        return std::find(kinds.begin(), kinds.end(), element.type) != kinds.end();
    };
    const miTag tag = lookUp(token.text);
    const Element* element = database_.get(tag);
    if (element && fits(*element)) return tag;
    if (element) {
        const bool isUse = database_.find<PhenomenonUseElement>(tag);
        error(locationOf(token), "\"{}\" is {}, but {} is expected here", token.text,
              isUse ? "a phenomenon without a result" : withArticle(kindName(element->type)), expected);
        return miNULLTAG;
    }
    if (isPerhapsInMissingFile()) return miNULLTAG;
    std::vector<std::string> candidates;
    database_.visitNamed([&](const std::string& known, miTag knownTag) {
        const Element* other = database_.get(knownTag);
        if (other && fits(*other)) candidates.push_back(known);
    });
    const std::string nearest = nearestName(token.text, {candidates.begin(), candidates.end()});
    error(locationOf(token), "\"{}\" is not defined before this place, where {} is expected{}", token.text,
          expected, nearest.empty() ? "" : fmt::format(" (did you mean \"{}\"?)", nearest));
    return miNULLTAG;
}

/// Counts an unknown name. True when no error of its own is due.
bool Reader::isPerhapsInMissingFile() {
    if (memory_.filesMissing) ++memory_.unknownNames;
    return memory_.filesMissing;
}

miTag Reader::lightReference(const Token& token) {
    constexpr std::string_view expected = "a light instance or a group of them";
    const Element* element = database_.get(lookUp(token.text));
    if (element && element->type == miSCENE_LIGHT) {
        error(locationOf(token),
              "\"{}\" is a light, but {} is expected here: name the instance that places it", token.text,
              expected);
        return miNULLTAG;
    }
    const miTag tag = reference(token, {miSCENE_INSTANCE, miSCENE_GROUP}, expected);
    if (const auto* instance = database_.find<InstanceElement>(tag)) {
        const Element* item = database_.get(instance->instance.item);
        if (item && item->type != miSCENE_LIGHT && item->type != miSCENE_GROUP) {
            error(locationOf(token), "\"{}\" is an instance of {}, but {} is expected here", token.text,
                  withArticle(kindName(item->type)), expected);
            return miNULLTAG;
        }
    }
    return tag;
}

miTag Reader::optionalReference(std::initializer_list<miScene_type> kinds, std::string_view expected) {
    if (accept("null")) return miNULLTAG;
    return reference(nameToken(expected), kinds, expected);
}

DeclarationElement* Reader::declarationReference(const Token& token) {
    const miTag tag = lookUpDeclaration(token.text);
    if (auto* declaration = database_.find<DeclarationElement>(tag)) return declaration;
    // One message for each name: a missing declaration file would otherwise cause one at every use.
    if (!memory_.logged.insert("undeclared|" + fullName(token.text)).second) return nullptr;
    if (isPerhapsInMissingFile()) return nullptr;
    std::vector<std::string> candidates;
    database_.visitDeclarations([&](const std::string& known, miTag) { candidates.push_back(known); });
    const std::string nearest = nearestName(token.text, {candidates.begin(), candidates.end()});
    error(locationOf(token), "\"{}\" is not declared before this place{}", token.text,
          nearest.empty() ? "; is its declaration file included?"
                          : fmt::format(" (did you mean \"{}\"?)", nearest));
    return nullptr;
}

std::vector<miTag> Reader::referenceList(std::initializer_list<miScene_type> kinds,
                                         std::string_view expected) {
    std::vector<miTag> list;
    expect('[', "the keyword");
    while (!accept(']')) {
        const Token token = nameToken(expected);
        if (const miTag tag = reference(token, kinds, expected)) list.push_back(tag);
        if (!accept(',') && !peek().is(']')) {
            fail(peek(), "expected \",\" or \"]\" in the list, not {}", peek().shown());
        }
    }
    return list;
}

miTag Reader::dataReference() {
    if (accept("null")) return miNULLTAG;
    if (!atString()) return miNULLTAG; // the bare keyword clears
    return reference(next(), {miSCENE_USERDATA}, "a data block");
}

void Reader::define(const Token& token, miTag tag) {
    if (phenomenon_) {
        innerNames_[std::string(token.text)] = tag;
        return;
    }
    const std::string full = fullName(token.text);
    const miTag earlier = database_.named(full);
    if (earlier == tag) return;
    if (const Element* element = database_.get(earlier)) {
        warning(locationOf(token), "\"{}\" is defined again; what refers to the {} from {} keeps that one",
                full, kindName(element->type), element->location.text());
    }
    database_.setName(full, tag);
    memory_.phenomenonUses.erase(full);
}

Element* Reader::incrementalTarget(const Token& token, miScene_type kind) {
    Element* element = database_.get(lookUp(token.text));
    if (!element) {
        if (isPerhapsInMissingFile()) return nullptr;
        error(locationOf(token), "\"{}\" cannot be changed, as no {} of that name is defined", token.text,
              kindName(kind));
        return nullptr;
    }
    if (element->type != kind) {
        error(locationOf(token), "\"{}\" cannot be changed as {}: it is {}", token.text,
              withArticle(kindName(kind)), withArticle(kindName(element->type)));
        return nullptr;
    }
    return element;
}

} // namespace orca::scene
