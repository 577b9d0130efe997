// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <string>

#include <tallywick/model/Result.h>

namespace tallywick {

// An exclusive claim on a file for the life of the process (flock): what
// keeps one host per user, one host per database and one window per runtime
// folder. The holder writes a short note into the file (its pid, its runtime
// folder) so that the one refused can say who holds it. The kernel drops the
// claim of a killed process.
class FileLock {
public:
    struct Refused {
        bool heldByOther = false;  // false: the file itself could not be used
        std::string note{};        // the holder's note, when it left one
        std::string reason{};      // when the file could not be used
    };

    static Result<FileLock, Refused> acquire(const std::string& path, const std::string& note);

    FileLock(FileLock&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }
    FileLock& operator=(FileLock&&) = delete;
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    ~FileLock();

    // Whether the file at `path` is still the one this lock holds (not
    // removed, nor replaced by another file of that name).
    bool heldAt(const std::string& path) const;

private:
    explicit FileLock(int fd) : fd_(fd) {}
    int fd_;
};

// Creates the missing folders of the path, private to the user; the reason
// when one could not be made.
Result<void, std::string> createPrivateFolders(const std::filesystem::path& folder);

}  // namespace tallywick
