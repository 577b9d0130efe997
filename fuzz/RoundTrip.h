// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>
#include <variant>

#include <tallywick/core.h>

namespace tallywick::fuzz {

[[noreturn]] inline void violated(const char* what) {
    // Say which property broke before trapping; the input is in the crash file.
    std::fprintf(stderr, "tallywick fuzz: %s\n", what);
    std::fflush(stderr);
    __builtin_trap();
}

// Whatever decodes must write back, and what it writes must be a fixed point:
// read again and written again, it gives the same bytes. Whatever does not
// decode must say why.
template <class T>
int checkRoundTrip(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    auto first = TallywickCoding::decodeResult<T>(input);
    if (!first) {
        if (first.error().description.empty()) violated("decode failed without a description");
        return 0;
    }

    // Decoded text is valid UTF-8, so nothing in the value can stop the writer.
    const auto text = TallywickCoding::encodeToString(first.value());
    if (!text) violated("a decoded value did not encode");

    auto second = TallywickCoding::decodeResult<T>(*text);
    if (!second) {
        std::fprintf(stderr, "tallywick fuzz: %s at '%s'\n", second.error().description.c_str(),
                     second.error().codingPath.c_str());
        violated("our own output did not decode");
    }
    const auto again = TallywickCoding::encodeToString(second.value());
    if (!again) violated("a re-decoded value did not encode");
    if (*again != *text) {
        std::fprintf(stderr, "tallywick fuzz: first  %s\ntallywick fuzz: second %s\n", text->c_str(),
                     again->c_str());
        violated("encoding is not canonical");
    }
    return 0;
}

}  // namespace tallywick::fuzz
