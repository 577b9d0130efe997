// SPDX-License-Identifier: MIT
// tallywickctl: the host's control requests for scripts and terminals.
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <thread>

#include <tallywick/link/AgentClientConfig.h>
#include <tallywick/link/ChildProcess.h>
#include <tallywick/link/EventLoop.h>
#include <tallywick/link/GuardedMain.h>
#include <tallywick/link/HostLauncher.h>
#include <tallywick/link/HostLocator.h>
#include <tallywick/link/IoThread.h>
#include <tallywick/link/RuntimeDirectory.h>
#include <tallywick/link/ServiceIdentity.h>
#include <tallywick/link/StopSignals.h>
#include <tallywick/link/XPCControlClient.h>
#include <tallywick/model/EscapedText.h>
#include <tallywick/model/LedgerCsv.h>
#include <tallywick/model/TallywickVersion.h>

#include "CtlCommand.h"
#include "SnapshotTables.h"

using namespace tallywick;

namespace {

enum Status { done = 0, refused = 1, usageError = 2, unreachable = 3 };

// Messages quote names, memos, cells and the host's reasons, and a terminal
// acts on what those may hold: every line for a person goes out as one line
// with its control and bidi characters shown as escapes.
void say(std::ostream& out, std::string_view message) {
    out << EscapedText::of(message) << '\n';
}

// JSON as printed: the same value, with nothing a terminal would act on.
void printJson(const std::optional<std::string>& json) {
    std::cout << EscapedText::json(json.value_or("")) << '\n';
}

class Session {
public:
    explicit Session(ControlEndpoint endpoint)
        : loop_(std::make_shared<EventLoop>()),
          client_(XPCControlClient::create(loop_, io_, std::move(endpoint))) {}
    ~Session() { client_.reset(); }

    XPCControlClient& client() { return *client_; }
    EventLoop& loop() { return *loop_; }

    std::optional<ControlResponse> send(const ControlRequest& request) {
        bool answered = false;
        std::optional<ControlResponse> answer;
        client_->send(request, [&](std::optional<ControlResponse> response) {
            answer = std::move(response);
            answered = true;
        });
        loop_->runUntil([&] { return answered; }, std::chrono::hours(24));
        return answer;
    }

private:
    IoThread io_;
    std::shared_ptr<EventLoop> loop_;
    std::shared_ptr<XPCControlClient> client_;
};

// Ctrl-C and SIGTERM end any command at once, with 128 + the signal, as a
// shell expects. Only an import that is sending rows holds them off, to end
// between two rows and say where it stopped.
class StopWatcher {
public:
    explicit StopWatcher(const StopSignals& stop) {
        std::thread([this, &stop] {
            const int signal = stop.wait();
            signal_ = signal;
            if (!heldOff_) ::_exit(128 + signal);
        }).detach();
    }
    // Between these, a stop signal is left to the caller, which asks stopped().
    void holdOff() { heldOff_ = true; }
    void release() {
        heldOff_ = false;
        if (const int signal = signal_) ::_exit(128 + signal);
    }
    int stopped() const { return signal_; }

private:
    std::atomic<int> signal_{0};
    std::atomic<bool> heldOff_{false};
};

int hostUnreachable() {
    // The host accepted connections a moment ago (checked before sending).
    say(std::cerr,
        "tallywickctl: the Tallywick host ended the connection before it answered; "
        "its log says why (journalctl --user or the host's stderr)");
    return unreachable;
}

// Prints the answer to a change; gives the exit status.
int report(const std::optional<ControlResponse>& answer, bool json, const std::string& confirmation) {
    if (!answer) return hostUnreachable();
    if (auto* failure = std::get_if<ControlResponse::Failure>(&answer->value)) {
        if (json) printJson(TallywickCoding::encodeToString(*answer));
        say(std::cerr, "tallywickctl: " + failure->reason);
        return refused;
    }
    if (json)
        printJson(TallywickCoding::encodeToString(*answer));
    else
        say(std::cout, confirmation);
    return done;
}

// The account's ledger, newest first, as CSV to the file or standard output.
int exportLedger(Session& session, const CtlCommand& command) {
    auto answer = session.send(ControlRequest::snapshot());
    if (!answer) return hostUnreachable();
    auto* state = std::get_if<ControlResponse::Snapshot>(&answer->value);
    if (!state) return report(answer, false, "");
    const auto& accounts = state->snapshot.accounts;
    if (std::none_of(accounts.begin(), accounts.end(), [&](const Account& a) { return a.id == command.id; }))
        return report(ControlResponse::failure("No such account"), false, "");
    std::vector<LedgerEntry> entries;
    for (const LedgerEntry& entry : state->snapshot.entries) {
        if (entry.accountId == command.id) entries.push_back(entry);
    }
    const std::string text = LedgerCsv::write(entries);
    if (command.path.empty()) {
        // Into a pipe the file goes as it is; onto a terminal, a line at a time as any text.
        if (::isatty(STDOUT_FILENO)) {
            std::istringstream lines(text);
            for (std::string line; std::getline(lines, line);) {
                if (line.ends_with('\r')) line.pop_back();
                say(std::cout, line);
            }
        } else {
            std::cout << text;
        }
        return done;
    }
    std::ofstream file(command.path, std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    if (!file) {
        say(std::cerr, "tallywickctl: could not write " + command.path + ": " + std::strerror(errno) +
                           " (check the folder exists and is writable)");
        return refused;
    }
    say(std::cerr, "Exported " + std::to_string(entries.size()) + " entries to " + command.path + ".");
    return done;
}

// The file's rows as entries to create, or why not (said on stderr).
std::optional<std::vector<NewLedgerEntry>> importRows(const CtlCommand& command) {
    std::ifstream file(command.path, std::ios::binary);
    if (!file) {
        say(std::cerr, "tallywickctl: could not read " + command.path + ": " + std::strerror(errno));
        return std::nullopt;
    }
    std::ostringstream text;
    text << file.rdbuf();
    auto rows = LedgerCsv::read(text.str(), command.id);
    if (!rows) {
        say(std::cerr, "tallywickctl: " + command.path + ": " + rows.error() +
                           "; nothing was imported (correct the file and run again)");
        return std::nullopt;
    }
    return std::move(rows).value();
}

int importLedger(Session& session, const std::vector<NewLedgerEntry>& rows, std::size_t fromRow,
                 StopWatcher& watcher) {
    // Said whenever the import ends before its last row, so that running it
    // again neither skips nor repeats a row.
    const auto stoppedAt = [&rows](std::size_t row, const std::string& why) {
        say(std::cerr, "tallywickctl: " + why + ". Imported " + std::to_string(row - 1) + " of " +
                           std::to_string(rows.size()) + " rows; continue with --from-row " +
                           std::to_string(row));
    };
    watcher.holdOff();
    std::size_t row = fromRow;
    for (; row <= rows.size(); ++row) {
        if (const int signal = watcher.stopped()) {
            stoppedAt(row, signal == SIGINT ? "interrupted" : "stopped");
            return 128 + signal;
        }
        auto answer = session.send(ControlRequest::createEntry(rows[row - 1]));
        if (!answer) {
            stoppedAt(row, "the Tallywick host ended the connection before it answered");
            return unreachable;
        }
        if (auto* failure = std::get_if<ControlResponse::Failure>(&answer->value)) {
            say(std::cerr, "tallywickctl: row " + std::to_string(row) + " of " + std::to_string(rows.size()) +
                               " was refused: " + failure->reason + ". Imported " + std::to_string(row - 1) +
                               " of " + std::to_string(rows.size()) +
                               " rows; after correcting it, continue with --from-row " + std::to_string(row));
            return refused;
        }
    }
    say(std::cout, "Imported " + std::to_string(row - fromRow) + " entries.");
    std::cout.flush();
    watcher.release();
    return done;
}

int followEvents(Session& session, const ApiLogFilter& filter) {
    int status = done;
    session.client().onEvent = [&filter](const ControlEvent& event) {
        // A filter narrows the API calls and leaves out the events that are none.
        const auto* call = std::get_if<ControlEvent::ApiCall>(&event.value);
        if (!filter.isEmpty() && (!call || !filter.admits(call->entry))) return;
        if (auto text = TallywickCoding::encodeToString(event)) {
            printJson(text);
            std::cout.flush();
        }
    };
    session.client().onConnectionChange = [&](bool connected) {
        if (connected) return;
        say(std::cerr, "tallywickctl: the host went away");
        status = unreachable;
        session.loop().stop();
    };
    // The first request opens the connection that the events arrive on.
    if (!session.send(ControlRequest::snapshot())) return hostUnreachable();
    session.loop().run();
    return status;
}

// The folder of the ledger's host: the runtime folder's, another that the
// ledger names, or one started on demand as the desktop manager would start
// it; says why there is none.
Result<std::string, std::string> hostFolder(const std::string& runtimeDirectory, bool startHost) {
    const auto runtime = checkRuntimeDirectory(runtimeDirectory);
    // A missing folder is made by the host we start; a wrong one is never used.
    if (runtimeDirectory.empty() || runtimeDirectory.front() != '/')
        return fail(runtime.problem + "; name an absolute one with --runtime-dir or $TALLYWICK_RUNTIME_DIR");
    if (!runtime.usable() && ::access(runtimeDirectory.c_str(), F_OK) == 0)
        return fail("the runtime folder " + runtimeDirectory + " is unsafe (" + runtime.problem +
                    "); fix or remove it, or name another with --runtime-dir");
    if (auto found = HostLocator::folderFor(runtimeDirectory); found != runtimeDirectory) return found;
    const HostLauncher launcher = HostLauncher::forClient(runtimeDirectory);
    if (!startHost) {
        if (launcher.running()) return runtimeDirectory;
        return fail("no Tallywick host is running in " + runtimeDirectory +
                    " (and --no-start says not to start one)");
    }
    if (auto started = launcher.ensureRunning(); !started)
        return fail("no Tallywick host is running and none could be started: " + started.error());
    return runtimeDirectory;
}

int run(const CtlCommand& command, StopWatcher& watcher) {
    // A file to import is read whole before anything reaches the host.
    std::vector<NewLedgerEntry> imported;
    if (command.kind == CtlCommand::Kind::importLedger) {
        auto rows = importRows(command);
        if (!rows) return usageError;
        imported = std::move(*rows);
        if (command.fromRow > imported.size() + 1) {
            say(std::cerr, "tallywickctl: --from-row " + std::to_string(command.fromRow) +
                               " is past the file's " + std::to_string(imported.size()) + " rows");
            return usageError;
        }
        if (command.dryRun) {
            imported.erase(imported.begin(),
                           imported.begin() + static_cast<std::ptrdiff_t>(command.fromRow - 1));
            say(std::cout,
                "Would create " + std::to_string(imported.size()) + " entries in " + command.id + ":");
            for (const NewLedgerEntry& row : imported)
                say(std::cout, "  " + std::string(rawValue(row.kind)) + " " +
                                   std::string(rawValue(row.flag)) + " " + std::to_string(row.amount) + " " +
                                   row.memo);
            return done;
        }
    }
    const std::string runtimeDirectory = command.runtimeDirectory.value_or(runtimeDirectoryPath());
    auto folder = hostFolder(runtimeDirectory, command.startHost);
    if (!folder) {
        say(std::cerr, "tallywickctl: " + folder.error());
        return unreachable;
    }
    ControlEndpoint endpoint = ControlEndpoint::standard();
    endpoint.path = endpointPath(*folder);
    endpoint.locate = nullptr;  // found above, once for the command
    Session session(endpoint);
    session.client().onEvent = [](const ControlEvent&) {};
    session.client().onConnectionChange = [](bool) {};

    using Kind = CtlCommand::Kind;
    switch (command.kind) {
        case Kind::snapshot: {
            auto answer = session.send(ControlRequest::snapshot());
            if (!answer) return hostUnreachable();
            if (command.json) {
                printJson(TallywickCoding::encodeToString(*answer));
                return std::holds_alternative<ControlResponse::Snapshot>(answer->value) ? done : refused;
            }
            if (auto* state = std::get_if<ControlResponse::Snapshot>(&answer->value)) {
                std::cout << renderSnapshot(state->snapshot);
                return done;
            }
            return report(answer, false, "");
        }
        case Kind::addEntry:
            return report(session.send(ControlRequest::createEntry(command.newEntry)), command.json,
                          "Entry added.");
        case Kind::editEntry: {
            // The host replaces a whole entry, so the edit starts from its stored form.
            auto answer = session.send(ControlRequest::snapshot());
            if (!answer) return hostUnreachable();
            auto* state = std::get_if<ControlResponse::Snapshot>(&answer->value);
            if (!state) return report(answer, command.json, "");
            for (LedgerEntry entry : state->snapshot.entries) {
                if (entry.id != command.id) continue;
                if (command.edit.kind) entry.kind = *command.edit.kind;
                if (command.edit.flag) entry.flag = *command.edit.flag;
                if (command.edit.amount) entry.amount = *command.edit.amount;
                if (command.edit.memo) entry.memo = *command.edit.memo;
                return report(session.send(ControlRequest::updateEntry(entry)), command.json,
                              "Entry changed.");
            }
            return report(ControlResponse::failure("No such entry"), command.json, "");
        }
        case Kind::deleteEntry:
            return report(session.send(ControlRequest::deleteEntry(command.id)), command.json,
                          "Entry deleted.");
        case Kind::renameAccount:
            return report(session.send(ControlRequest::renameAccount(command.id, command.displayName)),
                          command.json, "Account renamed.");
        case Kind::deleteAccount:
            return report(session.send(ControlRequest::deleteAccount(command.id)), command.json,
                          "Account deleted.");
        case Kind::setAllowUnauthenticated:
            return report(session.send(ControlRequest::setAllowUnauthenticated(command.allow)), command.json,
                          command.allow ? "Agents are identified by their client information."
                                        : "Agents must sign up or log in.");
        case Kind::setStartingPoints:
            return report(session.send(ControlRequest::setStartingPoints(command.points)), command.json,
                          "New accounts start with " + std::to_string(command.points) + " points.");
        case Kind::events: return followEvents(session, command.filter);
        case Kind::log: {
            auto answer = session.send(ControlRequest::snapshot());
            if (!answer) return hostUnreachable();
            auto* state = std::get_if<ControlResponse::Snapshot>(&answer->value);
            if (!state) return report(answer, command.json, "");
            // The host sends the newest first; a log reads from the oldest.
            std::vector<ApiLogEntry> records;
            const auto& recent = state->snapshot.recentApiLog;
            std::copy_if(recent.rbegin(), recent.rend(), std::back_inserter(records),
                         [&command](const ApiLogEntry& e) { return command.filter.admits(e); });
            if (command.json)  // one record a line, as events prints them
                for (const ApiLogEntry& e : records) printJson(TallywickCoding::encodeToString(e));
            else
                std::cout << renderApiLog(records, command.payloads);
            return done;
        }
        case Kind::exportLedger: return exportLedger(session, command);
        case Kind::importLedger: return importLedger(session, imported, command.fromRow, watcher);
        case Kind::agentConfig:
        case Kind::help:
        case Kind::version: break;
    }
    return done;
}

}  // namespace

namespace {

int run(int argc, char** argv) {
    // Before any thread starts, so only the watcher sees them; both live as
    // long as the process, as the watcher's thread does.
    static const StopSignals stop;
    static StopWatcher watcher(stop);
    auto parsed = CtlCommand::parse({argv + 1, argv + argc});
    if (!parsed) {
        say(std::cerr, "tallywickctl: " + parsed.error());
        return usageError;
    }
    const auto& command = *parsed;
    if (command.kind == CtlCommand::Kind::version) {
        std::cout << "tallywickctl " << TallywickVersion::displayString << "\n";
        return done;
    }
    if (command.kind == CtlCommand::Kind::help) {
        std::cout << CtlCommand::helpText(command.helpTopic);
        if (command.helpTopic.empty())
            std::cout << "\n"
                      << runtimeDirectoryHelp(command.runtimeDirectory.value_or(runtimeDirectoryPath()));
        return done;
    }
    if (command.kind == CtlCommand::Kind::agentConfig) {
        const std::string bridge = ChildProcess::siblingExecutable("tallywick-bridge");
        std::cout << (command.json ? AgentClientConfig::mcpServersJson(bridge)
                                   : AgentClientConfig::instructions(bridge));
        return done;
    }
    const int status = run(command, watcher);
    std::cout.flush();
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    return guardedMain("tallywickctl", [&] { return run(argc, argv); });
}
