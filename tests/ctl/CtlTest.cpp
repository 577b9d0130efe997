// SPDX-License-Identifier: MIT
// tallywickctl run as a program against a real host: every subcommand, and
// the exit status scripts rely on (0 done, 1 refused, 2 usage, 3 unreachable).
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <tallywick/model/LedgerCsv.h>
#include <tallywick/model/TallywickCoding.h>

#include "support/CtlFixture.h"

namespace tallywick::testing {
namespace {

TEST_F(Ctl, EveryRequestAsASubcommand) {
    const std::string account = agentAccount("scout");
    ASSERT_FALSE(account.empty());

    auto added = ctl({"entry", "add", account, "credit", "250", "--flag", "bonus", "--memo", "Good answer"});
    EXPECT_EQ(added.status, 0) << added.err;
    auto json = ctl({"--json", "snapshot"});
    ASSERT_EQ(json.status, 0);
    EXPECT_EQ(json.out.rfind(R"({"snapshot":{"_0":{"accounts":[{"id":")" + account, 0), 0u) << json.out;
    const auto state = ControlSession(host_->socketPath()).snapshot();
    ASSERT_EQ(state->entries.size(), 2u);  // the opening credit and ours
    const std::string entry = state->entries[0].id;
    EXPECT_EQ(state->entries[0].flag, LedgerFlag::bonus);

    EXPECT_EQ(ctl({"entry", "edit", entry, "--amount", "40", "--kind", "debit"}).status, 0);
    auto table = ctl({"snapshot"});
    EXPECT_NE(table.out.find("-40"), std::string::npos) << table.out;
    // Columns line up in a terminal whatever the script: a wide name takes two columns a character.
    EXPECT_EQ(ctl({"account", "rename", account, "日本語 Agent"}).status, 0);
    const std::string wide = ctl({"snapshot"}).out;
    const auto lineWith = [&wide](const std::string& text) {
        const auto at = wide.find(text);
        const auto begin = wide.rfind('\n', at) + 1;
        return wide.substr(begin, wide.find('\n', at) - begin);
    };
    const std::string named = lineWith("日本語 Agent"), heading = lineWith("NAME");
    const auto columnOf = [](const std::string& line, std::size_t byte) {
        std::size_t column = 0;
        for (std::size_t i = 0; i < byte; ++i) {
            const auto c = static_cast<unsigned char>(line[i]);
            if ((c & 0xC0) != 0x80) column += c >= 0xE3 && c <= 0xE9 ? 2 : 1;
        }
        return column;
    };
    EXPECT_EQ(columnOf(named, named.find("clientInfo")), columnOf(heading, heading.find("MODE"))) << wide;
    EXPECT_NE(table.out.find("Good answer"), std::string::npos);
    EXPECT_NE(table.out.find("Accounts (1)"), std::string::npos);

    EXPECT_EQ(ctl({"account", "rename", account, "Scout the Second"}).status, 0);
    EXPECT_EQ(ctl({"settings", "allow-unauthenticated", "off"}).status, 0);
    EXPECT_EQ(ctl({"settings", "starting-points", "10"}).status, 0);
    EXPECT_EQ(ctl({"entry", "delete", entry}).status, 0);
    const auto after = ControlSession(host_->socketPath()).snapshot();
    EXPECT_EQ(after->accounts[0].displayName, "Scout the Second");
    EXPECT_EQ(after->settings, (Settings{.allowUnauthenticated = false, .startingPoints = 10}));
    EXPECT_EQ(after->entries.size(), 1u);

    EXPECT_EQ(ctl({"account", "delete", account}).status, 0);
    EXPECT_TRUE(ControlSession(host_->socketPath()).snapshot()->accounts.empty());
}

TEST_F(Ctl, ExitStatusSaysWhatHappened) {
    auto refused = ctl({"entry", "add", "A404", "credit", "1"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.err, "tallywickctl: No such account\n");
    EXPECT_EQ(ctl({"entry", "edit", "E404", "--memo", "x"}).status, 1);
    EXPECT_EQ(ctl({"settings", "starting-points", "-5"}).status, 1);

    for (const std::vector<std::string>& bad :
         {std::vector<std::string>{"entry", "add", "A1", "credit", "12x"},
          {"entry", "add", "A1", "gift", "1"},
          {"entry", "edit", "E1"},
          {"settings", "allow-unauthenticated", "maybe"},
          {"frobnicate"},
          {"account", "rename", "A1"},
          {"snapshot", "--flag", "x"}}) {
        auto usage = ctl(bad);
        EXPECT_EQ(usage.status, 2) << bad[0];
        EXPECT_FALSE(usage.err.empty());
    }
    // Bytes that are not UTF-8 are a usage error, said as such, not a lost host.
    auto notText = ctl({"entry", "add", "A1", "credit", "1", "--memo", "caf\xe9"});
    EXPECT_EQ(notText.status, 2);
    EXPECT_NE(notText.err.find("--memo must be UTF-8 text"), std::string::npos) << notText.err;
    EXPECT_EQ(ctl({"account", "rename", "A1", "\xff\xfe"}).status, 2);

    auto help = ctl({"entry", "add", "--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.out.rfind("Usage: tallywickctl [--json] entry add ACCOUNT KIND AMOUNT", 0), 0u)
        << help.out;
    // A group's help is each of its commands'.
    for (const auto& group : {std::vector<std::string>{"help", "settings"}, {"settings", "--help"}}) {
        auto settings = ctl(group);
        EXPECT_EQ(settings.status, 0);
        EXPECT_NE(settings.out.find("Usage: tallywickctl [--json] settings allow-unauthenticated on|off"),
                  std::string::npos)
            << settings.out;
        EXPECT_NE(settings.out.find("Usage: tallywickctl [--json] settings starting-points N"),
                  std::string::npos);
    }
    const auto overview = ctl({"--help"});
    EXPECT_NE(overview.out.find("Exit status"), std::string::npos);
    EXPECT_NE(overview.out.find("Runtime folder (the host's socket): " + host_->runtimeDirectory() + "\n"),
              std::string::npos)
        << overview.out;
    // How an agent's client launches the bridge, needing no host to tell.
    const auto config = runProgram({TALLYWICKCTL_PATH, "agent-config"}, folder_);
    EXPECT_EQ(config.status, 0);
    const std::string bridge =
        (std::filesystem::path(TALLYWICKCTL_PATH).parent_path() / "tallywick-bridge").string();
    EXPECT_NE(config.out.find("\"command\": \"" + bridge + "\""), std::string::npos) << config.out;
    // Each client's own form, as each real client takes it.
    for (const auto& line : {"claude mcp add tallywick -- " + bridge, "codex mcp add tallywick -- " + bridge,
                             "gemini mcp add tallywick " + bridge, "qwen mcp add tallywick " + bridge,
                             "\"command\": [\"" + bridge + "\"]"})
        EXPECT_NE(config.out.find(line + "\n"), std::string::npos) << line << "\n" << config.out;

    // No host and none beside the program to start: unreachable, at once, with the reason.
    host_->stop();
    auto notStarted = ctl({"--no-start", "--json", "snapshot"});
    EXPECT_EQ(notStarted.status, 3);
    EXPECT_NE(notStarted.err.find("no Tallywick host is running in " + host_->runtimeDirectory()),
              std::string::npos)
        << notStarted.err;
    EXPECT_FALSE(host_->lockHolder()) << "--no-start starts nothing";
    auto down = runProgram(
        {aloneCopy(TALLYWICKCTL_PATH), "--runtime-dir", host_->runtimeDirectory(), "snapshot"}, folder_);
    EXPECT_EQ(down.status, 3);
    EXPECT_LT(down.took, std::chrono::seconds(5));
    EXPECT_NE(down.err.find("none could be started: the host executable is missing"), std::string::npos)
        << down.err;

    // A relative folder is refused, as the host refuses it, whatever lies there.
    for (const auto& relative : {std::vector<std::string>{"--runtime-dir", "run"}, {}}) {
        std::vector<std::string> arguments{TALLYWICKCTL_PATH};
        arguments.insert(arguments.end(), relative.begin(), relative.end());
        arguments.push_back("snapshot");
        if (relative.empty()) ::setenv("TALLYWICK_RUNTIME_DIR", "relative/run", 1);
        auto refused = runProgram(arguments, folder_);
        ::unsetenv("TALLYWICK_RUNTIME_DIR");
        EXPECT_EQ(refused.status, 3);
        EXPECT_NE(refused.err.find("the runtime folder must be an absolute path"), std::string::npos)
            << refused.err;
    }

    // An unsafe runtime folder is named as such, not taken for a missing host.
    const auto open = folder_ / "open-run";
    std::filesystem::create_directories(open);
    std::filesystem::permissions(open, std::filesystem::perms::all);
    auto unsafe = runProgram({TALLYWICKCTL_PATH, "--runtime-dir", open.string(), "snapshot"}, folder_);
    EXPECT_EQ(unsafe.status, 3);
    EXPECT_NE(unsafe.err.find("is unsafe (the runtime folder is open to group or others)"), std::string::npos)
        << unsafe.err;
}

// A runtime folder deeper than a socket address holds: reached, and a host
// started there on demand.
TEST_F(Ctl, ReachesARuntimeFolderOfAnyLength) {
    moveHostDeep();
    auto answer = ctl({"settings", "starting-points", "9"});
    EXPECT_EQ(answer.status, 0) << answer.err;
    host_->stop();
    auto again = ctl({"--json", "snapshot"});
    EXPECT_EQ(again.status, 0) << again.err;
    EXPECT_NE(again.out.find(R"("startingPoints":9)"), std::string::npos);
}

// A state larger than one frame can carry is refused in words, which
// tallywickctl passes on as a refusal, not as a host it cannot reach.
TEST_F(Ctl, SaysSoWhenTheSnapshotIsTooLarge) {
    const std::string account = agentAccount("hoarder");
    ASSERT_FALSE(account.empty());
    auto desk = control();
    const std::string memo(16u << 20, 'm');
    for (int i = 0; i < 17; ++i) {
        ASSERT_EQ(desk->change(ControlRequest::createEntry(
                      {.accountId = account, .kind = TransactionKind::note, .memo = memo})),
                  "ok");
    }
    auto answer = ctl({"snapshot"});
    EXPECT_EQ(answer.status, 1);
    EXPECT_EQ(answer.err, "tallywickctl: Snapshot too large\n");
    // Everything else still works.
    EXPECT_EQ(ctl({"settings", "starting-points", "3"}).status, 0);
}

// The shell completion, as bash runs it: commands, values, and identifiers
// from the running host, without ever starting one.
TEST_F(Ctl, BashCompletionOffersCommandsValuesAndIdsOfTheRunningHost) {
    const std::string bashCompletion = "/usr/share/bash-completion/bash_completion";
    if (!std::filesystem::exists(bashCompletion)) GTEST_SKIP() << "bash-completion is not installed";
    const std::string account = agentAccount("completed");
    ASSERT_FALSE(account.empty());
    const auto complete = [&](const std::string& line) {
        const std::string script = "source " + bashCompletion +
                                   "; source " TALLYWICK_COMPLETION_PATH
                                   "\n"
                                   "PATH=" +
                                   std::filesystem::path(TALLYWICKCTL_PATH).parent_path().string() +
                                   ":$PATH\n"
                                   "COMP_LINE='" +
                                   line +
                                   "'; COMP_POINT=${#COMP_LINE}\n"
                                   "read -ra COMP_WORDS <<< \"$COMP_LINE\"\n"
                                   "[[ $COMP_LINE == *' ' ]] && COMP_WORDS+=('')\n"
                                   "COMP_CWORD=$((${#COMP_WORDS[@]} - 1))\n"
                                   "_tallywickctl; printf '%s\\n' \"${COMPREPLY[*]}\"\n";
        return runProgram({"/bin/bash", "--norc", "-c", script}, folder_).out;
    };
    const std::string runtime = "tallywickctl --runtime-dir " + host_->runtimeDirectory() + " ";
    EXPECT_EQ(complete(runtime + "s"), "snapshot settings\n");
    EXPECT_EQ(complete(runtime + "settings allow-unauthenticated "), "on off\n");
    EXPECT_EQ(complete(runtime + "entry add " + account + " "), "credit debit note\n");
    EXPECT_EQ(complete(runtime + "entry add " + account + " credit 5 --flag "), "none bonus penalty\n");
    EXPECT_EQ(complete(runtime + "entry edit --"),
              "--json --runtime-dir --no-start --help --version --kind --flag "
              "--amount --memo\n");
    EXPECT_EQ(complete(runtime + "account rename "), account + "\n");
    const auto entries = ControlSession(host_->socketPath()).snapshot()->entries;
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(complete(runtime + "entry delete "), entries[0].id + "\n");

    host_->stop();
    EXPECT_EQ(complete(runtime + "account delete "), "\n");
    EXPECT_FALSE(host_->lockHolder()) << "completing started no host";
}

// A ledger exported and imported into an empty account gives the same
// entries and balance; a malformed file names its row and column, and
// nothing of it reaches the host.
TEST_F(Ctl, LedgerCsvRoundTripsAndRefusesMalformedRows) {
    const std::string from = agentAccount("source");
    ASSERT_EQ(ctl({"entry", "add", from, "credit", "250", "--flag", "bonus", "--memo",
                   "Comma, \"quote\"\nand a line"})
                  .status,
              0);
    ASSERT_EQ(ctl({"entry", "add", from, "debit", "40", "--memo", "Grüße"}).status, 0);
    ASSERT_EQ(ctl({"entry", "add", from, "note", "0"}).status, 0);
    const auto file = folder_ / "ledger.csv";
    const auto exported = ctl({"export", from, "--output", file.string()});
    ASSERT_EQ(exported.status, 0) << exported.err;
    EXPECT_EQ(slurp(file).rfind(std::string(LedgerCsv::header) + "\r\n", 0), 0u);
    EXPECT_EQ(ctl({"export", from}).out, slurp(file));
    EXPECT_EQ(ctl({"export", "A404"}).status, 1);

    ASSERT_EQ(ctl({"settings", "starting-points", "0"}).status, 0);
    const std::string to = agentAccount("target");
    ASSERT_NE(to, from);
    const auto dry = ctl({"import", to, file.string(), "--dry-run"});
    EXPECT_EQ(dry.status, 0);
    EXPECT_NE(dry.out.find("Would create 4 entries"), std::string::npos) << dry.out;
    const auto imported = ctl({"import", to, file.string()});
    ASSERT_EQ(imported.status, 0) << imported.err;

    const auto ledgerOf = [](const Snapshot& state, const std::string& account) {
        std::vector<std::tuple<TransactionKind, LedgerFlag, std::int64_t, std::string>> rows;
        for (const auto& e : state.entries) {
            if (e.accountId == account) rows.emplace_back(e.kind, e.flag, e.amount, e.memo);
        }
        return rows;
    };
    const auto balanceOf = [](const Snapshot& state, const std::string& account) {
        for (const auto& a : state.accounts) {
            if (a.id == account) return a.balance;
        }
        return std::int64_t{-1};
    };
    auto state = control()->snapshot();
    ASSERT_TRUE(state);
    EXPECT_EQ(ledgerOf(*state, to), ledgerOf(*state, from));
    EXPECT_EQ(balanceOf(*state, to), balanceOf(*state, from));

    const auto bad = folder_ / "bad.csv";
    std::ofstream(bad) << "kind,flag,amount,memo\r\ncredit,none,5,fine\r\ndebit,none,lots,bad\r\n";
    const auto refused = ctl({"import", to, bad.string()});
    EXPECT_EQ(refused.status, 2);
    EXPECT_NE(refused.err.find("row 3, column amount"), std::string::npos) << refused.err;
    state = control()->snapshot();
    ASSERT_TRUE(state);
    EXPECT_EQ(ledgerOf(*state, to).size(), 4u) << "nothing of a refused file is added";
}

}  // namespace
}  // namespace tallywick::testing

namespace tallywick::testing {
namespace {

// Waits for the program to end; its exit status, or 128 + the signal that
// killed it (as a shell reports it), and how long the wait took.
std::pair<int, std::chrono::steady_clock::duration> ending(pid_t pid) {
    const auto begin = std::chrono::steady_clock::now();
    int status = 0;
    ::waitpid(pid, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
            std::chrono::steady_clock::now() - begin};
}

// A long import stopped by Ctrl-C, continued and stopped by SIGTERM: each
// stop says exactly how many rows went in, and continuing from there
// neither skips nor repeats a row.
TEST_F(Ctl, AStoppedImportSaysWhereToContinue) {
    ASSERT_EQ(ctl({"settings", "starting-points", "0"}).status, 0);
    const std::string account = agentAccount("importer");
    const auto file = folder_ / "long.csv";
    {
        std::ofstream csv(file);
        csv << "kind,flag,amount,memo\r\n";
        for (int row = 1; row <= 20000; ++row) csv << "credit,none,1,row " << row << "\r\n";
    }
    const auto memos = [&] {
        std::vector<std::string> stored;
        const auto state = control()->snapshot();
        for (const auto& entry : state->entries) stored.push_back(entry.memo);
        std::reverse(stored.begin(), stored.end());  // the snapshot lists the newest first
        return stored;
    };
    std::size_t from = 1;
    for (const int signal : {SIGINT, SIGTERM}) {
        const auto err = (folder_ / ("import-" + std::to_string(signal) + ".err")).string();
        const pid_t pid =
            HostProcess::spawn({TALLYWICKCTL_PATH, "--runtime-dir", host_->runtimeDirectory(), "import",
                                account, file.string(), "--from-row", std::to_string(from)},
                               err);
        const std::size_t before = memos().size();
        while (memos().size() < before + 50) std::this_thread::sleep_for(std::chrono::milliseconds(5));
        ::kill(pid, signal);
        const auto [status, took] = ending(pid);
        EXPECT_EQ(status, 128 + signal) << slurp(err);
        EXPECT_LT(took, kPromptly);
        const auto stored = memos();
        EXPECT_NE(slurp(err).find("Imported " + std::to_string(stored.size()) +
                                  " of 20000 rows; continue with "
                                  "--from-row " +
                                  std::to_string(stored.size() + 1)),
                  std::string::npos)
            << slurp(err);
        for (std::size_t i = 0; i < stored.size(); ++i) ASSERT_EQ(stored[i], "row " + std::to_string(i + 1));
        from = stored.size() + 1;
    }
    EXPECT_EQ(ctl({"import", account, file.string(), "--from-row", "20002"}).status, 2) << "past the end";
}

// Whether the process blocks SIGINT and SIGTERM: it has set up its stop
// signals, so any stop from now on is its own to handle.
bool blocksStopSignals(pid_t pid) {
    std::istringstream status(slurp("/proc/" + std::to_string(pid) + "/status"));
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("SigBlk:", 0) == 0) {
            const auto mask = std::stoull(line.substr(7), nullptr, 16);
            return (mask >> (SIGINT - 1) & 1) && (mask >> (SIGTERM - 1) & 1);
        }
    }
    return false;
}

// A hung host (stopped, its socket still taking connections): Ctrl-C and
// timeout's SIGTERM still end tallywickctl at once.
TEST_F(Ctl, StopsAtOnceWhateverItWaitsFor) {
    ::kill(host_->pid(), SIGSTOP);
    for (const int signal : {SIGINT, SIGTERM}) {
        const pid_t pid = HostProcess::spawn(
            {TALLYWICKCTL_PATH, "--runtime-dir", host_->runtimeDirectory(), "snapshot"}, host_->stderrPath());
        while (!blocksStopSignals(pid)) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        ::kill(pid, signal);
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        int status = 0;
        while (::waitpid(pid, &status, WNOHANG) == 0 && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        if (std::chrono::steady_clock::now() >= deadline) {
            ::kill(pid, SIGKILL);
            ::waitpid(pid, &status, 0);
            ADD_FAILURE() << "signal " << signal << " did not end it";
            continue;
        }
        EXPECT_TRUE(WIFEXITED(status) ? WEXITSTATUS(status) == 128 + signal
                                      : kUnderThreadSanitizer && WTERMSIG(status) == signal)
            << status;
    }
    ::kill(host_->pid(), SIGCONT);
}

}  // namespace
}  // namespace tallywick::testing

namespace tallywick::testing {
namespace {

// The host it starts cannot serve (here: its ledger's folder cannot be
// made): the wait ends as soon as that host does, with the host's reason.
TEST_F(Ctl, AStartOnDemandThatFailsSaysWhyAtOnce) {
    const auto file = folder_ / "a-file";
    std::ofstream(file) << "x";
    const std::string data = std::getenv("TALLYWICK_DATA_DIR");
    ::setenv("TALLYWICK_DATA_DIR", (file / "data").c_str(), 1);
    const auto run = runProgram(
        {TALLYWICKCTL_PATH, "--runtime-dir", (folder_ / "elsewhere").string(), "snapshot"}, folder_);
    ::setenv("TALLYWICK_DATA_DIR", data.c_str(), 1);
    EXPECT_EQ(run.status, 3);
    EXPECT_LT(run.took, std::chrono::seconds(2));
    EXPECT_NE(run.err.find("could not serve: Could not create the folder " + (file / "data").string()),
              std::string::npos)
        << run.err;
}

// One host per ledger, found from anywhere: a client whose runtime folder is
// another (one outside the login session) reaches the ledger's host instead
// of starting a second, whichever came first.
TEST_F(Ctl, TheLedgersHostIsFoundFromAnyRuntimeFolder) {
    const auto stray = (folder_ / "stray").string();
    const auto snapshotFrom = [&](const std::string& folder) {
        return runProgram({TALLYWICKCTL_PATH, "--runtime-dir", folder, "--json", "snapshot"}, folder_);
    };
    // The session's host first: the stray client reaches it, nothing starts.
    auto reached = snapshotFrom(stray);
    EXPECT_EQ(reached.status, 0) << reached.err;
    EXPECT_LT(reached.took, kPromptly);
    EXPECT_FALSE(std::filesystem::exists(endpointPath(stray)));

    // A stray host first: the session's host leaves at once with 0, and the
    // session's clients reach the stray one.
    host_->stop();
    ASSERT_EQ(snapshotFrom(stray).status, 0) << "a host started on demand in the stray folder";
    const auto session =
        runProgram({TALLYWICK_HOST_PATH, "--runtime-dir", host_->runtimeDirectory()}, folder_);
    EXPECT_EQ(session.status, 0) << session.err;
    EXPECT_NE(session.err.find("the host in " + stray + " serves"), std::string::npos) << session.err;
    reached = snapshotFrom(host_->runtimeDirectory());
    EXPECT_EQ(reached.status, 0) << reached.err;
    EXPECT_LT(reached.took, kPromptly);
    EXPECT_FALSE(acceptsConnections(host_->socketPath())) << "one host";
    HostProcess strayHost(folder_ / "stray-host", TALLYWICK_HOST_PATH);
    strayHost.setRuntimeDirectory(stray);
    strayHost.stop();  // the one started on demand
}

// The host serves a ledger other than the clients' default and goes down
// (a crash, a restart): the next client starts it on that ledger, never on
// the default one, and a host for another ledger may not take its folder.
TEST_F(Ctl, AStartOnDemandServesTheLedgerItsFolderRecords) {
    const std::string own = std::getenv("TALLYWICK_DATA_DIR");
    const auto other = folder_ / "default-data";
    ::setenv("TALLYWICK_DATA_DIR", other.c_str(), 1);
    const std::string account = agentAccount("recorded");
    for (int round = 0; round < 3; ++round) {
        host_->kill(SIGKILL);
        const auto added =
            ctl({"entry", "add", account, "credit", "7", "--memo", "round " + std::to_string(round)});
        EXPECT_EQ(added.status, 0) << added.err;
        host_->stop();  // the one started on demand
        ASSERT_TRUE(host_->start()) << host_->stderrText();
    }
    const auto state = control()->snapshot();
    ASSERT_TRUE(state);
    EXPECT_EQ(std::count_if(state->entries.begin(), state->entries.end(),
                            [](const LedgerEntry& e) { return e.memo.rfind("round ", 0) == 0; }),
              3);
    EXPECT_FALSE(std::filesystem::exists(other)) << "the default ledger was never opened";
    host_->stop();
    const auto refused =
        runProgram({TALLYWICK_HOST_PATH, "--runtime-dir", host_->runtimeDirectory()}, folder_);
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.err.find("belongs to the ledger " + host_->databasePath()), std::string::npos)
        << refused.err;
    ::setenv("TALLYWICK_DATA_DIR", own.c_str(), 1);
}

}  // namespace
}  // namespace tallywick::testing
