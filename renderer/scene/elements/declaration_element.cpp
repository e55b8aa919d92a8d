// SPDX-License-Identifier: Apache-2.0
#include "scene/elements/declaration_element.h"

#include "scene/elements/phenomenon.h"

namespace orca::scene {

DeclarationElement::DeclarationElement(Kind declarationKind)
    : Element(declarationKind == Kind::Phenomenon ? miSCENE_PHENOMENON_DECL : miSCENE_FUNCTION_DECL),
      kind(declarationKind) {
    result.elementSize = simpleTypeSize(result.type);
}

DeclarationElement::~DeclarationElement() = default;

} // namespace orca::scene
