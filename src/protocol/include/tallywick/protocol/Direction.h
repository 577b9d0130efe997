// SPDX-License-Identifier: MIT
#pragma once

#include <tallywick/model/Enumeration.h>
#include <tallywick/model/Hashing.h>

namespace tallywick {

// Which kind of agent message a log record holds.
enum class Direction { request, response, notification };

template <>
struct EnumTraits<Direction> {
    static constexpr std::array<std::pair<Direction, std::string_view>, 3> cases{{
        {Direction::request, "request"},
        {Direction::response, "response"},
        {Direction::notification, "notification"},
    }};
    static constexpr bool listsAllCases = true;
};

}  // namespace tallywick

template <>
struct std::hash<tallywick::Direction> : tallywick::EnumHash<tallywick::Direction> {};
