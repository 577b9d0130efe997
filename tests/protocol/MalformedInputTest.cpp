// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <tallywick/core.h>

#include "protocol/ExampleTexts.h"

using namespace tallywick;
using namespace tallywick::testing;
using TallywickCoding::decode;
using TallywickCoding::decodeResult;

// What a hostile or broken host might send. Each must give a clear error value:
// no crash, no partial message.

TEST(MalformedInputTest, NotAJsonObject) {
    for (std::string_view text :
         {"", " ", "null", "[]", "[{\"ok\":{}}]", "\"ok\"", "1", "true", "{", "{\"ok\":{}", "{\"ok\":{}}}",
          "{\"ok\":{}} {\"ok\":{}}", "{'ok':{}}", "{\"ok\":{},}", "\xef\xbb\xbf{\"ok\":{}}"}) {
        auto result = decodeResult<ControlResponse>(text);
        ASSERT_FALSE(result.has_value()) << text;
        EXPECT_FALSE(result.error().description.empty());
    }
    EXPECT_TRUE(decode<ControlResponse>(" \n\t{\"ok\" : {} }\r\n")) << "whitespace around tokens is JSON";
}

TEST(MalformedInputTest, EveryTruncationOfAValidTextFails) {
    const std::string full(kFullSnapshotResponse);
    for (std::size_t length = 0; length < full.size(); ++length) {
        EXPECT_FALSE(decode<ControlResponse>(std::string_view(full).substr(0, length))) << length;
    }
}

TEST(MalformedInputTest, InvalidUtf8AnywhereFails) {
    const std::string base = R"({"failure":{"_0":"MARK"}})";
    for (std::string_view bad : {"\xff", "\xc3(", "\xe2\x82", "\xed\xa0\x80", "\xc0\xaf",
                                 "\xf8\x88\x80\x80\x80", "\\ud800", "\\udc00x", "\\ud800\\u0041"}) {
        std::string text = base;
        text.replace(text.find("MARK"), 4, bad);
        EXPECT_FALSE(decode<ControlResponse>(text)) << text;
    }
    auto pair = decode<ControlResponse>(R"({"failure":{"_0":"\ud83c\udf89 \u00fc \/"}})");
    ASSERT_TRUE(pair);
    EXPECT_EQ(std::get<ControlResponse::Failure>(pair->value).reason, "🎉 ü /");
}

// Values under keys a record does not declare are skipped unread: however
// deep they nest, they fail nothing. Nothing is recursed into, and what is
// not JSON stays refused at any depth.
TEST(MalformedInputTest, DeepNestingIsSkippedUnreadOrRefused) {
    for (std::size_t depth : {100u, 10'000u, 1'000'000u}) {
        const std::string deep = std::string(depth, '[') + "1" + std::string(depth, ']');
        EXPECT_TRUE(decode<ControlResponse>(R"({"ok":{"x":)" + deep + "}}")) << depth;
        EXPECT_FALSE(decode<ControlResponse>(R"({"ok":{"x":)" + deep + "]}}")) << "unbalanced, " << depth;
        std::string broken = deep;
        broken[depth] = 'x';
        EXPECT_FALSE(decode<ControlResponse>(R"({"ok":{"x":)" + broken + "}}"))
            << "not a value inside, " << depth;
    }
    std::string objects = R"({"dataChanged":{"x":)";
    for (int i = 0; i < 100'000; ++i) objects += R"({"a":)";
    objects += "1" + std::string(100'000, '}') + "}}";
    EXPECT_TRUE(decode<ControlEvent>(objects));
    // In a place the record declares, deep nesting is the wrong type.
    const std::string declared =
        R"({"failure":{"_0":)" + std::string(100, '[') + std::string(100, ']') + "}}";
    auto refused = decodeResult<ControlResponse>(declared);
    ASSERT_FALSE(refused.has_value());
    EXPECT_EQ(refused.error().description, "Expected a string but found an array");
}

TEST(MalformedInputTest, HugeAndOddNumbers) {
    const std::string prefix = R"({"setStartingPoints":{"_0":)";
    for (const std::string& number :
         std::vector<std::string>{"9223372036854775808", "-9223372036854775809", "1e400", "NaN", "Infinity",
                                  "0x10", "01", "+1", "1.", ".5", "--1", std::string(5000, '9')}) {
        EXPECT_FALSE(decode<ControlRequest>(prefix + number + "}}")) << number;
    }
    // Beyond what a parser holds, where read: said as such.
    for (const std::string& number :
         {std::string("1e400"), std::string(5000, '9'), std::string("-1") + std::string(30, '0')}) {
        auto refused = decodeResult<ControlRequest>(prefix + number + "}}");
        ASSERT_FALSE(refused.has_value());
        EXPECT_EQ(refused.error().description, "The number does not fit in 64 bits") << number;
    }
    // Where skipped: nothing.
    for (const std::string& number : {std::string("123456789012345678901234567890"), std::string("1e400"),
                                      std::string("-1e400"), std::string("1e-400"), std::string(5000, '9')}) {
        auto event = decode<ControlEvent>(R"({"dataChanged":{"x":)" + number + R"(,"y":[)" + number + "]}}");
        ASSERT_TRUE(event) << number;
        EXPECT_EQ(event->caseName(), "dataChanged");
        EXPECT_FALSE(decode<ControlEvent>(R"({"dataChanged":{"x":)" + number + "x}}")) << number;
    }
    auto request = decode<ControlRequest>(R"({"setStartingPoints":{"_0":5,"later":1e999}})");
    ASSERT_TRUE(request);
    EXPECT_EQ(std::get<ControlRequest::SetStartingPoints>(request->value).value, 5);
}

TEST(MalformedInputTest, ControlCharactersAndEmbeddedNul) {
    EXPECT_FALSE(decode<ControlResponse>(std::string("{\"failure\":{\"_0\":\"a\nb\"}}")));
    EXPECT_FALSE(decode<ControlResponse>(std::string("{\"failure\":{\"_0\":\"a\0b\"}}", 22)));
    auto nul = decode<ControlResponse>(R"({"failure":{"_0":"a\u0000b"}})");
    ASSERT_TRUE(nul);
    EXPECT_EQ(std::get<ControlResponse::Failure>(nul->value).reason, std::string("a\0b", 3));
    EXPECT_EQ(TallywickCoding::encodeToString(*nul), R"({"failure":{"_0":"a\u0000b"}})");
}

TEST(MalformedInputTest, LargeValidTextStillReads) {
    std::string reason(8 << 20, 'x');
    auto response = decode<ControlResponse>(R"({"failure":{"_0":")" + reason + "\"}}");
    ASSERT_TRUE(response);
    EXPECT_EQ(std::get<ControlResponse::Failure>(response->value).reason.size(), reason.size());
}
