// The classes of the core library as programs see them: members by their exact types, and use from outside.
#include <ko/koimproc.h>

#include <gtest/gtest.h>

#include <type_traits>
#include <utility>

namespace ko::test {
namespace {

/// Whether `Member` can be used as `Signature`; noexcept may come on top.
template <class Signature, class Member>
constexpr bool callableAs(Member)
{
    return std::is_convertible_v<Member, Signature>;
}

using Plain = CxImageHistogram;
static_assert(std::is_same_v<decltype(Plain::bins), std::uint32_t**>);
static_assert(std::is_same_v<decltype(Plain::planes), std::int32_t>);
static_assert(std::is_same_v<decltype(Plain::levels), std::int32_t>);
static_assert(std::is_same_v<decltype(Plain::extraBins), std::uint32_t>);
static_assert(callableAs<void (Plain::*)(std::int32_t, std::int32_t, std::int32_t)>(&Plain::resize));
static_assert(callableAs<void (Plain::*)()>(&Plain::clear));
static_assert(callableAs<void (Plain::*)()>(&Plain::release));
static_assert(std::is_default_constructible_v<Plain>);

using Dense = CxImageHistogram2D;
static_assert(std::is_constructible_v<Dense, int, int>);
static_assert(callableAs<int (Dense::*)() const>(&Dense::planes));
static_assert(callableAs<int (Dense::*)() const>(&Dense::levels));
static_assert(callableAs<int** (Dense::*)(int) const>(&Dense::operator[]));

using Matrix = TSparseMatrix<int>;
static_assert(std::is_same_v<Matrix::Row, std::unordered_map<std::int32_t, int>>);
static_assert(callableAs<int (Matrix::*)() const>(&Matrix::rowCount));
static_assert(std::is_same_v<decltype(std::declval<Matrix&>().rows()), Matrix::Row*>);
static_assert(std::is_same_v<decltype(std::declval<const Matrix&>().rows()), const Matrix::Row*>);

using Sparse = CxImageHistogramSparse2D;
static_assert(std::is_constructible_v<Sparse, int, int>);
static_assert(callableAs<int (Sparse::*)() const>(&Sparse::planes));
static_assert(callableAs<int (Sparse::*)() const>(&Sparse::levels));
static_assert(std::is_same_v<decltype(std::declval<Sparse&>()[0]), Matrix&>);
static_assert(callableAs<bool (Sparse::*)(int, int, int)>(&Sparse::inc));

TEST(ContainersApi, SizesClearsAndReleasesPlainHistograms)
{
    CxImageHistogram hist;
    EXPECT_EQ(hist.bins, nullptr);
    hist.resize(2, 4, 1);
    EXPECT_EQ(hist.planes, 2);
    EXPECT_EQ(hist.levels, 4);
    EXPECT_EQ(hist.extraBins, 1U);
    hist.bins[1][3] = 5;
    hist.clear();
    EXPECT_EQ(hist.bins[1][3], 0U);
    hist.release();
    EXPECT_EQ(hist.bins, nullptr);
}

TEST(ContainersApi, CountsPairsDenselyAndSparsely)
{
    const CxImageHistogram2D dense(1, 3);
    EXPECT_EQ(dense.planes(), 1);
    EXPECT_EQ(dense.levels(), 3);
    EXPECT_EQ(dense[0][2][2], 0);
    dense[0][2][1] = 7;
    EXPECT_EQ(dense[0][2][1], 7);

    CxImageHistogramSparse2D sparse(1, 3);
    EXPECT_TRUE(sparse.inc(0, 2, 1));
    EXPECT_TRUE(sparse.inc(0, 2, 1));
    EXPECT_EQ(sparse[0].rowCount(), 3);
    EXPECT_EQ(sparse[0].rows()[2].at(1), 2);
}

}  // namespace
}  // namespace ko::test
