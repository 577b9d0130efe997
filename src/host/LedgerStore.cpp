// SPDX-License-Identifier: MIT
#include <tallywick/host/LedgerStore.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <limits>
#include <set>
#include <sstream>
#include <system_error>
#include <unordered_map>
#include <utility>

#include <tallywick/link/FileLock.h>

#include <tallywick/host/Database.h>
#include <tallywick/host/HostLog.h>
#include <tallywick/host/LedgerBackups.h>
#include <tallywick/model/Balance.h>

namespace tallywick {

namespace {

// Each step brings the schema from the version that is its index to the
// next; the version is the number of steps applied. Steps are only appended.
// Ids are AUTOINCREMENT so that a deleted row's id is never handed out again.
constexpr std::string_view migrations[] = {
    R"sql(
CREATE TABLE accounts (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    identity_mode TEXT NOT NULL,
    display_name TEXT NOT NULL,
    created_at INTEGER NOT NULL,
    -- the client name a clientInfo account is recognised by; fixed at creation
    recognised_name TEXT UNIQUE,
    -- what the agent last said about itself; no client_name means nothing said
    client_name TEXT,
    client_version TEXT,
    client_title TEXT,
    has_client_fields INTEGER NOT NULL DEFAULT 0,
    key_hash TEXT,
    next_sequence INTEGER NOT NULL DEFAULT 1
);
CREATE TABLE client_fields (
    account_id INTEGER NOT NULL REFERENCES accounts(id) ON DELETE CASCADE,
    position INTEGER NOT NULL,
    key TEXT NOT NULL,
    value TEXT NOT NULL,
    PRIMARY KEY (account_id, position)
) WITHOUT ROWID;
CREATE TABLE entries (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    account_id INTEGER NOT NULL REFERENCES accounts(id) ON DELETE CASCADE,
    kind TEXT NOT NULL,
    flag TEXT NOT NULL,
    amount INTEGER NOT NULL CHECK (amount >= 0),
    memo TEXT NOT NULL,
    created_at INTEGER NOT NULL,
    updated_at INTEGER NOT NULL,
    sequence INTEGER NOT NULL,
    UNIQUE (account_id, sequence)
);
CREATE INDEX entries_by_account ON entries (account_id, id);
CREATE TABLE settings (
    id INTEGER PRIMARY KEY CHECK (id = 1),
    allow_unauthenticated INTEGER NOT NULL DEFAULT 1,
    starting_points INTEGER NOT NULL DEFAULT 50000 CHECK (starting_points >= 0)
);
INSERT INTO settings (id) VALUES (1);
CREATE TABLE meta (
    id INTEGER PRIMARY KEY CHECK (id = 1),
    run_count INTEGER NOT NULL DEFAULT 0
);
INSERT INTO meta (id) VALUES (1);
)sql",
    // Every change sums its account's ledger to refuse an overflowing balance;
    // an index that holds the amounts answers that without visiting the rows.
    R"sql(
CREATE INDEX entries_amounts ON entries (account_id, kind, amount);
)sql",
};
constexpr int schemaVersion = static_cast<int>(std::size(migrations));

// "TLWK": marks the file as ours, so another program's database is refused
// rather than having our tables added to it.
constexpr std::int64_t applicationId = 0x544C574B;

using Wide = Balance::Wide;

const std::string selectEntries =
    "SELECT id, account_id, kind, flag, amount, memo, created_at, updated_at, sequence FROM entries ";

Failed<Failure> noSuchAccount() {
    return fail(Failure{"No such account"});
}
Failed<Failure> noSuchEntry() {
    return fail(Failure{"No such entry"});
}

std::string accountId(std::int64_t number) {
    return "A" + std::to_string(number);
}
std::string entryId(std::int64_t number) {
    return "E" + std::to_string(number);
}

// The number in an identifier we gave out; none for any other text, so each
// row has exactly one identifier ("A007" is not "A7").
std::optional<std::int64_t> parseId(std::string_view text, char prefix) {
    if (text.size() < 2 || text[0] != prefix || text[1] < '1' || text[1] > '9') return std::nullopt;
    std::int64_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data() + 1, end, number);
    if (error != std::errc{} || stop != end) return std::nullopt;
    return number;
}

std::int64_t seconds(Date date) {
    return date.time_since_epoch().count();
}
Date dateFrom(std::int64_t seconds) {
    return Date{std::chrono::seconds{seconds}};
}

// An unreadable kind counts as a note, which leaves the balance alone.
TransactionKind kindFrom(std::string_view text) {
    return fromRawValue<TransactionKind>(text).value_or(TransactionKind::note);
}

Wide effect(TransactionKind kind, std::int64_t amount) {
    return Balance::effect(kind, amount);
}

bool isBlank(std::string_view text) {
    return text.find_first_not_of(" \t\n\r\f\v") == std::string_view::npos;
}

std::string labelFor(const ClientInfo& info) {
    if (!isBlank(info.displayLabel())) return info.displayLabel();
    if (!isBlank(info.name)) return info.name;
    return "Unnamed client";
}

// Opening and upgrading

// SQLite would create the file readable by everyone; it holds key hashes.
void createPrivately(const std::string& path) {
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
    if (file >= 0) ::close(file);
}

struct FileState {
    std::int64_t objects = 0;
    std::int64_t version = 0;
    std::int64_t application = 0;
};

// Reading these is the first read of the file, so a file that is not a
// database fails here, before anything could write to it.
std::optional<FileState> inspect(Transaction& tx) {
    auto row = tx.query(
        "SELECT (SELECT count(*) FROM sqlite_schema), (SELECT user_version FROM pragma_user_version), "
        "(SELECT application_id FROM pragma_application_id)");
    if (!tx.next(row)) return std::nullopt;
    return FileState{row.integer(0), row.integer(1), row.integer(2)};
}

// Whether the file may be used as a ledger, or why not.
Result<void, std::string> acceptable(const FileState& state, const std::string& path) {
    const bool ours = state.application == applicationId;
    if (!ours && state.application != 0) return fail(path + " is not a Tallywick database");
    if (state.version > schemaVersion) return fail(path + " was written by a newer version of Tallywick");
    if (!ours && state.objects != 0) return fail(path + " is not a Tallywick database");
    return {};
}

// The first column of a one-row statement run outside any transaction.
Result<std::string, DatabaseError> single(Database& db, std::string_view sql) {
    auto prepared = db.prepare(sql);
    if (!prepared) return fail(prepared.error());
    auto& statement = *prepared;
    auto stepped = statement.step();
    if (!stepped) return fail(stepped.error());
    return *stepped ? statement.text(0) : std::string();
}

// Every table and index a schema version has, as "type name" lines, read from
// a database (the file, or a scratch one built by the same migrations).
Result<std::string, DatabaseError> objectsOf(Database& db) {
    auto prepared = db.prepare("SELECT type || ' ' || name FROM sqlite_schema ORDER BY 1");
    if (!prepared) return fail(prepared.error());
    auto& rows = *prepared;
    std::string list;
    for (;;) {
        auto stepped = rows.step();
        if (!stepped) return fail(stepped.error());
        if (!*stepped) return list;
        list += rows.text(0) + "\n";
    }
}

std::string expectedObjects(std::int64_t version) {
    auto scratch = Database::open(":memory:");
    if (!scratch) return {};
    auto& db = **scratch;
    // A failed step shows as a difference from the file, which is reported.
    for (std::int64_t step = 0; step < version && step < schemaVersion; ++step)
        (void)db.execute(std::string(migrations[step]));
    return objectsOf(db).value_or(std::string());
}

// The first line that differs between two lists, said as what is missing or extra.
std::string schemaDifference(const std::string& expected, const std::string& found) {
    std::istringstream want(expected), have(found);
    std::set<std::string> wanted, had;
    for (std::string line; std::getline(want, line);) wanted.insert(line);
    for (std::string line; std::getline(have, line);) had.insert(line);
    for (const auto& line : wanted)
        if (!had.contains(line)) return "the " + line + " is missing";
    for (const auto& line : had)
        if (!wanted.contains(line)) return "there is an unknown " + line;
    return {};
}

// Whether a file that holds data at `version` is whole, or what is wrong with it.
Result<void, std::string> wholeness(Database& db, std::int64_t version) {
    const auto checked = single(db, "PRAGMA quick_check(1)");
    if (!checked) return fail(checked.error().message);
    if (*checked != "ok") {
        // SQLite's report spans lines and names the schema; one line is kept.
        std::string report = *checked;
        if (report.starts_with("*** in database main ***")) report.erase(0, 24);
        std::replace(report.begin(), report.end(), '\n', ' ');
        const auto begin = report.find_first_not_of(' ');
        return fail(begin == std::string::npos ? std::string("the structural check failed")
                                               : report.substr(begin));
    }
    if (version == 0) return {};
    const auto found = objectsOf(db);
    if (!found) return fail(found.error().message);
    if (auto difference = schemaDifference(expectedObjects(version), *found); !difference.empty())
        return fail(std::move(difference));
    return {};
}

std::string damagedMessage(const std::string& path, const std::string& damage) {
    const auto backup = LedgerBackups::newest(path);
    return path + " is damaged (" + damage + "); nothing was written to it. " +
           (backup ? "The newest backup is " + backup->string() +
                         ": run tallywick-host --restore-latest-backup to put it in place (the damaged file "
                         "is kept)."
                   : "There is no backup of it: move it aside to start an empty ledger.");
}

// Brings the schema up to date and counts this run, all in one transaction.
Result<std::uint64_t, std::string> upgrade(Database& db, const std::string& path) {
    Transaction tx(db, Transaction::Mode::immediate);
    const auto state = inspect(tx);
    if (state) {
        if (auto accepted = acceptable(*state, path); !accepted) return fail(std::move(accepted).error());
        for (auto step = state->version; step < schemaVersion; ++step)
            tx.script(std::string(migrations[step]));
        if (state->version < schemaVersion) {
            tx.script("PRAGMA user_version = " + std::to_string(schemaVersion) +
                      "; PRAGMA application_id = " + std::to_string(applicationId) + ";");
        }
    }
    tx.run("UPDATE meta SET run_count = run_count + 1");
    std::uint64_t run = 0;
    {
        auto row = tx.query("SELECT run_count FROM meta");
        if (tx.next(row)) run = static_cast<std::uint64_t>(row.integer(0));
    }
    if (auto committed = tx.commit(); !committed)
        return fail("Could not prepare " + path + ": " + committed.error().message);
    return run;
}

// Reading and writing rows

Settings readSettings(Transaction& tx) {
    auto row = tx.query("SELECT allow_unauthenticated, starting_points FROM settings WHERE id = 1");
    if (!tx.next(row)) return {};
    return {.allowUnauthenticated = row.integer(0) != 0, .startingPoints = row.integer(1)};
}

LedgerEntry readEntry(const Statement& row) {
    return {
        .id = entryId(row.integer(0)),
        .accountId = accountId(row.integer(1)),
        .kind = kindFrom(row.textView(2)),
        .flag = fromRawValue<LedgerFlag>(row.textView(3)).value_or(LedgerFlag::none),
        .amount = row.integer(4),
        .memo = row.text(5),
        .createdAt = dateFrom(row.integer(6)),
        .updatedAt = dateFrom(row.integer(7)),
        .sequence = row.integer(8),
    };
}

std::vector<LedgerEntry> readEntries(Transaction& tx, Statement& rows) {
    std::vector<LedgerEntry> entries;
    while (tx.next(rows)) entries.push_back(readEntry(rows));
    return entries;
}

std::optional<LedgerEntry> loadEntry(Transaction& tx, std::int64_t id) {
    auto row = tx.query(selectEntries + "WHERE id = ?", id);
    if (!tx.next(row)) return std::nullopt;
    return readEntry(row);
}

// The account an entry belongs to and what the entry does to its balance.
struct EntryOwner {
    std::int64_t account = 0;
    Wide effect = 0;
};

std::optional<EntryOwner> entryOwner(Transaction& tx, std::int64_t entry) {
    auto row = tx.query("SELECT account_id, kind, amount FROM entries WHERE id = ?", entry);
    if (!tx.next(row)) return std::nullopt;
    return EntryOwner{row.integer(0), effect(kindFrom(row.textView(1)), row.integer(2))};
}

// The sequence number the account's next entry gets; none when there is no such account.
std::optional<std::int64_t> nextSequence(Transaction& tx, std::int64_t account) {
    auto row = tx.query("SELECT next_sequence FROM accounts WHERE id = ?", account);
    if (!tx.next(row)) return std::nullopt;
    return row.integer(0);
}

LedgerEntry appendEntry(Transaction& tx, std::int64_t account, std::int64_t sequence,
                        const NewLedgerEntry& entry, Date now) {
    tx.run(
        "INSERT INTO entries (account_id, kind, flag, amount, memo, created_at, updated_at, sequence) "
        "VALUES (?, ?, ?, ?, ?, ?, ?, ?)",
        account, rawValue(entry.kind), rawValue(entry.flag), entry.amount, entry.memo, seconds(now),
        seconds(now), sequence);
    const std::int64_t id = tx.lastInsertId();
    tx.run("UPDATE accounts SET next_sequence = ? WHERE id = ?", sequence + 1, account);
    return {.id = entryId(id),
            .accountId = accountId(account),
            .kind = entry.kind,
            .flag = entry.flag,
            .amount = entry.amount,
            .memo = entry.memo,
            .createdAt = now,
            .updatedAt = now,
            .sequence = sequence};
}

// Gives the new account's balance.
Balance openingCredit(Transaction& tx, std::int64_t account, Date now) {
    Balance balance;
    const std::int64_t points = readSettings(tx).startingPoints;
    if (points <= 0) return balance;
    balance.apply(points);
    appendEntry(tx, account, 1,
                {.accountId = {},  // the row's own account
                 .kind = TransactionKind::credit,
                 .flag = LedgerFlag::none,
                 .amount = points,
                 .memo = "Opening balance"},
                now);
    return balance;
}

void storeClientInfo(Transaction& tx, std::int64_t account, const ClientInfo& info,
                     const std::vector<ClientInfoField>& fields) {
    tx.run(
        "UPDATE accounts SET client_name = ?, client_version = ?, client_title = ?, has_client_fields = 1 "
        "WHERE id = ?",
        info.name, info.version, info.title, account);
    tx.run("DELETE FROM client_fields WHERE account_id = ?", account);
    for (std::size_t position = 0; position < fields.size(); ++position) {
        tx.run("INSERT INTO client_fields (account_id, position, key, value) VALUES (?, ?, ?, ?)", account,
               static_cast<std::int64_t>(position), fields[position].key, fields[position].value);
    }
}

// Whether the account holds exactly this client information already: a
// known client's handshake then writes nothing, and works on a full disk.
bool holdsClientInfo(Transaction& tx, std::int64_t account, const ClientInfo& info,
                     const std::vector<ClientInfoField>& fields) {
    auto row = tx.query(
        "SELECT client_name, client_version, client_title, has_client_fields FROM accounts WHERE id = ?",
        account);
    if (!tx.next(row) || row.integer(3) == 0 || row.isNull(0)) return false;
    if (ClientInfo{row.text(0), row.optionalText(1), row.optionalText(2)} != info) return false;
    std::vector<ClientInfoField> stored;
    auto rows =
        tx.query("SELECT key, value FROM client_fields WHERE account_id = ? ORDER BY position", account);
    while (tx.next(rows)) stored.push_back({rows.text(0), rows.text(1)});
    return stored == fields;
}

// Every account, or only the one given, with fields and balances.
using BalanceMap = std::unordered_map<std::int64_t, Balance>;

std::vector<Account> loadAccounts(Transaction& tx, std::optional<std::int64_t> only,
                                  const BalanceMap* balances) {
    const auto filter = [&](const char* column) {
        return only ? std::string(" WHERE ") + column + " = ?1" : "";
    };
    const auto bindFilter = [&](Statement& statement) {
        if (only) statement.bind(1, *only);
    };

    std::vector<Account> accounts;
    std::unordered_map<std::int64_t, std::size_t> positions;
    auto rows = tx.query(
        "SELECT id, identity_mode, display_name, created_at, client_name, client_version, client_title, "
        "has_client_fields FROM accounts" +
        filter("id") + " ORDER BY id");
    bindFilter(rows);
    while (tx.next(rows)) {
        Account account{
            .id = accountId(rows.integer(0)),
            .displayName = rows.text(2),
            .identityMode = fromRawValue<IdentityMode>(rows.textView(1)).value_or(IdentityMode::credential),
            .clientInfo = std::nullopt,        // read below
            .clientInfoFields = std::nullopt,  // read below
            .balance = 0,                      // summed by the caller
            .createdAt = dateFrom(rows.integer(3)),
            .isConnected = false,
        };
        if (!rows.isNull(4))
            account.clientInfo = ClientInfo{rows.text(4), rows.optionalText(5), rows.optionalText(6)};
        if (rows.integer(7) != 0) account.clientInfoFields.emplace();
        positions.emplace(rows.integer(0), accounts.size());
        accounts.push_back(std::move(account));
    }

    auto fields = tx.query("SELECT account_id, key, value FROM client_fields" + filter("account_id") +
                           " ORDER BY account_id, position");
    bindFilter(fields);
    while (tx.next(fields)) {
        const auto found = positions.find(fields.integer(0));
        if (found == positions.end()) continue;
        auto& list = accounts[found->second].clientInfoFields;
        if (list) list->push_back({fields.text(1), fields.text(2)});
    }

    if (!balances) return accounts;
    for (auto& [number, position] : positions) {
        if (const auto found = balances->find(number); found != balances->end())
            accounts[position].balance = found->second.reported();
    }
    return accounts;
}

Outcome<Account> loadAccount(Transaction& tx, std::int64_t id, const BalanceMap& balances) {
    auto found = loadAccounts(tx, id, &balances);
    if (found.empty()) return noSuchAccount();
    return std::move(found.front());
}

// Runs `body` as one change: committed when it succeeds, rolled back when it
// fails, and any database error reported in place of its result.
template <class Body>
auto change(Database& db, Body body) {
    using Changed = decltype(body(std::declval<Transaction&>()));
    // What is written to a file no longer at its path is lost when the host
    // stops: refused before it is answered as done.
    if (!db.stillAtItsPath()) {
        static std::atomic<bool> told{false};
        const std::string reason = "The ledger file " + db.path() +
                                   " was deleted or replaced while the host was running; restart the host";
        if (!told.exchange(true)) HostLog::error(reason + " (changes are refused until then)");
        return Changed{fail(Failure{reason})};
    }
    Transaction tx(db, Transaction::Mode::immediate);
    auto result = body(tx);
    const auto saveFailure = [](const DatabaseError& error) {
        return Changed{fail(Failure{"Could not save: " + error.message})};
    };
    if (tx.failed()) return saveFailure(*tx.failure());
    if (!result) return result;
    if (auto committed = tx.commit(); !committed) return saveFailure(committed.error());
    return result;
}

// Runs `body` on one consistent view of the data. A read that failed part
// way (a damaged page, a full disk for the lock) is a failure, never the
// part that was read.
template <class Body>
auto read(Database& db, Body body) -> Outcome<decltype(body(std::declval<Transaction&>()))> {
    Transaction tx(db, Transaction::Mode::deferred);
    auto result = body(tx);
    if (auto committed = tx.commit(); !committed)
        return fail(Failure{"The ledger could not be read: " + committed.error().message});
    return result;
}

}  // namespace

LedgerStore::LedgerStore(std::unique_ptr<Database> database) : db_(std::move(database)) {}

LedgerStore::~LedgerStore() = default;

Result<std::unique_ptr<LedgerStore>, std::string> LedgerStore::open(const std::string& path) {
    if (auto folders = createPrivateFolders(std::filesystem::path(path).parent_path()); !folders)
        return fail(std::move(folders).error());
    createPrivately(path);
    auto opened = Database::open(path);
    if (!opened) return fail("Could not open " + path + ": " + opened.error().message);
    auto db = std::move(opened).value();

    if (auto busy = db->execute("PRAGMA busy_timeout = 5000"); !busy)
        return fail("Could not open " + path + ": " + busy.error().message);
    // Until the file is known to be whole, closing must not fold a log into it.
    db->setCheckpointOnClose(false);
    FileState state;
    {
        Transaction tx(*db, Transaction::Mode::deferred);
        const auto inspected = inspect(tx);
        if (auto committed = tx.commit(); !committed)
            return fail(damagedMessage(path, committed.error().message));
        if (!inspected) return fail("Could not open " + path);
        if (auto accepted = acceptable(*inspected, path); !accepted) return fail(std::move(accepted).error());
        state = *inspected;
    }
    if (state.objects != 0) {
        if (auto whole = wholeness(*db, state.version); !whole)
            return fail(damagedMessage(path, whole.error()));
    }
    db->setCheckpointOnClose(true);
    // A migration changes the file for good: a copy of it as it was comes first.
    if (state.objects != 0 && state.version < schemaVersion) {
        auto copied = LedgerBackups::make(
            path, std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()));
        if (!copied) return fail("Not upgrading " + path + " without a backup: " + copied.error().reason);
        HostLog::notice("upgrading " + path + " from schema version " + std::to_string(state.version) +
                        " to " + std::to_string(schemaVersion) + "; the file as it was is kept in " +
                        copied->string());
    }
    // Only now may anything be written: journal_mode=WAL changes the file's header.
    const auto mode = single(*db, "PRAGMA journal_mode = WAL");
    if (!mode) return fail("Could not open " + path + ": " + mode.error().message);
    if (*mode != "wal") return fail("Could not use write-ahead logging for " + path);
    if (auto set = db->execute("PRAGMA synchronous = FULL; PRAGMA foreign_keys = ON"); !set)
        return fail("Could not open " + path + ": " + set.error().message);

    auto upgraded = upgrade(*db, path);
    if (!upgraded) return fail(std::move(upgraded).error());
    std::unique_ptr<LedgerStore> store(new LedgerStore(std::move(db)));
    store->runNumber_ = *upgraded;
    // Every balance summed once, here; each change then moves its account's
    // sum. SQLite sums each kind per account from the amounts index; a sum
    // past 64 bits makes it give up, and then the rows are added one by one.
    const auto sumBy = [&store](const char* sql) {
        return read(*store->db_, [sql](Transaction& tx) {
            BalanceMap balances;
            auto rows = tx.query(sql);
            while (tx.next(rows))
                balances[rows.integer(0)].apply(effect(kindFrom(rows.textView(1)), rows.integer(2)));
            return balances;
        });
    };
    auto summed = sumBy("SELECT account_id, kind, sum(amount) FROM entries GROUP BY account_id, kind");
    if (!summed) summed = sumBy("SELECT account_id, kind, amount FROM entries");
    if (!summed) return fail(path + " could not be read: " + summed.error().reason);
    store->balances_ = std::move(summed).value();
    return store;
}

Result<void, std::string> LedgerStore::checkFile(const std::string& path) {
    auto opened = Database::openReadOnly(path);
    if (!opened) return fail(opened.error().message);
    auto& db = **opened;
    db.setCheckpointOnClose(false);
    FileState state;
    {
        Transaction tx(db, Transaction::Mode::deferred);
        const auto inspected = inspect(tx);
        if (auto committed = tx.commit(); !committed) return fail(committed.error().message);
        if (!inspected) return fail(std::string("it cannot be read"));
        if (auto accepted = acceptable(*inspected, path); !accepted) return accepted;
        state = *inspected;
    }
    return wholeness(db, state.version);
}

std::int64_t LedgerStore::balance(const std::string& accountId) const {
    const auto number = parseId(accountId, 'A');
    const auto found = number ? balances_.find(*number) : balances_.end();
    return found == balances_.end() ? 0 : found->second.reported();
}

Outcome<Settings> LedgerStore::settings() const {
    return read(*db_, readSettings);
}

Outcome<Settings> LedgerStore::setAllowUnauthenticated(bool allow) {
    return change(*db_, [&](Transaction& tx) -> Outcome<Settings> {
        tx.run("UPDATE settings SET allow_unauthenticated = ? WHERE id = 1", std::int64_t{allow});
        return readSettings(tx);
    });
}

Outcome<Settings> LedgerStore::setStartingPoints(std::int64_t points) {
    if (points < 0) return fail(Failure{"Starting points must not be negative"});
    return change(*db_, [&](Transaction& tx) -> Outcome<Settings> {
        tx.run("UPDATE settings SET starting_points = ? WHERE id = 1", points);
        return readSettings(tx);
    });
}

Outcome<std::vector<Account>> LedgerStore::accounts(Balances balances) const {
    return read(*db_, [&](Transaction& tx) {
        return loadAccounts(tx, std::nullopt, balances == Balances::summed ? &balances_ : nullptr);
    });
}

Outcome<std::vector<LedgerEntry>> LedgerStore::accountEntries(const std::string& accountId) const {
    const auto account = parseId(accountId, 'A');
    if (!account) return std::vector<LedgerEntry>{};
    return read(*db_, [&](Transaction& tx) {
        auto rows = tx.query(selectEntries + "WHERE account_id = ? ORDER BY id DESC", *account);
        return readEntries(tx, rows);
    });
}

Outcome<std::vector<LedgerEntry>> LedgerStore::entries() const {
    return read(*db_, [](Transaction& tx) {
        auto rows = tx.query(selectEntries + "ORDER BY id DESC");
        return readEntries(tx, rows);
    });
}

Outcome<std::optional<Account>> LedgerStore::account(const std::string& id) const {
    const auto number = parseId(id, 'A');
    if (!number) return std::optional<Account>();
    return read(*db_, [&](Transaction& tx) -> std::optional<Account> {
        auto found = loadAccounts(tx, *number, &balances_);
        if (found.empty()) return std::nullopt;
        return std::move(found.front());
    });
}

Outcome<std::optional<LedgerEntry>> LedgerStore::entry(const std::string& id) const {
    const auto number = parseId(id, 'E');
    if (!number) return std::optional<LedgerEntry>();
    return read(*db_, [&](Transaction& tx) { return loadEntry(tx, *number); });
}

Outcome<LedgerEntry> LedgerStore::createEntry(const NewLedgerEntry& entry, Date now) {
    if (entry.amount < 0) return fail(Failure{"Amount must not be negative"});
    const auto account = parseId(entry.accountId, 'A');
    if (!account) return noSuchAccount();
    const Wide change = effect(entry.kind, entry.amount);
    auto written = tallywick::change(*db_, [&](Transaction& tx) -> Outcome<LedgerEntry> {
        const auto sequence = nextSequence(tx, *account);
        if (!sequence) return noSuchAccount();
        if (!balances_[*account].allows(change)) return fail(Failure{"Balance would overflow"});
        return appendEntry(tx, *account, *sequence, entry, now);
    });
    // The kept sums follow only what was committed.
    if (written) balances_[*account].apply(change);
    return written;
}

Outcome<LedgerEntry> LedgerStore::updateEntry(const LedgerEntry& entry, Date now) {
    if (entry.amount < 0) return fail(Failure{"Amount must not be negative"});
    const auto id = parseId(entry.id, 'E');
    if (!id) return noSuchEntry();
    std::optional<EntryOwner> owner;
    const Wide after = effect(entry.kind, entry.amount);
    auto updated = tallywick::change(*db_, [&](Transaction& tx) -> Outcome<LedgerEntry> {
        owner = entryOwner(tx, *id);
        if (!owner) return noSuchEntry();
        if (!balances_[owner->account].allows(after - owner->effect))
            return fail(Failure{"Balance would overflow"});
        tx.run("UPDATE entries SET kind = ?, flag = ?, amount = ?, memo = ?, updated_at = ? WHERE id = ?",
               rawValue(entry.kind), rawValue(entry.flag), entry.amount, entry.memo, seconds(now), *id);
        auto stored = loadEntry(tx, *id);
        if (!stored) return noSuchEntry();
        return std::move(*stored);
    });
    if (updated) balances_[owner->account].apply(after - owner->effect);
    return updated;
}

Outcome<std::string> LedgerStore::deleteEntry(const std::string& id) {
    const auto number = parseId(id, 'E');
    if (!number) return noSuchEntry();
    std::optional<EntryOwner> owner;
    auto deleted = tallywick::change(*db_, [&](Transaction& tx) -> Outcome<std::string> {
        owner = entryOwner(tx, *number);
        if (!owner) return noSuchEntry();
        tx.run("DELETE FROM entries WHERE id = ?", *number);
        return accountId(owner->account);
    });
    if (deleted) balances_[owner->account].apply(-owner->effect);
    return deleted;
}

Outcome<Account> LedgerStore::renameAccount(const std::string& id, const std::string& displayName) {
    if (isBlank(displayName)) return fail(Failure{"Display name must not be empty"});
    const auto number = parseId(id, 'A');
    if (!number) return noSuchAccount();
    return change(*db_, [&](Transaction& tx) -> Outcome<Account> {
        tx.run("UPDATE accounts SET display_name = ? WHERE id = ?", displayName, *number);
        if (tx.changes() == 0) return noSuchAccount();
        return loadAccount(tx, *number, balances_);
    });
}

Outcome<void> LedgerStore::deleteAccount(const std::string& id) {
    const auto number = parseId(id, 'A');
    if (!number) return noSuchAccount();
    auto deleted = change(*db_, [&](Transaction& tx) -> Outcome<void> {
        tx.run("DELETE FROM accounts WHERE id = ?", *number);
        if (tx.changes() == 0) return noSuchAccount();
        return {};
    });
    if (deleted) balances_.erase(*number);
    return deleted;
}

Outcome<Account> LedgerStore::createCredentialAccount(const std::string& displayName,
                                                      const std::string& keyHash, Date now) {
    if (isBlank(displayName)) return fail(Failure{"Display name must not be empty"});
    std::int64_t id = 0;
    Balance opened;
    auto created = change(*db_, [&](Transaction& tx) -> Outcome<Account> {
        tx.run("INSERT INTO accounts (identity_mode, display_name, created_at, key_hash) VALUES (?, ?, ?, ?)",
               rawValue(IdentityMode::credential), displayName, seconds(now), keyHash);
        id = tx.lastInsertId();
        opened = openingCredit(tx, id, now);
        return loadAccount(tx, id, balances_);
    });
    if (created) {
        Account* account = &*created;
        balances_[id] = opened;
        account->balance = opened.reported();
        HostLog::info("an agent signed up: account " + account->id + ", \"" + account->displayName + "\"");
    }
    return created;
}

Outcome<std::optional<std::string>> LedgerStore::keyHash(const std::string& accountId) const {
    const auto number = parseId(accountId, 'A');
    if (!number) return std::optional<std::string>();
    return read(*db_, [&](Transaction& tx) -> std::optional<std::string> {
        auto row = tx.query("SELECT key_hash FROM accounts WHERE id = ?", *number);
        if (!tx.next(row)) return std::nullopt;
        return row.optionalText(0);
    });
}

Outcome<Account> LedgerStore::clientInfoAccount(const ClientInfo& info,
                                                const std::vector<ClientInfoField>& fields, Date now) {
    auto known = read(*db_, [&](Transaction& tx) -> std::optional<Account> {
        auto row = tx.query("SELECT id FROM accounts WHERE recognised_name = ?", info.name);
        if (!tx.next(row) || !holdsClientInfo(tx, row.integer(0), info, fields)) return std::nullopt;
        auto account = loadAccount(tx, row.integer(0), balances_);
        return account ? std::optional<Account>(*account) : std::nullopt;
    });
    if (known && *known) return **known;
    std::optional<std::int64_t> id;
    std::optional<Balance> opened;  // for an account made now
    auto found = change(*db_, [&](Transaction& tx) -> Outcome<Account> {
        {
            auto row = tx.query("SELECT id FROM accounts WHERE recognised_name = ?", info.name);
            if (tx.next(row)) id = row.integer(0);
        }
        if (!id) {
            tx.run(
                "INSERT INTO accounts (identity_mode, display_name, created_at, recognised_name) "
                "VALUES (?, ?, ?, ?)",
                rawValue(IdentityMode::clientInfo), labelFor(info), seconds(now), info.name);
            id = tx.lastInsertId();
            opened = openingCredit(tx, *id, now);
        }
        storeClientInfo(tx, *id, info, fields);
        return loadAccount(tx, *id, balances_);
    });
    if (found && opened) {
        Account* account = &*found;
        balances_[*id] = *opened;
        account->balance = opened->reported();
        HostLog::info("account " + account->id + " made for the client \"" + info.name + "\"");
    }
    return found;
}

Outcome<void> LedgerStore::recordClientInfo(const std::string& accountId, const ClientInfo& info,
                                            const std::vector<ClientInfoField>& fields) {
    const auto number = parseId(accountId, 'A');
    if (!number) return noSuchAccount();
    return change(*db_, [&](Transaction& tx) -> Outcome<void> {
        if (!nextSequence(tx, *number)) return noSuchAccount();
        storeClientInfo(tx, *number, info, fields);
        return {};
    });
}

namespace {

// The highest entry identifier ever handed out, deleted or not.
std::int64_t lastEntryNumber(Transaction& tx) {
    auto row = tx.query("SELECT seq FROM sqlite_sequence WHERE name = 'entries'");
    return tx.next(row) ? row.integer(0) : 0;
}

}  // namespace

Outcome<LedgerStore::HistoryPage> LedgerStore::history(const std::string& accountId, int limit,
                                                       const std::optional<std::string>& before) const {
    limit = std::clamp(limit, 1, 100);
    const auto account = parseId(accountId, 'A');
    if (!account) return noSuchAccount();
    Transaction tx(*db_, Transaction::Mode::deferred);
    auto page = [&]() -> Outcome<HistoryPage> {
        if (!nextSequence(tx, *account)) return noSuchAccount();
        auto below = std::numeric_limits<std::int64_t>::max();
        if (before) {
            // Identifiers grow with creation and are never reused, so a page
            // goes on below an entry deleted since it was named; only an entry
            // of another account (or no identifier at all) is refused.
            const auto number = parseId(*before, 'E');
            if (!number) return noSuchEntry();
            if (const auto owner = entryOwner(tx, *number);
                owner ? owner->account != *account : *number > lastEntryNumber(tx))
                return noSuchEntry();  // another account's, or one never handed out
            below = *number - 1;
        }
        // One more than asked for tells whether older entries remain.
        auto rows = tx.query(selectEntries + "WHERE account_id = ? AND id <= ? ORDER BY id DESC LIMIT ?",
                             *account, below, limit + 1);
        HistoryPage result{.entries = readEntries(tx, rows)};
        if (result.entries.size() > static_cast<std::size_t>(limit)) {
            result.entries.pop_back();
            result.nextBefore = result.entries.back().id;
        }
        return result;
    }();
    if (auto committed = tx.commit(); !committed)
        return fail(Failure{"The ledger could not be read: " + committed.error().message});
    return page;
}

}  // namespace tallywick
