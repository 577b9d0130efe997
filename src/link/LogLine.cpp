// SPDX-License-Identifier: MIT
#include <tallywick/link/LogLine.h>

#include <unistd.h>

#include <cerrno>

#include <tallywick/link/JournalStream.h>
#include <tallywick/model/EscapedText.h>

namespace tallywick::LogLine {

std::string format(std::string_view prefix, Priority priority, std::string_view message, bool journal) {
    std::string line;
    line.reserve(message.size() + prefix.size() + 4);
    if (journal) {
        line += '<';
        line += static_cast<char>('0' + static_cast<int>(priority));
        line += '>';
    } else {
        line += prefix;
    }
    line += EscapedText::of(message);
    line += '\n';
    return line;
}

void write(std::string_view prefix, Priority priority, std::string_view message) {
    writeWhole(STDERR_FILENO, format(prefix, priority, message, standardErrorIsJournal()));
}

bool writeWhole(int fd, std::string_view line) {
    std::size_t at = 0;
    while (at < line.size()) {
        const ssize_t n = ::write(fd, line.data() + at, line.size() - at);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        at += static_cast<std::size_t>(n);
    }
    return true;
}

}  // namespace tallywick::LogLine
