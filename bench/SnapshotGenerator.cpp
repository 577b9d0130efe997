// SPDX-License-Identifier: MIT
#include "SnapshotGenerator.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <string_view>

namespace tallywick::bench {
namespace {

// mt19937_64 gives the same sequence with every standard library; the
// distributions do not, so values are drawn with plain arithmetic.
class Rng {
public:
    explicit Rng(std::uint64_t seed) : engine_(seed) {}
    std::uint64_t next() { return engine_(); }
    std::size_t below(std::size_t n) { return static_cast<std::size_t>(engine_() % n); }
    bool percent(unsigned p) { return engine_() % 100 < p; }
    template <class T, std::size_t N>
    const T& pick(const std::array<T, N>& items) {
        return items[below(N)];
    }

private:
    std::mt19937_64 engine_;
};

// Hosts name their records by random identifiers; 36 characters each, so
// every id leaves the small-string buffer, as it would in practice.
std::string uuid(Rng& rng) {
    static constexpr char hex[] = "0123456789ABCDEF";
    std::string out;
    out.reserve(36);
    const std::uint64_t halves[2] = {rng.next(), rng.next()};
    for (int i = 0; i < 32; ++i) {
        if (i == 8 || i == 12 || i == 16 || i == 20) out += '-';
        out += hex[(halves[i / 16] >> ((i % 16) * 4)) & 0xf];
    }
    return out;
}

constexpr std::array<std::string_view, 40> kWords{
    "answer",   "bonus",  "late",  "reply",   "good", "task",    "review",   "tests",   "passed", "failed",
    "refactor", "parser", "retry", "timeout", "docs", "cleanup", "merged",   "branch",  "deploy", "rollback",
    "for",      "the",    "a",     "after",   "with", "without", "second",   "attempt", "agent",  "session",
    "Grüße",    "日本語", "naïve", "café",    "🎉",    "A/B",     "\"fast\"", "C:\\tmp", "Zoë",    "ok"};

constexpr std::array<std::string_view, 12> kShortMemos{
    "Good answer", "Late reply", "Opening balance", "Bonus",     "Penalty",  "Retry",
    "Fixed tests", "Thanks!",    "Grüße",           "日本語 ok", "🎉 merged", "Note"};

// Appends whole words until the text reaches about `length` bytes.
std::string words(Rng& rng, std::size_t length) {
    std::string out;
    while (out.size() < length) {
        if (!out.empty()) out += ' ';
        out += rng.pick(kWords);
    }
    return out;
}

// Most memos are a few words; some are empty, some are a sentence or two.
std::string memo(Rng& rng) {
    const auto roll = rng.below(100);
    if (roll < 8) return {};
    if (roll < 45) return std::string(rng.pick(kShortMemos));
    if (roll < 90) return words(rng, 16 + rng.below(45));
    return words(rng, 61 + rng.below(140));
}

Date at(std::int64_t secondsAfterStart) {
    // 2025-01-01T00:00:00Z
    return Date{std::chrono::seconds{1735689600 + secondsAfterStart}};
}

constexpr std::array<std::string_view, 5> kClientNames{"claude-code", "cursor", "codex-cli", "gemini-cli",
                                                       "windsurf"};

ClientInfo clientInfo(Rng& rng) {
    ClientInfo info{
        .name = std::string(rng.pick(kClientNames)), .version = std::nullopt, .title = std::nullopt};
    if (rng.percent(80))
        info.version = std::to_string(1 + rng.below(3)) + "." + std::to_string(rng.below(40));
    if (rng.percent(50)) info.title = rng.percent(20) ? "Agent 🤖 “Scout”" : "Claude Code";
    return info;
}

std::vector<ClientInfoField> clientInfoFields(Rng& rng) {
    static constexpr std::array<std::pair<std::string_view, std::string_view>, 6> kFields{{
        {"os", "linux"},
        {"arch", "x86_64"},
        {"host", "build-07.example.internal"},
        {"locale", "de_DE.UTF-8"},
        {"cwd", "/home/agent/projects/tallywick"},
        {"shell", "zsh"},
    }};
    std::vector<ClientInfoField> fields;
    const auto count = rng.below(5);  // present but empty now and then
    for (std::size_t i = 0; i < count; ++i) {
        const auto& [key, value] = kFields[(i + count) % kFields.size()];
        fields.push_back({std::string(key), std::string(value)});
    }
    return fields;
}

// Balances span the whole 64-bit range, so a reader that goes through
// doubles would lose digits here.
std::int64_t balance(Rng& rng, std::size_t index) {
    if (index == 3) return std::numeric_limits<std::int64_t>::min();
    if (index == 4) return std::numeric_limits<std::int64_t>::max();
    if (index % 10 == 7) return (std::int64_t{1} << 53) + 1 + static_cast<std::int64_t>(rng.below(1000));
    return static_cast<std::int64_t>(rng.below(200000)) - 20000;
}

std::vector<Account> accounts(Rng& rng, std::size_t count) {
    static constexpr std::array<std::string_view, 8> kNames{
        "Scout",   "Ünïcødé / 名前", "Reviewer",    "Zoë the tester",
        "Builder", "Agent 🤖 7",   "Night shift", "Ops"};
    std::vector<Account> out;
    out.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        auto id = uuid(rng);
        auto displayName = std::string(rng.pick(kNames)) + " " + std::to_string(i + 1);
        const auto mode = rng.percent(40) ? IdentityMode::clientInfo : IdentityMode::credential;
        std::optional<ClientInfo> info;
        if (mode == IdentityMode::clientInfo || rng.percent(20)) info = clientInfo(rng);
        std::optional<std::vector<ClientInfoField>> fields;
        if (rng.percent(30)) fields = clientInfoFields(rng);
        const auto points = balance(rng, i);
        out.push_back({.id = std::move(id),
                       .displayName = std::move(displayName),
                       .identityMode = mode,
                       .clientInfo = std::move(info),
                       .clientInfoFields = std::move(fields),
                       .balance = points,
                       .createdAt = at(static_cast<std::int64_t>(i) * 3600),
                       .isConnected = rng.percent(25)});
    }
    return out;
}

std::vector<LedgerEntry> entries(Rng& rng, std::size_t count, const std::vector<Account>& owners) {
    std::vector<LedgerEntry> out;
    out.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        auto id = uuid(rng);
        auto accountId = owners[rng.below(owners.size())].id;
        const auto roll = rng.below(100);
        const auto kind = roll < 60   ? TransactionKind::credit
                          : roll < 90 ? TransactionKind::debit
                                      : TransactionKind::note;
        auto flag = LedgerFlag::none;
        if (kind == TransactionKind::credit && rng.percent(15)) flag = LedgerFlag::bonus;
        if (kind == TransactionKind::debit && rng.percent(15)) flag = LedgerFlag::penalty;
        const auto amount = rng.percent(1)
                                ? (std::int64_t{1} << 53) + 1 + static_cast<std::int64_t>(rng.below(1 << 20))
                                : static_cast<std::int64_t>(1 + rng.below(rng.percent(90) ? 5000 : 1000000));
        auto text = memo(rng);
        const auto created = at(360000 + static_cast<std::int64_t>(i) * 7);
        const auto updated = rng.percent(10) ? created + std::chrono::seconds{1 + rng.below(86400)} : created;
        out.push_back({.id = std::move(id),
                       .accountId = std::move(accountId),
                       .kind = kind,
                       .flag = flag,
                       .amount = amount,
                       .memo = std::move(text),
                       .createdAt = created,
                       .updatedAt = updated,
                       .sequence = static_cast<std::int64_t>(i + 1)});
    }
    return out;
}

std::vector<LiveConnection> connections(Rng& rng, std::size_t count, const std::vector<Account>& owners) {
    std::vector<LiveConnection> out;
    out.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        auto id = uuid(rng);
        std::optional<ClientInfo> info;
        if (rng.percent(70)) info = clientInfo(rng);
        std::optional<std::string> accountId;
        if (rng.percent(60)) accountId = owners[rng.below(owners.size())].id;
        out.push_back({.id = std::move(id),
                       .clientInfo = std::move(info),
                       .accountId = std::move(accountId),
                       .authenticated = rng.percent(50),
                       .connectedAt = at(7200000 + static_cast<std::int64_t>(i) * 60)});
    }
    return out;
}

constexpr std::array<std::string_view, 5> kMethods{"tools/call", "initialize", "tools/list", "resources/read",
                                                   "notifications/progress"};

// An agent message as logged: JSON text kept as a string, so it carries
// quotes, backslashes, slashes, line breaks, a control byte and text outside
// ASCII that the writer has to escape or pass through.
std::string payload(Rng& rng, std::size_t index, std::string_view method) {
    std::string out =
        "{\n  \"jsonrpc\": \"2.0\",\n  \"id\": " + std::to_string(index) + ",\n  \"method\": \"";
    out += method;
    out += "\",\n  \"params\": {\"name\": \"award_points\", \"arguments\": {\"memo\": \"Grüße aus 日本語 🎉 ";
    out += "path C:\\\\Users\\\\agent\\\\notes.txt, url https://example.test/a/b?q=\\\"x\\\"\", ";
    out +=
        "\"raw\": \"bell\x01"
        "here\", \"text\": \"";
    const auto extra = rng.percent(20) ? 400 + rng.below(2600) : 20 + rng.below(300);
    out += words(rng, extra);
    out += "\"}}\n}";
    return out;
}

std::vector<ApiLogEntry> apiLog(Rng& rng, std::size_t count, const std::vector<LiveConnection>& links,
                                const std::vector<Account>& owners) {
    std::vector<ApiLogEntry> out;
    out.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        auto id = uuid(rng);
        auto connectionId = links[rng.below(links.size())].id;
        std::optional<std::string> accountId, clientLabel, methodName;
        if (rng.percent(70)) accountId = owners[rng.below(owners.size())].id;
        if (rng.percent(60)) clientLabel = owners[rng.below(owners.size())].displayName;
        const auto roll = rng.below(10);
        const auto direction = roll < 5   ? Direction::request
                               : roll < 9 ? Direction::response
                                          : Direction::notification;
        const std::string_view method = rng.pick(kMethods);
        if (direction != Direction::response) methodName = std::string(method);
        auto text = payload(rng, i, method);
        out.push_back({.id = std::move(id),
                       .connectionId = std::move(connectionId),
                       .accountId = std::move(accountId),
                       .clientLabel = std::move(clientLabel),
                       .direction = direction,
                       .method = std::move(methodName),
                       .payload = std::move(text),
                       .timestamp = at(7300000 + static_cast<std::int64_t>(i) * 3)});
    }
    return out;
}

}  // namespace

Snapshot generateSnapshot(const SnapshotShape& shape) {
    Rng rng(shape.seed);
    Snapshot state{};
    state.accounts = accounts(rng, shape.accounts);
    state.entries = entries(rng, shape.entries, state.accounts);
    state.connections = connections(rng, shape.connections, state.accounts);
    state.settings = {.allowUnauthenticated = true, .startingPoints = 50000};
    state.recentApiLog = apiLog(rng, shape.apiLogRecords, state.connections, state.accounts);
    state.hostVersion = "1.4.2 (12)";
    return state;
}

std::string snapshotResponseText(const SnapshotShape& shape) {
    auto text = TallywickCoding::encodeToString(ControlResponse::snapshot(generateSnapshot(shape)));
    if (!text) {
        std::fprintf(stderr, "encodeToString refused the generated snapshot (%zu entries)\n", shape.entries);
        std::abort();
    }
    return std::move(*text);
}

}  // namespace tallywick::bench
