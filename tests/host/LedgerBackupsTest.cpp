// SPDX-License-Identifier: MIT
// Daily copies that keep coming whatever the clock or the disk did, and a
// restore that never loses the live file.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>

#include <tallywick/host/LedgerBackups.h>
#include "support/HostFixture.h"

namespace tallywick::testing {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

const Date kNow = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());

// Fills the disk that holds `folder` until only `spare` bytes are free;
// gives the room back when it goes.
class DiskFiller {
public:
    DiskFiller(const fs::path& folder, off_t spare) : path_(folder / "filler") {
        const int fd = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        const std::string block(1 << 16, 'f');
        off_t size = 0;
        for (ssize_t put; (put = ::write(fd, block.data(), block.size())) > 0;) size += put;
        EXPECT_EQ(::ftruncate(fd, std::max<off_t>(size - spare, 0)), 0);
        ::close(fd);
    }
    ~DiskFiller() { fs::remove(path_); }
    DiskFiller(const DiskFiller&) = delete;
    DiskFiller& operator=(const DiskFiller&) = delete;

private:
    fs::path path_;
};

class Backups : public HostFixture {
protected:
    // A ledger of `count` entries whose host was killed, so that the newest
    // are still in its write-ahead log; no copies yet.
    void fillAndKill(int count) {
        auto desk = control();
        ASSERT_EQ(desk->change(ControlRequest::setStartingPoints(1)), "ok");
        ASSERT_TRUE(agent()->send(initializeLine("one")));
        const auto account = desk->snapshot()->accounts.at(0).id;
        for (int i = 0; i < count; ++i)
            ASSERT_EQ(desk->change(ControlRequest::createEntry(
                          {.accountId = account, .kind = TransactionKind::credit, .amount = i, .memo = "m"})),
                      "ok");
        entries_ = desk->snapshot()->entries.size();
        desk.reset();
        host_->kill(SIGKILL);
        fs::remove_all(LedgerBackups::folderFor(ledger()));
        ASSERT_TRUE(fs::exists(ledger() + "-wal"));
    }
    std::string ledger() const { return host_->databasePath(); }
    fs::path madeAt(Date when) {
        auto made = LedgerBackups::make(ledger(), when);
        EXPECT_TRUE(made) << made.error().reason;
        return made ? *made : fs::path();
    }
    std::vector<std::string> besideTheLedger() const {
        std::vector<std::string> names;
        for (const auto& item : fs::directory_iterator(fs::path(ledger()).parent_path()))
            names.push_back(item.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }
    // Its output is kept off the disk a test fills, where it could be lost.
    ProgramRun restore() {
        const char* outputs = std::getenv("TALLYWICK_TEST_SMALL_DISK");
        return runProgram({TALLYWICK_HOST_PATH, "--database", ledger(), "--restore-latest-backup"},
                          outputs ? fs::path(outputs) : folder_);
    }
    std::size_t copies() const {
        const auto all = fs::directory_iterator(LedgerBackups::folderFor(ledger()));
        return static_cast<std::size_t>(std::distance(fs::begin(all), fs::end(all)));
    }

    std::size_t entries_ = 0;
};

// A copy made while the clock was a year ahead: never recent, the first to
// be rotated away, and the last a restore would choose.
TEST_F(Backups, ACopyFromTheFutureNeverCountsAsRecent) {
    fillAndKill(20);
    const auto ahead = madeAt(kNow + std::chrono::days(365));
    EXPECT_TRUE(LedgerBackups::due(ledger(), kNow)) << "the only copy is from the future";
    EXPECT_EQ(LedgerBackups::stampedInTheFuture(ledger(), kNow), ahead);
    const auto today = madeAt(kNow);
    EXPECT_FALSE(LedgerBackups::due(ledger(), kNow + 23h + 59min));
    EXPECT_TRUE(LedgerBackups::due(ledger(), kNow + 24h + 1s));
    EXPECT_EQ(LedgerBackups::newest(ledger(), kNow), today);

    const auto run = restore();
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find("from " + today.string() + ", made "), std::string::npos) << run.out;

    for (int day = 5; day >= 1; --day) madeAt(kNow - std::chrono::days(day) + 1h);
    ASSERT_EQ(copies(), 7u);
    ASSERT_TRUE(fs::exists(ahead));
    madeAt(kNow + 1h);
    EXPECT_EQ(copies(), 7u);
    EXPECT_FALSE(fs::exists(ahead)) << "rotated first";
    EXPECT_TRUE(fs::exists(today));
}

// The rest needs a disk to fill: a small tmpfs in a mount namespace of its
// own (ctest runs them as host_full_disk).
class FullDisk : public Backups {
protected:
    void SetUp() override {
        if (!std::getenv("TALLYWICK_TEST_SMALL_DISK"))
            GTEST_SKIP() << "needs a small disk (ctest -R host_full_disk)";
        Backups::SetUp();
    }
};

TEST_F(FullDisk, AFailedRestoreLeavesTheLiveFileAndItsLogAsTheyWere) {
    fillAndKill(300);
    const auto copy = madeAt(kNow - 1h);
    const std::string live = slurp(ledger()), log = slurp(ledger() + "-wal");
    const auto before = besideTheLedger();
    {
        const DiskFiller full(folder_, static_cast<off_t>(fs::file_size(copy) / 2));
        const auto run = restore();
        EXPECT_EQ(run.status, 1);
        EXPECT_NE(run.err.find("No space left on device"), std::string::npos) << run.err;
        EXPECT_NE(run.err.find("nothing was changed"), std::string::npos) << run.err;
        EXPECT_TRUE(slurp(ledger()) == live && slurp(ledger() + "-wal") == log);
        EXPECT_EQ(besideTheLedger(), before) << "no partial file, nothing moved aside";
    }
    const auto run = restore();
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find("from " + copy.string() + ", made "), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("kept as " + ledger() + ".damaged-"), std::string::npos) << run.out;
    EXPECT_FALSE(fs::exists(ledger() + "-wal")) << "the old log never meets the new file";
    ASSERT_TRUE(host_->start()) << host_->stderrText();
    EXPECT_EQ(control()->snapshot()->entries.size(), entries_);
}

// A client the host knows, with the same information, writes nothing on
// its handshake: on a full disk it still reads its balance.
TEST_F(FullDisk, AKnownClientsHandshakeNeedsNoRoom) {
    const std::string client = initializeLine("known-client");
    ASSERT_NE(agent()->send(client).value_or("").find("\"result\""), std::string::npos);
    ASSERT_EQ(control()->change(ControlRequest::setAllowUnauthenticated(true)), "ok");
    const DiskFiller full(folder_, 0);
    auto again = agent();
    EXPECT_NE(again->send(client).value_or("").find("\"result\""), std::string::npos);
    const auto balance = again->send(toolLine(2, "getBalance", "{}")).value_or("");
    EXPECT_NE(balance.find("\"balance\""), std::string::npos) << balance;
}

TEST_F(FullDisk, CopiesRotateBeforeANewOneAndSayWhatTheyNeed) {
    fillAndKill(300);
    fs::path oldest;
    for (int day = 7; day >= 1; --day) {
        const auto made = madeAt(kNow - std::chrono::days(day));
        if (oldest.empty()) oldest = made;
    }
    {
        const DiskFiller full(folder_, static_cast<off_t>(fs::file_size(oldest) / 2));
        EXPECT_TRUE(LedgerBackups::make(ledger(), kNow)) << "the oldest copy made the room";
        EXPECT_EQ(copies(), 7u);
        EXPECT_FALSE(fs::exists(oldest));
    }
    fs::remove_all(LedgerBackups::folderFor(ledger()));
    const DiskFiller full(folder_, 4096);
    const auto made = LedgerBackups::make(ledger(), kNow);
    ASSERT_FALSE(made);
    EXPECT_TRUE(made.error().noSpace);
    EXPECT_NE(made.error().reason.find("it needs about "), std::string::npos) << made.error().reason;
    EXPECT_EQ(copies(), 0u) << "no partial copy left";
}

}  // namespace
}  // namespace tallywick::testing
