// tallywick-demo run as a program: against a real host it leaves accounts of
// both kinds and their traffic behind and ends on time; without a host or a
// bridge it says so and fails at once.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <thread>

#include "support/HostClients.h"
#include "support/HostProcess.h"

namespace tallywick::testing {
namespace {

using namespace std::chrono_literals;

struct DemoRun {
    int status = -1;  // the exit status, or -1 when it did not exit normally
    std::chrono::steady_clock::duration took{};
    std::string out, err;
};

std::string slurp(const std::filesystem::path& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

class Demo : public ::testing::Test {
protected:
    void SetUp() override {
        folder_ = std::filesystem::path(::testing::TempDir()) / ("demo-" + std::to_string(::getpid()));
        std::filesystem::remove_all(folder_);
        host_ = std::make_unique<HostProcess>(folder_, TALLYWICK_HOST_PATH);
    }
    void TearDown() override {
        host_.reset();
        std::filesystem::remove_all(folder_);
    }

    DemoRun demo(const std::vector<std::string>& arguments) {
        const auto out = folder_ / "demo.out", err = folder_ / "demo.err";
        std::vector<std::string> all{TALLYWICK_DEMO_PATH};
        all.insert(all.end(), arguments.begin(), arguments.end());
        std::vector<char*> argv;
        for (auto& argument : all) argv.push_back(argument.data());
        argv.push_back(nullptr);
        const auto started = std::chrono::steady_clock::now();
        const pid_t pid = ::fork();
        if (pid == 0) {
            ::dup2(::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 1);
            ::dup2(::open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 2);
            ::execv(argv[0], argv.data());
            ::_exit(127);
        }
        int status = 0;
        ::waitpid(pid, &status, 0);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, std::chrono::steady_clock::now() - started,
                slurp(out), slurp(err)};
    }

    std::filesystem::path folder_;
    std::unique_ptr<HostProcess> host_;
};

TEST_F(Demo, LeavesAccountsOfBothKindsAndTheirTrafficThenEndsOnTime) {
    ASSERT_TRUE(host_->start()) << host_->stderrText();
    const DemoRun run =
        demo({"--agents", "4", "--duration", "6", "--runtime-dir", host_->runtimeDirectory()});
    ASSERT_EQ(run.status, 0) << run.err << run.out;
    EXPECT_GE(run.took, 6s);
    EXPECT_LT(run.took, 15s) << run.out;
    EXPECT_NE(run.out.find("Scout: connected as scout-agent"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("Nova: signUp → account "), std::string::npos) << run.out;

    ControlSession control(host_->socketPath());
    const auto state = control.snapshot();
    ASSERT_TRUE(state);
    // Agents known by their client information get an account per client name;
    // the ones that sign up share one client program, whose account the
    // handshake makes before the sign-up moves them to their own.
    std::set<std::string> clients, credentials;
    std::vector<std::string> agentAccounts;
    for (const auto& account : state->accounts) {
        if (account.identityMode == IdentityMode::credential) {
            credentials.insert(account.displayName);
            agentAccounts.push_back(account.id);
        } else {
            ASSERT_TRUE(account.clientInfo);
            clients.insert(account.clientInfo->name);
            if (account.clientInfo->name != "tallywick-demo") agentAccounts.push_back(account.id);
        }
    }
    EXPECT_EQ(credentials, (std::set<std::string>{"Nova", "Quill"}));
    EXPECT_EQ(clients, (std::set<std::string>{"scout-agent", "archivist", "tallywick-demo"}));
    ASSERT_EQ(agentAccounts.size(), 4u);

    // Each of the four was at work under its own account, beyond its handshake and sign-up.
    const auto atWork = [](const ApiLogEntry& record) {
        if (record.direction != Direction::request || !record.method) return false;
        if (*record.method == "ping" || *record.method == "resources/subscribe") return true;
        return *record.method == "tools/call" &&
               (record.payload.find("\"getBalance\"") != std::string::npos ||
                record.payload.find("\"getHistory\"") != std::string::npos);
    };
    for (const auto& id : agentAccounts) {
        const bool worked =
            std::any_of(state->recentApiLog.begin(), state->recentApiLog.end(),
                        [&](const ApiLogEntry& record) { return record.accountId == id && atWork(record); });
        EXPECT_TRUE(worked) << "no traffic for account " << id << "\n" << run.out;
    }

    // Every bridge was closed: the host sees the connections go.
    bool allGone = false;
    for (int i = 0; i < 100 && !allGone; ++i) {
        const auto now = control.snapshot();
        allGone = now && now->connections.empty();
        if (!allGone) std::this_thread::sleep_for(50ms);
    }
    EXPECT_TRUE(allGone);
}

TEST_F(Demo, WithoutAHostOrABridgeItSaysSoAndFailsAtOnce) {
    const auto runtime = folder_ / "empty-run";
    std::filesystem::create_directories(runtime);
    ::chmod(runtime.c_str(), 0700);
    DemoRun run = demo({"--agents", "4", "--runtime-dir", runtime.string()});
    EXPECT_EQ(run.status, 1) << run.err;
    EXPECT_LT(run.took, 5s);
    EXPECT_NE(run.err.find("host is not running"), std::string::npos) << run.err;

    run = demo({"--bridge", (folder_ / "no-such-bridge").string(), "--runtime-dir", runtime.string()});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("no tallywick-bridge at"), std::string::npos) << run.err;

    // A program that is no bridge ends before answering: refused, not retried forever.
    run = demo({"--bridge", "/bin/true", "--runtime-dir", runtime.string()});
    EXPECT_EQ(run.status, 1);
    EXPECT_LT(run.took, 5s);

    EXPECT_EQ(demo({"--agents", "0"}).status, 2);
    EXPECT_EQ(demo({"--version"}).status, 0);
}

}  // namespace
}  // namespace tallywick::testing
