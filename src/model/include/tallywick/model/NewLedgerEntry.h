// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>

#include <tallywick/model/LedgerFlag.h>
#include <tallywick/model/TransactionKind.h>
#include <tallywick/model/WireCodable.h>

namespace tallywick {

// An entry the user asks the host to create. Only built and sent, so it has
// neither equality nor hash.
struct NewLedgerEntry {
    std::string accountId;
    TransactionKind kind;
    LedgerFlag flag;
    std::int64_t amount;
    std::string memo;
};

template <>
inline constexpr bool isWireCodable<NewLedgerEntry> = true;

}  // namespace tallywick
