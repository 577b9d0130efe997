// SPDX-License-Identifier: MIT
#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <tallywick/core.h>
#include <tallywick/model/Result.h>

#include "ApiLogFilter.h"

namespace tallywick {

// One tallywickctl invocation, read from its arguments.
struct CtlCommand {
    enum class Kind {
        snapshot,
        addEntry,
        editEntry,
        deleteEntry,
        renameAccount,
        deleteAccount,
        setAllowUnauthenticated,
        setStartingPoints,
        events,
        log,
        exportLedger,
        importLedger,
        agentConfig,
        help,
        version,
    };
    // Fields an edit changes; the rest are kept as the host has them.
    struct EntryEdit {
        std::optional<TransactionKind> kind;
        std::optional<LedgerFlag> flag;
        std::optional<std::int64_t> amount;
        std::optional<std::string> memo;

        friend bool operator==(const EntryEdit&, const EntryEdit&) = default;
    };

    Kind kind = Kind::help;
    bool json = false;
    bool startHost = true;  // false: --no-start
    std::optional<std::string> runtimeDirectory;
    std::string id;  // of the entry or account
    NewLedgerEntry newEntry{};
    EntryEdit edit;
    std::string displayName;
    bool allow = false;
    std::int64_t points = 0;
    std::string path;         // export's --output (empty: standard output), import's FILE
    bool dryRun = false;      // import: show, create nothing
    std::size_t fromRow = 1;  // import: the first row to send, counted from 1 in the order sent
    std::string helpTopic;    // the subcommand whose help was asked for; empty for the overview
    ApiLogFilter filter;      // events and log: the API records shown
    bool payloads = false;    // log: each record's whole payload, indented

    // A usage error as text, or the command.
    static Result<CtlCommand, std::string> parse(const std::vector<std::string>& arguments);
    // The overview, or one subcommand's help.
    static std::string helpText(const std::string& topic);
};

}  // namespace tallywick
