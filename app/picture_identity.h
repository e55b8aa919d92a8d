// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "color_management.h"
#include "command_line.h"
#include "input_files.h"

#include "render/checkpoint/checkpoint_settings.h"
#include "render/picture.h"

#include <optional>
#include <string>
#include <vector>

namespace orca::app {

/// All that a picture's pixels depend on, by name: this program, every file of the scene by its content, the
/// options of the command line, the picture's size, window, sample range, frame and buffers. Of files above a
/// megabyte the size and the first and last 64 KB count.
[[nodiscard]] render::CheckpointHeader pictureIdentity(const CommandLine& command,
                                                       const render::Picture& picture,
                                                       const std::optional<image::SampleRange>& samples,
                                                       int frame, const std::vector<InputFile>& inputs);

/// Adds the colour configuration and the view of it, where there are such ones.
void addColors(render::CheckpointHeader& identity, const ColorManagement& colors);

/// The identity in 16 hexadecimal digits, for the metadata of the picture's file. Windows and
/// sample ranges of one picture have the same.
[[nodiscard]] std::string hashOf(const render::CheckpointHeader& identity);

/// The content of the scene's files alone, likewise: the same for all pictures of a scene, whatever their
/// options, and wherever its files are.
[[nodiscard]] std::string sceneHashOf(const render::CheckpointHeader& identity);

/// The vector instructions that the ray-tracing kernel and the mathematical library choose their code by. The
/// same picture may differ in the last bits between machines with different ones.
[[nodiscard]] std::string vectorUnit();

} // namespace orca::app
