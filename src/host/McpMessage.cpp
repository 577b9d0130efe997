// SPDX-License-Identifier: MIT
#include <tallywick/host/McpMessage.h>

#include <cerrno>
#include <cmath>
#include <cstdlib>

#include <tallywick/model/JsonWriter.h>

namespace tallywick {

namespace {

using simdjson::dom::element;
using simdjson::dom::element_type;

bool isValidId(element id) {
    const auto type = id.type();
    return type == element_type::STRING || type == element_type::INT64 || type == element_type::UINT64;
}

// The id exactly as written, so a client that compares texts finds its own.
// The DOM keeps only the value, so the first "id" member is found again in
// the raw text; the line has already been checked in full by then.
std::string rawIdText(const simdjson::padded_string& line, element id) {
    simdjson::ondemand::parser parser;
    simdjson::ondemand::document document;
    simdjson::ondemand::object object;
    if (!parser.iterate(line).get(document) && !document.get_object().get(object)) {
        for (auto member : object) {
            simdjson::ondemand::field field;
            std::string_view key;
            if (std::move(member).get(field) || field.unescaped_key().get(key)) break;
            if (key != "id") continue;
            std::string_view raw = field.value().raw_json_token();
            while (!raw.empty() &&
                   (raw.back() == ' ' || raw.back() == '\t' || raw.back() == '\n' || raw.back() == '\r')) {
                raw.remove_suffix(1);
            }
            if (!raw.empty()) return std::string(raw);
            break;
        }
    }
    return simdjson::to_string(id);  // the same value, written by us
}

// Whether a JSON number token fits what a reader of 64-bit integers and
// doubles takes: the line is still valid JSON when it does not.
bool numberFits(std::string_view token) {
    const bool integer = token.find_first_of(".eE") == std::string_view::npos;
    if (integer) {
        const std::string_view digits = token.substr(token.front() == '-' ? 1 : 0);
        const std::string_view limit = token.front() == '-' ? "9223372036854775808" : "18446744073709551615";
        return digits.size() < limit.size() || (digits.size() == limit.size() && digits <= limit);
    }
    const std::string text(token);
    errno = 0;
    const double value = std::strtod(text.c_str(), nullptr);
    return errno != ERANGE && std::isfinite(value);
}

// The line with every number beyond range written as 0.5 (a value no id and
// no tool argument takes), or nothing when it has none such.
std::optional<simdjson::padded_string> tameNumbers(std::string_view line) {
    std::string tamed;
    bool changed = false, inString = false;
    for (std::size_t at = 0; at < line.size();) {
        const char c = line[at];
        if (inString) {
            tamed += c;
            if (c == '\\' && at + 1 < line.size())
                tamed += line[++at];
            else if (c == '"')
                inString = false;
            ++at;
            continue;
        }
        if (c == '-' || (c >= '0' && c <= '9')) {
            const auto end = line.find_first_not_of("+-.0123456789eE", at);
            const auto token = line.substr(at, end == std::string_view::npos ? line.size() - at : end - at);
            const bool fits = numberFits(token);
            tamed += fits ? token : std::string_view("0.5");
            changed |= !fits;
            at += token.size();
            continue;
        }
        inString = c == '"';
        tamed += c;
        ++at;
    }
    if (!changed) return std::nullopt;
    return simdjson::padded_string(tamed);
}

McpMessage refused(McpError error, std::optional<std::string> method = std::nullopt,
                   std::string id = "null") {
    McpMessage message;
    message.kind = McpMessage::Kind::invalid;
    message.method = std::move(method);
    message.id = std::move(id);
    message.error = std::move(error);
    return message;
}

}  // namespace

McpMessage readMcpMessage(simdjson::dom::parser& parser, const simdjson::padded_string& line) {
    const McpError invalidRequest{McpError::invalidRequest, "Invalid Request"};
    element root;
    // Valid JSON whose numbers a tool cannot use is answered as such below,
    // with its id; only a line that is not JSON is a parse error.
    std::optional<simdjson::padded_string> tamed;
    if (const auto parsed = parser.parse(line).get(root); parsed) {
        if (parsed == simdjson::NUMBER_ERROR) tamed = tameNumbers(line);
        if (!tamed || parser.parse(*tamed).get(root)) return refused({McpError::parseError, "Parse error"});
    }
    // Batches are no longer part of the protocol, so an array is refused as a whole.
    simdjson::dom::object object;
    if (root.get(object)) return refused(invalidRequest);

    std::optional<element> jsonrpc, id, method, params, result, error;
    bool repeated = false;
    for (auto [key, value] : object) {
        std::optional<element>* slot = key == "jsonrpc"  ? &jsonrpc
                                       : key == "id"     ? &id
                                       : key == "method" ? &method
                                       : key == "params" ? &params
                                       : key == "result" ? &result
                                       : key == "error"  ? &error
                                                         : nullptr;
        if (!slot) continue;
        if (*slot)
            repeated = true;
        else
            *slot = value;
    }

    std::optional<std::string> methodName;
    if (std::string_view name; method && !method->get(name)) methodName = std::string(name);

    // What the client sends back to us needs no answer, and answering it could
    // start an endless exchange of errors.
    if (!method && (result || error)) {
        McpMessage message;
        message.kind = McpMessage::Kind::response;
        return message;
    }
    if (methodName && !id) {
        McpMessage message;
        message.kind = McpMessage::Kind::notification;
        message.method = std::move(methodName);
        return message;
    }
    // A repeated member makes the line ambiguous, its id included.
    if (repeated || !id || !isValidId(*id)) return refused(invalidRequest, std::move(methodName));

    std::string idText = rawIdText(line, *id);
    std::string_view version;
    if (!jsonrpc || jsonrpc->get(version) || version != "2.0" || !methodName) {
        return refused(invalidRequest, std::move(methodName), std::move(idText));
    }
    if (tamed) {
        return refused(McpError::params("a number in the request is beyond what a tool takes"),
                       std::move(methodName), std::move(idText));
    }
    McpMessage message;
    message.method = std::move(methodName);
    message.id = std::move(idText);
    if (params && !params->is_null()) {
        if (!params->is_object()) {
            message.kind = McpMessage::Kind::invalid;
            message.error = McpError::params("params must be an object");
            return message;
        }
        message.params = *params;
    }
    message.kind = McpMessage::Kind::request;
    return message;
}

std::string mcpResultLine(std::string_view id, std::string_view result) {
    std::string line;
    line.reserve(result.size() + id.size() + 32);
    line += R"({"jsonrpc":"2.0","id":)";
    line += id;
    line += R"(,"result":)";
    line += result;
    line += '}';
    return line;
}

std::string mcpErrorLine(std::string_view id, const McpError& error) {
    JsonWriter writer;
    writer.beginObject();
    writer.key("jsonrpc");
    writer.string("2.0");
    writer.key("id");
    writer.rawValue(id);
    writer.key("error");
    writer.beginObject();
    writer.key("code");
    writer.integer(error.code);
    writer.key("message");
    writer.string(error.message);
    if (error.data) {
        writer.key("data");
        writer.rawValue(*error.data);
    }
    writer.endObject();
    writer.endObject();
    if (auto line = std::move(writer).finish()) return std::move(*line);
    return R"({"jsonrpc":"2.0","id":null,"error":{"code":-32603,"message":"Internal error"}})";
}

}  // namespace tallywick
