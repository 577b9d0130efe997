#pragma once
#include <functional>
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
    // Gives the encoded snapshot answer: the host assembles it from parts it
    // keeps encoded, which is far cheaper than encoding a Snapshot value.
    using SnapshotSource = std::function<std::string()>;

    ControlService(LedgerStore& store, SnapshotSource snapshot);

    struct Result {
        std::string reply;
        bool dataChanged = false;                 // a change was committed
        std::vector<std::string> changedLedgers;  // accounts whose entries changed
        std::optional<LedgerEntry> writtenEntry;  // as stored, after a create or update
        std::optional<std::string> removedEntry;
        std::optional<std::string> deletedAccount;  // its agents lose their binding
        bool clientInfoBindingsEnd = false;         // unauthenticated agents were just switched off
    };

    Result handle(std::string_view requestText, Date now);
    Result execute(const ControlRequest& request, Date now);

private:
    LedgerStore& store_;
    SnapshotSource snapshot_;
};

}  // namespace tallywick
