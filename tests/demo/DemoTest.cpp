// SPDX-License-Identifier: MIT
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

#include "support/HostFixture.h"

namespace tallywick::testing {
namespace {

using namespace std::chrono_literals;

// The host starts only where a test wants one.
class Demo : public HostFixture {
protected:
    Demo() : HostFixture(false) {}

    ProgramRun demo(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), TALLYWICK_DEMO_PATH);
        return runProgram(arguments, folder_);
    }
};

TEST_F(Demo, LeavesAccountsOfBothKindsAndTheirTrafficThenEndsOnTime) {
    ASSERT_TRUE(host_->start()) << host_->stderrText();
    const ProgramRun run =
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
    // A bridge with no host beside it to start on demand.
    ProgramRun run = demo(
        {"--agents", "4", "--runtime-dir", runtime.string(), "--bridge", aloneCopy(TALLYWICK_BRIDGE_PATH)});
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
