// SPDX-License-Identifier: MIT
#include <tallywick/bridge/AgentLine.h>

#include <simdjson.h>

#include <tallywick/model/JsonWriter.h>

namespace tallywick {

std::optional<std::string> AgentLine::requestId(std::string_view line) {
    thread_local simdjson::dom::parser parser;
    simdjson::dom::object root;
    if (parser.parse(line.data(), line.size()).get(root) != simdjson::SUCCESS) return std::nullopt;
    std::string_view method;
    if (root["method"].get(method) != simdjson::SUCCESS) return std::nullopt;
    simdjson::dom::element id;
    if (root["id"].get(id) != simdjson::SUCCESS) return std::nullopt;
    return simdjson::to_string(id);
}

std::string AgentLine::error(std::string_view idJson, int code, std::string_view message) {
    JsonWriter writer(128);
    writer.beginObject();
    writer.key("jsonrpc");
    writer.string("2.0");
    writer.key("id");
    writer.rawValue(idJson);
    writer.key("error");
    writer.beginObject();
    writer.key("code");
    writer.integer(code);
    writer.key("message");
    writer.string(message);
    writer.endObject();
    writer.endObject();
    return writer.text();
}

}  // namespace tallywick
