// SPDX-License-Identifier: MIT
// The host's log as an administrator reads it: the events that matter, in
// the journal with their priorities or in a file that stays small.
#include <sys/stat.h>

#include <tallywick/link/ChildProcess.h>

#include <tallywick/host/HostLog.h>
#include "support/HostFixture.h"
#include "support/HostileCorpus.h"

using namespace tallywick;
using namespace tallywick::testing;

namespace {

// Runs `body` in a child whose standard error is the file at `path`, so that
// the log's own redirection never touches the test's.
int inChild(const std::filesystem::path& path, const std::function<void()>& body) {
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::dup2(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 2);
        body();
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    return status;
}

// The records journald makes of a stream: it splits at line feeds and at
// NULs, and reads a leading "<N>" as the priority (6 when there is none).
std::vector<std::pair<int, std::string>> journalRecords(const std::string& stream) {
    std::vector<std::pair<int, std::string>> records;
    std::size_t start = 0;
    for (std::size_t at = 0; at < stream.size(); ++at) {
        if (stream[at] != '\n' && stream[at] != '\0') continue;
        std::string line = stream.substr(start, at - start);
        start = at + 1;
        int priority = 6;
        if (line.size() >= 3 && line[0] == '<' && line[1] >= '0' && line[1] <= '7' && line[2] == '>') {
            priority = line[1] - '0';
            line.erase(0, 3);
        }
        records.emplace_back(priority, std::move(line));
    }
    return records;
}

// What a terminal or journalctl would act on: C0, DEL, and C1 in UTF-8.
bool holdsControls(std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c < 0x20 || c == 0x7F) return true;
        if (c == 0xC2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) <= 0x9F) return true;
    }
    return false;
}

}  // namespace

class HostLogTest : public HostFixture {
protected:
    HostLogTest() : HostFixture(false) {}
};

TEST_F(HostLogTest, LinesCarryTheirPriorityOnlyInTheJournal) {
    std::filesystem::create_directories(folder_);
    const auto plain = folder_ / "plain.err", journal = folder_ / "journal.err";
    inChild(plain, [] {
        ::setenv("JOURNAL_STREAM", "1:2", 1);  // another stream: not ours to mark
        HostLog::warning("refused a connection\nfrom a stranger");
    });
    EXPECT_EQ(slurp(plain), "tallywick-host: refused a connection\\nfrom a stranger\n");

    inChild(journal, [] {
        struct stat info {};
        ::fstat(2, &info);
        ::setenv("JOURNAL_STREAM", (std::to_string(info.st_dev) + ":" + std::to_string(info.st_ino)).c_str(),
                 1);
        HostLog::error("damaged");
        HostLog::info("signed up");
    });
    EXPECT_EQ(slurp(journal), "<3>damaged\n<6>signed up\n");
}

// Agents name their clients to forge records: a NUL then "<0>" for an
// emergency, line breaks, terminal sequences. Under the journal, each log
// call of the host stays one record at the priority the host chose.
TEST_F(HostLogTest, AgentTextNeverForgesAJournalRecord) {
    std::filesystem::create_directories(folder_);
    std::ofstream(host_->stderrPath()).close();
    struct stat info {};
    ASSERT_EQ(::stat(host_->stderrPath().c_str(), &info), 0);
    ::setenv("JOURNAL_STREAM", (std::to_string(info.st_dev) + ":" + std::to_string(info.st_ino)).c_str(), 1);
    const bool started = host_->start();
    ::unsetenv("JOURNAL_STREAM");
    ASSERT_TRUE(started) << host_->stderrText();
    for (const auto& hostile : test::hostileCorpus())
        ASSERT_TRUE(agent()->send(initializeLine(hostile.text))) << hostile.name;
    ASSERT_TRUE(WIFEXITED(host_->kill(SIGTERM)));

    // Every record is one the host wrote, whole, at its own priority.
    const std::pair<std::string_view, int> known[] = {
        {"serving ", 5}, {"backed up the ledger to ", 6}, {"account A", 6}, {"stopping on signal ", 5}};
    std::size_t made = 0;
    for (const auto& record : journalRecords(host_->stderrText())) {
        const auto& [priority, text] = record;
        const auto kind = std::find_if(std::begin(known), std::end(known), [&record](const auto& k) {
            return record.second.starts_with(k.first);
        });
        ASSERT_NE(kind, std::end(known)) << text;
        EXPECT_EQ(priority, kind->second) << text;
        EXPECT_FALSE(holdsControls(text)) << text;
        made += text.find(" made for the client \"") != std::string::npos ? 1 : 0;
    }
    EXPECT_EQ(made, test::hostileCorpus().size());
}

TEST_F(HostLogTest, FileIsRotatedAtItsSizeKeepingThreeCopies) {
    const auto log = folder_ / "state" / "tallywick" / "host.log";
    const auto other = folder_ / "other.err";
    inChild(other, [&log] {
        if (!HostLog::toFile(log.string(), 200, 3)) ::_exit(3);
        for (int i = 0; i < 40; ++i)
            HostLog::info("line " + std::to_string(i) + " of forty, to fill the file");
    });
    EXPECT_EQ(slurp(other), "") << "nothing goes to the old standard error";
    EXPECT_EQ(std::filesystem::status(log.parent_path()).permissions() & std::filesystem::perms::all,
              std::filesystem::perms::owner_all);
    for (const std::string& file :
         {log.string(), log.string() + ".1", log.string() + ".2", log.string() + ".3"}) {
        ASSERT_TRUE(std::filesystem::exists(file)) << file;
        EXPECT_LE(std::filesystem::file_size(file), 200u) << file;
    }
    EXPECT_FALSE(std::filesystem::exists(log.string() + ".4"));
    EXPECT_NE(slurp(log).find("line 39 of forty"), std::string::npos) << "the newest lines are in the file";

    // A file that cannot be written is said, and the log stays where it was.
    std::filesystem::create_directories(folder_ / "blocked" / "host.log");
    EXPECT_FALSE(HostLog::toFile((folder_ / "blocked" / "host.log").string()));
}

// A host started with a log file tells what happened, and never a key.
TEST_F(HostLogTest, HostTellsStartSignUpsRefusedPeersAndStop) {
    const auto log = folder_ / "state" / "host.log";
    ASSERT_TRUE(host_->start({"--log-file", log.string()})) << host_->stderrText();
    auto bot = agent();
    ASSERT_TRUE(bot->send(initializeLine("logged-bot")));
    const std::string key = "a key that must never be written down";
    ASSERT_TRUE(bot->send(toolLine(2, "signUp", R"({"key":")" + key + R"(","displayName":"Signed Bot"})")));
    bot.reset();
    // A peer without our identity is turned away at the door.
    const auto stranger = ChildProcess::run({"python3", "-c",
                                             "import socket,sys\n"
                                             "s=socket.socket(socket.AF_UNIX)\n"
                                             "s.connect(sys.argv[1])\n"
                                             "s.recv(1)\n",
                                             host_->socketPath()});
    ASSERT_EQ(stranger.exitStatus, 0) << stranger.output;
    const int stopped = host_->kill(SIGTERM);
    ASSERT_TRUE(WIFEXITED(stopped));

    const std::string said = slurp(log);
    for (const std::string& expected :
         {"serving " + host_->databasePath() + " on " + host_->socketPath() + " (version ",
          ", runtime folder " + host_->runtimeDirectory() + ")",
          std::string("account A1 made for the client \"logged-bot\""),
          std::string("an agent signed up: account A2, \"Signed Bot\""),
          std::string("refused a connection from pid "), std::string("python3"),
          std::string("stopping on signal 15")}) {
        EXPECT_NE(said.find(expected), std::string::npos) << expected << "\n" << said;
    }
    EXPECT_EQ(said.find(key), std::string::npos);
    EXPECT_EQ(host_->stderrText(), "") << "everything went to the file";
}

// The terminal that started the host closes: its stderr has no reader. The
// host goes on serving and still stops cleanly when told.
TEST_F(HostLogTest, AnErrorStreamWithoutAReaderNeitherKillsNorStopsTheHost) {
    int pipe[2];
    ASSERT_EQ(::pipe2(pipe, O_CLOEXEC), 0);
    ::close(pipe[0]);
    const std::vector<std::string> arguments{TALLYWICK_HOST_PATH, "--database", host_->databasePath(),
                                             "--runtime-dir", host_->runtimeDirectory()};
    const pid_t pid = HostProcess::spawn(arguments, [&pipe] { return pipe[1]; });
    ::close(pipe[1]);
    int status = 0;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!acceptsConnections(host_->socketPath()) && std::chrono::steady_clock::now() < deadline &&
           ::waitpid(pid, &status, WNOHANG) == 0)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    ASSERT_TRUE(acceptsConnections(host_->socketPath())) << "wait status " << status;
    EXPECT_TRUE(agent()->send(initializeLine("after-the-terminal-closed")));
    EXPECT_TRUE(control()->snapshot());
    ::kill(pid, SIGTERM);
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "wait status " << status;
}
