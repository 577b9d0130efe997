// SPDX-License-Identifier: MIT
// A damaged database is never served nor written, whatever the damage; the
// host's backups bring the ledger back with nothing lost.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <thread>

#include <tallywick/host/Database.h>
#include <tallywick/host/LedgerBackups.h>
#include "support/HostFixture.h"

namespace tallywick::testing {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

std::string bytesOf(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

void overwrite(const fs::path& path, std::size_t offset, const std::string& bytes) {
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(static_cast<std::streamoff>(offset));
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

void runSql(const std::string& path, const std::string& sql) {
    auto opened = Database::open(path);
    ASSERT_TRUE(opened.has_value());
    ASSERT_TRUE(opened.value()->execute(sql)) << sql;
}

class DamagedFile : public HostFixture {
protected:
    // Three accounts, 603 entries, then a clean stop: a healthy file.
    void fill() {
        auto desk = control();
        ASSERT_EQ(desk->change(ControlRequest::setStartingPoints(1)), "ok");
        for (const char* client : {"one", "two", "three"}) ASSERT_TRUE(agent()->send(initializeLine(client)));
        const auto state = desk->snapshot();
        ASSERT_EQ(state->accounts.size(), 3u);
        for (const auto& account : state->accounts)
            for (int i = 0; i < 200; ++i)
                ASSERT_EQ(desk->change(ControlRequest::createEntry({.accountId = account.id,
                                                                    .kind = TransactionKind::credit,
                                                                    .amount = i,
                                                                    .memo = "m"})),
                          "ok");
        before_ = *desk->snapshot();
        ASSERT_EQ(before_.entries.size(), 603u);
        desk.reset();
        host_->stop();
        // The copy a first start makes is of an empty ledger; each test makes its own.
        fs::remove_all(LedgerBackups::folderFor(host_->databasePath()));
    }

    // Starts the host on the damaged file: it must refuse with one line and
    // leave the file exactly as it was.
    std::string refusedStart() {
        const std::string file = bytesOf(host_->databasePath());
        const auto run = runProgram({TALLYWICK_HOST_PATH, "--database", host_->databasePath(),
                                     "--runtime-dir", host_->runtimeDirectory()},
                                    folder_);
        EXPECT_EQ(run.status, 1) << run.err;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
        EXPECT_NE(run.err.find(host_->databasePath() + " is damaged ("), std::string::npos) << run.err;
        EXPECT_TRUE(bytesOf(host_->databasePath()) == file) << "nothing was written to the damaged file";
        EXPECT_FALSE(fs::exists(host_->socketPath()));
        return run.err;
    }

    Snapshot before_{};
};

TEST_F(DamagedFile, GarbagePagesDroppedTablesAndTruncationAreRefused) {
    fill();
    const auto pristine = bytesOf(host_->databasePath());
    ASSERT_GT(pristine.size(), 8u * 4096);

    std::mt19937 random(7);
    std::string garbage(4 * 4096, '\0');
    for (auto& byte : garbage) byte = static_cast<char>(random());
    overwrite(host_->databasePath(), 2 * 4096, garbage);
    const auto line = refusedStart();
    EXPECT_NE(line.find("There is no backup of it"), std::string::npos) << line;

    std::ofstream(host_->databasePath(), std::ios::binary | std::ios::trunc) << pristine;
    runSql(host_->databasePath(), "DROP TABLE client_fields");
    EXPECT_NE(refusedStart().find("the table client_fields is missing"), std::string::npos);

    std::ofstream(host_->databasePath(), std::ios::binary | std::ios::trunc)
        << pristine.substr(0, pristine.size() / 2);
    refusedStart();
}

// A log that belongs to another database, found beside ours.
TEST_F(DamagedFile, AForeignWriteAheadLogIsNeverFoldedIn) {
    fill();
    const auto other = (folder_ / "other.sqlite3").string();
    {
        auto opened = Database::open(other);
        auto& db = *opened.value();
        ASSERT_TRUE(
            db.execute("PRAGMA journal_mode = WAL; PRAGMA wal_autocheckpoint = 0; "
                       "CREATE TABLE notes (text TEXT); INSERT INTO notes VALUES ('not a ledger')"));
        fs::copy_file(other + "-wal", host_->databasePath() + "-wal");
    }
    const std::string file = bytesOf(host_->databasePath());
    const auto run = runProgram({TALLYWICK_HOST_PATH, "--database", host_->databasePath(), "--runtime-dir",
                                 host_->runtimeDirectory()},
                                folder_);
    EXPECT_EQ(run.status, 1) << run.err;
    EXPECT_TRUE(bytesOf(host_->databasePath()) == file)
        << "the foreign log was not checkpointed into the file";
}

// A daily backup, the file damaged, the backup restored: every account and
// entry is back. Restoring refuses while a host serves the file, and keeps
// the damaged file aside.
TEST_F(DamagedFile, TheNewestBackupRestoresEverything) {
    fill();
    ASSERT_TRUE(host_->start()) << host_->stderrText();
    const auto backups = LedgerBackups::folderFor(host_->databasePath());
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    while (!LedgerBackups::newest(host_->databasePath()) && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(20ms);
    ASSERT_TRUE(LedgerBackups::newest(host_->databasePath())) << "a copy is made when none is a day old";
    EXPECT_EQ(fs::status(backups).permissions() & fs::perms::all, fs::perms::owner_all);

    const auto busy = runProgram(
        {TALLYWICK_HOST_PATH, "--database", host_->databasePath(), "--restore-latest-backup"}, folder_);
    EXPECT_EQ(busy.status, 1);
    EXPECT_NE(busy.err.find("stop it first"), std::string::npos) << busy.err;
    host_->stop();

    overwrite(host_->databasePath(), 3 * 4096, std::string(3 * 4096, '\x5a'));
    const auto line = refusedStart();
    EXPECT_NE(line.find("The newest backup is " + LedgerBackups::newest(host_->databasePath())->string()),
              std::string::npos)
        << line;
    EXPECT_NE(line.find("--restore-latest-backup"), std::string::npos);

    const auto restored = runProgram(
        {TALLYWICK_HOST_PATH, "--database", host_->databasePath(), "--restore-latest-backup"}, folder_);
    EXPECT_EQ(restored.status, 0) << restored.err;
    EXPECT_NE(restored.out.find("Restored " + host_->databasePath()), std::string::npos) << restored.out;
    bool keptAside = false;
    for (const auto& item : fs::directory_iterator(fs::path(host_->databasePath()).parent_path()))
        keptAside |= item.path().filename().string().starts_with("ledger.sqlite3.damaged-");
    EXPECT_TRUE(keptAside);

    ASSERT_TRUE(host_->start()) << host_->stderrText();
    const auto after = control()->snapshot();
    ASSERT_TRUE(after);
    EXPECT_EQ(after->accounts, before_.accounts);
    EXPECT_EQ(after->entries, before_.entries);
    EXPECT_EQ(after->settings, before_.settings);
}

// The ledger file deleted, or replaced by another, under a running host:
// the next change is refused with what to do, never answered as saved into
// a file that is gone; reads go on from the open file.
TEST_F(DamagedFile, ALedgerDeletedOrReplacedUnderTheHostRefusesChanges) {
    for (const bool replace : {false, true}) {
        const auto logged = host_->stderrText().size();
        ASSERT_TRUE(host_->start()) << host_->stderrText();
        auto desk = control();
        ASSERT_EQ(desk->change(ControlRequest::setStartingPoints(3)), "ok");
        const auto path = host_->databasePath();
        if (replace) {
            fs::copy_file(path, path + ".copy");
            fs::rename(path + ".copy", path);
        } else {
            fs::remove(path);
        }
        for (int i = 0; i < 2; ++i)
            EXPECT_EQ(desk->change(ControlRequest::setStartingPoints(4)),
                      "The ledger file " + path +
                          " was deleted or replaced while the host was running; restart the host");
        EXPECT_TRUE(desk->snapshot()) << "reads go on";
        desk.reset();
        host_->stop();
        const auto log = host_->stderrText().substr(logged);
        EXPECT_EQ(log.find("was deleted or replaced"), log.rfind("was deleted or replaced")) << "said once";
        fs::remove_all(fs::path(path).parent_path());
    }
}

// An older file is copied before it is migrated.
TEST_F(DamagedFile, AMigrationIsPrecededByABackup) {
    fill();
    runSql(host_->databasePath(), "DROP INDEX entries_amounts; PRAGMA user_version = 1");
    ASSERT_TRUE(host_->start()) << host_->stderrText();
    const auto copy = LedgerBackups::newest(host_->databasePath());
    ASSERT_TRUE(copy) << "made before the host served";
    auto opened = Database::openReadOnly(copy->string());
    auto& db = *opened.value();
    auto version = db.prepare("PRAGMA user_version").value();
    ASSERT_TRUE(version.step().value());
    EXPECT_EQ(version.integer(0), 1) << "the copy is the file as it was";
    EXPECT_EQ(control()->snapshot()->entries.size(), 603u);
}

}  // namespace
}  // namespace tallywick::testing
