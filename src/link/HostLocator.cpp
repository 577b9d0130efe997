// SPDX-License-Identifier: MIT
#include <tallywick/link/HostLocator.h>

#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

#include <tallywick/link/RuntimeDirectory.h>
#include <tallywick/link/SocketAddress.h>

namespace tallywick::HostLocator {

namespace {

// What a small file says on its first line, at most a path's length.
std::string firstLine(const std::string& path) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0) return {};
    std::string text(4096, '\0');
    const ssize_t count = ::pread(fd, text.data(), text.size(), 0);
    ::close(fd);
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    if (const auto end = text.find_first_of("\r\n"); end != std::string::npos) text.resize(end);
    return text;
}

std::string recordPath(const std::string& runtimeDirectory) {
    return runtimeDirectory + "/ledger";
}

}  // namespace

std::string defaultDatabasePath() {
    if (const char* dir = std::getenv("TALLYWICK_DATA_DIR"); dir && *dir)
        return std::string(dir) + "/ledger.sqlite3";
    // Relative XDG paths are invalid and must be ignored.
    if (const char* dir = std::getenv("XDG_DATA_HOME"); dir && *dir == '/')
        return std::string(dir) + "/tallywick/ledger.sqlite3";
    std::string home;
    if (const char* variable = std::getenv("HOME"); variable && *variable)
        home = variable;
    else if (const passwd* entry = ::getpwuid(::geteuid()); entry && entry->pw_dir)
        home = entry->pw_dir;
    return (home.empty() ? std::string("/") : home) + "/.local/share/tallywick/ledger.sqlite3";
}

std::string folderFor(const std::string& runtimeDirectory, const std::string& databasePath) {
    if (acceptsConnections(endpointPath(runtimeDirectory))) return runtimeDirectory;
    const std::string other = firstLine(databasePath + ".lock");
    if (other.empty() || other == runtimeDirectory || !checkRuntimeDirectory(other).usable())
        return runtimeDirectory;
    return acceptsConnections(endpointPath(other)) ? other : runtimeDirectory;
}

std::string recordedLedger(const std::string& runtimeDirectory) {
    return firstLine(recordPath(runtimeDirectory));
}

bool recordLedger(const std::string& runtimeDirectory, const std::string& databasePath) {
    if (recordedLedger(runtimeDirectory) == databasePath) return true;
    const std::string staged = recordPath(runtimeDirectory) + ".new";
    const int fd = ::open(staged.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600);
    if (fd < 0) return false;
    const std::string line = databasePath + "\n";
    const bool written = ::write(fd, line.data(), line.size()) == static_cast<ssize_t>(line.size());
    ::close(fd);
    if (written && ::rename(staged.c_str(), recordPath(runtimeDirectory).c_str()) == 0) return true;
    ::unlink(staged.c_str());
    return false;
}

}  // namespace tallywick::HostLocator
