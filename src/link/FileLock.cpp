// SPDX-License-Identifier: MIT
#include <tallywick/link/FileLock.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

namespace tallywick {

namespace {

// A note is one short line; anything longer is not ours.
constexpr std::size_t kNoteLimit = 4096;

std::string readNote(int fd) {
    std::string note(kNoteLimit, '\0');
    const ssize_t count = ::pread(fd, note.data(), note.size(), 0);
    note.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    if (const auto end = note.find_first_of("\r\n"); end != std::string::npos) note.resize(end);
    return note;
}

}  // namespace

Result<FileLock, FileLock::Refused> FileLock::acquire(const std::string& path, const std::string& note) {
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd < 0) return fail(Refused{.reason = "cannot open " + path + ": " + std::strerror(errno)});
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        Refused refused{.heldByOther = error == EWOULDBLOCK, .note = readNote(fd)};
        if (!refused.heldByOther) refused.reason = "cannot lock " + path + ": " + std::strerror(error);
        ::close(fd);
        return fail(std::move(refused));
    }
    // Only the holder writes, so a reader sees a whole note or an older one.
    const std::string line = note + "\n";
    if (::ftruncate(fd, 0) == 0) {
        [[maybe_unused]] const ssize_t written = ::pwrite(fd, line.data(), line.size(), 0);
    }
    return FileLock(fd);
}

FileLock::~FileLock() {
    if (fd_ >= 0) ::close(fd_);
}

bool FileLock::heldAt(const std::string& path) const {
    struct stat held {
    }, named{};
    return fd_ >= 0 && ::fstat(fd_, &held) == 0 && ::lstat(path.c_str(), &named) == 0 &&
           held.st_dev == named.st_dev && held.st_ino == named.st_ino;
}

Result<void, std::string> createPrivateFolders(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> missing;
    std::error_code ignored;
    for (auto path = folder; !path.empty() && !std::filesystem::exists(path, ignored);
         path = path.parent_path()) {
        missing.push_back(path);
        if (path == path.parent_path()) break;
    }
    for (auto path = missing.rbegin(); path != missing.rend(); ++path) {
        if (::mkdir(path->c_str(), 0700) != 0 && errno != EEXIST) {
            return fail("Could not create the folder " + path->string() + ": " +
                        std::error_code(errno, std::generic_category()).message());
        }
    }
    return {};
}

}  // namespace tallywick
