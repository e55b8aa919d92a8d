// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Where this build keeps what tests load or run. In one source, so that every other one compiles alike in
/// all checkouts.
namespace build_paths {

extern const char* const libraries;         ///< folder of the shader libraries, those made for tests included
extern const char* const declarations;      ///< folder of their declarations
extern const char* const scenes;            ///< folder of the example scenes
extern const char* const renderCommand;     ///< orca-render
extern const char* const declarationLayout; ///< command that lists the layout of the declarations in a file
extern const char* const exportedSymbols;   ///< list of what orca.so exports besides its shaders

} // namespace build_paths
