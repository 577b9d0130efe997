// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include <tallywick/model/Result.h>

namespace tallywick::TextFile {

// The whole file, or none when it cannot be read. Files over 1 MiB are not
// ours and are not read.
std::optional<std::string> read(const std::filesystem::path& path);

// Makes the file hold exactly `content`, creating its folders; it is replaced
// in one step, so a reader never sees half of it. Gives whether the file
// changed, or the reason it could not be written.
Result<bool, std::string> write(const std::filesystem::path& path, const std::string& content);

}  // namespace tallywick::TextFile
