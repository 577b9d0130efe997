// SPDX-License-Identifier: MIT
#include <tallywick/host/HostLog.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>

#include <tallywick/link/FileLock.h>
#include <tallywick/link/JournalStream.h>
#include <tallywick/link/LogLine.h>

namespace tallywick::HostLog {
namespace {

struct State {
    std::mutex mutex;
    bool journal = standardErrorIsJournal();
    std::string path;  // empty: standard error is not ours to rotate
    std::size_t rotateAt = 0;
    int kept = 0;
    std::size_t written = 0;
};

State& state() {
    static State shared;
    return shared;
}

std::string numbered(const std::string& path, int n) {
    return path + "." + std::to_string(n);
}

// Opens the file onto standard error; false when it cannot be opened.
bool attach(State& s) {
    const int fd = ::open(s.path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (fd < 0) return false;
    struct stat info {};
    s.written = ::fstat(fd, &info) == 0 ? static_cast<std::size_t>(info.st_size) : 0;
    ::dup2(fd, STDERR_FILENO);
    ::close(fd);
    s.journal = false;
    return true;
}

// The oldest copy goes, each other moves one place down, the current file
// becomes the first copy and a new one is begun.
void rotate(State& s) {
    std::error_code ignored;
    std::filesystem::remove(numbered(s.path, s.kept), ignored);
    for (int n = s.kept - 1; n >= 1; --n)
        std::filesystem::rename(numbered(s.path, n), numbered(s.path, n + 1), ignored);
    if (s.kept >= 1) std::filesystem::rename(s.path, numbered(s.path, 1), ignored);
    if (!attach(s)) s.written = 0;  // keeps writing to the renamed file rather than nowhere
}

}  // namespace

Result<void, std::string> toFile(const std::string& path, std::size_t rotateAt, int kept) {
    const auto folder = std::filesystem::path(path).parent_path();
    if (!folder.empty()) {
        if (auto created = createPrivateFolders(folder); !created) return created;
    }
    State& s = state();
    const std::lock_guard lock(s.mutex);
    const std::string previous = s.path;
    s.path = path;
    s.rotateAt = rotateAt;
    s.kept = kept;
    if (!attach(s)) {
        const std::string reason = std::strerror(errno);
        s.path = previous;
        return fail("cannot write the log " + path + ": " + reason);
    }
    if (s.written >= s.rotateAt) rotate(s);
    return {};
}

void write(Level level, std::string_view message) {
    State& s = state();
    const std::string line = LogLine::format("tallywick-host: ", level, message, s.journal);
    const std::lock_guard lock(s.mutex);
    // A line that would take the file past its size begins the next one.
    if (!s.path.empty() && s.written > 0 && s.written + line.size() > s.rotateAt) rotate(s);
    // A full disk or a closed stream loses the line, nothing else.
    if (LogLine::writeWhole(STDERR_FILENO, line)) s.written += line.size();
}

}  // namespace tallywick::HostLog
