// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

namespace tallywick {

enum class FrameKind : std::uint8_t {
    hello = 0,
    call = 1,  // wants exactly one reply or failure with the same id
    reply = 2,
    message = 3,  // one-way
    failure = 4,  // in place of a reply; the payload is the reason
};

// One unit of the link, in both directions:
//   u32 length (of what follows) | u8 kind | u64 id | u8 name length | name | payload
// all big-endian; the name is an ASCII method name, the payload UTF-8.
struct Frame {
    FrameKind kind = FrameKind::message;
    std::uint64_t id = 0;
    std::string name;
    std::string payload;

    friend bool operator==(const Frame&, const Frame&) = default;
};

inline constexpr std::string_view kHelloName = "tallywick-link";
inline constexpr std::string_view kLinkVersion = "1";
inline constexpr std::uint32_t kMaxFrameLength = 256u << 20;  // 256 MiB
inline constexpr std::size_t kFrameHeaderSize = 4 + 1 + 8 + 1;
// The largest payload a reply (which has no name) can carry.
inline constexpr std::size_t kMaxReplyPayload = kMaxFrameLength - (kFrameHeaderSize - 4);

}  // namespace tallywick
