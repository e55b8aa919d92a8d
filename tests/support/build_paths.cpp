// SPDX-License-Identifier: Apache-2.0
#include "build_paths.h"

namespace build_paths {

const char* const libraries = LIBRARIES;
const char* const declarations = SOURCE_FOLDER "/declarations";
const char* const scenes = SOURCE_FOLDER "/scenes";
const char* const renderCommand = RENDER_COMMAND;
const char* const declarationLayout =
    PYTHON " " SOURCE_FOLDER "/declarations/check/check_declarations.py layout";
const char* const exportedSymbols = SOURCE_FOLDER "/tests/unit/exported_symbols.txt";

} // namespace build_paths
