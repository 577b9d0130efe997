// SPDX-License-Identifier: MIT
#include <tallywick/demo/AgentReply.h>

#include <simdjson.h>

namespace tallywick {

namespace {

void readText(simdjson::dom::element root, const char* pointer, std::string& into) {
    std::string_view text;
    if (root.at_pointer(pointer).get(text) == simdjson::SUCCESS) into = text;
}

}  // namespace

AgentReply AgentReply::of(std::string_view line) {
    AgentReply reply;
    thread_local simdjson::dom::parser parser;
    simdjson::dom::element root;
    if (parser.parse(line.data(), line.size()).get(root) != simdjson::SUCCESS || !root.is_object())
        return reply;
    reply.readable = true;

    std::int64_t number = 0;
    if (root["id"].get(number) == simdjson::SUCCESS) reply.id = number;
    readText(root, "/method", reply.method);
    readText(root, "/params/uri", reply.uri);
    if (root.at_pointer("/error/code").get(number) == simdjson::SUCCESS) reply.errorCode = number;
    readText(root, "/error/message", reply.errorMessage);
    readText(root, "/result/protocolVersion", reply.protocolVersion);
    simdjson::dom::object result;
    reply.hasResult = root["result"].get(result) == simdjson::SUCCESS;

    simdjson::dom::element structured;
    if (root.at_pointer("/result/structuredContent").get(structured) != simdjson::SUCCESS ||
        !structured.is_object()) {
        return reply;
    }
    bool failed = false;
    if (root.at_pointer("/result/isError").get(failed) == simdjson::SUCCESS) reply.toolFailed = failed;
    readText(structured, "/error/code", reply.toolErrorCode);
    readText(structured, "/error/message", reply.errorMessage);
    readText(structured, "/accountId", reply.accountId);
    readText(structured, "/displayName", reply.displayName);
    readText(structured, "/nextBefore", reply.nextBefore);
    if (structured.at_pointer("/balance").get(number) == simdjson::SUCCESS) reply.balance = number;
    simdjson::dom::array entries;
    if (structured.at_pointer("/entries").get(entries) == simdjson::SUCCESS)
        reply.entryCount = entries.size();
    return reply;
}

}  // namespace tallywick
