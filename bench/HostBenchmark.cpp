// The host under load, each figure beside its baseline from the same run:
//   snapshot: a snapshot request answered by a real host holding 100 accounts
//             and 100,000 entries (build, encode, send), against decoding the
//             same answer text in the application (target: at most 2 times);
//   commits:  createEntry requests answered one after another through the
//             whole path (client, host, commit, reply), against bare SQLite
//             committing the same rows into the same schema, one transaction
//             each, with the same settings (target: at least half the rate);
//   changes:  createEntry, updateEntry and deleteEntry in the store on an
//             account of 1,000,000 entries, against the same on an account of
//             10 in the same file (target: at most 1.3 times).
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include <tallywick/TallywickCoding.h>

#include "BenchLedger.h"
#include "LedgerStore.h"
#include "support/HostClients.h"
#include "support/HostProcess.h"

using namespace tallywick;
using namespace tallywick::bench;
using Clock = std::chrono::steady_clock;

namespace {

constexpr int commitCount = 300;
constexpr int rounds = 7;

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

// The floor for commits: the same rows into the same schema (the store
// creates it), one transaction each, same pragmas, nothing else around them.
double bareCommitsPerSecond(const std::string& path) {
    {
        auto opened = LedgerStore::open(path);
        auto& store = *std::get<std::unique_ptr<LedgerStore>>(opened);
        store.setStartingPoints(0);
        store.createCredentialAccount("Floor", "unused", Date{});
    }
    sqlite3* db = nullptr;
    sqlite3_open(path.c_str(), &db);
    exec(db, "PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL;");
    sqlite3_stmt* insert = nullptr;
    sqlite3_prepare_v2(
        db,
        "INSERT INTO entries (account_id, kind, flag, amount, memo, created_at, updated_at, sequence)"
        " VALUES (1, 'credit', 'none', ?1, 'bench', 1750000000, 1750000000, ?1)",
        -1, &insert, nullptr);
    const auto start = Clock::now();
    for (int i = 0; i < commitCount; ++i) {
        exec(db, "BEGIN IMMEDIATE");
        sqlite3_bind_int(insert, 1, i + 1);
        sqlite3_step(insert);
        sqlite3_reset(insert);
        exec(db, "COMMIT");
    }
    const double seconds = millisecondsSince(start) / 1000;
    sqlite3_finalize(insert);
    sqlite3_close(db);
    return commitCount / seconds;
}

// Milliseconds for `cycles` rounds of create, update and delete on one account.
double changeCycles(LedgerStore& store, const std::string& account, int cycles) {
    const auto start = Clock::now();
    for (int i = 0; i < cycles; ++i) {
        auto made =
            store.createEntry({.accountId = account, .kind = TransactionKind::credit, .amount = 5}, Date{});
        auto* entry = std::get_if<LedgerEntry>(&made);
        if (!entry) return -1;
        entry->amount = 6;
        store.updateEntry(*entry, Date{});
        store.deleteEntry(entry->id);
    }
    return millisecondsSince(start);
}

// The cost of a change must not grow with the ledger it lands in.
std::pair<double, double> changeCostsSmallAndLarge(const std::filesystem::path& folder) {
    constexpr int largeCount = 1'000'000, cycles = 100;
    const std::string path = (folder / "changes.sqlite3").string();
    std::string small, large;
    {
        auto opened = LedgerStore::open(path);
        auto& store = *std::get<std::unique_ptr<LedgerStore>>(opened);
        store.setStartingPoints(0);
        small = std::get<Account>(store.createCredentialAccount("Small", "unused", Date{})).id;
        large = std::get<Account>(store.createCredentialAccount("Large", "unused", Date{})).id;
        for (int i = 0; i < 10; ++i)
            store.createEntry({.accountId = small, .kind = TransactionKind::credit, .amount = 1}, Date{});
    }
    if (!appendCredits(path, std::stoll(large.substr(1)), largeCount)) return {-1, -1};

    auto opened = LedgerStore::open(path);
    auto& store = *std::get<std::unique_ptr<LedgerStore>>(opened);
    std::vector<double> smallTimes, largeTimes;
    for (int round = 0; round < rounds; ++round) {
        smallTimes.push_back(changeCycles(store, small, cycles));
        largeTimes.push_back(changeCycles(store, large, cycles));
    }
    return {median(smallTimes) / cycles, median(largeTimes) / cycles};
}

}  // namespace

int main(int argc, char** argv) {
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("tallywick-host-bench-" + std::to_string(::getpid()));
    std::filesystem::remove_all(folder);
    testing::HostProcess host(folder, argc > 1 ? argv[1] : TALLYWICK_HOST_PATH);
    std::printf("Populating %d accounts and %d entries...\n", accountCount, entryCount);
    if (!populateLedger(host.databasePath())) return 1;
    if (!host.start()) {
        std::fprintf(stderr, "host did not start: %s\n", host.stderrText().c_str());
        return 1;
    }

    testing::AgentLink link(
        host.socketPath());  // a raw link client: the answer's bytes, not the app's decode
    std::vector<double> answer, decode;
    std::size_t bytes = 0;
    for (int round = 0; round < rounds; ++round) {
        auto start = Clock::now();
        auto text = link.call("control", R"({"snapshot":{}})");
        answer.push_back(millisecondsSince(start));
        if (!text) return 1;
        bytes = text->size();
        start = Clock::now();
        auto decoded = TallywickCoding::decode<ControlResponse>(*text);
        decode.push_back(millisecondsSince(start));
        if (!decoded) return 1;
    }

    // Where the answer's time goes: reading the store, then encoding.
    std::vector<double> build, encode;
    for (int round = 0; round < 3; ++round) {
        auto opened = LedgerStore::open(host.databasePath());
        if (!std::holds_alternative<std::unique_ptr<LedgerStore>>(opened)) break;
        auto& store = *std::get<std::unique_ptr<LedgerStore>>(opened);
        auto start = Clock::now();
        auto accounts = store.accounts();
        auto entries = store.entries();
        auto settings = store.settings();
        if (!succeeded(accounts) || !succeeded(entries) || !succeeded(settings)) return 1;
        Snapshot state{.accounts = std::get<0>(std::move(accounts)),
                       .entries = std::get<0>(std::move(entries)),
                       .settings = std::get<0>(settings)};
        build.push_back(millisecondsSince(start));
        start = Clock::now();
        auto text = TallywickCoding::encodeToString(ControlResponse::snapshot(std::move(state)));
        encode.push_back(millisecondsSince(start));
    }

    std::vector<double> commitRates, bareRates;
    auto state = testing::ControlSession(host.socketPath()).snapshot();
    const std::string account = state->accounts.front().id;
    for (int round = 0; round < 3; ++round) {
        const auto start = Clock::now();
        for (int i = 0; i < commitCount; ++i) {
            const std::string request = R"({"createEntry":{"_0":{"accountId":")" + account +
                                        R"(","kind":"credit","flag":"none","amount":)" +
                                        std::to_string(i + 1) + R"(,"memo":"bench"}}})";
            if (link.call("control", request) != R"({"ok":{}})") return 1;
        }
        commitRates.push_back(commitCount / (millisecondsSince(start) / 1000));
        bareRates.push_back(
            bareCommitsPerSecond((folder / ("bare" + std::to_string(round)) / "ledger.sqlite3").string()));
    }
    host.stop();
    std::filesystem::remove_all(folder);

    const double answerMs = median(answer), decodeMs = median(decode);
    const double commits = median(commitRates), bare = median(bareRates);
    std::printf(
        "snapshot answer (%zu bytes)   %9.2f ms   decode in the app %9.2f ms   ratio %.2f  (target <= 2.0: "
        "%s)\n",
        bytes, answerMs, decodeMs, answerMs / decodeMs, answerMs / decodeMs <= 2.0 ? "met" : "NOT MET");
    if (!build.empty())
        std::printf("  of which: reading the store %.2f ms, encoding %.2f ms, the rest is the transfer\n",
                    median(build), median(encode));
    std::printf(
        "createEntry commits           %9.1f /s   bare SQLite       %9.1f /s   ratio %.2f  (target >= 0.5: "
        "%s)\n",
        commits, bare, commits / bare, commits / bare >= 0.5 ? "met" : "NOT MET");
    std::printf("Populating one account with 1,000,000 entries...\n");
    const auto [smallMs, largeMs] = changeCostsSmallAndLarge(folder);
    std::printf(
        "create+update+delete, 1M-entry account %6.2f ms   10-entry account %6.2f ms   ratio %.2f  (target "
        "<= 1.3: %s)\n",
        largeMs, smallMs, largeMs / smallMs, largeMs / smallMs <= 1.3 ? "met" : "NOT MET");
    return 0;
}
