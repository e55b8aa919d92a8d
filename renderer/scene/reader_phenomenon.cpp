// SPDX-License-Identifier: Apache-2.0
#include "scene/reader.h"

namespace orca::scene {

bool Reader::readPhenomenonPart(DeclarationElement& declaration, std::string_view word) {
    const ShaderUse use{fmt::format("phenomenon \"{}\"", declaration.name), declaration.name};
    const bool namesPart = atString();
    if (word == "shader" && namesPart) {
        const Token token = nameToken("a shader");
        readNamedShader(token, false);
        const miTag tag = lookUp(token.text);
        for (PhenomenonBody::Part& part : declaration.body->parts) {
            if (part.tag == tag) part.name = std::string(token.text);
        }
    } else if (word == "root") {
        const Token token = peek();
        if (accept("material")) fail(token, "phenomena that are materials are not supported");
        declaration.body->root = requiredShaderList(use, "root");
    } else if (word == "material" || word == "light" || word == "instance" || word == "texture") {
        Token token = peek();
        token.text = word;
        fail(token, "a {} inside a phenomenon is not supported", word);
    } else if (word == "lens" || word == "output" || word == "volume" || word == "environment" ||
               word == "geometry" || word == "contour") {
        const Token token = peek();
        if (!atShader() && word != "output" && word != "contour") return false;
        unsupported(Level::Error, placeOf(token), "phenomenon root " + std::string(word),
                    fmt::format("phenomenon \"{}\": attaching a shader as {} is not supported",
                                declaration.name, word));
        while (peek().isName() && !atShader()) next();
        readShaderList(use);
    } else {
        return false;
    }
    return true;
}

void Reader::checkPhenomenonRoot(DeclarationElement& declaration, const Place& place) {
    const auto* root = database_.find<FunctionElement>(declaration.body->root);
    if (!root) {
        error(place, "phenomenon \"{}\" has no root, so it has no result", declaration.name);
    } else if (!root->declaration->result.sameShape(declaration.result)) {
        error(place, "phenomenon \"{}\" gives {}, but its root \"{}\" gives {}", declaration.name,
              withArticle(declaration.result.typeText()), root->declaration->name,
              withArticle(root->declaration->result.typeText()));
    }
}

} // namespace orca::scene
