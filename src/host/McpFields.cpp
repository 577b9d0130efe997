// SPDX-License-Identifier: MIT
#include <tallywick/host/McpFields.h>

#include <algorithm>

namespace tallywick {

McpFields::McpFields(const std::optional<simdjson::dom::element>& value) {
    simdjson::dom::object object;
    if (value && !value->get(object)) object_ = object;
}

void McpFields::fail(std::string_view name, std::string_view why) {
    if (!problem_) problem_ = std::string(name) + " " + std::string(why);
}

std::optional<simdjson::dom::element> McpFields::find(std::string_view name, bool required) {
    std::optional<simdjson::dom::element> found;
    if (object_) {
        for (auto [key, value] : *object_) {
            if (key != name) continue;
            if (found) {
                fail(name, "appears more than once");
                return std::nullopt;
            }
            found = value;
        }
    }
    if (found && found->is_null()) found.reset();
    if (!found && required) fail(name, "is required");
    return found;
}

std::optional<std::string_view> McpFields::string(std::string_view name, bool required) {
    auto value = find(name, required);
    std::string_view text;
    if (!value) return std::nullopt;
    if (value->get(text)) {
        fail(name, "must be a string");
        return std::nullopt;
    }
    return text;
}

std::optional<std::int64_t> McpFields::integer(std::string_view name, bool required) {
    auto value = find(name, required);
    std::int64_t number = 0;
    if (!value) return std::nullopt;
    // A number written with a fraction or exponent is not an integer to us,
    // and one beyond 64 bits is out of every range we accept.
    if (value->type() != simdjson::dom::element_type::INT64 || value->get(number)) {
        const bool large = value->type() == simdjson::dom::element_type::UINT64;
        fail(name, large ? "is out of range" : "must be an integer");
        return std::nullopt;
    }
    return number;
}

std::optional<simdjson::dom::object> McpFields::object(std::string_view name, bool required) {
    auto value = find(name, required);
    simdjson::dom::object result;
    if (!value) return std::nullopt;
    if (value->get(result)) {
        fail(name, "must be an object");
        return std::nullopt;
    }
    return result;
}

void McpFields::allowOnly(std::initializer_list<std::string_view> names) {
    if (!object_) return;
    for (auto [key, value] : *object_) {
        if (std::find(names.begin(), names.end(), key) == names.end()) {
            fail(key, "is not expected");
            return;
        }
    }
}

std::size_t codePointCount(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
}

}  // namespace tallywick
