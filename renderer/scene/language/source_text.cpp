// SPDX-License-Identifier: Apache-2.0
#include "scene/language/source_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orca::scene {

namespace {

class OpenFile {
public:
    explicit OpenFile(const std::string& path)
        : descriptor_(path == "-" ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
    ~OpenFile() {
        if (descriptor_ > STDIN_FILENO) ::close(descriptor_);
    }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    [[nodiscard]] int get() const { return descriptor_; }

private:
    int descriptor_;
};

std::uint64_t machineMemory() {
    return static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES)) *
           static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

void checkLength(std::uint64_t bytes) {
    const std::uint64_t most = machineMemory();
    if (bytes <= most) return;
    throw std::runtime_error(fmt::format("it is longer than the {:.1f} GB of memory that there are",
                                         static_cast<double>(most) * 1e-9));
}

void removeByteOrderMark(std::string& text) {
    if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
    else if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF"))
        throw std::runtime_error("it is UTF-16 text; save it as UTF-8");
}

} // namespace

std::optional<std::string> readWholeFile(const std::string& path, const std::atomic<bool>* stop) {
    const OpenFile file(path);
    struct stat status {};
    if (file.get() < 0) {
        if (errno == ENOENT || errno == ENOTDIR) return {};
        throw std::runtime_error(std::strerror(errno));
    }
    if (::fstat(file.get(), &status) != 0) throw std::runtime_error(std::strerror(errno));
    if (S_ISDIR(status.st_mode)) throw std::runtime_error("it is a directory");
    if (S_ISBLK(status.st_mode) || (S_ISCHR(status.st_mode) && !::isatty(file.get())))
        throw std::runtime_error("it is a device");

    // In pieces: between them a stop is noticed, and pipes do not say how much is to come.
    constexpr std::size_t piece = std::size_t{1} << 20;
    std::string text;
    if (S_ISREG(status.st_mode)) {
        checkLength(static_cast<std::uint64_t>(status.st_size));
        text.reserve(static_cast<std::size_t>(status.st_size) + piece);
    }
    for (std::size_t length = 0;;) {
        if (stop && stop->load(std::memory_order_relaxed)) throw std::runtime_error("interrupted");
        checkLength(length + piece);
        text.resize(length + piece);
        const ssize_t got = ::read(file.get(), text.data() + length, text.size() - length);
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) throw std::runtime_error(std::strerror(errno));
        length += static_cast<std::size_t>(got);
        text.resize(length);
        if (got == 0) break;
    }
    return text;
}

std::optional<std::string> readSourceText(const std::string& path, const std::atomic<bool>* stop) {
    std::optional<std::string> text = readWholeFile(path, stop);
    if (text) removeByteOrderMark(*text);
    return text;
}

} // namespace orca::scene
