// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <random>

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>

#include <tallywick/host/Database.h>
#include <tallywick/host/KeyHasher.h>
#include <tallywick/host/LedgerStore.h>
#include "OutcomeTesting.h"

using namespace tallywick;
namespace fs = std::filesystem;

namespace {

constexpr auto maxPoints = std::numeric_limits<std::int64_t>::max();

Date at(std::int64_t seconds) {
    return Date{std::chrono::seconds{seconds}};
}

std::string bytesOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class LedgerStoreTest : public ::testing::Test {
protected:
    void SetUp() override {
        folder_ = fs::path(::testing::TempDir()) /
                  ("store-" + std::to_string(::getpid()) + "-" +
                   ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(folder_);
        fs::create_directories(folder_);
    }
    void TearDown() override { fs::remove_all(folder_); }

    fs::path path() const { return folder_ / "data" / "tallywick" / "ledger.sqlite3"; }
    std::string fileBytes() const { return bytesOf(path()) + bytesOf(path().string() + "-wal"); }

    std::unique_ptr<LedgerStore> open() {
        auto opened = LedgerStore::open(path());
        if (!opened) ADD_FAILURE() << opened.error();
        return std::move(opened).value_or(nullptr);
    }
    std::string refusal() {
        auto opened = LedgerStore::open(path());
        return opened ? "(opened)" : opened.error();
    }
    // A second connection, as another program would have.
    void executeAside(const std::string& sql) {
        auto opened = Database::open(path());
        ASSERT_TRUE(opened.has_value());
        auto executed = opened.value()->execute(sql);
        ASSERT_TRUE(executed) << executed.error().message;
    }

    fs::path folder_;
};

NewLedgerEntry credit(const std::string& account, std::int64_t amount, std::string memo = "") {
    return {.accountId = account, .kind = TransactionKind::credit, .amount = amount, .memo = std::move(memo)};
}
NewLedgerEntry debit(const std::string& account, std::int64_t amount) {
    return {.accountId = account, .kind = TransactionKind::debit, .amount = amount};
}

}  // namespace

TEST_F(LedgerStoreTest, KeepsEverythingAcrossReopening) {
    auto store = open();
    ASSERT_TRUE(store);
    EXPECT_EQ(store->runNumber(), 1u);
    EXPECT_EQ(ok(store->settings()), (Settings{.allowUnauthenticated = true, .startingPoints = 50000}));
    struct stat info {};
    ASSERT_EQ(::stat(path().parent_path().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0700u);
    ASSERT_EQ(::stat(path().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);

    ok(store->setAllowUnauthenticated(false));
    ok(store->setStartingPoints(10));
    const auto builder = ok(store->createCredentialAccount("Builder", "hash-text", at(1000)));
    const auto cli =
        ok(store->clientInfoAccount({"cli", "1.2", "CLI Agent"}, {{"os", "linux"}, {"shell", ""}}, at(2000)));
    ok(store->createEntry({.accountId = builder.id,
                           .kind = TransactionKind::debit,
                           .flag = LedgerFlag::penalty,
                           .amount = 3,
                           .memo = "tea \xe2\x98\x95"},
                          at(3000)));
    ok(store->createEntry({.accountId = cli.id, .kind = TransactionKind::note, .memo = "hello"}, at(4000)));

    EXPECT_EQ(builder.clientInfoFields, std::nullopt);
    EXPECT_EQ(cli.clientInfoFields, (std::vector<ClientInfoField>{{"os", "linux"}, {"shell", ""}}));
    const auto accounts = ok(store->accounts());
    const auto entries = ok(store->entries());
    ASSERT_EQ(accounts.size(), 2u);
    EXPECT_EQ(accounts[0].balance, 7);
    ASSERT_EQ(entries.size(), 4u);
    EXPECT_EQ(entries.front().memo, "hello");

    store.reset();
    store = open();
    ASSERT_TRUE(store);
    EXPECT_EQ(store->runNumber(), 2u);
    EXPECT_EQ(ok(store->accounts()), accounts);
    EXPECT_EQ(ok(store->entries()), entries);
    EXPECT_EQ(ok(store->settings()), (Settings{.allowUnauthenticated = false, .startingPoints = 10}));
    EXPECT_EQ(ok(store->keyHash(builder.id)), "hash-text");
}

TEST_F(LedgerStoreTest, BuildsTheSchemaInAnEmptyFile) {
    fs::create_directories(path().parent_path());
    std::ofstream(path()).close();
    auto store = open();
    ASSERT_TRUE(store);
    EXPECT_EQ(store->runNumber(), 1u);
    EXPECT_TRUE(ok(store->accounts()).empty());
    EXPECT_EQ(ok(store->settings()).startingPoints, 50000);
}

TEST_F(LedgerStoreTest, RefusesFilesItCannotUseAndLeavesThemAlone) {
    fs::create_directories(path().parent_path());
    std::ofstream(path()) << std::string(3000, 'x') << "not a database at all";
    auto before = fileBytes();
    EXPECT_NE(refusal().find("file is not a database"), std::string::npos) << refusal();
    EXPECT_EQ(fileBytes(), before);

    // Another program's database.
    fs::remove(path());
    executeAside("CREATE TABLE accounts (name TEXT); INSERT INTO accounts VALUES ('x')");
    before = fileBytes();
    EXPECT_EQ(refusal(), path().string() + " is not a Tallywick database");
    EXPECT_EQ(fileBytes(), before);

    // Our own, from a later version.
    fs::remove(path());
    ok(open()->createCredentialAccount("Ada", "hash", at(1)));
    executeAside("PRAGMA user_version = 999");
    before = fileBytes();
    EXPECT_EQ(refusal(), path().string() + " was written by a newer version of Tallywick");
    EXPECT_EQ(fileBytes(), before);
}

TEST_F(LedgerStoreTest, OpeningCreditFollowsTheStartingPoints) {
    auto store = open();
    const auto first = ok(store->createCredentialAccount("First", "hash", at(100)));
    EXPECT_EQ(first.balance, 50000);
    const auto opening = ok(store->history(first.id, 10, std::nullopt)).entries;
    ASSERT_EQ(opening.size(), 1u);
    EXPECT_EQ(opening[0], (LedgerEntry{.id = opening[0].id,
                                       .accountId = first.id,
                                       .kind = TransactionKind::credit,
                                       .flag = LedgerFlag::none,
                                       .amount = 50000,
                                       .memo = "Opening balance",
                                       .createdAt = at(100),
                                       .updatedAt = at(100),
                                       .sequence = 1}));

    EXPECT_EQ(reason(store->setStartingPoints(-1)), "Starting points must not be negative");
    ok(store->setStartingPoints(0));
    const auto empty = ok(store->clientInfoAccount({"bare"}, {}, at(200)));
    EXPECT_EQ(empty.balance, 0);
    EXPECT_TRUE(ok(store->history(empty.id, 10, std::nullopt)).entries.empty());
    EXPECT_EQ(ok(store->createEntry(credit(empty.id, 5), at(300))).sequence, 1);

    ok(store->setStartingPoints(7));
    EXPECT_EQ(ok(store->clientInfoAccount({"other"}, {}, at(400))).balance, 7);
}

TEST_F(LedgerStoreTest, NeverReusesSequencesOrIdentifiers) {
    auto store = open();
    const auto account = ok(store->createCredentialAccount("Ada", "hash", at(1)));
    ok(store->createEntry(credit(account.id, 1), at(2)));
    const auto third = ok(store->createEntry(credit(account.id, 1), at(3)));
    EXPECT_EQ(third.sequence, 3);
    EXPECT_EQ(ok(store->deleteEntry(third.id)), account.id);
    const auto fourth = ok(store->createEntry(credit(account.id, 1), at(4)));
    EXPECT_EQ(fourth.sequence, 4);
    EXPECT_NE(fourth.id, third.id);
    EXPECT_EQ(ok(store->entry(third.id)), std::nullopt);

    ok(store->deleteAccount(account.id));
    const auto next = ok(store->createCredentialAccount("Ada", "hash", at(5)));
    EXPECT_NE(next.id, account.id);
    EXPECT_EQ(ok(store->account(account.id)), std::nullopt);
}

TEST_F(LedgerStoreTest, UpdateKeepsAccountCreationAndSequence) {
    auto store = open();
    const auto ada = ok(store->createCredentialAccount("Ada", "hash", at(1)));
    const auto bob = ok(store->createCredentialAccount("Bob", "hash", at(1)));
    const auto original = ok(store->createEntry(credit(ada.id, 10, "first"), at(10)));
    ok(store->createEntry(credit(ada.id, 1, "later"), at(20)));

    auto changed = original;
    changed.accountId = bob.id;
    changed.kind = TransactionKind::debit;
    changed.flag = LedgerFlag::penalty;
    changed.amount = 4;
    changed.memo = "fixed";
    changed.createdAt = at(999);
    changed.sequence = 77;
    const auto updated = ok(store->updateEntry(changed, at(30)));

    auto expected = original;
    expected.kind = TransactionKind::debit;
    expected.flag = LedgerFlag::penalty;
    expected.amount = 4;
    expected.memo = "fixed";
    expected.updatedAt = at(30);
    EXPECT_EQ(updated, expected);
    EXPECT_EQ(ok(store->entry(original.id)), expected);
    EXPECT_EQ(ok(store->entries())[1], expected);  // an update does not make an entry newer
    EXPECT_EQ(ok(store->account(ada.id))->balance, 50000 - 4 + 1);
    EXPECT_EQ(ok(store->account(bob.id))->balance, 50000);
}

TEST_F(LedgerStoreTest, RefusesBadChangesWithTheirReasons) {
    auto store = open();
    const auto ada = ok(store->createCredentialAccount("Ada", "hash", at(1)));
    const auto entry = ok(store->createEntry(credit(ada.id, 1), at(2)));
    const auto accounts = ok(store->accounts());
    const auto entries = ok(store->entries());

    for (const std::string id : {"A999", "E1", "A01", "", "A"}) {
        EXPECT_EQ(reason(store->createEntry(credit(id, 1), at(3))), "No such account") << id;
    }
    EXPECT_EQ(reason(store->renameAccount("A999", "Name")), "No such account");
    EXPECT_EQ(reason(store->deleteAccount("A999")), "No such account");
    EXPECT_EQ(reason(store->recordClientInfo("A999", {"x"}, {})), "No such account");
    EXPECT_EQ(reason(store->history("A999", 10, std::nullopt)), "No such account");

    auto unknown = entry;
    unknown.id = "E999";
    EXPECT_EQ(reason(store->updateEntry(unknown, at(3))), "No such entry");
    EXPECT_EQ(reason(store->deleteEntry("E999")), "No such entry");
    EXPECT_EQ(reason(store->deleteEntry(ada.id)), "No such entry");

    EXPECT_EQ(reason(store->createEntry(credit(ada.id, -1), at(3))), "Amount must not be negative");
    auto negative = entry;
    negative.amount = -5;
    EXPECT_EQ(reason(store->updateEntry(negative, at(3))), "Amount must not be negative");

    EXPECT_EQ(reason(store->renameAccount(ada.id, " \t\n")), "Display name must not be empty");
    EXPECT_EQ(reason(store->createCredentialAccount("", "hash", at(3))), "Display name must not be empty");

    EXPECT_EQ(ok(store->accounts()), accounts);
    EXPECT_EQ(ok(store->entries()), entries);
    EXPECT_EQ(ok(store->renameAccount(ada.id, "  Ada L. ")).displayName, "  Ada L. ");
}

TEST_F(LedgerStoreTest, RefusesABalanceOutsideSixtyFourBits) {
    auto store = open();
    ok(store->setStartingPoints(0));
    const auto id = ok(store->createCredentialAccount("Ada", "hash", at(1))).id;
    const auto top = ok(store->createEntry(credit(id, maxPoints), at(2)));
    EXPECT_EQ(reason(store->createEntry(credit(id, 1), at(3))), "Balance would overflow");
    ok(store->createEntry({.accountId = id, .kind = TransactionKind::note, .amount = maxPoints}, at(3)));

    ok(store->createEntry(debit(id, maxPoints), at(4)));
    const auto down = ok(store->createEntry(debit(id, maxPoints), at(5)));
    const auto last = ok(store->createEntry(debit(id, 1), at(6)));
    EXPECT_EQ(ok(store->account(id))->balance, std::numeric_limits<std::int64_t>::min());
    EXPECT_EQ(reason(store->createEntry(debit(id, 1), at(7))), "Balance would overflow");

    // The entry's old amount no longer counts once it is replaced.
    auto lifted = last;
    lifted.kind = TransactionKind::credit;
    EXPECT_EQ(ok(store->updateEntry(lifted, at(8))).kind, TransactionKind::credit);
    auto flipped = down;
    flipped.kind = TransactionKind::credit;
    EXPECT_EQ(reason(store->updateEntry(flipped, at(9))), "Balance would overflow");
    EXPECT_EQ(ok(store->account(id))->balance, -maxPoints + 1);
    EXPECT_EQ(ok(store->entries()).size(), 5u);

    // Deleting is never refused; a balance past the range is shown at its limit.
    ok(store->deleteEntry(top.id));
    EXPECT_EQ(ok(store->account(id))->balance, std::numeric_limits<std::int64_t>::min());
}

// The balance every change keeps in memory is the exact sum of the entries,
// held to the 64-bit range: after random changes at the range's edges, and
// after the sums are rebuilt from the file on reopening.
TEST_F(LedgerStoreTest, KeptBalancesAreTheExactSumsOfTheEntries) {
    __extension__ typedef __int128 Wide;
    constexpr auto top = std::numeric_limits<std::int64_t>::max();
    const auto exact = [](LedgerStore& store, const std::string& account) {
        Wide sum = 0;
        for (const auto& entry : ok(store.accountEntries(account)))
            sum += Balance::effect(entry.kind, entry.amount);
        return sum > top ? top : sum < -top - 1 ? -top - 1 : static_cast<std::int64_t>(sum);
    };
    auto store = open();
    ok(store->setStartingPoints(0));
    const auto ada = ok(store->createCredentialAccount("Ada", "hash", at(1))).id;
    const auto bob = ok(store->clientInfoAccount({"bob"}, {}, at(1))).id;
    std::mt19937_64 random(42);
    std::vector<LedgerEntry> written;
    for (int step = 0; step < 400; ++step) {
        const std::string& account = random() % 2 ? ada : bob;
        const std::int64_t amounts[] = {top, top - 1, 1, 0, static_cast<std::int64_t>(random() % 1000)};
        const auto amount = amounts[random() % std::size(amounts)];
        switch (random() % 4) {
            case 0:
            case 1: {
                auto made = store->createEntry(
                    random() % 2 ? credit(account, amount) : debit(account, amount), at(2));
                if (made)
                    written.push_back(*made);
                else
                    EXPECT_EQ(made.error().reason, "Balance would overflow");
                break;
            }
            case 2:
                if (!written.empty()) {
                    auto changed = written[random() % written.size()];
                    changed.amount = amount;
                    changed.kind = random() % 2 ? TransactionKind::credit : TransactionKind::debit;
                    (void)store->updateEntry(changed, at(3));  // refused or not, the sums must follow
                }
                break;
            default:
                if (!written.empty()) {
                    const auto at = random() % written.size();
                    ok(store->deleteEntry(written[at].id));
                    written.erase(written.begin() + static_cast<std::ptrdiff_t>(at));
                }
        }
        ASSERT_EQ(store->balance(account), exact(*store, account)) << "step " << step;
        ASSERT_EQ(ok(store->account(account))->balance, store->balance(account));
    }
    const auto beforeReopening = std::pair{store->balance(ada), store->balance(bob)};
    store.reset();
    store = open();
    EXPECT_EQ(std::pair(store->balance(ada), store->balance(bob)), beforeReopening);
    EXPECT_EQ(store->balance(ada), exact(*store, ada));
}

TEST_F(LedgerStoreTest, DeletingAnAccountTakesItsEntriesAndFields) {
    auto store = open();
    const auto keep = ok(store->createCredentialAccount("Keep", "hash", at(1)));
    const auto gone = ok(store->clientInfoAccount({"agent"}, {{"a", "1"}, {"b", "2"}}, at(2)));
    const auto goneEntry = ok(store->createEntry(credit(gone.id, 5), at(3)));
    ok(store->createEntry(credit(keep.id, 5), at(4)));

    ok(store->deleteAccount(gone.id));
    EXPECT_EQ(ok(store->account(gone.id)), std::nullopt);
    EXPECT_EQ(ok(store->entry(goneEntry.id)), std::nullopt);
    for (const auto& entry : ok(store->entries())) EXPECT_EQ(entry.accountId, keep.id);
    EXPECT_EQ(ok(store->entries()).size(), 2u);
    EXPECT_EQ(ok(store->account(keep.id))->balance, 50005);

    // The same client seen again starts over.
    const auto again = ok(store->clientInfoAccount({"agent"}, {{"c", "3"}}, at(5)));
    EXPECT_NE(again.id, gone.id);
    EXPECT_EQ(again.balance, 50000);
    EXPECT_EQ(again.clientInfoFields, (std::vector<ClientInfoField>{{"c", "3"}}));
}

TEST_F(LedgerStoreTest, HistoryPagesNewestFirst) {
    auto store = open();
    ok(store->setStartingPoints(0));
    const auto ada = ok(store->createCredentialAccount("Ada", "hash", at(1)));
    const auto bob = ok(store->createCredentialAccount("Bob", "hash", at(1)));
    for (int memo = 1; memo <= 7; ++memo) {
        ok(store->createEntry(credit(ada.id, 1, std::to_string(memo)), at(memo)));
        if (memo == 4) ok(store->createEntry(credit(bob.id, 1, "bob"), at(memo)));
    }
    const auto memos = [](const LedgerStore::HistoryPage& page) {
        std::string text;
        for (const auto& entry : page.entries) text += entry.memo;
        return text;
    };

    const auto first = ok(store->history(ada.id, 3, std::nullopt));
    EXPECT_EQ(memos(first), "765");
    ASSERT_EQ(first.nextBefore, first.entries.back().id);
    const auto second = ok(store->history(ada.id, 3, first.nextBefore));
    EXPECT_EQ(memos(second), "432");
    const auto third = ok(store->history(ada.id, 3, second.nextBefore));
    EXPECT_EQ(memos(third), "1");
    EXPECT_EQ(third.nextBefore, std::nullopt);
    EXPECT_EQ(ok(store->history(ada.id, 7, std::nullopt)).nextBefore, std::nullopt);

    EXPECT_EQ(memos(ok(store->history(ada.id, 0, std::nullopt))), "7");
    EXPECT_EQ(ok(store->history(ada.id, 1000, std::nullopt)).entries.size(), 7u);
    const auto bobEntry = ok(store->entries())[3];
    ASSERT_EQ(bobEntry.accountId, bob.id);
    EXPECT_EQ(reason(store->history(ada.id, 3, bobEntry.id)), "No such entry");
    EXPECT_EQ(reason(store->history(ada.id, 3, std::string("X1"))), "No such entry");
    EXPECT_EQ(reason(store->history(ada.id, 3, std::string("E999"))), "No such entry") << "never handed out";

    // The entry a page ended on is deleted before the next page is asked for:
    // the next page is still the one below it, and so is the page after.
    const auto head = ok(store->history(ada.id, 2, std::nullopt));
    ASSERT_EQ(memos(head), "76");
    ok(store->deleteEntry(*head.nextBefore));
    const auto afterDelete = ok(store->history(ada.id, 2, head.nextBefore));
    EXPECT_EQ(memos(afterDelete), "54");
    EXPECT_EQ(memos(ok(store->history(ada.id, 10, afterDelete.nextBefore))), "321");
}

TEST_F(LedgerStoreTest, RecognisesAClientByItsExactName) {
    auto store = open();
    const auto first =
        ok(store->clientInfoAccount({"claude-code", "1.0", "Claude Code"}, {{"model", "m"}}, at(1)));
    EXPECT_EQ(first.identityMode, IdentityMode::clientInfo);
    EXPECT_EQ(first.displayName, "Claude Code");
    ok(store->renameAccount(first.id, "Mine"));

    const auto again = ok(store->clientInfoAccount({"claude-code", "1.1"}, {}, at(2)));
    EXPECT_EQ(again.id, first.id);
    EXPECT_EQ(again.displayName, "Mine");
    EXPECT_EQ(again.clientInfo, (ClientInfo{"claude-code", "1.1", std::nullopt}));
    EXPECT_EQ(again.clientInfoFields, std::vector<ClientInfoField>{});
    EXPECT_EQ(again.balance, 50000);
    EXPECT_EQ(ok(store->entries()).size(), 1u);

    EXPECT_NE(ok(store->clientInfoAccount({"Claude-Code"}, {}, at(3))).id, first.id);
    EXPECT_EQ(ok(store->clientInfoAccount({"codex", std::nullopt, ""}, {}, at(3))).displayName, "codex");
    EXPECT_EQ(ok(store->clientInfoAccount({""}, {}, at(3))).displayName, "Unnamed client");

    // What a signed-up agent says about itself is kept, but does not make its
    // account one that is recognised by client name.
    const auto signedUp = ok(store->createCredentialAccount("Signed", "hash", at(4)));
    ok(store->recordClientInfo(signedUp.id, {"gemini"}, {{"k", "v"}}));
    const auto recorded = *ok(store->account(signedUp.id));
    EXPECT_EQ(recorded.clientInfo, (ClientInfo{"gemini"}));
    EXPECT_EQ(recorded.clientInfoFields, (std::vector<ClientInfoField>{{"k", "v"}}));
    EXPECT_NE(ok(store->clientInfoAccount({"gemini"}, {}, at(5))).id, signedUp.id);
}

TEST_F(LedgerStoreTest, KeepsOnlyTheHashOfAKey) {
    const KeyHasher hasher;
    const std::string key = "twk-3f9a1c77d2e84b6b9e0a5c1d";
    const auto hash = hasher.hash(key);
    ASSERT_TRUE(hash);
    EXPECT_TRUE(hash->starts_with("$argon2id$"));
    EXPECT_TRUE(hasher.verify(*hash, key));
    EXPECT_FALSE(hasher.verify(*hash, key + "x"));
    EXPECT_FALSE(hasher.verify(*hash, ""));
    EXPECT_FALSE(hasher.verify("not a hash", key));
    EXPECT_NE(*hasher.hash(key), *hash);  // salted

    auto store = open();
    const auto account = ok(store->createCredentialAccount("Keyed", *hash, at(1)));
    const auto client = ok(store->clientInfoAccount({"client"}, {}, at(1)));
    EXPECT_EQ(ok(store->keyHash(account.id)), hash);
    EXPECT_EQ(ok(store->keyHash(client.id)), std::nullopt);
    EXPECT_EQ(ok(store->keyHash("A999")), std::nullopt);

    const auto bytes = fileBytes();
    EXPECT_NE(bytes.find(*hash), std::string::npos);
    EXPECT_EQ(bytes.find(key), std::string::npos);
}

TEST_F(LedgerStoreTest, DatabaseErrorLeavesNoPartialChange) {
    auto store = open();
    executeAside(
        "CREATE TRIGGER refuse BEFORE INSERT ON entries BEGIN SELECT RAISE(ABORT, 'disk on fire'); END");
    EXPECT_EQ(reason(store->createCredentialAccount("Ada", "hash", at(1))), "Could not save: disk on fire");
    EXPECT_TRUE(ok(store->accounts()).empty());

    executeAside("DROP TRIGGER refuse");
    const auto ada = ok(store->clientInfoAccount({"ada"}, {}, at(1)));
    EXPECT_EQ(ada.balance, 50000);
    // Fails after the entry's row is written: that row must go too.
    executeAside(
        "CREATE TRIGGER refuse BEFORE UPDATE OF next_sequence ON accounts "
        "BEGIN SELECT RAISE(ABORT, 'disk on fire'); END");
    EXPECT_EQ(reason(store->createEntry(credit(ada.id, 5), at(2))), "Could not save: disk on fire");
    EXPECT_EQ(ok(store->entries()).size(), 1u);

    executeAside("DROP TRIGGER refuse");
    EXPECT_EQ(ok(store->createEntry(credit(ada.id, 5), at(3))).sequence, 2);
}

// A page that cannot be read after the store opened (damage while the host
// runs) fails the read that needs it: never an empty ledger, never half of one.
TEST_F(LedgerStoreTest, ReadErrorsAreFailuresNeverEmptyAnswers) {
    auto store = open();
    const auto ada = ok(store->clientInfoAccount({"ada"}, {}, at(1)));
    for (int i = 0; i < 300; ++i) ok(store->createEntry(credit(ada.id, 1, std::string(40, 'm')), at(2)));
    ASSERT_EQ(ok(store->entries()).size(), 301u);

    // The entries table now starts at an index's page: every read of it is malformed.
    executeAside(
        "PRAGMA writable_schema = ON; "
        "UPDATE sqlite_schema SET rootpage = (SELECT rootpage FROM sqlite_schema "
        "WHERE name = 'entries_by_account') WHERE name = 'entries'; "
        "PRAGMA writable_schema = OFF; PRAGMA schema_version = 1000");
    const std::string unreadable = "The ledger could not be read: ";
    EXPECT_EQ(reason(store->entries()).rfind(unreadable, 0), 0u) << reason(store->entries());
    EXPECT_EQ(reason(store->accountEntries(ada.id)).rfind(unreadable, 0), 0u);
    EXPECT_EQ(reason(store->history(ada.id, 10, std::nullopt)).rfind(unreadable, 0), 0u);
    EXPECT_EQ(reason(store->entry("E5")).rfind(unreadable, 0), 0u);
}
