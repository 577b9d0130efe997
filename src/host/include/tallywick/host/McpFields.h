// SPDX-License-Identifier: MIT
#pragma once
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include <simdjson.h>

namespace tallywick {

// Reads the members of one JSON object from an agent strictly: exact types,
// null read as absent, no member twice. Keeps the first problem, worded for
// the agent ("limit must be an integer").
class McpFields {
public:
    McpFields() = default;  // no object at all: every member is absent
    explicit McpFields(simdjson::dom::object object) : object_(object) {}
    explicit McpFields(const std::optional<simdjson::dom::element>& value);

    std::optional<std::string_view> string(std::string_view name, bool required = false);
    std::optional<std::int64_t> integer(std::string_view name, bool required = false);
    std::optional<simdjson::dom::object> object(std::string_view name, bool required = false);
    // Refuses every member not in `names`.
    void allowOnly(std::initializer_list<std::string_view> names);

    const std::optional<simdjson::dom::object>& members() const { return object_; }
    const std::optional<std::string>& problem() const { return problem_; }
    bool ok() const { return !problem_; }

private:
    std::optional<simdjson::dom::element> find(std::string_view name, bool required);
    void fail(std::string_view name, std::string_view why);

    std::optional<simdjson::dom::object> object_;
    std::optional<std::string> problem_;
};

// Counts code points; the text is valid UTF-8 (the JSON reader checked it).
std::size_t codePointCount(std::string_view text);

}  // namespace tallywick
