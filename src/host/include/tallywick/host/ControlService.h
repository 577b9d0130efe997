// SPDX-License-Identifier: MIT
#pragma once
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <tallywick/core.h>

namespace tallywick {

class LedgerStore;

// Answers the desktop manager's control requests: one text in, one response
// text out, and what the rest of the host must be told. Used from the host's
// one thread only.
class ControlService {
public:
    explicit ControlService(LedgerStore& store);

    struct Handled {
        std::string reply{};
        // The request was for the snapshot, which the host answers itself
        // from the parts it keeps encoded; `reply` is then empty.
        bool snapshotWanted = false;
        bool dataChanged = false;                   // a change was committed
        std::vector<std::string> changedLedgers{};  // accounts whose entries changed
        std::optional<LedgerEntry> writtenEntry{};  // as stored, after a create or update
        std::optional<std::string> removedEntry{};
        std::optional<std::string> deletedAccount{};  // its agents lose their binding
        bool clientInfoBindingsEnd = false;           // unauthenticated agents were just switched off
    };

    Handled handle(std::string_view requestText, Date now);
    Handled execute(const ControlRequest& request, Date now);

private:
    LedgerStore& store_;
};

}  // namespace tallywick
