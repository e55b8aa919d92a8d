// SPDX-License-Identifier: Apache-2.0
#include "exit_codes.h"

namespace orca::app {

std::span<const ExitCodeMeaning> exitCodes() {
    static constexpr ExitCodeMeaning all[] = {
        {"0", "everything was rendered and written"},
        {"1", "rendering failed, or a shader reported errors or ended the process; what can be is written"},
        {"2", "the command line is wrong"},
        {"3", "the scene has errors"},
        {"4", "a file could not be written"},
        {"5", "stopped; a checkpoint holds what is rendered, and --resume goes on with it"},
        {"6",
         "a limit of --limit-time, --limit-memory or --limit-rays was reached, and there is no checkpoint"},
        {"128+N", "ended by signal N"}};
    return all;
}

} // namespace orca::app
