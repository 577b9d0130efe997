// SPDX-License-Identifier: MIT
// Key hashing against a real host: Argon2id never holds up the desk or other
// agents, and guessing is slowed per account and per connection.
#include <gtest/gtest.h>

#include <algorithm>
#include <future>

#include <tallywick/host/LoginThrottle.h>
#include "support/HostFixture.h"

namespace tallywick::testing {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

TEST(LoginThrottle, EachFailureDoublesTheWaitUpToThirtySecondsAndSuccessEndsIt) {
    LoginThrottle throttle;
    const auto start = Clock::time_point{} + 1h;
    const std::optional<std::string> account = "A1";
    EXPECT_EQ(throttle.wait(account, 1, start), 0ms);
    std::vector<std::chrono::milliseconds> waits;
    for (int failure = 0; failure < 12; ++failure) {
        throttle.failed(account, 1, start);
        waits.push_back(throttle.wait(account, 1, start));
    }
    EXPECT_EQ(waits[0], 100ms);
    EXPECT_EQ(waits[1], 200ms);
    EXPECT_EQ(waits[4], 1600ms);
    EXPECT_EQ(waits[8], 25600ms);
    EXPECT_EQ(waits[9], 30000ms) << "capped";
    EXPECT_EQ(waits[11], 30000ms);
    EXPECT_EQ(throttle.wait(account, 1, start + 10s), 20000ms) << "time passing counts";

    // The account's wait holds for every connection; a connection's for every account.
    EXPECT_EQ(throttle.wait(account, 2, start), 30000ms);
    EXPECT_EQ(throttle.wait(std::string("A2"), 1, start), 30000ms);
    EXPECT_EQ(throttle.wait(std::string("A2"), 2, start), 0ms);
    EXPECT_EQ(throttle.wait(std::nullopt, 2, start), 0ms);

    throttle.succeeded(account, 1);
    EXPECT_EQ(throttle.wait(account, 1, start), 0ms);
    throttle.failed(std::nullopt, 3, start);
    throttle.forgetConnection(3);
    EXPECT_EQ(throttle.wait(std::nullopt, 3, start), 0ms);
}

class LoginStorm : public HostFixture {
protected:
    // The median of a few timings of an action, for a baseline that one slow
    // scheduling on a loaded machine does not skew.
    template <class Action>
    Clock::duration median(Action action) {
        std::vector<Clock::duration> times;
        for (int i = 0; i < 5; ++i) {
            const auto start = Clock::now();
            action();
            times.push_back(Clock::now() - start);
        }
        std::sort(times.begin(), times.end());
        return times[2];
    }

    static std::string loginLine(int id, const std::string& account, const std::string& key) {
        return toolLine(id, "login", R"({"accountId":")" + account + R"(","key":")" + key + R"("})");
    }
};

// One agent sends 300 wrong logins at once; the desk's snapshot and another
// agent's ping are answered as fast as when all is quiet.
TEST_F(LoginStorm, GuessingAgentsDoNotSlowAnyoneElse) {
    auto desk = control();
    auto victim = agent();
    ASSERT_TRUE(victim->send(initializeLine("victim")));
    const auto signedUp = victim->send(toolLine(2, "signUp", R"({"key":"the right key"})"));
    ASSERT_TRUE(signedUp);
    const auto account = desk->snapshot()->accounts.back().id;
    auto other = agent();
    ASSERT_TRUE(other->send(initializeLine("bystander")));
    const std::string ping = R"({"jsonrpc":"2.0","id":9,"method":"ping"})";

    const auto idleSnapshot = median([&] { ASSERT_TRUE(desk->snapshot()); });
    const auto idlePing = median([&] { ASSERT_TRUE(other->send(ping)); });

    auto guesser = agent();
    ASSERT_TRUE(guesser->send(initializeLine("guesser")));
    std::vector<std::future<std::optional<std::string>>> guesses;
    for (int i = 0; i < 300; ++i) {
        guesses.push_back(std::async(std::launch::async, [&, i] {
            return guesser->send(loginLine(100 + i, account, "wrong guess " + std::to_string(i)), 1s);
        }));
        if (i == 0) std::this_thread::sleep_for(5ms);  // the first is with a worker now
    }
    const auto stormSnapshot = median([&] { ASSERT_TRUE(desk->snapshot()); });
    const auto stormPing = median([&] { ASSERT_TRUE(other->send(ping)); });
    EXPECT_LT(stormSnapshot, idleSnapshot + 100ms);
    EXPECT_LT(stormPing, idlePing + 100ms);
    RecordProperty("idleSnapshotMicroseconds", std::to_string(idleSnapshot / 1us));
    RecordProperty("stormSnapshotMicroseconds", std::to_string(stormSnapshot / 1us));
    // Each guess gives up waiting after a second; the link goes after the last.
    for (auto& guess : guesses) guess.wait();
}

// Failures make the next attempt wait, on the account from any connection
// and on the connection for any account; the right key after the wait works.
TEST_F(LoginStorm, FailedLoginsSlowTheNextAttempt) {
    auto desk = control();
    auto owner = agent();
    ASSERT_TRUE(owner->send(initializeLine("owner")));
    ASSERT_TRUE(owner->send(toolLine(2, "signUp", R"({"key":"the right key"})")));
    const auto account = desk->snapshot()->accounts.back().id;

    auto guesser = agent();
    ASSERT_TRUE(guesser->send(initializeLine("guesser")));
    for (int i = 0; i < 3; ++i) {
        const auto refused = guesser->send(loginLine(10 + i, account, "wrong"));
        ASSERT_TRUE(refused && refused->find("invalidCredentials") != std::string::npos)
            << refused.value_or("");
    }
    // Three failures: the next check waits 400 ms, whoever asks.
    auto start = Clock::now();
    const auto right = owner->send(loginLine(20, account, "the right key"));
    EXPECT_GE(Clock::now() - start, 350ms);
    ASSERT_TRUE(right && right->find(R"("isError":false)") != std::string::npos) << right.value_or("");

    // The guessing connection keeps a wait of its own, whatever it tries:
    // a fourth failure, then 800 ms before the fifth attempt is checked.
    ASSERT_TRUE(guesser->send(loginLine(21, "A999", "anything at all")));
    start = Clock::now();
    ASSERT_TRUE(guesser->send(loginLine(22, "A998", "anything at all")));
    EXPECT_GE(Clock::now() - start, 700ms);
    // The success ended the account's wait.
    start = Clock::now();
    ASSERT_TRUE(owner->send(loginLine(23, account, "the right key")));
    EXPECT_LT(Clock::now() - start, 350ms);
}

}  // namespace
}  // namespace tallywick::testing
