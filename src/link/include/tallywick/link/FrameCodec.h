// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <tallywick/link/Frame.h>

namespace tallywick {

// Why a peer's bytes cannot be a frame. Any of these closes the connection.
enum class FrameViolation {
    tooLong,   // longer than kMaxFrameLength
    tooShort,  // the length does not cover kind, id and name length
    unknownKind,
    badName,  // longer than the frame, not ASCII, or present where none belongs
    badId,    // a call without an id, or an id where none belongs
    payloadNotUtf8,
};

std::string_view describe(FrameViolation violation);

// What a buffer of received bytes holds: the complete frames at its start,
// how many bytes they took, and a violation if the next frame is one.
// Bytes after `consumed` are an incomplete frame, to be kept for the next read.
struct FrameScan {
    std::vector<Frame> frames;
    std::size_t consumed = 0;
    std::optional<FrameViolation> violation;
};

// Pure: the same bytes always give the same scan.
FrameScan scanFrames(std::string_view bytes);

// The first frame's head, checked, and where its payload lies; nothing while
// the head is incomplete. The payload itself is not looked at: a reader that
// takes a large payload straight into its own buffer checks it there, once.
struct FrameHead {
    FrameKind kind = FrameKind::message;
    std::uint64_t id = 0;
    std::string name;
    std::size_t headLength = 0;  // length field, kind, id, name length and name
    std::size_t payloadLength = 0;
};
std::variant<std::monostate, FrameHead, FrameViolation> readFrameHead(std::string_view bytes);

// The wire form of one frame, or none when it could not be read back
// (too long, name not ASCII or over 255 bytes, payload not UTF-8, bad id).
std::optional<std::string> encodeFrame(const Frame& frame);

// Everything of that wire form before the payload, after the same checks;
// the payload then follows as it is, so a large one is never copied.
std::optional<std::string> encodeFrameHead(FrameKind kind, std::uint64_t id, std::string_view name,
                                           std::string_view payload);
// The same for a payload already known to be UTF-8 (our writer's output),
// which is then not read a second time.
std::optional<std::string> encodeFrameHead(FrameKind kind, std::uint64_t id, std::string_view name,
                                           std::size_t payloadLength);

}  // namespace tallywick
