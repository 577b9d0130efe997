// SPDX-License-Identifier: MIT
#pragma once

#include <type_traits>

#include <tallywick/protocol/ControlEvent.h>
#include <tallywick/protocol/ControlRequest.h>
#include <tallywick/protocol/ControlResponse.h>
#include <tallywick/protocol/Snapshot.h>

#include "model/coding/LedgerRecordKeys.h"

// The JSON keys of the host-state records and of every message case.
namespace tallywick::coding {

template <>
struct RecordKeys<Settings> {
    static constexpr auto keys = keySet(field("allowUnauthenticated", &Settings::allowUnauthenticated),
                                        field("startingPoints", &Settings::startingPoints));
};

template <>
struct RecordKeys<LiveConnection> {
    static constexpr auto keys =
        keySet(field("id", &LiveConnection::id), field("clientInfo", &LiveConnection::clientInfo),
               field("accountId", &LiveConnection::accountId),
               field("authenticated", &LiveConnection::authenticated),
               field("connectedAt", &LiveConnection::connectedAt));
};

template <>
struct RecordKeys<ApiLogEntry> {
    static constexpr auto keys =
        keySet(field("id", &ApiLogEntry::id), field("connectionId", &ApiLogEntry::connectionId),
               field("accountId", &ApiLogEntry::accountId), field("clientLabel", &ApiLogEntry::clientLabel),
               field("direction", &ApiLogEntry::direction), field("method", &ApiLogEntry::method),
               field("payload", &ApiLogEntry::payload), field("timestamp", &ApiLogEntry::timestamp));
};

template <>
struct RecordKeys<Snapshot> {
    static constexpr auto keys =
        keySet(field("accounts", &Snapshot::accounts), field("entries", &Snapshot::entries),
               field("connections", &Snapshot::connections), field("settings", &Snapshot::settings),
               field("recentApiLog", &Snapshot::recentApiLog), field("hostVersion", &Snapshot::hostVersion));
};

// Cases: each inner object is a record whose keys are the case's key set.
template <class Case>
requires(std::is_empty_v<Case>) struct RecordKeys<Case> {
    static constexpr auto keys = keySet();
};

using Request = ControlRequest;
template <>
struct RecordKeys<Request::CreateEntry> {
    static constexpr auto keys =
        keySet(field(Request::CreateEntryCodingKeys[0], &Request::CreateEntry::entry));
};
template <>
struct RecordKeys<Request::UpdateEntry> {
    static constexpr auto keys =
        keySet(field(Request::UpdateEntryCodingKeys[0], &Request::UpdateEntry::entry));
};
template <>
struct RecordKeys<Request::DeleteEntry> {
    static constexpr auto keys = keySet(field(Request::DeleteEntryCodingKeys[0], &Request::DeleteEntry::id));
};
template <>
struct RecordKeys<Request::RenameAccount> {
    static constexpr auto keys =
        keySet(field(Request::RenameAccountCodingKeys[0], &Request::RenameAccount::id),
               field(Request::RenameAccountCodingKeys[1], &Request::RenameAccount::displayName));
};
template <>
struct RecordKeys<Request::DeleteAccount> {
    static constexpr auto keys =
        keySet(field(Request::DeleteAccountCodingKeys[0], &Request::DeleteAccount::id));
};
template <>
struct RecordKeys<Request::SetAllowUnauthenticated> {
    static constexpr auto keys = keySet(
        field(Request::SetAllowUnauthenticatedCodingKeys[0], &Request::SetAllowUnauthenticated::value));
};
template <>
struct RecordKeys<Request::SetStartingPoints> {
    static constexpr auto keys =
        keySet(field(Request::SetStartingPointsCodingKeys[0], &Request::SetStartingPoints::value));
};

using Response = ControlResponse;
template <>
struct RecordKeys<Response::Snapshot> {
    static constexpr auto keys =
        keySet(field(Response::SnapshotCodingKeys[0], &Response::Snapshot::snapshot));
};
template <>
struct RecordKeys<Response::Failure> {
    static constexpr auto keys = keySet(field(Response::FailureCodingKeys[0], &Response::Failure::reason));
};

template <>
struct RecordKeys<ControlEvent::ApiCall> {
    static constexpr auto keys =
        keySet(field(ControlEvent::ApiCallCodingKeys[0], &ControlEvent::ApiCall::entry));
};

}  // namespace tallywick::coding
