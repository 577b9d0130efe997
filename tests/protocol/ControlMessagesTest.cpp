// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <tallywick/core.h>

#include "protocol/ExampleTexts.h"
#include "support/JsonEqual.h"

using namespace tallywick;
using namespace tallywick::testing;
using TallywickCoding::decode;
using TallywickCoding::decodeResult;
using TallywickCoding::encodeToString;

namespace {

template <class T>
std::string errorText(std::string_view text) {
    auto result = decodeResult<T>(text);
    return result ? "<decoded>" : result.error().description;
}

constexpr std::string_view kOneKey = "Invalid number of keys found, expected one.";

}  // namespace

TEST(ControlMessagesTest, EveryExampleRoundTripsExactly) {
    for (auto text : kRequestExamples) {
        auto request = decode<ControlRequest>(text);
        ASSERT_TRUE(request) << text;
        EXPECT_EQ(encodeToString(*request), std::string(text));
    }
    for (auto text : kResponseExamples) {
        auto response = decode<ControlResponse>(text);
        ASSERT_TRUE(response) << text;
        EXPECT_EQ(encodeToString(*response), std::string(text));
    }
    for (auto text : kEventExamples) {
        auto event = decode<ControlEvent>(text);
        ASSERT_TRUE(event) << text;
        // The writer escapes the solidus that the example leaves bare: same value, other text.
        EXPECT_TRUE(jsonTextsEqual(*encodeToString(*event), text)) << text;
    }
    auto full = decode<ControlResponse>(kFullSnapshotResponse);
    ASSERT_TRUE(full);
    EXPECT_EQ(encodeToString(*full), std::string(kFullSnapshotResponse));
}

TEST(ControlMessagesTest, ConstructorsBuildTheDocumentedCases) {
    EXPECT_EQ(encodeToString(ControlRequest::snapshot()), R"({"snapshot":{}})");
    EXPECT_EQ(encodeToString(ControlRequest::renameAccount("A1", "")),
              R"({"renameAccount":{"id":"A1","displayName":""}})");
    EXPECT_EQ(encodeToString(ControlRequest::setStartingPoints(-5)), R"({"setStartingPoints":{"_0":-5}})");
    EXPECT_EQ(encodeToString(ControlRequest::setAllowUnauthenticated(true)),
              R"({"setAllowUnauthenticated":{"_0":true}})");
    EXPECT_EQ(encodeToString(ControlResponse::failure("")), R"({"failure":{"_0":""}})");
    EXPECT_EQ(encodeToString(ControlEvent::connectionsChanged()), R"({"connectionsChanged":{}})");
    auto request = decode<ControlRequest>(R"({"setStartingPoints":{"_0":-5}})");
    ASSERT_TRUE(request);
    EXPECT_EQ(std::get<ControlRequest::SetStartingPoints>(request->value).value, -5);
    EXPECT_EQ(request->caseName(), "setStartingPoints");
    EXPECT_EQ(ControlRequest::CodingKeys.size(), std::variant_size_v<ControlRequest::Value>);
    EXPECT_EQ(ControlRequest::RenameAccountCodingKeys[1], "displayName");
}

TEST(ControlMessagesTest, ExactlyOneCaseKeyCounts) {
    EXPECT_TRUE(decode<ControlRequest>(R"({"snapshot":{},"unknownThing":1})"));
    EXPECT_TRUE(decode<ControlRequest>(R"({"note":"x","snapshot":{"ignored":[1]}})"));
    EXPECT_EQ(errorText<ControlRequest>("{}"), kOneKey);
    EXPECT_EQ(errorText<ControlRequest>(R"({"unknownThing":{}})"), kOneKey);
    EXPECT_EQ(errorText<ControlRequest>(R"({"snapshot":{},"deleteAccount":{"id":"A1"}})"), kOneKey);
    EXPECT_EQ(errorText<ControlRequest>(R"({"snapshot":{},"snapshot":{}})"), kOneKey);
    EXPECT_EQ(errorText<ControlRequest>(R"({"Snapshot":{}})"), kOneKey);
    EXPECT_EQ(errorText<ControlEvent>(R"({"dataChanged":{},"connectionsChanged":{}})"), kOneKey);
    EXPECT_TRUE(decode<ControlEvent>(R"({"dataChanged":{},"extra":true})"));
}

TEST(ControlMessagesTest, CaseValueMustBeAnObject) {
    EXPECT_TRUE(decode<ControlResponse>(R"({"ok":{"anything":1}})"));
    for (const char* text :
         {R"({"ok":null})", R"({"ok":true})", R"({"ok":[]})", R"("ok")", R"({"snapshot":"x"})"}) {
        EXPECT_FALSE(decode<ControlResponse>(text)) << text;
    }
    EXPECT_FALSE(decode<ControlRequest>(R"(["snapshot"])"));
    EXPECT_FALSE(decode<ControlRequest>(R"("snapshot")"));
}

TEST(ControlMessagesTest, CaseValuesAreRequiredWithTheirOwnKeys) {
    for (
        const char* text : {
            R"({"deleteEntry":{"entryId":"E9"}})",
            R"({"renameAccount":{"id":"A1"}})",
            R"({"setStartingPoints":{"_0":"1000"}})",
            R"({"setStartingPoints":{"0":1000}})",
            R"({"setAllowUnauthenticated":{"_0":0}})",
            R"({"createEntry":{"_0":{"accountId":"A1","kind":"credit","flag":"none","amount":5}}})",
            R"({"updateEntry":{"_0":{"id":"E9","accountId":"A1","kind":"debit","flag":"none","amount":40,"memo":"","createdAt":"2025-03-04T05:06:07Z","updatedAt":"2025-03-04T05:06:07Z"}}})",
        }) {
        EXPECT_FALSE(decode<ControlRequest>(text)) << text;
    }
    EXPECT_TRUE(decode<ControlRequest>(R"({"deleteEntry":{"id":"E9","entryId":"x"}})"));
    auto failure = decode<ControlResponse>(R"({"failure":{"_0":""}})");
    ASSERT_TRUE(failure);
    EXPECT_EQ(std::get<ControlResponse::Failure>(failure->value).reason, "");
    EXPECT_FALSE(decode<ControlResponse>(R"({"failure":{}})"));
    EXPECT_FALSE(decode<ControlResponse>(R"({"failure":{"_0":null}})"));
}

TEST(ControlMessagesTest, ResponsesAndEventsShareNoCase) {
    for (auto text : kEventExamples) EXPECT_FALSE(decode<ControlResponse>(text)) << text;
    for (auto text : kResponseExamples) EXPECT_FALSE(decode<ControlEvent>(text)) << text;
    EXPECT_FALSE(decode<ControlEvent>(
        R"({"apiCall":{"_0":{"id":"L42","connectionId":"C7","direction":"reply","payload":"{}","timestamp":"2025-03-04T05:06:08Z"}}})"));
}

TEST(ControlMessagesTest, ABadFieldDeepInsideFailsTheWholeSnapshot) {
    const std::string good(kFullSnapshotResponse);
    ASSERT_TRUE(decode<ControlResponse>(good));
    const std::pair<const char*, const char*> breakages[] = {
        {R"(,"sequence":1})", "}"},                                  // an entry without sequence
        {R"("isConnected":false)", R"("isConnected":"false")"},      // a mistyped account field
        {R"("authenticated":false)", R"("authenticated":null)"},     // a null required connection field
        {R"("direction":"response")", R"("direction":"Response")"},  // a log entry's direction
        {R"("name":"claude-code"})", R"("title":"x"})"},             // client info without name
        {R"("startingPoints":50000)", R"("startingPoints":5e4)"},    // a number with an exponent
    };
    for (auto [from, to] : breakages) {
        std::string text = good;
        const auto at = text.find(from);
        ASSERT_NE(at, std::string::npos) << from;
        text.replace(at, std::string_view(from).size(), to);
        auto result = decodeResult<ControlResponse>(text);
        ASSERT_FALSE(result.has_value()) << to;
        EXPECT_EQ(result.error().codingPath.rfind("snapshot._0.", 0), 0u) << result.error().codingPath;
    }
}
