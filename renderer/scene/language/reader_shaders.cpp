// SPDX-License-Identifier: Apache-2.0
#include "base/nearest_name.h"
#include "scene/language/reader.h"
#include "scene/shader_list.h"

#include <algorithm>
#include <utility>

namespace orca::scene {

void Reader::readNamedShader(const Token& token, bool incremental) {
    const std::string owner = fmt::format("shader \"{}\"", token.text);
    miTag existing = miNULLTAG;
    if (incremental) {
        if (memory_.phenomenonUses.count(fullName(token.text))) {
            fail(token, "\"{}\" is a phenomenon and cannot be changed incrementally; define it again",
                 token.text);
        }
        if (const Element* element = incrementalTarget(token, miSCENE_FUNCTION)) existing = element->tag;
    }
    ShaderUse use{owner};
    use.name = fullName(token.text);
    use.existing = existing;
    use.editsNamed = true;
    const DeclarationElement* const phenomenon = atPhenomenon();
    const bool isList = !phenomenon || database_.find<FunctionElement>(phenomenon->body->root);
    const miTag head = isList ? requiredShaderList(use, owner) : readPhenomenonUse(use);
    Element* element = database_.get(head);
    if (!element) return;
    if (element->name.empty()) {
        element->name = fullName(token.text);
        element->location = locationOf(token);
    }
    define(token, head);
    if (phenomenon && !phenomenon_) memory_.phenomenonUses[fullName(token.text)] = head;
}

bool Reader::atShader() {
    return peek().is('=') || (peek().isName() && peek(1).is('('));
}

bool Reader::atShaderList() {
    if (!peek().is('[')) return atShader();
    return peek(1).is('=') || peek(1).is(']') || (peek(1).isName() && !peek(1).isWord("end"));
}

miTag Reader::requiredShaderList(const ShaderUse& use, std::string_view slot) {
    if (!atShaderList()) {
        fail(peek(), "{}: expected a shader, as in \"name\" ( ... ) or = \"name\", not {}", slot,
             peek().shown());
    }
    return readShaderList(use);
}

miTag Reader::readShaderList(const ShaderUse& use, std::vector<miTag>* members) {
    miTag head = miNULLTAG, last = miNULLTAG;
    miTag existing = use.existing;
    auto* const edited = use.editsNamed ? database_.find<FunctionElement>(existing) : nullptr;
    // What other lists have appended to a named list follows it, however the list changes.
    const miTag appended =
        edited ? std::exchange(endOfOwnList(*edited).function()->next_function, miNULLTAG) : miNULLTAG;
    // In brackets, commas may part the members, and names alone refer to shaders.
    const bool bracketed = peek().is('[') && atShaderList();
    if (bracketed) next();
    const auto more = [&] { return bracketed ? !peek().is(']') : atShader(); };
    for (; more(); bracketed && accept(',')) {
        const SourceLocation location = locationOf(peek());
        const miTag shader = readShader(use, existing);
        if (auto* const before = database_.find<FunctionElement>(existing)) {
            FunctionElement& end = before == edited ? *before : endOfOwnList(*before);
            existing = end.function()->next_function;
            // A member takes its new place without those that followed it in the old list. A shader that is
            // edited on its own keeps them.
            if (shader == before->tag && (before != edited || more()))
                end.function()->next_function = miNULLTAG;
        }
        if (!shader) continue;
        if (members) members->push_back(shader);
        linkShader(head, last, shader, location);
    }
    if (bracketed) next();
    // A list that became shorter ends with its last member.
    if (use.existing && last) database_.find<FunctionElement>(last)->function()->next_function = miNULLTAG;
    if (use.editsNamed && last) {
        auto* const first = database_.find<FunctionElement>(head);
        if (first == edited || first->name.empty()) first->listEnd = last;
    }
    if (edited) {
        const std::vector<miTag> own = shaderList(database_, edited->tag);
        if (std::find(own.begin(), own.end(), appended) == own.end())
            endOfOwnList(*edited).function()->next_function = appended;
    }
    return head;
}

FunctionElement& Reader::endOfOwnList(FunctionElement& head) {
    const std::vector<miTag> members = shaderList(database_, head.tag);
    const bool isMember = std::find(members.begin(), members.end(), head.listEnd) != members.end();
    return isMember ? *database_.find<FunctionElement>(head.listEnd) : head;
}

void Reader::linkShader(miTag& head, miTag& last, miTag shader, const SourceLocation& location) {
    const auto function = [&](miTag tag) { return database_.find<FunctionElement>(tag)->function(); };
    // What is appended may be a list of its own, whose end is then the end of this one.
    miTag end = shader;
    for (miTag next = shader; next; next = function(next)->next_function) {
        if (next == last) {
            error(location, "\"{}\" is in this list already", database_.get(shader)->name);
            return;
        }
        end = next;
    }
    if (!head) {
        head = shader;
    } else {
        miTag& link = function(last)->next_function;
        if (link && link != shader) {
            warning(location,
                    "shader \"{}\" is now followed by \"{}\" instead of \"{}\", wherever it is used",
                    database_.get(last)->name, database_.get(shader)->name, database_.get(link)->name);
        }
        link = shader;
    }
    last = end;
}

miTag Reader::readShader(const ShaderUse& use, miTag existing) {
    if (accept('=') || !peek(1).is('(')) {
        if (peek().isWord("interface") && peek(1).isName()) {
            fail(peek(),
                 "{}: a list takes no shaders from the interface; hand them to a parameter of type "
                 "shader",
                 use.owner);
        }
        const Token token = nameToken("a shader");
        return reference(token, {miSCENE_FUNCTION}, "a named shader");
    }
    const Token token = peek();
    if (atPhenomenon()) {
        const miTag result = readPhenomenonUse(use);
        if (!result || database_.find<FunctionElement>(result)) return result;
        error(locationOf(token), "{}: the result of phenomenon \"{}\" is {}, but a shader is expected here",
              use.owner, token.text, database_.find<MaterialElement>(result) ? "a material" : "nothing");
        return miNULLTAG;
    }
    next();
    DeclarationElement* declaration = declarationReference(token);
    if (declaration && declaration->kind == DeclarationElement::Kind::Data) {
        error(locationOf(token), "\"{}\" is declared as data, but a shader is expected here", token.text);
        declaration = nullptr;
    }
    if (!declaration) {
        skipBalanced();
        return miNULLTAG;
    }
    expect('(', "the shader's name");
    auto* edited = database_.find<FunctionElement>(existing);
    const bool isOthers = edited && !edited->name.empty() && !(use.editsNamed && edited->tag == use.existing);
    if (edited && (edited->declaration != declaration || isOthers)) edited = nullptr;
    std::vector<Value> values(declaration->parameters.size());
    if (edited) values = edited->values;
    const bool empty = peek().is(')');
    readParameters(declaration->parameters, values, ')', use, declaration->name);

    if (edited) {
        edited->values = std::move(values);
        if (database_.isInCycle(edited->tag)) {
            fail(token, "{}: the change makes the shader depend on itself", use.owner);
        }
        edited->rebuild();
        ++edited->revision;
        return edited->tag;
    }
    auto element = std::make_unique<FunctionElement>(*declaration);
    element->location = locationOf(token);
    element->values = std::move(values);
    element->rebuild();
    // "f" ( ) in a material that has another "f" shares the parameters of that one.
    const auto* shared = database_.find<FunctionElement>(use.shareFrom);
    if (empty && shared && shared->declaration == declaration && !declaration->parameters.empty()) {
        element->function()->parameter_indirect = use.shareFrom;
    }
    const miTag tag = database_.add(std::move(element));
    if (phenomenon_) addPart({}, tag);
    return tag;
}

void Reader::readParameters(const std::vector<Parameter>& parameters, std::vector<Value>& values, char close,
                            const ShaderUse& use, const std::string& declarationName) {
    std::vector<bool> given(parameters.size(), false);
    while (!accept(close)) {
        const Token token = peek();
        if (!token.isName() || token.isWord("end")) {
            fail(token, "{}: expected a parameter's name or \"{}\", not {}", use.owner, close, token.shown());
        }
        next();
        const Parameter* parameter = findParameter(parameters, token.text);
        if (!parameter) {
            std::vector<std::string_view> names;
            for (const Parameter& known : parameters) names.push_back(known.name);
            const std::string nearest = nearestName(token.text, names);
            error(locationOf(token), "{}: \"{}\" declares no \"{}\"{}", use.owner, declarationName,
                  token.text, nearest.empty() ? "" : fmt::format(" (did you mean \"{}\"?)", nearest));
            skipValue(close);
        } else {
            const std::size_t index = parameter - parameters.data();
            if (given[index]) {
                error(locationOf(token), "{}: \"{}\" is given twice", use.owner, token.text);
            }
            given[index] = true;
            try {
                Value value = readValue(*parameter, use, declarationName);
                // A faulty connection leaves the parameter as it was.
                if (value.kind != Value::Kind::Zero) values[index] = std::move(value);
            } catch (const SyntaxError& fault) {
                if (!peek().is(',') && !peek().is(close) && peek().isWord("end")) throw;
                countError(fault.location, fmt::format("{}: {}", use.owner, fault.what()));
                skipValue(close);
            }
        }
        if (accept(',') || peek().is(close)) continue;
        if (atString()) {
            error(locationOf(peek()), "{}: expected \",\" or \"{}\" after the value of \"{}\", not {}",
                  use.owner, close, token.text, peek().shown());
        } else {
            fail(peek(), "{}: expected \",\" or \"{}\" after the value of \"{}\", not {}", use.owner, close,
                 token.text, peek().shown());
        }
    }
}

void Reader::skipValue(char close) {
    for (;;) {
        const Token& token = peek();
        if (token.is(',') || token.is(close) || token.is(')') || token.isWord("end") ||
            token.kind == Token::Kind::End) {
            return;
        }
        if (token.is('[') || token.is('{') || token.is('(')) {
            skipBalanced();
        } else {
            next();
        }
    }
}

} // namespace orca::scene
