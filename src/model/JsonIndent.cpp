// SPDX-License-Identifier: MIT
#include <tallywick/model/JsonIndent.h>

#include <simdjson.h>

#include <algorithm>
#include <cstddef>

namespace tallywick {
namespace {

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// Past this depth lines stop moving right: a deeply nested payload would
// otherwise grow quadratically in spaces.
constexpr std::size_t kDeepestIndent = 32;

}  // namespace

std::optional<std::string> indentJson(std::string_view json) {
    // Only valid JSON is laid out: the pass below trusts its structure.
    simdjson::dom::parser parser;
    if (parser.parse(simdjson::padded_string(json)).error()) return std::nullopt;

    std::string out;
    out.reserve(json.size() + json.size() / 2);
    std::size_t depth = 0;
    const auto newLine = [&] {
        out += '\n';
        out.append(2 * std::min(depth, kDeepestIndent), ' ');
    };
    for (std::size_t at = 0; at < json.size(); ++at) {
        const char c = json[at];
        if (c == '"') {
            // A whole string as it stands, escapes included.
            const std::size_t start = at;
            for (++at; json[at] != '"'; ++at) {
                if (json[at] == '\\') ++at;
            }
            out.append(json.substr(start, at + 1 - start));
            continue;
        }
        if (isSpace(c)) continue;
        switch (c) {
            case '{':
            case '[': {
                std::size_t next = at + 1;
                while (isSpace(json[next])) ++next;
                out += c;
                if (json[next] == '}' || json[next] == ']') {
                    out += json[next];  // empty: stays on one line
                    at = next;
                } else {
                    ++depth;
                    newLine();
                }
                break;
            }
            case '}':
            case ']':
                --depth;
                newLine();
                out += c;
                break;
            case ',':
                out += c;
                newLine();
                break;
            case ':': out += ": "; break;
            default: out += c;
        }
    }
    return out;
}

}  // namespace tallywick
