#include "base/dispatch.h"

#include <gtest/gtest.h>

namespace ko::test {
namespace {

template <class Table>
std::pair<ResultCode, int> sizeFor(Table table, int code, ResultCode otherwise = ResultUnsupportedType)
{
    int bytes = 0;
    const ResultCode rc = dispatch(
        table, static_cast<ExImageDataType>(code), {},
        [&]<class T>(std::type_identity<T>) {
            bytes = std::is_signed_v<T> ? -int{sizeof(T)} : int{sizeof(T)};
        },
        otherwise);
    return {rc, bytes};
}

TEST(Dispatch, ByTypeKeepsSigns)
{
    const int expected[] = {0, -1, 1, -2, 2, -4, 4, -4, -8, 0, -8, 8};
    for (int code = 0; code < 12; ++code)
        EXPECT_EQ(sizeFor(ByType{}, code).second, expected[code]) << code;
}

TEST(Dispatch, BySizeDropsTheSignsOfIntegersOnly)
{
    const int expected[] = {0, 1, 1, 2, 2, 4, 4, -4, -8, 0, 8, 8};
    for (int code = 0; code < 12; ++code)
        EXPECT_EQ(sizeFor(BySize{}, code).second, expected[code]) << code;
}

TEST(Dispatch, AnswersForCodesOutsideTheTable)
{
    for (const int code : {-1, 0, 9, 12})
        EXPECT_EQ(sizeFor(ByType{}, code).first, ResultUnsupportedType) << code;
    EXPECT_EQ(sizeFor(IntegersByType{}, Float32).first, ResultUnsupportedType);
    EXPECT_EQ(sizeFor(IntegersBySize{}, Float64, ResultFailed).first, ResultFailed);
    EXPECT_EQ(sizeFor(ByTypeOf<UInt8, UInt16>{}, Int16, ResultBadArg1).first, ResultBadArg1);
    EXPECT_EQ(sizeFor(ByTypeOf<UInt8, UInt16>{}, UInt16).second, 2);
}

TEST(Dispatch, ReturnsTheStatusOfTheBody)
{
    EXPECT_EQ(dispatch(ByType{}, UInt8, {}, [](auto) { return ResultOutOfRange; }), ResultOutOfRange);
    EXPECT_EQ(dispatch(ByType{}, UInt8, {}, [](auto) {}), ResultOk);
}

TEST(Dispatch, LooksAtTheGeometryAfterTheType)
{
    bool ran = false;
    const auto body = [&](auto) { ran = true; };
    EXPECT_EQ(dispatch(ByType{}, UInt8, {{ResultBadArg1, true}, {ResultBadArg2, false}}, body),
              ResultBadArg2);
    EXPECT_EQ(dispatch(ByType{}, Sample128, {{ResultBadArg2, false}}, body), ResultUnsupportedType);
    EXPECT_FALSE(ran);
}

}  // namespace
}  // namespace ko::test
