// SPDX-License-Identifier: Apache-2.0
#include "mesh_import.h"

#include "base/descriptor.h"
#include "exit_codes.h"
#include "installation.h"

#include <fmt/format.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <string_view>
#include <vector>

#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" { // which the header of glibc 2.36 does not say of itself
#include <sys/pidfd.h>
}

namespace orca::app {

namespace {

std::string contentOf(const Descriptor& file) {
    struct stat status {};
    std::string content;
    if (::fstat(file.get(), &status) == 0) content.resize(static_cast<std::size_t>(status.st_size));
    std::size_t length = 0;
    while (length < content.size()) {
        const ssize_t got =
            ::pread(file.get(), content.data() + length, content.size() - length, static_cast<off_t>(length));
        if (got <= 0) break;
        length += static_cast<std::size_t>(got);
    }
    content.resize(length);
    return content;
}

/// Waits for the process; ends it when `stop` is set. Its status, as waitpid has it.
int statusOf(pid_t process, const std::atomic<bool>& stop) {
    constexpr int betweenLooks = 50; // milliseconds
    const Descriptor handle(::pidfd_open(process, 0));
    for (pollfd ended{handle.get(), POLLIN, 0}; ::poll(&ended, 1, betweenLooks) <= 0;)
        if (stop.load(std::memory_order_relaxed)) ::kill(process, SIGKILL);
    int status = 0;
    while (::waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

/// Takes the files that were read off the text's first lines.
std::vector<std::string> filesIn(std::string_view text) {
    constexpr std::string_view begin = "#: reads \"", end = "\"\n";
    std::vector<std::string> files;
    while (text.starts_with(begin)) {
        const std::size_t length = text.find(end);
        if (length == std::string_view::npos) break;
        files.emplace_back(text.substr(begin.size(), length - begin.size()));
        text.remove_prefix(length + end.size());
    }
    return files;
}

} // namespace

scene::ImportedMesh importMesh(const std::string& path, bool tagged, std::size_t megabytes,
                               const std::atomic<bool>& stop) {
    const std::string program = installation().program("orca-import");
    const std::string memory = std::to_string(megabytes);
    std::vector<const char*> arguments{program.c_str(), path.c_str(), "--geometry", "-o", "-"};
    if (tagged) arguments.push_back("--tagged");
    if (megabytes > 0) arguments.insert(arguments.end(), {"--limit-memory", memory.c_str()});
    arguments.push_back(nullptr);

    const Descriptor output(::memfd_create("mesh", MFD_CLOEXEC)),
        messages(::memfd_create("messages", MFD_CLOEXEC));
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, output.get(), STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, messages.get(), STDERR_FILENO);
    pid_t process = -1;
    const int failure = ::posix_spawn(&process, program.c_str(), &actions, nullptr,
                                      const_cast<char**>(arguments.data()), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (failure != 0) return {{}, {}, fmt::format("cannot run \"{}\": {}", program, std::strerror(failure))};

    const int status = statusOf(process, stop);
    scene::ImportedMesh mesh;
    if (WIFEXITED(status) && WEXITSTATUS(status) == exitRendered) {
        mesh.statements = contentOf(output);
        mesh.files = filesIn(mesh.statements);
        return mesh;
    }
    mesh.failure = contentOf(messages);
    constexpr std::string_view sender = "orca-import: ";
    if (mesh.failure.starts_with(sender)) mesh.failure.erase(0, sender.size());
    while (mesh.failure.ends_with('\n')) mesh.failure.pop_back();
    if (mesh.failure.empty()) mesh.failure = fmt::format("\"{}\" was not imported to its end", path);
    return mesh;
}

} // namespace orca::app
