// SPDX-License-Identifier: Apache-2.0
#include "image/file_in_place.h"

#include "base/descriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <linux/magic.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/random.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace orca::image {

namespace {

namespace fs = std::filesystem;

constexpr int waitMilliseconds = 50; // between looks at the stop request
constexpr const char* interrupted = "interrupted";
constexpr std::string_view temporaryMark = ".orca-partial.";

[[noreturn]] void fail(const std::string& reason) {
    throw std::runtime_error(reason);
}
[[noreturn]] void failWithErrno() {
    fail(std::strerror(errno));
}

void checkStop(const std::atomic<bool>* stop) {
    if (stop && stop->load(std::memory_order_relaxed)) fail(interrupted);
}

fs::path directoryOf(const fs::path& file) {
    return file.has_parent_path() ? file.parent_path() : fs::path(".");
}

/// Links there are names of open files, such as /dev/stdout.
bool isOfProcesses(const fs::path& link) {
    struct statfs system {};
    return ::statfs(directoryOf(link).c_str(), &system) == 0 && system.f_type == PROC_SUPER_MAGIC;
}

struct Destination {
    fs::path path;
    bool isStream = false;
    std::optional<struct stat> before; ///< of a file that is there already
};

Destination destinationOf(const fs::path& path) {
    struct stat status {};
    const bool exists = ::stat(path.c_str(), &status) == 0;
    if (!exists && errno != ENOENT) failWithErrno();
    if (exists && S_ISDIR(status.st_mode)) fail("a directory has that name; choose another");
    if (exists && S_ISSOCK(status.st_mode)) fail("a socket has that name; choose another");
    if (exists && !S_ISREG(status.st_mode)) return {path, true, {}};

    constexpr int mostLinks = 40; // as the system itself follows
    Destination found{path, false, {}};
    if (exists) found.before = status;
    for (int links = 0; fs::is_symlink(fs::symlink_status(found.path)); ++links) {
        if (isOfProcesses(found.path)) return {path, true, {}};
        if (links == mostLinks) fail("too many symbolic links lead from one to the next");
        const fs::path leadsTo = fs::read_symlink(found.path);
        found.path = leadsTo.is_absolute() ? leadsTo : found.path.parent_path() / leadsTo;
    }
    if (exists && ::access(found.path.c_str(), W_OK) != 0)
        fail("the file that is there is write-protected; choose another name or make it writable");
    return found;
}

void checkDirectory(const fs::path& directory) {
    std::error_code ignored;
    if (!fs::exists(directory, ignored))
        fail(fmt::format("the directory \"{}\" does not exist; create it or choose another",
                         directory.string()));
    if (!fs::is_directory(directory, ignored))
        fail(fmt::format("\"{}\" is no directory", directory.string()));
}

/// What the names of all temporary files for `file` begin with.
std::string temporaryPrefix(const fs::path& file) {
    constexpr std::size_t longest = 200; // bytes; a name may have 255
    return std::string(temporaryMark) + file.filename().string().substr(0, longest) + ".";
}

std::string randomWord() {
    std::array<unsigned char, 8> bytes{};
    if (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) failWithErrno();
    std::string word;
    for (const unsigned char byte : bytes)
        for (const int digit : {byte >> 4, byte & 15}) word += "0123456789abcdef"[digit];
    return word;
}

/// Names of temporary files that were in a directory when this process first wrote there.
const std::vector<std::string>& leftoversIn(const fs::path& directory) {
    static std::mutex mutex;
    static std::map<fs::path, std::vector<std::string>> known; // directories of sequences are large
    const std::lock_guard lock(mutex);
    const auto [names, isNew] = known.try_emplace(directory);
    if (!isNew) return names->second;
    std::error_code problem;
    for (const fs::directory_entry& entry : fs::directory_iterator(directory, problem)) {
        std::string name = entry.path().filename().string();
        if (name.starts_with(temporaryMark)) names->second.push_back(std::move(name));
    }
    return names->second;
}

/// Removes what killed processes have left. The files of living ones are locked.
void removeLeftovers(const fs::path& file) {
    const std::string prefix = temporaryPrefix(file);
    for (const std::string& name : leftoversIn(directoryOf(file))) {
        if (!name.starts_with(prefix) || name.size() != prefix.size() + 16) continue;
        const fs::path path = directoryOf(file) / name;
        const Descriptor leftover(::open(path.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC));
        if (leftover.get() >= 0 && ::flock(leftover.get(), LOCK_EX | LOCK_NB) == 0) ::unlink(path.c_str());
    }
}

/// The temporary files of this process.
class TemporaryFiles {
public:
    static TemporaryFiles& instance() {
        static TemporaryFiles all;
        return all;
    }
    void add(const fs::path& path) {
        const std::lock_guard lock(mutex_);
        paths_.insert(path);
    }
    void forget(const fs::path& path) {
        const std::lock_guard lock(mutex_);
        paths_.erase(path);
    }
    void removeAll() {
        const std::lock_guard lock(mutex_);
        for (const fs::path& path : paths_) ::unlink(path.c_str());
    }

private:
    std::mutex mutex_;
    std::set<fs::path> paths_;
};

void syncToDisk(int descriptor) {
    // What cannot be synchronised, as on some network and memory file systems, has no disk of its own.
    if (::fsync(descriptor) != 0 && errno != EINVAL && errno != ENOSYS && errno != ENOTSUP) failWithErrno();
}

/// A FIFO is opened when it has a reader.
int openStream(const fs::path& path, const std::atomic<bool>* stop) {
    for (;;) {
        const int descriptor = ::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_TRUNC | O_CLOEXEC);
        if (descriptor >= 0) return descriptor;
        if (errno != ENXIO && errno != EINTR) failWithErrno();
        checkStop(stop);
        ::poll(nullptr, 0, waitMilliseconds);
    }
}

void writeToStream(int descriptor, const char* data, std::size_t size, const std::atomic<bool>* stop) {
    while (size > 0) {
        checkStop(stop);
        pollfd writable{descriptor, POLLOUT, 0};
        if (::poll(&writable, 1, waitMilliseconds) == 0) continue;
        const ssize_t written = ::write(descriptor, data, size);
        if (written < 0) {
            if (errno == EAGAIN || errno == EINTR) continue;
            failWithErrno();
        }
        data += written;
        size -= static_cast<std::size_t>(written);
    }
}

} // namespace

FileInPlace::FileInPlace(const fs::path& path, const std::atomic<bool>* stop) : stop_(stop) {
    if (!path.has_filename()) fail("the name ends in a directory; give a file name");
    Destination destination = destinationOf(path);
    path_ = std::move(destination.path);
    before_ = destination.before;
    if (destination.isStream) {
        if (::access(path_.c_str(), W_OK) != 0) failWithErrno();
        Descriptor memory(::memfd_create("orca-partial", MFD_CLOEXEC));
        if (memory.get() < 0) failWithErrno();
        file_.reset(::fdopen(memory.release(), "w+b"));
    } else {
        checkDirectory(directoryOf(path_));
        removeLeftovers(path_);
        createTemporary();
    }
    if (!file_) failWithErrno();
}

FileInPlace::~FileInPlace() {
    if (temporary_.empty()) return;
    ::unlink(temporary_.c_str());
    TemporaryFiles::instance().forget(temporary_);
}

void FileInPlace::createTemporary() {
    const mode_t mode = before_ ? before_->st_mode & 0666 : 0666;
    for (;;) {
        const fs::path name = directoryOf(path_) / (temporaryPrefix(path_) + randomWord());
        Descriptor created(::open(name.c_str(), O_CREAT | O_EXCL | O_RDWR | O_NOFOLLOW | O_CLOEXEC, mode));
        if (created.get() < 0) {
            if (errno == EEXIST) continue;
            failWithErrno();
        }
        // Where there are no locks, none can be had by another writer either, so nothing is taken for left.
        if (::flock(created.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) continue;
        struct stat status {};
        // Another writer may have taken it for left before it was locked.
        if (::fstat(created.get(), &status) != 0 || status.st_nlink == 0) continue;
        temporary_ = name;
        TemporaryFiles::instance().add(temporary_);
        file_.reset(::fdopen(created.release(), "w+b"));
        return;
    }
}

void FileInPlace::write(const void* data, std::size_t size) {
    constexpr std::size_t piece = std::size_t{8} << 20;
    const auto* from = static_cast<const char*>(data);
    while (size > 0) {
        const std::size_t now = std::min(size, piece);
        const bool stopped = stop_ && stop_->load(std::memory_order_relaxed);
        if (stopped) failWith(interrupted);
        if (std::fwrite(from, 1, now, file_.get()) != now) failWith(std::strerror(errno));
        from += now;
        size -= now;
        position_ += now;
        size_ = std::max(size_, position_);
    }
}

void FileInPlace::seek(std::uint64_t position) {
    if (::fseeko(file_.get(), static_cast<off_t>(position), SEEK_SET) != 0) failWith(std::strerror(errno));
    position_ = position;
}

void FileInPlace::failWith(const std::string& reason) {
    failed_ = true;
    fail(reason);
}

void FileInPlace::commit() {
    checkStop(stop_);
    if (std::fflush(file_.get()) != 0) failWithErrno();
    struct stat status {};
    if (::fstat(::fileno(file_.get()), &status) != 0) failWithErrno();
    if (failed_ || static_cast<std::uint64_t>(status.st_size) != size_)
        fail("not all of it could be written");
    if (temporary_.empty()) stream();
    else replace();
}

void FileInPlace::keepModeAndOwner() const {
    if (!before_) return;
    const int file = ::fileno(file_.get());
    // Only the superuser may give a file away; others may give it to one of their groups.
    const bool owned = ::fchown(file, before_->st_uid, before_->st_gid) == 0;
    const bool grouped = owned || ::fchown(file, static_cast<uid_t>(-1), before_->st_gid) == 0;
    if (::fchmod(file, before_->st_mode & (owned ? 07777 : grouped ? 0777 : 0707)) != 0) failWithErrno();
}

void FileInPlace::replace() {
    keepModeAndOwner();
    syncToDisk(::fileno(file_.get()));
    if (::rename(temporary_.c_str(), path_.c_str()) != 0) failWithErrno();
    TemporaryFiles::instance().forget(temporary_);
    temporary_.clear();
    const Descriptor directory(::open(directoryOf(path_).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.get() >= 0) syncToDisk(directory.get());
}

void FileInPlace::stream() const {
    const Descriptor target(openStream(path_, stop_));
    std::string piece(std::size_t{1} << 20, '\0');
    for (std::uint64_t sent = 0; sent < size_;) {
        const ssize_t got =
            ::pread(::fileno(file_.get()), piece.data(), piece.size(), static_cast<off_t>(sent));
        if (got <= 0) failWithErrno();
        writeToStream(target.get(), piece.data(), static_cast<std::size_t>(got), stop_);
        sent += static_cast<std::uint64_t>(got);
    }
}

bool canWrite(const std::string& path, Log& log) {
    try {
        // Tested by creating one: read-only mounts and quotas do not show in permission bits.
        const FileInPlace trial(path);
        return true;
    } catch (const std::exception& failure) {
        log.error("IMG", "cannot write \"{}\": {}", path, failure.what());
        return false;
    }
}

void removeTemporaryFiles() noexcept {
    TemporaryFiles::instance().removeAll();
}

} // namespace orca::image
