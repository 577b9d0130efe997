#include "LogRedaction.h"

#include <simdjson.h>

#include <tallywick/JsonWriter.h>

namespace tallywick {

namespace {

using simdjson::dom::element;
using simdjson::dom::object;

// Writes `value` with the member `path[0]` rewritten by descending, and the
// last step's value replaced by the redaction text.
void rewrite(std::string& out, object value, std::span<const std::string_view> path) {
    out += '{';
    bool first = true;
    for (auto [memberKey, memberValue] : value) {
        if (!first) out += ',';
        first = false;
        appendJsonString(out, memberKey);
        out += ':';
        object inner;
        if (memberKey != path.front()) {
            out += simdjson::minify(memberValue);
        } else if (path.size() == 1) {
            appendJsonString(out, redactedKey);
        } else if (memberValue.get(inner) == simdjson::SUCCESS) {
            rewrite(out, inner, path.subspan(1));
        } else {
            out += simdjson::minify(memberValue);
        }
    }
    out += '}';
}

}  // namespace

std::optional<std::string> redactedForLog(std::string_view line) {
    simdjson::dom::parser parser;
    object root;
    if (parser.parse(line.data(), line.size()).get(root)) {
        // A broken line cannot be taken apart safely; one that may hold a key is withheld whole.
        if (line.find("key") == std::string_view::npos) return std::nullopt;
        return std::string(unreadableWithheld);
    }
    std::string_view method;
    if (root["method"].get(method) || method != "tools/call") return std::nullopt;
    element key;
    if (root.at_pointer("/params/arguments/key").get(key)) return std::nullopt;
    // A key given twice is hidden wherever it stands: every "key" member of
    // the arguments is rewritten, not only the one the parser kept.
    static constexpr std::string_view path[] = {"params", "arguments", "key"};
    std::string out;
    out.reserve(line.size());
    rewrite(out, root, path);
    return out;
}

}  // namespace tallywick
