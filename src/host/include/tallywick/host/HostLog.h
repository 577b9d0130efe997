// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <tallywick/link/LogLine.h>
#include <tallywick/model/Result.h>

// The host's log: one line per event on its standard error (LogLine), or in
// its own rotated file. Keys never reach it.
namespace tallywick::HostLog {

using Level = LogLine::Priority;

// From now on, standard error goes to the file at `path` (its folder made
// private when missing), which is rotated once it reaches `rotateAt` bytes,
// the last `kept` copies staying as path.1 (newest) to path.N. Why not, when
// the file cannot be opened; standard error is then left as it was.
Result<void, std::string> toFile(const std::string& path, std::size_t rotateAt = 1 << 20, int kept = 3);

// One line, whole; safe from any thread.
void write(Level level, std::string_view message);

inline void error(std::string_view message) {
    write(Level::error, message);
}
inline void warning(std::string_view message) {
    write(Level::warning, message);
}
inline void notice(std::string_view message) {
    write(Level::notice, message);
}
inline void info(std::string_view message) {
    write(Level::info, message);
}

}  // namespace tallywick::HostLog
