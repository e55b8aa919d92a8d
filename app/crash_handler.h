// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/log.h"

namespace orca::app {

/// For a process that was forked. From now on it reports a crash, or that something other than the program
/// itself calls exit(), with the shader that is running, to the process that started it, before it ends. A
/// crash ends it by its signal, as without this. Handlers that are there already, such as a sanitizer's,
/// stay.
///
/// A call of exit() ends the process with the status of a render error, without the destructors that other
/// threads may still need; so does a fatal message of a shader. An announced end leaves out only those that
/// were there before the call.
void reportCrashes(const Log& log);

/// For use when shader libraries have been loaded: what they have registered to be done at exit is left out
/// as well then, when something else than the program itself ends the process.
void watchExit();

/// Lets the process that started this one know that it ends with this exit code. Returns the code.
int announceEnd(int exitCode);

/// Ends the process at once, from any thread. Removes temporary files.
[[noreturn]] void endProcess(int exitCode);

} // namespace orca::app
