// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <string>

namespace tallywick {

// Splits a byte stream (the agent's stdin) into lines. A line ends at LF; a
// CR before the LF is dropped; blank lines are skipped. A line longer than
// the limit is never held whole: it is reported once, as soon as it passes
// the limit, and the rest of it is read and thrown away.
class LineReader {
public:
    static constexpr std::size_t kMaxLineBytes = 4u << 20;  // 4 MiB

    struct Item {
        enum class Kind { line, overlong, end };
        Kind kind = Kind::end;
        std::string text;  // for a line: without its terminator
    };

    explicit LineReader(int fd, std::size_t maxLineBytes = kMaxLineBytes);

    // Blocks until the next line, an over-long line, or the end of input
    // (a read error counts as the end). A last line without LF still counts.
    Item next();

private:
    bool fill();  // false at the end of input
    void compact();

    int fd_;
    std::size_t maxLineBytes_;
    std::string buffer_;
    std::size_t start_ = 0;    // where the current line begins
    std::size_t scanned_ = 0;  // bytes after start_ already known to hold no LF
    bool discarding_ = false;  // inside an over-long line that was already reported
    bool ended_ = false;
};

}  // namespace tallywick
