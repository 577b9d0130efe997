// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <string_view>
#include <variant>

#include <tallywick/model/WireCodable.h>
#include <tallywick/protocol/ApiLogEntry.h>

namespace tallywick {

// What the host pushes of its own accord. The two change events carry no
// data: a receiver that wants the new state asks for a snapshot.
struct ControlEvent {
    struct ApiCall {
        static constexpr std::string_view caseName = "apiCall";
        ApiLogEntry entry;
    };
    struct DataChanged {
        static constexpr std::string_view caseName = "dataChanged";
    };
    struct ConnectionsChanged {
        static constexpr std::string_view caseName = "connectionsChanged";
    };

    using Value = std::variant<ApiCall, DataChanged, ConnectionsChanged>;
    Value value;

    static constexpr std::array<std::string_view, 3> CodingKeys{ApiCall::caseName, DataChanged::caseName,
                                                                ConnectionsChanged::caseName};
    static constexpr std::array<std::string_view, 1> ApiCallCodingKeys{"_0"};
    static constexpr std::array<std::string_view, 0> DataChangedCodingKeys{};
    static constexpr std::array<std::string_view, 0> ConnectionsChangedCodingKeys{};

    static ControlEvent apiCall(ApiLogEntry entry) { return {ApiCall{std::move(entry)}}; }
    static ControlEvent dataChanged() { return {DataChanged{}}; }
    static ControlEvent connectionsChanged() { return {ConnectionsChanged{}}; }

    std::string_view caseName() const {
        return std::visit([](const auto& c) { return c.caseName; }, value);
    }
};

template <>
inline constexpr bool isWireCodable<ControlEvent> = true;

}  // namespace tallywick
