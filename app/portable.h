// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace orca::app {

/// Lets the C library choose the code of its mathematical functions as on a processor without wide vectors
/// and fused multiplication. It chooses when a program is loaded, so this starts the program again, with
/// the same arguments and its environment (GLIBC_TUNABLES) changed, unless that has been done.
/// False, with `errno`, when that is not possible.
[[nodiscard]] bool useCommonMathematics(char** arguments);

/// Names how this process calculates: a hash of results of the mathematical functions, and of the processor's
/// estimates of reciprocals, which makers of processors choose themselves and the ray-tracing kernel starts
/// from. With common mathematics and a kernel for every processor, machines that have the same make the same
/// pixels.
[[nodiscard]] std::string arithmetic();

} // namespace orca::app
