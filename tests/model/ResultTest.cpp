// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include <tallywick/model/Result.h>

namespace tallywick {
namespace {

using Text = Result<std::string, std::string>;

TEST(ResultTest, ValueAndErrorOfOneTypeStayApart) {
    const Text value = std::string("ready");
    const Text error = fail("broken");
    ASSERT_TRUE(value.has_value());
    ASSERT_FALSE(error);
    EXPECT_EQ(*value, "ready");
    EXPECT_EQ(value->size(), 5u);
    EXPECT_EQ(error.error(), "broken");
    EXPECT_EQ(error.value_or("fallback"), "fallback");
    EXPECT_EQ(value.value_or("fallback"), "ready");
    // The same text as value and as error are different results.
    EXPECT_NE(Text(std::string("x")), Text(fail("x")));
    EXPECT_EQ(Text(fail("x")), Text(fail(std::string("x"))));
}

TEST(ResultTest, MoveOnlyValuesAndErrorsMoveOut) {
    Result<std::unique_ptr<int>, std::unique_ptr<int>> made = std::make_unique<int>(7);
    auto taken = std::move(made).value();
    ASSERT_TRUE(taken);
    EXPECT_EQ(*taken, 7);

    Result<std::unique_ptr<int>, std::unique_ptr<int>> refused = fail(std::make_unique<int>(3));
    EXPECT_EQ(*std::move(refused).error(), 3);
}

TEST(ResultTest, VoidResultIsSuccessUnlessFailed) {
    const Result<void, std::string> fine;
    const Result<void, std::string> failed = fail("no room");
    EXPECT_TRUE(fine);
    ASSERT_FALSE(failed);
    EXPECT_EQ(failed.error(), "no room");
    EXPECT_EQ(fine, (Result<void, std::string>()));
    EXPECT_NE(fine, failed);
}

TEST(ResultDeathTest, ReadingTheSideNotHeldStops) {
    const Text value = std::string("ready");
    const Text error = fail("broken");
    const Result<void, std::string> fine;
    EXPECT_DEATH((void)error.value(), "value\\(\\) of a failed Result");
    EXPECT_DEATH((void)value.error(), "error\\(\\) of a successful Result");
    EXPECT_DEATH((void)fine.error(), "error\\(\\) of a successful Result");
}

}  // namespace
}  // namespace tallywick
