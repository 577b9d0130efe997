// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include <tallywick/model/LedgerEntry.h>
#include <tallywick/model/NewLedgerEntry.h>
#include <tallywick/model/WireCodable.h>

namespace tallywick {

// Everything the application asks of the host. On the wire: an object with
// exactly one key, the case name, holding an object of the case's values.
struct ControlRequest {
    struct Snapshot {
        static constexpr std::string_view caseName = "snapshot";
    };
    struct CreateEntry {
        static constexpr std::string_view caseName = "createEntry";
        NewLedgerEntry entry;
    };
    struct UpdateEntry {
        static constexpr std::string_view caseName = "updateEntry";
        LedgerEntry entry;  // all nine fields, including those the host assigned
    };
    struct DeleteEntry {
        static constexpr std::string_view caseName = "deleteEntry";
        std::string id;
    };
    struct RenameAccount {
        static constexpr std::string_view caseName = "renameAccount";
        std::string id;
        std::string displayName;
    };
    struct DeleteAccount {
        static constexpr std::string_view caseName = "deleteAccount";
        std::string id;
    };
    struct SetAllowUnauthenticated {
        static constexpr std::string_view caseName = "setAllowUnauthenticated";
        bool value;
    };
    struct SetStartingPoints {
        static constexpr std::string_view caseName = "setStartingPoints";
        std::int64_t value;
    };

    using Value = std::variant<Snapshot, CreateEntry, UpdateEntry, DeleteEntry, RenameAccount, DeleteAccount,
                               SetAllowUnauthenticated, SetStartingPoints>;
    Value value;

    // The outer key set, one key per case, and each case's inner key set.
    static constexpr std::array<std::string_view, 8> CodingKeys{Snapshot::caseName,
                                                                CreateEntry::caseName,
                                                                UpdateEntry::caseName,
                                                                DeleteEntry::caseName,
                                                                RenameAccount::caseName,
                                                                DeleteAccount::caseName,
                                                                SetAllowUnauthenticated::caseName,
                                                                SetStartingPoints::caseName};
    static constexpr std::array<std::string_view, 0> SnapshotCodingKeys{};
    static constexpr std::array<std::string_view, 1> CreateEntryCodingKeys{"_0"};
    static constexpr std::array<std::string_view, 1> UpdateEntryCodingKeys{"_0"};
    static constexpr std::array<std::string_view, 1> DeleteEntryCodingKeys{"id"};
    static constexpr std::array<std::string_view, 2> RenameAccountCodingKeys{"id", "displayName"};
    static constexpr std::array<std::string_view, 1> DeleteAccountCodingKeys{"id"};
    static constexpr std::array<std::string_view, 1> SetAllowUnauthenticatedCodingKeys{"_0"};
    static constexpr std::array<std::string_view, 1> SetStartingPointsCodingKeys{"_0"};

    static ControlRequest snapshot() { return {Snapshot{}}; }
    static ControlRequest createEntry(NewLedgerEntry entry) { return {CreateEntry{std::move(entry)}}; }
    static ControlRequest updateEntry(LedgerEntry entry) { return {UpdateEntry{std::move(entry)}}; }
    static ControlRequest deleteEntry(std::string id) { return {DeleteEntry{std::move(id)}}; }
    static ControlRequest renameAccount(std::string id, std::string displayName) {
        return {RenameAccount{std::move(id), std::move(displayName)}};
    }
    static ControlRequest deleteAccount(std::string id) { return {DeleteAccount{std::move(id)}}; }
    static ControlRequest setAllowUnauthenticated(bool allow) { return {SetAllowUnauthenticated{allow}}; }
    static ControlRequest setStartingPoints(std::int64_t points) { return {SetStartingPoints{points}}; }

    std::string_view caseName() const {
        return std::visit([](const auto& c) { return c.caseName; }, value);
    }
};

template <>
inline constexpr bool isWireCodable<ControlRequest> = true;

}  // namespace tallywick
