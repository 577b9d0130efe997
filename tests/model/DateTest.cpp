// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <tallywick/model/Date.h>

using namespace std::chrono;
using tallywick::Date;
using tallywick::formatDate;
using tallywick::parseDate;

namespace {

Date at(int y, unsigned m, unsigned d, int hh, int mm, int ss) {
    return Date{sys_days{year{y} / month{m} / day{d}}} + hours{hh} + minutes{mm} + seconds{ss};
}

}  // namespace

TEST(DateTest, WholeSecondUtcRoundTrips) {
    const Date date = at(2025, 3, 4, 5, 6, 7);
    EXPECT_EQ(formatDate(date), "2025-03-04T05:06:07Z");
    EXPECT_EQ(parseDate("2025-03-04T05:06:07Z"), date);
    EXPECT_EQ(parseDate("1970-01-01T00:00:00Z"), Date{});
    EXPECT_EQ(formatDate(Date{}), "1970-01-01T00:00:00Z");
    EXPECT_EQ(formatDate(at(1969, 12, 31, 23, 59, 59)), "1969-12-31T23:59:59Z");
    EXPECT_EQ(parseDate("2024-02-29T23:59:59Z"), at(2024, 2, 29, 23, 59, 59));
}

TEST(DateTest, FractionIsDroppedNeverRoundedUp) {
    EXPECT_EQ(parseDate("2025-03-04T05:06:07.900Z"), at(2025, 3, 4, 5, 6, 7));
    EXPECT_EQ(parseDate("2025-03-04T05:06:07.999999999Z"), at(2025, 3, 4, 5, 6, 7));
    EXPECT_EQ(parseDate("1969-12-31T23:59:59.5Z"), at(1969, 12, 31, 23, 59, 59));
    EXPECT_EQ(parseDate("2025-03-04T05:06:07.Z"), std::nullopt);
}

TEST(DateTest, NumericOffsetsConvertToUtc) {
    EXPECT_EQ(parseDate("2025-03-04T05:06:07+01:00"), at(2025, 3, 4, 4, 6, 7));
    EXPECT_EQ(parseDate("2025-03-04T23:30:00-02:30"), at(2025, 3, 5, 2, 0, 0));
    EXPECT_EQ(parseDate("2025-03-04T05:06:07.25+00:00"), at(2025, 3, 4, 5, 6, 7));
    EXPECT_EQ(parseDate("2025-03-04T05:06:07+0100"), std::nullopt);
    EXPECT_EQ(parseDate("2025-03-04T05:06:07+24:00"), std::nullopt);
}

TEST(DateTest, RejectsAnythingElse) {
    for (const char* text :
         {"", "2025-03-04", "2025-03-04T05:06:07", "2025-03-04t05:06:07Z", "2025-03-04T05:06:07z",
          "2025-03-04 05:06:07Z", "2025-3-04T05:06:07Z", "2025-02-29T00:00:00Z", "2025-13-01T00:00:00Z",
          "2025-00-10T00:00:00Z", "2025-04-31T00:00:00Z", "2025-03-04T24:00:00Z", "2025-03-04T05:60:07Z",
          "2016-12-31T23:59:60Z", "2025-03-04T05:06:07ZZ", "+2025-03-04T05:06:07Z", "2025-03-04T05:06:07Z ",
          "２０２５-03-04T05:06:07Z", "2025-03-04T05:06:0xZ"}) {
        EXPECT_EQ(parseDate(text), std::nullopt) << text;
    }
}

TEST(DateTest, EveryDateThatReadsWritesBack) {
    // Offsets that carry an instant past either end of the four-digit years.
    EXPECT_EQ(parseDate("0000-01-01T00:00:00+00:01"), std::nullopt);
    EXPECT_EQ(parseDate("9999-12-31T23:59:59-00:01"), std::nullopt);
    EXPECT_EQ(formatDate(*parseDate("0000-01-01T00:01:00+00:01")), "0000-01-01T00:00:00Z");
    EXPECT_EQ(formatDate(*parseDate("9999-12-31T23:58:59-00:01")), "9999-12-31T23:59:59Z");
    EXPECT_EQ(formatDate(*parseDate("0000-01-01T00:00:00Z")), "0000-01-01T00:00:00Z");
}

TEST(DateTest, WritingCoversFourDigitYearsOnly) {
    EXPECT_EQ(formatDate(at(9999, 12, 31, 23, 59, 59)), "9999-12-31T23:59:59Z");
    EXPECT_EQ(formatDate(at(0, 1, 1, 0, 0, 0)), "0000-01-01T00:00:00Z");
    EXPECT_EQ(formatDate(at(10000, 1, 1, 0, 0, 0)), std::nullopt);
    EXPECT_EQ(formatDate(at(-1, 12, 31, 0, 0, 0)), std::nullopt);
    EXPECT_EQ(formatDate(Date::max()), std::nullopt);
    EXPECT_EQ(formatDate(Date::min()), std::nullopt);
}

// Most dates are read right after one of the same day or the same text;
// remembering those must never let a bad time through or give a stale answer.
TEST(DateTest, DatesReadInARowAfterTheirDayAreCheckedAlike) {
    tallywick::RecentDate recent;
    const auto parseDate = [](tallywick::RecentDate& recent, std::string_view text) {
        return tallywick::parseDate(text, recent);
    };
    ASSERT_EQ(parseDate(recent, "2025-03-04T05:06:07Z"), at(2025, 3, 4, 5, 6, 7));
    EXPECT_EQ(parseDate(recent, "2025-03-04T05:06:07Z"), at(2025, 3, 4, 5, 6, 7));
    EXPECT_EQ(parseDate(recent, "2025-03-04T23:59:59Z"), at(2025, 3, 4, 23, 59, 59));
    EXPECT_EQ(parseDate(recent, "2025-03-04T00:00:00Z"), at(2025, 3, 4, 0, 0, 0));
    for (const char* text : {"2025-03-04T24:00:00Z", "2025-03-04T05:60:07Z", "2025-03-04T05:06:60Z",
                             "2025-03-04T05:06:0xZ", "2025-03-04T05-06:07Z", "2025-03-04T0 :06:07Z"}) {
        EXPECT_EQ(parseDate(recent, text), std::nullopt) << text;
        EXPECT_EQ(parseDate(recent, "2025-03-04T05:06:08Z"), at(2025, 3, 4, 5, 6, 8)) << "after " << text;
    }
    EXPECT_EQ(parseDate(recent, "2025-03-05T05:06:07Z"), at(2025, 3, 5, 5, 6, 7));
    EXPECT_EQ(parseDate(recent, "2025-02-29T05:06:07Z"), std::nullopt);
    EXPECT_EQ(parseDate(recent, "2025-03-04T05:06:07+01:00"), at(2025, 3, 4, 4, 6, 7));
    EXPECT_EQ(parseDate(recent, "2025-03-04T05:06:07Z"), at(2025, 3, 4, 5, 6, 7));
}
