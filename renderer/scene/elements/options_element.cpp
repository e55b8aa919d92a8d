// SPDX-License-Identifier: Apache-2.0
#include "scene/elements/options_element.h"

#include "scene/elements/option_statements.h"

namespace orca::scene {

float defaultFilterWidth(char filter) {
    switch (filter) {
    case miFILTER_TRIANGLE: return 2.0f;
    case miFILTER_GAUSS: return 3.0f;
    case miFILTER_MITCHELL:
    case miFILTER_LANCZOS: return 4.0f;
    default: return 1.0f;
    }
}

OptionsElement::OptionsElement() : Element(miSCENE_OPTIONS) {
    for (const OptionStatement& statement : optionStatements()) {
        if (statement.set) statement.set(*this, statement.defaults);
    }
}

void OptionsElement::visitReferences(const std::function<void(miTag)>& visit) const {
    visit(options.state_func);
    visit(options.contour_store);
    visit(options.contour_contrast);
    visit(options.userdata);
    visit(options.inh_funcdecl);
}

} // namespace orca::scene
