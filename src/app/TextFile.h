// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace tallywick::TextFile {

// The whole file, or none when it cannot be read. Files over 1 MiB are not
// ours and are not read.
std::optional<std::string> read(const std::filesystem::path& path);

// Makes the file hold exactly `content`, creating its folders; it is replaced
// in one step, so a reader never sees half of it. Gives the reason on failure.
struct WriteResult {
    bool changed = false;
    std::optional<std::string> failure;
};
WriteResult write(const std::filesystem::path& path, const std::string& content);

}  // namespace tallywick::TextFile
