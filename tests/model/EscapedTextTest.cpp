// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <tallywick/model/EscapedText.h>

namespace tallywick {
namespace {

// Each row: a text, how a terminal or log line shows it, and how JSON output carries it.
struct Row {
    std::string_view text, shown, json;
};

TEST(EscapedTextTest, ActiveCharactersBecomeVisibleEscapes) {
    using namespace std::string_view_literals;
    const Row rows[] = {
        {"plain Grüße 👩‍👧 ש", "plain Grüße 👩‍👧 ש", "plain Grüße 👩‍👧 ש"},
        {"\x00\x01\x1b[2J\x1f"sv, "\\x00\\x01\\x1b[2J\\x1f", "\x00\x01\x1b[2J\x1f"sv},
        {"a\nb\rc\td", "a\\nb\\rc\\td", "a\nb\rc\td"},
        {" ~\x7f", " ~\\x7f", " ~\\u007f"},
        {"\u0080\u009b\u009f\u00a0", "\\u0080\\u009b\\u009f\u00a0", "\\u0080\\u009b\\u009f\u00a0"},
        {"\u061c\u200d\u200e\u200f\u2029", "\\u061c\u200d\\u200e\\u200f\u2029",
         "\\u061c\u200d\\u200e\\u200f\u2029"},
        {"\u2029\u202a\u202e\u202f", "\u2029\\u202a\\u202e\u202f", "\u2029\\u202a\\u202e\u202f"},
        {"\u2065\u2066\u2069\u206a", "\u2065\\u2066\\u2069\u206a", "\u2065\\u2066\\u2069\u206a"},
        {"\u200b\u2060\ufeff\u200c", "\\u200b\\u2060\\ufeff\u200c", "\\u200b\\u2060\\ufeff\u200c"},
        {"C:\\x1b\\", "C:\\\\x1b\\\\", "C:\\x1b\\"},
        // Not UTF-8: a lone C1 byte, a cut sequence, overlong forms, a surrogate, past U+10FFFF.
        {"\x9b"
         "2J",
         "\\x9b2J", "\\ufffd2J"},
        {"\xe2\x80", "\\xe2\\x80", "\\ufffd\\ufffd"},
        {"\xc0\xaf\xe0\x80\xaf", "\\xc0\\xaf\\xe0\\x80\\xaf", "\\ufffd\\ufffd\\ufffd\\ufffd\\ufffd"},
        {"\xed\xa0\x80\xf4\x90\x80\x80", "\\xed\\xa0\\x80\\xf4\\x90\\x80\\x80",
         "\\ufffd\\ufffd\\ufffd\\ufffd\\ufffd\\ufffd\\ufffd"},
        {"\xf0\x9f\x98\x80\xf4\x8f\xbf\xbf", "\xf0\x9f\x98\x80\xf4\x8f\xbf\xbf",
         "\xf0\x9f\x98\x80\xf4\x8f\xbf\xbf"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(EscapedText::of(row.text), row.shown) << row.shown;
        EXPECT_EQ(EscapedText::json(row.text), row.json) << row.shown;
    }
}

}  // namespace
}  // namespace tallywick
