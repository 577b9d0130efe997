// SPDX-License-Identifier: MIT
// What the host writes into its API log: keys never, payloads cut whole.
#include <gtest/gtest.h>

#include <tallywick/host/ApiLog.h>
#include <tallywick/host/LogRedaction.h>

namespace tallywick {
namespace {

TEST(LogRedaction, KeysAreReplacedWhereverTheyStandAndNothingElseChanges) {
    const auto signUp = redactedForLog(
        R"({"jsonrpc":"2.0","id":2,"method":"tools/call","params":{"name":"signUp","arguments":{"key":"s3cret-key!","displayName":"Bot"}}})");
    ASSERT_TRUE(signUp);
    EXPECT_EQ(
        *signUp,
        R"({"jsonrpc":"2.0","id":2,"method":"tools/call","params":{"name":"signUp","arguments":{"key":"[redacted]","displayName":"Bot"}}})");

    // Any member named key, at any depth, under any method, however spelt.
    EXPECT_EQ(redactedForLog(R"({"a":{"b":[{"key":"s1"},{"key":{"deep":"s2"}}]},"key":3})"),
              R"({"a":{"b":[{"key":"[redacted]"},{"key":"[redacted]"}]},"key":"[redacted]"})");
    EXPECT_EQ(redactedForLog(R"({"method":"tools/call","params":{"arguments":{"k\u0065y":"secret"}}})"),
              R"({"method":"tools/call","params":{"arguments":{"key":"[redacted]"}}})");
    EXPECT_EQ(
        redactedForLog(R"({"method":"initialize","params":{"clientInfo":{"name":"x","key":"secret"}}})"),
        R"({"method":"initialize","params":{"clientInfo":{"name":"x","key":"[redacted]"}}})");

    // Nothing to hide: logged as it came.
    EXPECT_FALSE(redactedForLog(R"({"method":"tools/call","params":{"name":"getBalance","arguments":{}}})"));
    EXPECT_FALSE(redactedForLog(R"({"method":"x","params":{"keys":"a","Key":"b","monkey":"c"}})"));
}

// What a reader could take two ways, or not at all, is never logged: the
// log shows only its length.
TEST(LogRedaction, AmbiguousOrBrokenLinesAreNotLogged) {
    const std::string_view lines[] = {
        R"({"method":"initialize","method":"tools/call","params":{"arguments":{"key":"secret"}}})",
        R"({"method":"tools/call","params":{"name":"login"},"params":{"arguments":{"key":"secret"}}})",
        R"({"method":"tools/call","params":{"arguments":{},"arguments":{"key":"secret"}}})",
        R"({"params":{"arguments":{"key":"one","k\u0065y":"secret"}}})",
        R"({"method":"tools/call","params":{"arguments":{"k\u0065y":"secret"}})",  // one brace short
        // A key split over two lines: neither half is readable.
        R"({"method":"tools/call","params":{"arguments":{"key":"sec)",
        R"(ret"}}})",
        R"(["key","secret"])",
        R"("secret")",
        "not json at all",
        "",
    };
    for (const auto line : lines) {
        const auto logged = redactedForLog(line);
        ASSERT_TRUE(logged) << line;
        EXPECT_EQ(*logged, "[unreadable line of " + std::to_string(line.size()) + " bytes]") << line;
    }
}

TEST(ApiLog, KeepsTheNewestThousandAndCutsPayloadsOnCharacterBoundaries) {
    ApiLog log(7);
    const Date now{};
    for (int i = 0; i < 1005; ++i)
        log.record({.connectionId = "C1", .direction = Direction::request, .payload = std::to_string(i)},
                   now);
    EXPECT_EQ(log.size(), ApiLog::capacity);
    const auto recent = log.recent(3);
    ASSERT_EQ(recent.size(), 3u);
    EXPECT_EQ(recent[0].payload, "1004");
    EXPECT_EQ(recent[0].id, "L7-1005");
    EXPECT_EQ(recent[2].payload, "1002");

    // "é" is two bytes: a cut through it keeps neither.
    EXPECT_EQ(ApiLog::cutPayload("abé", 3), "ab");
    EXPECT_EQ(ApiLog::cutPayload("abé", 4), "abé");
    EXPECT_EQ(ApiLog::cutPayload("a\xF0\x9F\x98\x80", 4), "a");
    const std::string huge(200 * 1024, 'x');
    EXPECT_EQ(log.record({.connectionId = "C1", .payload = huge}, now).payload.size(), ApiLog::payloadLimit);
}

}  // namespace
}  // namespace tallywick
