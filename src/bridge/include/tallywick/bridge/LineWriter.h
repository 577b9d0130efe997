// SPDX-License-Identifier: MIT
#pragma once

#include <mutex>
#include <string_view>

namespace tallywick {

// The one writer of the agent's stdout. Each line goes out whole, with its
// LF, in a single locked write, so lines from different threads never mix.
class LineWriter {
public:
    explicit LineWriter(int fd) : fd_(fd) {}

    // Writes the line and LF. A raw CR or LF inside would split it; in JSON
    // they can only be whitespace between tokens, so they become spaces.
    // False once the reader has gone (later lines are dropped).
    bool write(std::string_view line);

private:
    std::mutex mutex_;
    int fd_;
    bool broken_ = false;
};

}  // namespace tallywick
