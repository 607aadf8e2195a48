#include <ko/core.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace ko::test {
namespace {

TEST(ResultTexts, BeginWithTheNameOfTheirCode)
{
    const std::pair<ResultCode, std::string> names[] = {
        {ResultOk, "ResultOk"},
        {ResultFailed, "ResultFailed"},
        {ResultIncompatible, "ResultIncompatible"},
        {ResultOutOfRange, "ResultOutOfRange"},
        {ResultUnsupportedType, "ResultUnsupportedType"},
        {ResultBadArg1, "ResultBadArg1"},
        {ResultBadArg2, "ResultBadArg2"},
        {ResultBadArg3, "ResultBadArg3"},
        {ResultBadArg4, "ResultBadArg4"},
        {ResultBadArg5, "ResultBadArg5"},
        {ResultBadArg6, "ResultBadArg6"},
        {ResultBadArg7, "ResultBadArg7"},
    };
    for (const auto& [code, name] : names)
        EXPECT_EQ(std::string(toString(code)).substr(0, name.size() + 2), name + ": ");
}

TEST(ResultTexts, KnowTheSecondNumberOfSuccess)
{
    EXPECT_STREQ(toString(static_cast<ResultCode>(1)), toString(ResultOk));
}

TEST(ResultTexts, OfNumbersThatNoResultHasSaySo)
{
    EXPECT_STREQ(toString(static_cast<ResultCode>(99)), "unknown status");
}

}  // namespace
}  // namespace ko::test
