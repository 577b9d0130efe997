// SPDX-License-Identifier: MIT
// Whatever payload an agent sent, laying it out for the activity detail must
// not crash, and must change nothing but the whitespace between tokens.
#include <simdjson.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include <tallywick/model/JsonIndent.h>

namespace {

std::string minified(std::string_view json) {
    auto out = std::make_unique<char[]>(json.size() + 1);
    std::size_t length = 0;
    if (simdjson::minify(json.data(), json.size(), out.get(), length) != simdjson::SUCCESS) return "<failed>";
    return {out.get(), length};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto indented = tallywick::indentJson(text);
    if (!indented) return 0;
    if (minified(*indented) != minified(text)) {
        std::fprintf(stderr, "tallywick fuzz: laying out changed more than whitespace\n");
        __builtin_trap();
    }
    return 0;
}
