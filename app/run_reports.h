// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "output_files.h"

#include <cstddef>
#include <string>
#include <variant>

namespace orca::app {

/// What the process that renders tells the one that started it, so that this one knows where to go on after
/// the first has died. Each report is one message of a socket that keeps messages apart.

/// A scene begins to be read: its place among the command's.
struct SceneBegins {
    std::size_t scene;
};

/// A picture of the scene begins.
struct PictureBegins {
    PictureFiles files;
    bool isLast; ///< of its scene
};

/// The picture has ended; the exit code is that of its scene up to now.
struct PictureEnds {
    int exitCode;
};

/// The process ends with this exit code, and knows that it does.
struct ProcessEnds {
    int exitCode;
};

/// The process dies of a fault. Of fixed size: made by a signal handler. Texts that do not fit are cut.
struct Crash {
    int signal;         ///< 0: exit() was called
    bool stackIsFull;   ///< a segmentation fault for that reason
    bool saidWhy;       ///< with a message of level fatal
    int callType;       ///< how the shader was called (miSHADER_*)
    int pixelX, pixelY; ///< of the eye sample; -1 outside of any
    char shader[128];   ///< as declared; empty: none was running
    char element[128];  ///< the scene's name for it; may be empty
    char object[128];   ///< the instance that is being shaded; may be empty
    char library[512];  ///< path
};

using Report = std::variant<SceneBegins, PictureBegins, PictureEnds, ProcessEnds, Crash>;

/// Sends to this socket from now on. Before, and with -1, what is sent goes nowhere.
void sendReportsTo(int socket);
/// A crash may be sent by a signal handler.
void send(const SceneBegins& report);
void send(const PictureBegins& report);
void send(const PictureEnds& report);
void send(const ProcessEnds& report);
void send(const Crash& report) noexcept;

/// Takes the next report from the socket. False when there is none yet, or none any more.
bool receive(int socket, Report& report);

} // namespace orca::app
