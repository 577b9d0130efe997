// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include <tallywick/model/DecodeError.h>
#include <tallywick/model/WireCodable.h>

namespace tallywick {

// The writer's fixed configuration, shared by every encode.
struct JsonEncoder {
    bool escapeSolidus = true;
    bool compact = true;
};

// The reader's fixed configuration. Every thread reuses one parser of its own
// built from it; nothing is shared between threads after creation.
// maxDepth bounds what a record declares (our messages nest six levels
// deep); values under unknown keys nest as deep as they like, and numbers
// there may exceed 64 bits: both are skipped unread (see SkippableJson).
struct JsonDecoder {
    std::size_t maxDepth = 64;
    std::size_t maxCapacity = std::size_t{1} << 28;        // the link's frame limit, 256 MiB
    std::size_t retainedCapacity = std::size_t{64} << 20;  // larger texts leave no buffers behind
};

namespace TallywickCoding {

// The shared instances, created once on first use and never changed.
const JsonEncoder& encoder();
const JsonDecoder& decoder();

// Reads a whole text as T, strictly: exact JSON types, required keys present,
// null as absent for optional fields, unknown keys skipped (whatever they hold,
// as long as it is JSON), a key that T declares appearing twice in one object
// rejected. Any fault in what T declares fails the whole text.
template <WireCodable T>
DecodeResult<T> decodeResult(std::string_view text);

template <WireCodable T>
std::optional<T> decode(std::string_view text) {
    auto result = decodeResult<T>(text);
    if (!result) return std::nullopt;
    return std::move(result).value();
}

// Spare bytes after a text that let the reader read it where it lies: the
// reader reads ahead in wide blocks, past the text's end (never using what
// it finds there). Without them the text is copied first.
inline constexpr std::size_t kReadPadding = 64;

// The same, for a text held in a string with kReadPadding bytes of spare
// capacity (as the link delivers large payloads): no copy of the text.
template <WireCodable T>
DecodeResult<T> decodeResultInPlace(const std::string& text);

template <WireCodable T>
std::optional<T> decodeInPlace(const std::string& text) {
    auto result = decodeResultInPlace<T>(text);
    if (!result) return std::nullopt;
    return std::move(result).value();
}

// Compact JSON text, or none when a value cannot be written.
template <WireCodable T>
std::optional<std::string> encodeToString(const T& value);

}  // namespace TallywickCoding
}  // namespace tallywick
