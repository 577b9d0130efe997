// SPDX-License-Identifier: MIT
#include <tallywick/bridge/LineReader.h>

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace tallywick {

namespace {

constexpr std::size_t kReadSize = std::size_t{64} * 1024;

bool isBlank(std::string_view line) {
    return line.find_first_not_of(" \t") == std::string_view::npos;
}

}  // namespace

LineReader::LineReader(int fd, std::size_t maxLineBytes) : fd_(fd), maxLineBytes_(maxLineBytes) {}

LineReader::Item LineReader::next() {
    for (;;) {
        const char* base = buffer_.data() + start_;
        const std::size_t available = buffer_.size() - start_;
        const void* found = std::memchr(base + scanned_, '\n', available - scanned_);
        if (found) {
            const std::size_t length = static_cast<const char*>(found) - base;
            std::string_view line(base, length);
            start_ += length + 1;
            scanned_ = 0;
            if (discarding_) {
                discarding_ = false;
                continue;
            }
            if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
            if (line.size() > maxLineBytes_) return {Item::Kind::overlong, {}};
            if (isBlank(line)) continue;
            return {Item::Kind::line, std::string(line)};
        }
        scanned_ = available;
        // One byte of slack: a line at the limit may still be waiting for the LF after its CR.
        if (!discarding_ && available > maxLineBytes_ + 1) {
            discarding_ = true;
            start_ = buffer_.size();
            scanned_ = 0;
            return {Item::Kind::overlong, {}};
        }
        if (discarding_) {
            start_ = buffer_.size();
            scanned_ = 0;
        }
        if (!fill()) {
            std::string_view rest(buffer_.data() + start_, buffer_.size() - start_);
            start_ = buffer_.size();
            scanned_ = 0;
            if (discarding_ || isBlank(rest)) return {Item::Kind::end, {}};
            if (rest.back() == '\r') rest.remove_suffix(1);
            if (rest.size() > maxLineBytes_) return {Item::Kind::overlong, {}};
            return {Item::Kind::line, std::string(rest)};
        }
    }
}

bool LineReader::fill() {
    if (ended_) return false;
    compact();
    const std::size_t old = buffer_.size();
    buffer_.resize(old + kReadSize);
    for (;;) {
        const ssize_t count = ::read(fd_, buffer_.data() + old, kReadSize);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) {
            buffer_.resize(old);
            ended_ = true;
            return false;
        }
        buffer_.resize(old + static_cast<std::size_t>(count));
        return true;
    }
}

// Drops the lines already handed out, so the buffer holds at most one
// partial line and one read.
void LineReader::compact() {
    if (start_ == 0) return;
    buffer_.erase(0, start_);
    start_ = 0;
}

}  // namespace tallywick
