// SPDX-License-Identifier: MIT
#include "CtlCommand.h"

#include <map>
#include <set>

#include <tallywick/link/OptionParser.h>
#include <tallywick/model/JsonWriter.h>
#include <tallywick/model/WholeNumber.h>

namespace tallywick {

namespace {

using Kind = CtlCommand::Kind;

// The options a subcommand takes, after its positional arguments.
struct Arguments {
    std::vector<std::string> positional;
    std::map<std::string, std::string> options;
    std::set<std::string> flags;
};

Result<Arguments, std::string> split(const std::vector<std::string>& words,
                                     const std::vector<std::string>& allowed,
                                     const std::vector<std::string>& flags = {}) {
    auto read = OptionParser({.flags = flags, .valued = allowed, .positional = true, .helpAndVersion = false})
                    .parse(words);
    if (!read) return fail(std::move(read).error());
    auto& parsed = *read;
    return Arguments{std::move(parsed.positional), std::move(parsed.values), std::move(parsed.flags)};
}

template <class E>
Result<E, std::string> enumValue(const std::string& text, const char* what) {
    if (auto value = fromRawValue<E>(text)) return *value;
    std::string choices;
    for (E value : allCases<E>()) choices += (choices.empty() ? "" : ", ") + std::string(rawValue(value));
    return fail(std::string(what) + " must be one of " + choices + ", not '" + text + "'");
}

Result<void, std::string> expectCount(const Arguments& a, std::size_t count, const std::string& usage) {
    if (a.positional.size() != count) return fail("Usage: tallywickctl " + usage);
    return {};
}

}  // namespace

Result<CtlCommand, std::string> CtlCommand::parse(const std::vector<std::string>& arguments) {
    CtlCommand command;
    std::vector<std::string> rest;
    // Global options may stand anywhere; the rest is the subcommand's.
    auto global = OptionParser({.flags = {"json", "no-start"},
                                .valued = {"runtime-dir"},
                                .positional = true,
                                .passUnknown = true})
                      .parse(arguments);
    if (!global) return fail(std::move(global).error());
    auto& globals = *global;
    command.json = globals.flags.contains("json");
    command.startHost = !globals.flags.contains("no-start");
    if (auto runtime = globals.values.find("runtime-dir"); runtime != globals.values.end())
        command.runtimeDirectory = runtime->second;
    if (globals.version) command.kind = Kind::version;
    const bool wantsHelp = globals.help;
    rest = std::move(globals.positional);
    if (command.kind == Kind::version) return command;

    // The subcommand's name: one word, or two for the grouped ones.
    std::string topic;
    std::size_t used = 0;
    if (!rest.empty()) {
        topic = rest[0];
        used = 1;
        if ((topic == "entry" || topic == "account" || topic == "settings") && rest.size() > 1) {
            topic += " " + rest[1];
            used = 2;
        }
    }
    if (topic == "help") {
        command.kind = Kind::help;
        for (std::size_t i = 1; i < rest.size(); ++i) command.helpTopic += (i > 1 ? " " : "") + rest[i];
        return command;
    }
    if (wantsHelp || topic.empty()) {
        command.kind = Kind::help;
        command.helpTopic = topic;
        return command;
    }
    const std::vector<std::string> words(rest.begin() + static_cast<std::ptrdiff_t>(used), rest.end());

    auto parsed =
        split(words,
              topic == "entry add"    ? std::vector<std::string>{"flag", "memo"}
              : topic == "entry edit" ? std::vector<std::string>{"kind", "flag", "amount", "memo"}
              : topic == "export"     ? std::vector<std::string>{"output"}
              : topic == "import"     ? std::vector<std::string>{"from-row"}
              : topic == "events" || topic == "log" ? std::vector<std::string>{"agent", "method", "direction"}
                                                    : std::vector<std::string>{},
              topic == "import" ? std::vector<std::string>{"dry-run"}
              : topic == "log"  ? std::vector<std::string>{"payload"}
                                : std::vector<std::string>{});
    if (!parsed) return fail(std::move(parsed).error());
    const Arguments& a = *parsed;

    if (topic == "snapshot" || topic == "agent-config") {
        command.kind = topic == "snapshot" ? Kind::snapshot : Kind::agentConfig;
        if (auto counted = expectCount(a, 0, topic); !counted) return fail(std::move(counted).error());
    } else if (topic == "events" || topic == "log") {
        command.kind = topic == "events" ? Kind::events : Kind::log;
        if (auto counted = expectCount(a, 0,
                                       topic + " [--agent AGENT] [--method METHOD] [--direction DIRECTION]" +
                                           (topic == "log" ? " [--payload]" : ""));
            !counted)
            return fail(std::move(counted).error());
        if (a.options.contains("agent")) command.filter.agent = a.options.at("agent");
        if (a.options.contains("method")) command.filter.method = a.options.at("method");
        if (a.options.contains("direction")) {
            auto direction = enumValue<Direction>(a.options.at("direction"), "--direction");
            if (!direction) return fail(std::move(direction).error());
            command.filter.direction = *direction;
        }
        command.payloads = a.flags.contains("payload");
    } else if (topic == "entry add") {
        command.kind = Kind::addEntry;
        if (auto counted = expectCount(a, 3, "entry add ACCOUNT KIND AMOUNT [--flag FLAG] [--memo TEXT]");
            !counted)
            return fail(std::move(counted).error());
        command.newEntry.accountId = a.positional[0];
        auto kind = enumValue<TransactionKind>(a.positional[1], "KIND");
        if (!kind) return fail(std::move(kind).error());
        command.newEntry.kind = *kind;
        auto amount = parseWholeNumber(a.positional[2]);
        if (!amount) return fail("AMOUNT must be a whole number, not '" + a.positional[2] + "'");
        command.newEntry.amount = *amount;
        if (a.options.contains("flag")) {
            auto flag = enumValue<LedgerFlag>(a.options.at("flag"), "FLAG");
            if (!flag) return fail(std::move(flag).error());
            command.newEntry.flag = *flag;
        }
        if (a.options.contains("memo")) command.newEntry.memo = a.options.at("memo");
    } else if (topic == "entry edit") {
        command.kind = Kind::editEntry;
        if (auto counted =
                expectCount(a, 1, "entry edit ENTRY [--kind KIND] [--flag FLAG] [--amount N] [--memo TEXT]");
            !counted)
            return fail(std::move(counted).error());
        if (a.options.empty())
            return fail(std::string("entry edit needs at least one of --kind, --flag, --amount, --memo"));
        command.id = a.positional[0];
        if (a.options.contains("kind")) {
            auto kind = enumValue<TransactionKind>(a.options.at("kind"), "KIND");
            if (!kind) return fail(std::move(kind).error());
            command.edit.kind = *kind;
        }
        if (a.options.contains("flag")) {
            auto flag = enumValue<LedgerFlag>(a.options.at("flag"), "FLAG");
            if (!flag) return fail(std::move(flag).error());
            command.edit.flag = *flag;
        }
        if (a.options.contains("amount")) {
            command.edit.amount = parseWholeNumber(a.options.at("amount"));
            if (!command.edit.amount)
                return fail("--amount must be a whole number, not '" + a.options.at("amount") + "'");
        }
        if (a.options.contains("memo")) command.edit.memo = a.options.at("memo");
    } else if (topic == "export") {
        command.kind = Kind::exportLedger;
        if (auto counted = expectCount(a, 1, "export ACCOUNT [--output FILE]"); !counted)
            return fail(std::move(counted).error());
        command.id = a.positional[0];
        if (a.options.contains("output")) command.path = a.options.at("output");
    } else if (topic == "import") {
        command.kind = Kind::importLedger;
        if (auto counted = expectCount(a, 2, "import ACCOUNT FILE [--dry-run] [--from-row K]"); !counted)
            return fail(std::move(counted).error());
        command.id = a.positional[0];
        command.path = a.positional[1];
        command.dryRun = a.flags.contains("dry-run");
        if (a.options.contains("from-row")) {
            const auto row = parseWholeNumber(a.options.at("from-row"));
            if (!row || *row < 1)
                return fail("--from-row must be a row number from 1, not '" + a.options.at("from-row") + "'");
            command.fromRow = static_cast<std::size_t>(*row);
        }
    } else if (topic == "entry delete" || topic == "account delete") {
        command.kind = topic == "entry delete" ? Kind::deleteEntry : Kind::deleteAccount;
        if (auto counted = expectCount(a, 1, topic + (topic == "entry delete" ? " ENTRY" : " ACCOUNT"));
            !counted)
            return fail(std::move(counted).error());
        command.id = a.positional[0];
    } else if (topic == "account rename") {
        command.kind = Kind::renameAccount;
        if (auto counted = expectCount(a, 2, "account rename ACCOUNT NAME"); !counted)
            return fail(std::move(counted).error());
        command.id = a.positional[0];
        command.displayName = a.positional[1];
    } else if (topic == "settings allow-unauthenticated") {
        command.kind = Kind::setAllowUnauthenticated;
        if (auto counted = expectCount(a, 1, "settings allow-unauthenticated on|off"); !counted)
            return fail(std::move(counted).error());
        const std::string& value = a.positional[0];
        if (value == "on" || value == "true" || value == "yes")
            command.allow = true;
        else if (value == "off" || value == "false" || value == "no")
            command.allow = false;
        else
            return fail("expected on or off, not '" + value + "'");
    } else if (topic == "settings starting-points") {
        command.kind = Kind::setStartingPoints;
        if (auto counted = expectCount(a, 1, "settings starting-points N"); !counted)
            return fail(std::move(counted).error());
        auto points = parseWholeNumber(a.positional[0]);
        if (!points) return fail("N must be a whole number, not '" + a.positional[0] + "'");
        command.points = *points;
    } else {
        return fail("unknown command '" + topic + "' (see tallywickctl --help)");
    }
    // Text the host stores must be UTF-8; the shell can hand us anything.
    const std::pair<const char*, std::string_view> texts[] = {
        {"--memo", command.newEntry.memo}, {"--memo", command.edit.memo.value_or("")},
        {"NAME", command.displayName},     {"ACCOUNT", command.newEntry.accountId},
        {"the identifier", command.id},
    };
    for (const auto& [what, text] : texts) {
        if (!isValidUtf8(text))
            return fail(std::string(what) +
                        " must be UTF-8 text (check the terminal's or script's encoding)");
    }
    return command;
}

std::string CtlCommand::helpText(const std::string& topic) {
    static const std::map<std::string, std::string> texts{
        {"snapshot",
         "Usage: tallywickctl [--json] snapshot\n\n"
         "Shows the host's whole state: accounts, ledger entries (newest first),\n"
         "agent connections, settings and the most recent API traffic.\n"},
        {"entry add",
         "Usage: tallywickctl [--json] entry add ACCOUNT KIND AMOUNT [--flag FLAG] [--memo TEXT]\n\n"
         "Adds a ledger entry to ACCOUNT. KIND is credit, debit or note; AMOUNT a\n"
         "whole number of points, not negative; FLAG none (default), bonus or penalty.\n"},
        {"entry edit",
         "Usage: tallywickctl [--json] entry edit ENTRY [--kind KIND] [--flag FLAG] [--amount N] [--memo "
         "TEXT]\n\n"
         "Changes the given fields of ENTRY and keeps the others.\n"},
        {"entry delete", "Usage: tallywickctl [--json] entry delete ENTRY\n\nDeletes one ledger entry.\n"},
        {"account rename",
         "Usage: tallywickctl [--json] account rename ACCOUNT NAME\n\nGives ACCOUNT a new display name.\n"},
        {"account delete",
         "Usage: tallywickctl [--json] account delete ACCOUNT\n\nDeletes ACCOUNT and its whole ledger.\n"},
        {"settings allow-unauthenticated",
         "Usage: tallywickctl [--json] settings allow-unauthenticated on|off\n\n"
         "Whether agents are recognised by their client information without signing up.\n"},
        {"settings starting-points",
         "Usage: tallywickctl [--json] settings starting-points N\n\n"
         "The opening credit of every new account (existing accounts keep theirs).\n"},
        {"events",
         "Usage: tallywickctl events [--agent AGENT] [--method METHOD] [--direction DIRECTION]\n\n"
         "Follows the host's events, one JSON line each, until interrupted. With a\n"
         "filter, only the API calls it admits: AGENT is the label an agent's records\n"
         "show (its client's title or name), its account or its connection; METHOD a\n"
         "JSON-RPC method; DIRECTION request, response or notification.\n"},
        {"log",
         "Usage: tallywickctl [--json] log [--agent AGENT] [--method METHOD] [--direction DIRECTION] "
         "[--payload]\n\n"
         "Prints the API records the host holds now (its most recent 500), oldest\n"
         "first, narrowed as for events. --payload adds each record's whole payload,\n"
         "indented; --json prints each record as one JSON line.\n"},
        {"export",
         "Usage: tallywickctl export ACCOUNT [--output FILE]\n\n"
         "Writes ACCOUNT's ledger as CSV (UTF-8, a header row, newest first) to FILE\n"
         "or to standard output.\n"},
        {"import",
         "Usage: tallywickctl import ACCOUNT FILE [--dry-run] [--from-row K]\n\n"
         "Adds one entry to ACCOUNT for each row of a CSV file as export writes it\n"
         "(the kind, flag, amount and memo columns; oldest first by sequence). A\n"
         "malformed row stops the import before anything is sent. --dry-run shows\n"
         "what would be created. An import stopped part way (Ctrl-C, or the host\n"
         "gone) says how many rows went in and the K to continue with --from-row,\n"
         "which skips the rows before row K.\n"},
        {"agent-config",
         "Usage: tallywickctl [--json] agent-config\n\n"
         "Prints what an agent's MCP client needs to launch tallywick-bridge: the\n"
         "\"mcpServers\" block for its configuration file and the one-line form for\n"
         "clients that add servers from the command line. With --json, only the block.\n"},
    };
    if (auto found = texts.find(topic); found != texts.end()) return found->second;
    // A group ("settings", "entry", "account"): each of its commands.
    std::string group;
    for (const auto& [name, text] : texts) {
        if (name.rfind(topic + " ", 0) == 0) group += (group.empty() ? "" : "\n") + text;
    }
    if (!topic.empty() && !group.empty()) return group;
    return "Usage: tallywickctl [--json] [--runtime-dir DIR] COMMAND [ARGUMENTS]\n"
           "\n"
           "Drives the Tallywick host from scripts.\n"
           "\n"
           "Commands:\n"
           "  snapshot                                   the host's whole state\n"
           "  entry add ACCOUNT KIND AMOUNT [options]    add a ledger entry\n"
           "  entry edit ENTRY [options]                 change a ledger entry\n"
           "  entry delete ENTRY                         delete a ledger entry\n"
           "  account rename ACCOUNT NAME                rename an account\n"
           "  account delete ACCOUNT                     delete an account and its ledger\n"
           "  settings allow-unauthenticated on|off      identify agents by client information\n"
           "  settings starting-points N                 opening credit of new accounts\n"
           "  export ACCOUNT [--output FILE]             an account's ledger as CSV\n"
           "  import ACCOUNT FILE [options]              add entries from a CSV file\n"
           "  events [filters]                           follow the host's events\n"
           "  log [filters] [--payload]                  the API records the host holds\n"
           "  agent-config                               how an agent's MCP client launches the bridge\n"
           "  help [COMMAND]                             this text, or a command's\n"
           "\n"
           "Options:\n"
           "  --json             print the host's JSON instead of tables\n"
           "  --runtime-dir DIR  where the host's socket is\n"
           "  --no-start         when no host runs, say so (exit 3) instead of starting one\n"
           "  --version          print the version\n"
           "\n"
           "When no host runs, one is started (waiting up to 5 s), unless --no-start.\n"
           "Exit status: 0 done, 1 the host refused (its reason on stderr), 2 usage error,\n"
           "3 the host cannot be reached.\n";
}

}  // namespace tallywick
