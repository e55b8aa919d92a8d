// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"

#include <string>
#include <vector>

namespace orca::image {

/// Joins files that hold windows of one picture into one of the whole picture, with all parts, channels and
/// metadata: the file that one render of the whole picture writes. Pixels are taken as they are. Reads a few
/// rows at a time, and keeps the pixels only of files that these rows cross, so that memory grows with the
/// width of the picture and the number of files and layers, and little with its height. Up to 256 files stay
/// open, because opening one reads the headers of all its layers.
///
/// Of windows whose files hold sums of samples (writeSampleSums), those of all samples are added up in the
/// order of the samples, whatever the order of the files.
///
/// False with a message that names the files when one is no complete file of pictures, when they are of
/// different pictures (their size, parts, channels or metadata differ; render times are added), when windows
/// overlap and differ there, when sample ranges
/// of a window overlap, or when pixels or samples of the picture are in no file.
bool mergeExr(const std::vector<std::string>& files, const std::string& output, Log& log);

} // namespace orca::image
