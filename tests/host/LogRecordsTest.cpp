// What the host writes into its API log: keys never, payloads cut whole.
#include <gtest/gtest.h>

#include "ApiLog.h"
#include "LogRedaction.h"

namespace tallywick {
namespace {

TEST(LogRedaction, KeysAreReplacedWhereverTheyStandAndNothingElseChanges) {
    const auto signUp = redactedForLog(
        R"({"jsonrpc":"2.0","id":2,"method":"tools/call","params":{"name":"signUp","arguments":{"key":"s3cret-key!","displayName":"Bot"}}})");
    ASSERT_TRUE(signUp);
    EXPECT_EQ(*signUp,
              R"({"jsonrpc":"2.0","id":2,"method":"tools/call","params":{"name":"signUp","arguments":{"key":"[redacted]","displayName":"Bot"}}})");

    // A key given twice, or escaped, is hidden in every copy.
    const auto twice = redactedForLog(
        R"({"method":"tools/call","params":{"arguments":{"key":"one-secret"}},"params":{"arguments":{"key":"tw\u006f-secret"}}})");
    ASSERT_TRUE(twice);
    EXPECT_EQ(twice->find("secret"), std::string::npos) << *twice;

    EXPECT_FALSE(redactedForLog(R"({"method":"tools/call","params":{"name":"getBalance","arguments":{}}})"));
    EXPECT_FALSE(redactedForLog(R"({"method":"initialize","params":{"key":"not an argument"}})"));
    EXPECT_FALSE(redactedForLog("not json at all"));
    EXPECT_EQ(redactedForLog(R"({"method":"tools/call","params":{"arguments":{"key":"cut-off)"),
              std::string(unreadableWithheld));
}

TEST(ApiLog, KeepsTheNewestThousandAndCutsPayloadsOnCharacterBoundaries) {
    ApiLog log(7);
    const Date now{};
    for (int i = 0; i < 1005; ++i)
        log.record({.connectionId = "C1", .direction = Direction::request, .payload = std::to_string(i)}, now);
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
