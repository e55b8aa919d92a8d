// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "state.h"

miBEGIN_INTERFACE

/// The file of a texture, as the renderer would open it for the current frame: for shaders that read files of
/// formats of their own, so that these are found, listed and permitted as images are. The path is cut off,
/// and ends with a zero, where `size` bytes do not hold it. False, with an empty path: the texture has no
/// file, or it was not found. Callable from shaders' inits.
miBoolean mi_texture_file(char* path, int size, miState* state, miTag texture);

miEND_INTERFACE
