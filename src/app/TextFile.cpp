// SPDX-License-Identifier: MIT
#include "TextFile.h"

#include <unistd.h>

#include <fstream>
#include <sstream>
#include <system_error>

namespace tallywick::TextFile {

std::optional<std::string> read(const std::filesystem::path& path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) return std::nullopt;
    const auto size = std::filesystem::file_size(path, error);
    if (error || size > (1u << 20)) return std::nullopt;
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

Result<bool, std::string> write(const std::filesystem::path& path, const std::string& content) {
    if (read(path) == content) return false;
    std::error_code error;
    std::filesystem::create_directories(path.parent_path(), error);
    if (error) return fail("cannot create " + path.parent_path().string() + ": " + error.message());
    const std::filesystem::path temporary = path.string() + ".tmp-" + std::to_string(::getpid());
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        out << content;
        out.close();
        if (!out) {
            std::filesystem::remove(temporary, error);
            return fail("cannot write " + temporary.string());
        }
    }
    std::filesystem::rename(temporary, path, error);
    if (error) {
        const std::string reason = "cannot replace " + path.string() + ": " + error.message();
        std::filesystem::remove(temporary, error);
        return fail(reason);
    }
    return true;
}

}  // namespace tallywick::TextFile
