// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <variant>

#include <tallywick/model/WireCodable.h>
#include <tallywick/protocol/Snapshot.h>

namespace tallywick {

// The host's one answer to each request.
struct ControlResponse {
    struct Snapshot {
        static constexpr std::string_view caseName = "snapshot";
        tallywick::Snapshot snapshot;
    };
    struct Ok {
        static constexpr std::string_view caseName = "ok";
    };
    // A refusal is a regular answer; the reason is the host's own words.
    struct Failure {
        static constexpr std::string_view caseName = "failure";
        std::string reason;
    };

    using Value = std::variant<Snapshot, Ok, Failure>;
    Value value;

    static constexpr std::array<std::string_view, 3> CodingKeys{Snapshot::caseName, Ok::caseName,
                                                                Failure::caseName};
    static constexpr std::array<std::string_view, 1> SnapshotCodingKeys{"_0"};
    static constexpr std::array<std::string_view, 0> OkCodingKeys{};
    static constexpr std::array<std::string_view, 1> FailureCodingKeys{"_0"};

    static ControlResponse snapshot(tallywick::Snapshot state) { return {Snapshot{std::move(state)}}; }
    static ControlResponse ok() { return {Ok{}}; }
    static ControlResponse failure(std::string reason) { return {Failure{std::move(reason)}}; }

    std::string_view caseName() const {
        return std::visit([](const auto& c) { return c.caseName; }, value);
    }
};

template <>
inline constexpr bool isWireCodable<ControlResponse> = true;

}  // namespace tallywick
