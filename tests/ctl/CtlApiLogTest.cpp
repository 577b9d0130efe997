// SPDX-License-Identifier: MIT
// tallywickctl's view of the API traffic: events as they come, the log the
// host holds, both narrowed by agent, method and direction.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <sstream>

#include <tallywick/model/TallywickCoding.h>

#include "support/CtlFixture.h"

namespace tallywick::testing {
namespace {

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

// `tallywickctl events` with `filters`, following the host of `runtime`;
// its output goes to NAME.out and NAME.err in `folder`.
pid_t followEvents(const std::string& runtime, const std::filesystem::path& folder, const std::string& name,
                   const std::string& filters = {}) {
    return HostProcess::spawn(
        {"/bin/sh", "-c",
         std::string("exec '") + TALLYWICKCTL_PATH + "' --runtime-dir '" + runtime + "' events " + filters +
             " > '" + (folder / (name + ".out")).string() + "'"},
        (folder / (name + ".err")).string());
}

}  // namespace

TEST_F(Ctl, EventsFollowTheHostAsJsonLines) {
    const std::string account = agentAccount("watcher");
    // Changes until a follower has seen one (it needs a moment to connect).
    const auto changeUntilSeen = [&](const std::filesystem::path& out) {
        for (int i = 0; i < 100 && slurp(out).find("dataChanged") == std::string::npos; ++i) {
            ctl({"entry", "add", account, "note", "0"});
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
    };
    const auto out = folder_ / "events.out";
    const pid_t follower = followEvents(host_->runtimeDirectory(), folder_, "events");
    changeUntilSeen(out);
    ::kill(follower, SIGINT);
    int status = 0;
    ::waitpid(follower, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 128 + SIGINT)
        << "status " << status << ": " << slurp(folder_ / "events.err");
    const auto lines = linesOf(slurp(out));
    EXPECT_FALSE(lines.empty());
    for (const std::string& line : lines) EXPECT_TRUE(TallywickCoding::decode<ControlEvent>(line)) << line;

    // A host that goes away ends the following with the unreachable status;
    // the follower shows it is connected by the first event it prints.
    const auto orphanOut = folder_ / "orphan.out";
    const pid_t orphan = followEvents(host_->runtimeDirectory(), folder_, "orphan");
    changeUntilSeen(orphanOut);
    ASSERT_NE(slurp(orphanOut).find("dataChanged"), std::string::npos);
    host_->stop();
    ::waitpid(orphan, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 3) << slurp(folder_ / "orphan.err");
}

// Two agents talk; each filter lets through exactly the records it names.
TEST_F(Ctl, LogAndEventsNarrowTheApiCalls) {
    const std::string ping = R"({"jsonrpc":"2.0","id":2,"method":"ping"})";
    auto alpha = agent(), beta = agent();
    ASSERT_TRUE(alpha->send(initializeLine("alpha")));
    ASSERT_TRUE(beta->send(initializeLine("beta")));
    const auto out = folder_ / "events.out";
    const pid_t follower =
        followEvents(host_->runtimeDirectory(), folder_, "events", "--agent beta --direction request");
    // Both talk until the follower has printed one of beta's requests.
    for (int i = 0; i < 200 && slurp(out).empty(); ++i) {
        ASSERT_TRUE(alpha->send(ping));
        ASSERT_TRUE(beta->send(ping));
        std::this_thread::sleep_for(std::chrono::milliseconds(25));
    }
    ::kill(follower, SIGINT);
    int status = 0;
    ::waitpid(follower, &status, 0);
    const auto followed = linesOf(slurp(out));
    EXPECT_FALSE(followed.empty()) << slurp(folder_ / "events.err");
    for (const std::string& line : followed) {
        const auto event = TallywickCoding::decode<ControlEvent>(line);
        const auto* call = event ? std::get_if<ControlEvent::ApiCall>(&event->value) : nullptr;
        ASSERT_NE(call, nullptr) << line;
        EXPECT_EQ(call->entry.clientLabel, "beta");
        EXPECT_EQ(call->entry.direction, Direction::request);
    }

    // The log: oldest first, one JSON line a record with --json.
    const auto json = linesOf(ctl({"--json", "log", "--method", "ping", "--agent", "alpha"}).out);
    ASSERT_FALSE(json.empty());
    long long previous = 0;
    for (const std::string& line : json) {
        const auto record = TallywickCoding::decode<ApiLogEntry>(line);
        ASSERT_TRUE(record) << line;
        EXPECT_EQ(record->method, "ping");
        EXPECT_EQ(record->clientLabel, "alpha");
        const long long number = std::stoll(record->id.substr(record->id.find('-') + 1));
        EXPECT_LT(previous, number) << line;
        previous = number;
    }
    const auto table = linesOf(ctl({"log", "--agent", "beta", "--direction", "response"}).out);
    ASSERT_GE(table.size(), 2u);
    EXPECT_EQ(table[0].rfind("TIME", 0), 0u);
    for (std::size_t i = 1; i < table.size(); ++i) {
        std::istringstream words(table[i]);
        std::string time, id, label, direction;
        words >> time >> id >> label >> direction;
        EXPECT_EQ(label + " " + direction, "beta response") << table[i];
    }
    const std::string shown = ctl({"log", "--agent", "beta", "--method", "ping", "--payload"}).out;
    EXPECT_NE(shown.find("\n    {\n      \"jsonrpc\": \"2.0\",\n"), std::string::npos) << shown;
    EXPECT_EQ(ctl({"log", "--direction", "sideways"}).status, 2);
}

}  // namespace tallywick::testing
