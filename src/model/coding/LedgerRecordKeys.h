// SPDX-License-Identifier: MIT
#pragma once

#include <tallywick/model/Account.h>
#include <tallywick/model/ClientInfo.h>
#include <tallywick/model/ClientInfoField.h>
#include <tallywick/model/LedgerEntry.h>
#include <tallywick/model/NewLedgerEntry.h>

#include "model/coding/RecordCoding.h"

// The JSON keys of the ledger records, in field order; the keys are the field names.
namespace tallywick::coding {

template <>
struct RecordKeys<ClientInfo> {
    static constexpr auto keys =
        keySet(field("name", &ClientInfo::name), field("version", &ClientInfo::version),
               field("title", &ClientInfo::title));
};

template <>
struct RecordKeys<ClientInfoField> {
    static constexpr auto keys =
        keySet(field("key", &ClientInfoField::key), field("value", &ClientInfoField::value));
};

template <>
struct RecordKeys<Account> {
    static constexpr auto keys =
        keySet(field("id", &Account::id), field("displayName", &Account::displayName),
               field("identityMode", &Account::identityMode), field("clientInfo", &Account::clientInfo),
               field("clientInfoFields", &Account::clientInfoFields), field("balance", &Account::balance),
               field("createdAt", &Account::createdAt), field("isConnected", &Account::isConnected));
};

template <>
struct RecordKeys<LedgerEntry> {
    static constexpr auto keys =
        keySet(field("id", &LedgerEntry::id), field("accountId", &LedgerEntry::accountId),
               field("kind", &LedgerEntry::kind), field("flag", &LedgerEntry::flag),
               field("amount", &LedgerEntry::amount), field("memo", &LedgerEntry::memo),
               field("createdAt", &LedgerEntry::createdAt), field("updatedAt", &LedgerEntry::updatedAt),
               field("sequence", &LedgerEntry::sequence));
};

template <>
struct RecordKeys<NewLedgerEntry> {
    static constexpr auto keys =
        keySet(field("accountId", &NewLedgerEntry::accountId), field("kind", &NewLedgerEntry::kind),
               field("flag", &NewLedgerEntry::flag), field("amount", &NewLedgerEntry::amount),
               field("memo", &NewLedgerEntry::memo));
};

}  // namespace tallywick::coding
