// SPDX-License-Identifier: Apache-2.0
#include "scene/language/reader.h"
#include "scene/phenomenon_expansion.h"

namespace orca::scene {

bool Reader::readPhenomenonPart(DeclarationElement& declaration, const Token& token) {
    const std::string word(token.text);
    const ShaderUse use{fmt::format("phenomenon \"{}\", {}", declaration.name, word), declaration.name};
    PhenomenonAttachments& attached = declaration.body->attached;
    const bool namesPart = peek().isName();
    if (word == "root") {
        readPhenomenonRoot(declaration);
    } else if (word == "shader" && namesPart) {
        const Token name = nameToken("a shader");
        readNamedShader(name, false);
        const miTag tag = lookUp(name.text);
        for (PhenomenonBody::Part& part : declaration.body->parts) {
            if (part.tag == tag) part.name = std::string(name.text);
        }
    } else if (word == "material" && namesPart) {
        readMaterial(nameToken("a material"), false);
    } else if (word == "light" && namesPart) {
        readLight(nameToken("a light"), false);
    } else if (word == "instance" && namesPart) {
        const Token name = nameToken("an instance");
        readInstance(name, false);
        attached.instances.push_back(lookUp(name.text));
    } else if (word == "lens" && atShaderList()) {
        attached.lens.push_back(readShaderList(use));
    } else if (word == "volume" && atShaderList()) {
        attached.volume.push_back(readShaderList(use));
    } else if (word == "environment" && atShaderList()) {
        attached.environment.push_back(readShaderList(use));
    } else if (word == "output" && (namesPart || atShaderList())) {
        attached.outputs.push_back(readOutput(use, locationOf(token)));
    } else if (word == "contour") {
        miTag store = miNULLTAG, contrast = miNULLTAG;
        miTag& shader = readContourPart(store, contrast);
        shader = requiredShaderList(use, use.owner);
        if (store) attached.contourStore.push_back(store);
        if (contrast) attached.contourContrast.push_back(contrast);
    } else if (word == "geometry" && atShaderList()) {
        unsupported(LogLevel::Error, locationOf(token), "phenomenon root " + word,
                    fmt::format("phenomenon \"{}\": attaching a shader as {} is not supported",
                                declaration.name, word));
        readShaderList(use);
    } else {
        return readTextureStart(word, token, false);
    }
    return true;
}

/// To the phenomenon that is being read.
void Reader::addPart(std::string partName, miTag tag) {
    phenomenon_->body->parts.push_back({std::move(partName), tag});
    database_.get(tag)->isTemplate = true;
}

void Reader::readPhenomenonRoot(DeclarationElement& declaration) {
    if (accept("material")) {
        declaration.body->root =
            reference(nameToken("a material of the phenomenon"), {miSCENE_MATERIAL}, "a material");
        return;
    }
    declaration.body->root = requiredShaderList(
        {fmt::format("phenomenon \"{}\", root", declaration.name), declaration.name}, "root");
}

void Reader::checkPhenomenonRoot(DeclarationElement& declaration, const SourceLocation& location) {
    const auto* shader = database_.find<FunctionElement>(declaration.body->root);
    const bool givesMaterial = declaration.result.type == miTYPE_MATERIAL && !declaration.result.isArray;
    if (database_.find<MaterialElement>(declaration.body->root)) {
        if (givesMaterial) return;
        error(location,
              "phenomenon \"{}\" gives {}, but its root is a material; declare it as \"phenomenon "
              "material\"",
              declaration.name, withArticle(declaration.result.typeText()));
    } else if (shader && !shader->declaration->result.sameShape(declaration.result)) {
        error(location, "phenomenon \"{}\" gives {}, but its root \"{}\" gives {}", declaration.name,
              withArticle(declaration.result.typeText()), shader->declaration->name,
              withArticle(shader->declaration->result.typeText()));
    } else if (!shader && declaration.body->attached.empty()) {
        error(location, "phenomenon \"{}\" has no root, so it has no result", declaration.name);
    }
}

DeclarationElement* Reader::atPhenomenon() {
    if (!peek().isName() || !peek(1).is('(')) return nullptr;
    auto* declaration = database_.find<DeclarationElement>(lookUpDeclaration(peek().text));
    return declaration && declaration->body ? declaration : nullptr;
}

miTag Reader::readPhenomenonUse(const ShaderUse& use) {
    const DeclarationElement& declaration = *atPhenomenon();
    const Token token = next();
    expect('(', "the phenomenon's name");
    std::vector<Value> values(declaration.parameters.size());
    readParameters(declaration.parameters, values, ')', use, declaration.name);

    const PhenomenonBody& body = *declaration.body;
    if (!body.root && body.attached.empty()) return miNULLTAG; // reported at its declaration
    constexpr std::size_t mostParts = 20000; // each level that uses another one twice doubles them
    if (phenomenon_ && phenomenon_->body->parts.size() + body.parts.size() > mostParts)
        fail(token, "phenomenon \"{}\" would have more than {} parts with the {} of \"{}\"",
             phenomenon_->name, mostParts, body.parts.size(), declaration.name);
    PhenomenonCopy copy = expandPhenomenon(database_, declaration, values, use.name);
    if (phenomenon_) {
        for (const PhenomenonBody::Part& part : copy.parts) addPart(part.name, part.tag);
        phenomenon_->body->attached.append(copy.attached);
        return copy.root;
    }
    auto element = std::make_unique<PhenomenonUseElement>();
    element->declaration = &declaration;
    element->name = use.name;
    element->location = locationOf(token);
    element->root = copy.root;
    element->attached = std::move(copy.attached);
    const miTag tag = database_.add(std::move(element));
    return copy.root ? copy.root : tag;
}

} // namespace orca::scene
