// SPDX-License-Identifier: MIT
#include <tallywick/model/JsonWriter.h>

#include <charconv>

#include <simdjson.h>

namespace tallywick {

void JsonWriter::separate() {
    if (needComma_) out_ += ',';
}

void JsonWriter::beginObject() {
    separate();
    out_ += '{';
    needComma_ = false;
}

void JsonWriter::endObject() {
    out_ += '}';
    needComma_ = true;
}

void JsonWriter::beginArray() {
    separate();
    out_ += '[';
    needComma_ = false;
}

void JsonWriter::endArray() {
    out_ += ']';
    needComma_ = true;
}

void JsonWriter::key(std::string_view name) {
    separate();
    appendJsonString(out_, name);
    out_ += ':';
    needComma_ = false;
}

void JsonWriter::string(std::string_view text) {
    separate();
    appendJsonString(out_, text);
    needComma_ = true;
}

void JsonWriter::integer(std::int64_t value) {
    separate();
    char buffer[24];
    auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    out_.append(buffer, result.ptr);
    needComma_ = true;
}

void JsonWriter::boolean(bool value) {
    separate();
    out_ += value ? "true" : "false";
    needComma_ = true;
}

void JsonWriter::null() {
    separate();
    out_ += "null";
    needComma_ = true;
}

void JsonWriter::date(Date value) {
    auto text = formatDate(value);
    if (!text) {
        markFailed();
        text = "";
    }
    string(*text);
}

void JsonWriter::rawValue(std::string_view json) {
    separate();
    out_ += json;
    needComma_ = true;
}

std::optional<std::string> JsonWriter::finish() && {
    // Text fields are bytes; only valid UTF-8 may leave as JSON.
    if (failed_ || !isValidUtf8(out_)) return std::nullopt;
    return std::move(out_);
}

void appendJsonString(std::string& out, std::string_view text) {
    static constexpr char hex[] = "0123456789abcdef";
    out += '"';
    std::size_t plain = 0;  // start of the run of bytes copied unchanged
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c >= 0x20 && c != '"' && c != '\\' && c != '/') continue;
        out.append(text.data() + plain, i - plain);
        plain = i + 1;
        switch (c) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '/': out += "\\/"; break;
            case '\b': out += "\\b"; break;
            case '\f': out += "\\f"; break;
            case '\n': out += "\\n"; break;
            case '\r': out += "\\r"; break;
            case '\t': out += "\\t"; break;
            default:
                out += "\\u00";
                out += hex[c >> 4];
                out += hex[c & 0xf];
        }
    }
    out.append(text.data() + plain, text.size() - plain);
    out += '"';
}

bool isValidUtf8(std::string_view bytes) {
    return simdjson::validate_utf8(bytes.data(), bytes.size());
}

}  // namespace tallywick
