// SPDX-License-Identifier: MIT
#include <tallywick/host/LogRedaction.h>

#include <simdjson.h>

#include <algorithm>
#include <vector>

#include <tallywick/model/JsonWriter.h>

namespace tallywick {

namespace {

using simdjson::dom::array;
using simdjson::dom::element;
using simdjson::dom::object;

constexpr std::string_view kKey = "key";

struct Survey {
    bool ambiguous = false;  // some object names a member twice
    bool holdsKey = false;
};

// Depth is bounded by the parser's own limit, so recursion is safe here.
void survey(element value, Survey& found) {
    object members;
    array items;
    if (value.get(members) == simdjson::SUCCESS) {
        std::vector<std::string_view> names;
        for (auto [name, inner] : members) {
            names.push_back(name);
            if (name == kKey) found.holdsKey = true;
            survey(inner, found);
        }
        std::sort(names.begin(), names.end());
        if (std::adjacent_find(names.begin(), names.end()) != names.end()) found.ambiguous = true;
    } else if (value.get(items) == simdjson::SUCCESS) {
        for (element item : items) survey(item, found);
    }
}

void rewrite(std::string& out, element value) {
    object members;
    array items;
    if (value.get(members) == simdjson::SUCCESS) {
        out += '{';
        bool first = true;
        for (auto [name, inner] : members) {
            if (!first) out += ',';
            first = false;
            appendJsonString(out, name);
            out += ':';
            if (name == kKey)
                appendJsonString(out, redactedKey);
            else
                rewrite(out, inner);
        }
        out += '}';
    } else if (value.get(items) == simdjson::SUCCESS) {
        out += '[';
        bool first = true;
        for (element item : items) {
            if (!first) out += ',';
            first = false;
            rewrite(out, item);
        }
        out += ']';
    } else {
        out += simdjson::minify(value);
    }
}

}  // namespace

std::string unreadableLine(std::size_t bytes) {
    return "[unreadable line of " + std::to_string(bytes) + " bytes]";
}

std::optional<std::string> redactedForLog(std::string_view line) {
    thread_local simdjson::dom::parser parser;
    element root;
    object members;
    if (parser.parse(line.data(), line.size()).get(root) != simdjson::SUCCESS ||
        root.get(members) != simdjson::SUCCESS)
        return unreadableLine(line.size());
    Survey found;
    survey(root, found);
    // Which of two members a reader takes is a guess, and so is whether the
    // one a peer took held a key: such a line is not logged at all.
    if (found.ambiguous) return unreadableLine(line.size());
    if (!found.holdsKey) return std::nullopt;
    std::string out;
    out.reserve(line.size());
    rewrite(out, root);
    return out;
}

}  // namespace tallywick
