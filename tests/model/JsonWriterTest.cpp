// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <tallywick/model/JsonIndent.h>
#include <tallywick/model/JsonWriter.h>

using tallywick::JsonWriter;

namespace {

std::string asJsonString(std::string_view text) {
    JsonWriter w;
    w.string(text);
    return std::move(w).finish().value_or("<none>");
}

}  // namespace

TEST(JsonWriterTest, EscapesSolidusQuotesAndControlsButNotUnicode) {
    EXPECT_EQ(asJsonString("a/b"), R"("a\/b")");
    EXPECT_EQ(asJsonString("say \"hi\" \\ there"), R"("say \"hi\" \\ there")");
    EXPECT_EQ(asJsonString("\b\f\n\r\t"), R"("\b\f\n\r\t")");
    EXPECT_EQ(asJsonString(std::string("\x01\x1f\0", 3)), R"("\u0001\u001f\u0000")");
    EXPECT_EQ(asJsonString("Grüße 日本語 🎉 \x7f"), "\"Grüße 日本語 🎉 \x7f\"");
    EXPECT_EQ(asJsonString(""), R"("")");
}

TEST(JsonWriterTest, InvalidUtf8GivesNoText) {
    for (std::string_view bad : {"\xff", "\xc3", "\xc0\xaf", "\xed\xa0\x80", "\xf4\x90\x80\x80", "ok\x80"}) {
        JsonWriter w;
        w.string(bad);
        EXPECT_EQ(std::move(w).finish(), std::nullopt);
    }
}

TEST(JsonWriterTest, CompactWithCommasInPlace) {
    JsonWriter w;
    w.beginObject();
    w.key("a");
    w.beginArray();
    w.integer(std::numeric_limits<std::int64_t>::min());
    w.integer(0);
    w.beginObject();
    w.endObject();
    w.beginArray();
    w.endArray();
    w.endArray();
    w.key("b");
    w.boolean(false);
    w.key("c");
    w.null();
    w.key("d");
    w.rawValue(R"({"x":1})");
    w.endObject();
    EXPECT_EQ(std::move(w).finish(),
              R"({"a":[-9223372036854775808,0,{},[]],"b":false,"c":null,"d":{"x":1}})");
}

TEST(JsonWriterTest, UnwritableDateFailsTheWholeText) {
    JsonWriter w;
    w.beginArray();
    w.date(tallywick::Date::max());
    w.endArray();
    EXPECT_TRUE(w.failed());
    EXPECT_EQ(std::move(w).finish(), std::nullopt);
}

TEST(JsonIndentTest, LaysOutValidJsonAndKeepsItsTextAndOrder) {
    using tallywick::indentJson;
    // Keys keep their order; strings keep escapes and the characters that look like structure.
    EXPECT_EQ(indentJson(R"( {"z":1,"a":[true,null,{}],"s":"{\"x\": [1,2]}\/","e":[ ],"n":-1.5e3})"),
              "{\n  \"z\": 1,\n  \"a\": [\n    true,\n    null,\n    {}\n  ],\n"
              "  \"s\": \"{\\\"x\\\": [1,2]}\\/\",\n  \"e\": [],\n  \"n\": -1.5e3\n}");
    EXPECT_EQ(indentJson("\"just text\""), "\"just text\"");
    EXPECT_EQ(indentJson(R"({"a":"b\\"})"), "{\n  \"a\": \"b\\\\\"\n}");
    // What a person would otherwise be shown as JSON that is not.
    for (std::string_view bad : {"", "{", R"({"a":})", "[1,]", "{\"a\":\"\xff\"}", "nul", "{} {}"})
        EXPECT_FALSE(indentJson(bad)) << bad;
}
