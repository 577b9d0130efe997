// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <thread>

#include <tallywick/link/SessionReplayCache.h>

#include "support/JsonEqual.h"

using tallywick::SessionReplayCache;
using Lines = std::vector<std::string>;

namespace {

const std::string kInitialize =
    R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"2025-11-25","clientInfo":{"name":"agent"}}})";
const std::string kLogin =
    R"({"jsonrpc":"2.0","id":"a7","method":"tools/call","params":{"name":"login","arguments":{"accountId":"A1","key":"s3cret-key"}}})";
const std::string kSignUp =
    R"({"jsonrpc":"2.0","id":9,"method":"tools/call","params":{"name":"signUp","arguments":{"key":"k3y/with\"quote","displayName":"Scout"}}})";
const std::string kSignUpReply =
    R"({"jsonrpc":"2.0","id":9,"result":{"content":[],"structuredContent":{"accountId":"A42","displayName":"Scout","balance":0}}})";
const std::string kOkReply = R"({"jsonrpc":"2.0","id":"a7","result":{"content":[]}})";

}  // namespace

TEST(SessionReplayCacheTest, FreshCacheHasNothing) {
    SessionReplayCache cache;
    EXPECT_FALSE(cache.canReestablish());
    EXPECT_EQ(cache.replayLines("anything"), Lines{});
    EXPECT_EQ(cache.replayLines(""), Lines{});
}

TEST(SessionReplayCacheTest, HandshakeAndLoginReplayExactlyAsObserved) {
    SessionReplayCache cache;
    cache.observeRequest(kInitialize);
    EXPECT_TRUE(cache.canReestablish());
    cache.observeRequest(kLogin);  // a request alone is not a login
    EXPECT_EQ(cache.replayLines("x"), Lines{kInitialize});
    cache.observeResponse(kLogin, kOkReply);
    EXPECT_EQ(cache.replayLines("x"), (Lines{kInitialize, kLogin}));
    EXPECT_EQ(cache.replayLines(kInitialize), Lines{kLogin});
    EXPECT_EQ(cache.replayLines(kInitialize + " "), (Lines{kInitialize, kLogin}));
    EXPECT_EQ(cache.replayLines(kLogin), Lines{kInitialize});

    const std::string second = R"({"jsonrpc":"2.0","id":2,"method":"initialize","params":{}})";
    cache.observeRequest(second);
    EXPECT_EQ(cache.replayLines("x"), (Lines{second, kLogin}))
        << "the newer handshake replaces, the login stays";
}

TEST(SessionReplayCacheTest, OnlySuccessfulLoginsCount) {
    SessionReplayCache cache;
    cache.observeRequest(kInitialize);
    for (const std::optional<std::string_view> reply :
         {std::optional<std::string_view>{},
          std::optional<std::string_view>{R"({"result":{"isError":true}})"},
          std::optional<std::string_view>{R"({"result":{"isError":1}})"},
          std::optional<std::string_view>{R"({"error":{"code":-32600,"message":"no"}})"},
          std::optional<std::string_view>{R"({"result":"done"})"},
          std::optional<std::string_view>{"not json"},
          std::optional<std::string_view>{R"([{"result":{}}])"}}) {
        cache.observeResponse(kLogin, reply);
        EXPECT_EQ(cache.replayLines("x"), Lines{kInitialize}) << reply.value_or("<none>");
    }
    for (std::string_view reply : {R"({"result":{}})", R"({"result":{"isError":false}})",
                                   R"({"result":{"isError":0}})", R"({"result":{"isError":"yes"}})",
                                   R"({"result":{"isError":null}})", R"({"result":{"isError":2}})"}) {
        SessionReplayCache fresh;
        fresh.observeResponse(kLogin, reply);
        EXPECT_EQ(fresh.replayLines("x"), Lines{kLogin}) << reply;
        EXPECT_FALSE(fresh.canReestablish()) << "a login without a handshake cannot re-establish";
    }
}

TEST(SessionReplayCacheTest, FailedLoginKeepsThePreviousOne) {
    SessionReplayCache cache;
    cache.observeResponse(kLogin, kOkReply);
    const std::string other =
        R"({"jsonrpc":"2.0","id":3,"method":"tools/call","params":{"name":"login","arguments":{"accountId":"A2","key":"wrong"}}})";
    cache.observeResponse(other, R"({"result":{"isError":true}})");
    EXPECT_EQ(cache.replayLines("x"), Lines{kLogin});
}

TEST(SessionReplayCacheTest, SignUpBecomesALoginLine) {
    SessionReplayCache cache;
    cache.observeResponse(kSignUp, kSignUpReply);
    const auto lines = cache.replayLines("x");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(tallywick::testing::jsonTextsEqual(
        lines[0],
        R"({"jsonrpc":"2.0","id":"tlw-replay-login","method":"tools/call","params":{"name":"login","arguments":{"accountId":"A42","key":"k3y/with\"quote"}}})"))
        << lines[0];
    EXPECT_EQ(lines[0].find('\n'), std::string::npos);
    EXPECT_EQ(lines[0].find(' '), std::string::npos);
}

TEST(SessionReplayCacheTest, IncompleteSignUpsAndOtherCallsChangeNothing) {
    const std::pair<std::string, std::string> ignored[] = {
        {R"({"method":"tools/call","params":{"name":"signUp","arguments":{"key":12345678}}})", kSignUpReply},
        {R"({"method":"tools/call","params":{"name":"signUp","arguments":"k"}})", kSignUpReply},
        {R"({"method":"tools/call","params":{"name":"signUp"}})", kSignUpReply},
        {kSignUp, R"({"result":{"content":[]}})"},
        {kSignUp, R"({"result":{"structuredContent":{"accountId":42}}})"},
        {kSignUp, R"({"result":{"isError":true,"structuredContent":{"accountId":"A42"}}})"},
        {R"({"method":"tools/call","params":{"name":"getBalance","arguments":{}}})", kOkReply},
        {R"({"method":"tools/call","params":["login"]})", kOkReply},
        {R"({"method":"tools/list"})", kOkReply},
        {R"({"method":"notifications/initialized"})", kOkReply},
        {R"({"method":"Tools/Call","params":{"name":"login"}})", kOkReply},
        {R"({"params":{"name":"login"}})", kOkReply},
        {"", kOkReply},
    };
    for (const auto& [request, reply] : ignored) {
        SessionReplayCache cache;
        cache.observeRequest(request);
        cache.observeResponse(request, reply);
        EXPECT_EQ(cache.replayLines("x"), Lines{}) << request << " / " << reply;
    }
    SessionReplayCache cache;
    cache.observeRequest(R"({"method":"Initialize"})");
    cache.observeRequest(R"(["initialize"])");
    cache.observeRequest(R"({"method":["initialize"]})");
    EXPECT_FALSE(cache.canReestablish());
}

// Each handshake and login differ, so a reader sees a pair the writer made:
// the newest handshake with its own login or the one before it, both whole.
TEST(SessionReplayCacheTest, ConcurrentObserversNeverSeeAMixedState) {
    SessionReplayCache cache;
    const auto init = [](int i) { return R"({"method":"initialize","id":")" + std::to_string(i) + R"("})"; };
    const auto login = [](int i) {
        return R"({"method":"tools/call","id":")" + std::to_string(i) +
               R"(","params":{"name":"login","arguments":{"accountId":"A)" + std::to_string(i) +
               R"(","key":"k"}}})";
    };
    constexpr int kRounds = 2000;
    std::vector<std::pair<std::string, std::string>> pairs;
    for (int i = 0; i < kRounds; ++i) pairs.emplace_back(init(i), login(i));
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        for (const auto& [handshake, loginLine] : pairs) {
            cache.observeRequest(handshake);
            cache.observeResponse(loginLine, kOkReply);
        }
        stop = true;
    });
    const auto indexOf = [&](const std::string& line, bool isLogin) {
        for (int i = 0; i < kRounds; ++i) {
            if ((isLogin ? pairs[i].second : pairs[i].first) == line) return i;
        }
        return -1;
    };
    while (!stop) {
        const auto lines = cache.replayLines("");
        ASSERT_LE(lines.size(), 2u);
        if (lines.size() != 2) continue;
        const int handshake = indexOf(lines[0], false), loginIndex = indexOf(lines[1], true);
        ASSERT_GE(handshake, 0) << lines[0];
        EXPECT_TRUE(loginIndex == handshake || loginIndex == handshake - 1) << handshake << " " << loginIndex;
    }
    writer.join();
    EXPECT_EQ(cache.replayLines(""), (Lines{pairs.back().first, pairs.back().second}));
}

// Valid JSON the parser cannot hold counts only where it is read.
TEST(SessionReplayCacheTest, HugeNumbersAndDeepNestingElsewhereChangeNothing) {
    SessionReplayCache cache;
    const std::string deep = std::string(2000, '[') + std::string(2000, ']');
    const std::string init =
        R"({"jsonrpc":"2.0","id":123456789012345678901234567890,"method":"initialize","params":{"x":1e400,"y":)" +
        deep + "}}";
    cache.observeRequest(init);
    EXPECT_EQ(cache.replayLines(""), Lines{init});
    const std::string login =
        R"({"id":1e999,"method":"tools/call","params":{"name":"login","arguments":{"accountId":"A1","key":"k"}}})";
    cache.observeResponse(login, R"({"id":1e999,"result":{"content":[],"meta":)" + deep + "}}");
    EXPECT_EQ(cache.replayLines(""), (Lines{init, login}));
    // Where it is read, a value too large to hold is no method at all.
    SessionReplayCache other;
    other.observeRequest(R"({"method":1e400})");
    EXPECT_FALSE(other.canReestablish());
}
