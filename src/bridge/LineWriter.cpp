// SPDX-License-Identifier: MIT
#include <tallywick/bridge/LineWriter.h>

#include <sys/uio.h>

#include <algorithm>
#include <cerrno>
#include <string>

namespace tallywick {

bool LineWriter::write(std::string_view line) {
    std::string cleaned;
    if (line.find_first_of("\r\n") != std::string_view::npos) {
        cleaned.assign(line);
        std::replace_if(
            cleaned.begin(), cleaned.end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');
        line = cleaned;
    }
    static constexpr char newline = '\n';
    iovec parts[2] = {{const_cast<char*>(line.data()), line.size()}, {const_cast<char*>(&newline), 1}};
    int first = 0;

    std::lock_guard lock(mutex_);
    if (broken_) return false;
    while (first < 2) {
        const ssize_t count = ::writev(fd_, parts + first, 2 - first);
        if (count < 0) {
            if (errno == EINTR) continue;
            broken_ = true;
            return false;
        }
        auto left = static_cast<std::size_t>(count);
        while (first < 2 && left >= parts[first].iov_len) left -= parts[first++].iov_len;
        if (first < 2) {
            parts[first].iov_base = static_cast<char*>(parts[first].iov_base) + left;
            parts[first].iov_len -= left;
        }
    }
    return true;
}

}  // namespace tallywick
