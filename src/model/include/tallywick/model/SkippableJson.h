// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// Valid JSON that the parser cannot hold: a number beyond 64 bits or a
// double's range, or values nested deeper than the parser's bound. Such
// values only fail a message when it reads them; under keys it skips they
// must not. tame() makes a copy the parser can hold, each such value (a deep
// one whole) replaced by a marker string; a decoder that reads a marker
// fails with what it stands for.
namespace tallywick::SkippableJson {

// The markers: a NUL and a word, a string no record expects.
inline constexpr std::string_view kNumberMarker{"\0number", 7};
inline constexpr std::string_view kDepthMarker{"\0depth", 6};

// The copy, when `text` is valid JSON (UTF-8 checked elsewhere) holding such
// values; none when it is not valid JSON or holds none. `maxDepth` is the
// deepest nesting of containers kept.
std::optional<std::string> tame(std::string_view text, std::size_t maxDepth);

// What a marker stands for, said for a decoding error; none for other strings.
std::optional<std::string> markerMeaning(std::string_view text, std::size_t maxDepth);

}  // namespace tallywick::SkippableJson
