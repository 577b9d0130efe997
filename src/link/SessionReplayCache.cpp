// SPDX-License-Identifier: MIT
#include <tallywick/link/SessionReplayCache.h>

#include <simdjson.h>

#include <tallywick/model/JsonWriter.h>
#include <tallywick/model/SkippableJson.h>

namespace tallywick {
namespace {

using simdjson::dom::element;
using simdjson::dom::object;

// Parses a whole line as a JSON object, with this thread's own parser. The
// object lives until the thread's next parse, so callers copy what they keep.
std::optional<object> parseObject(std::string_view text) {
    thread_local simdjson::dom::parser parser;
    element root;
    object result;
    auto error = parser.parse(text.data(), text.size()).get(root);
    // Valid JSON the parser cannot hold (huge numbers, deep nesting) counts
    // only where it is read: a copy with those values marked is read instead.
    if ((error == simdjson::NUMBER_ERROR || error == simdjson::DEPTH_ERROR) &&
        simdjson::validate_utf8(text.data(), text.size())) {
        if (const auto tamed = SkippableJson::tame(text, simdjson::DEFAULT_MAX_DEPTH - 1))
            error = parser.parse(tamed->data(), tamed->size()).get(root);
    }
    if (error != simdjson::SUCCESS) return std::nullopt;
    if (root.get(result) != simdjson::SUCCESS) return std::nullopt;
    return result;
}

std::optional<std::string> stringMember(object from, std::string_view key) {
    std::string_view value;
    if (from[key].get(value) != simdjson::SUCCESS) return std::nullopt;
    if (SkippableJson::markerMeaning(value, 0)) return std::nullopt;  // a value too large to hold
    return std::string(value);
}

std::optional<object> objectMember(object from, std::string_view key) {
    object value;
    if (from[key].get(value) != simdjson::SUCCESS) return std::nullopt;
    return value;
}

}  // namespace

std::optional<SessionReplayCache::Summary> SessionReplayCache::summarize(std::string_view line) {
    auto root = parseObject(line);
    if (!root) return std::nullopt;
    Summary summary;
    auto method = stringMember(*root, "method");
    if (!method) return std::nullopt;
    summary.method = std::move(*method);
    if (auto params = objectMember(*root, "params")) {
        summary.name = stringMember(*params, "name");
        if (auto arguments = objectMember(*params, "arguments")) {
            summary.hasArguments = true;
            summary.key = stringMember(*arguments, "key");
        }
    }
    return summary;
}

bool SessionReplayCache::replySucceeded(std::string_view reply) {
    auto root = parseObject(reply);
    if (!root) return false;
    auto result = objectMember(*root, "result");
    if (!result) return false;  // a JSON-RPC error has no result
    element isError;
    if ((*result)["isError"].get(isError) != simdjson::SUCCESS) return true;
    bool flag;
    if (isError.get(flag) == simdjson::SUCCESS) return !flag;
    // Numbers 1 and 0 stand for true and false; any other value does not say failure.
    double number;
    if (isError.is_number() && isError.get(number) == simdjson::SUCCESS) {
        if (number == 1) return false;
        if (number == 0) return true;
    }
    return true;
}

std::optional<std::string> SessionReplayCache::accountId(std::string_view fromReply) {
    auto root = parseObject(fromReply);
    if (!root) return std::nullopt;
    auto result = objectMember(*root, "result");
    if (!result) return std::nullopt;
    auto content = objectMember(*result, "structuredContent");
    if (!content) return std::nullopt;
    return stringMember(*content, "accountId");
}

std::optional<std::string> SessionReplayCache::makeLoginLine(std::string_view accountId,
                                                             std::string_view key) {
    JsonWriter w;
    w.beginObject();
    w.key("jsonrpc");
    w.string("2.0");
    w.key("id");
    w.string(kReplayLoginId);
    w.key("method");
    w.string("tools/call");
    w.key("params");
    w.beginObject();
    w.key("name");
    w.string("login");
    w.key("arguments");
    w.beginObject();
    w.key("accountId");
    w.string(accountId);
    w.key("key");
    w.string(key);
    w.endObject();
    w.endObject();
    w.endObject();
    return std::move(w).finish();
}

void SessionReplayCache::observeRequest(std::string_view line) {
    auto summary = summarize(line);
    if (!summary || summary->method != "initialize") return;
    std::lock_guard guard(lock_);
    initializeLine_ = std::string(line);
}

void SessionReplayCache::observeResponse(std::string_view request, std::optional<std::string_view> reply) {
    if (!reply) return;
    auto summary = summarize(request);
    if (!summary || summary->method != "tools/call") return;
    if (!replySucceeded(*reply) || !summary->name) return;
    if (*summary->name == "login") {
        std::lock_guard guard(lock_);
        loginLine_ = std::string(request);
        return;
    }
    if (*summary->name != "signUp" || !summary->hasArguments || !summary->key) return;
    auto account = accountId(*reply);
    if (!account) return;
    auto login = makeLoginLine(*account, *summary->key);
    if (!login) return;
    std::lock_guard guard(lock_);
    loginLine_ = std::move(*login);
}

std::vector<std::string> SessionReplayCache::replayLines(std::string_view excluding) const {
    std::lock_guard guard(lock_);
    std::vector<std::string> lines;
    for (const auto* line : {&initializeLine_, &loginLine_}) {
        if (*line && **line != excluding) lines.push_back(**line);
    }
    return lines;
}

bool SessionReplayCache::canReestablish() const {
    std::lock_guard guard(lock_);
    return initializeLine_.has_value();
}

}  // namespace tallywick
