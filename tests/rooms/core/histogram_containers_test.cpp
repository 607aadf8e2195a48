#include "support/allocation_failure.h"
#include "support/failing_new.h"

#include <ko/core.h>

#include <gtest/gtest.h>

#include <limits>
#include <type_traits>
#include <utility>

namespace ko::test {
namespace {

constexpr int most = std::numeric_limits<int>::max();

bool isEmpty(const CxImageHistogram& h)
{
    return h.bins == nullptr && h.planes == 0 && h.levels == 0 && h.extraBins == 0;
}

/// 2 planes of 3 levels and one extra counter, counters 1...8.
CxImageHistogram counted()
{
    CxImageHistogram h;
    h.resize(2, 3, 1);
    std::uint32_t count = 0;
    for (int p = 0; p < 2; ++p)
        for (int v = 0; v < 4; ++v)
            h.bins[p][v] = ++count;
    return h;
}

TEST(Histograms, StartEmpty)
{
    EXPECT_TRUE(isEmpty(CxImageHistogram()));
}

TEST(Histograms, HoldZerosAfterAResize)
{
    CxImageHistogram h = counted();
    h.resize(3, 256, 2);
    EXPECT_EQ(h.planes, 3);
    EXPECT_EQ(h.levels, 256);
    EXPECT_EQ(h.extraBins, 2U);
    for (int p = 0; p < 3; ++p)
        for (int v = 0; v < 258; ++v)
            EXPECT_EQ(h.bins[p][v], 0U);
}

TEST(Histograms, OfTheSameSizesKeepTheirBlocksAndExtraCounters)
{
    CxImageHistogram h = counted();
    std::uint32_t** const bins = h.bins;
    std::uint32_t* const second = h.bins[1];
    h.resize(2, 3, 1);
    EXPECT_EQ(h.bins, bins);
    EXPECT_EQ(h.bins[1], second);
    for (int v = 0; v < 3; ++v)
        EXPECT_EQ(h.bins[0][v] + h.bins[1][v], 0U);
    EXPECT_EQ(h.bins[0][3], 4U);
    EXPECT_EQ(h.bins[1][3], 8U);
}

TEST(Histograms, OfMoreExtraCountersHaveBlocksOfTheirOwn)
{
    CxImageHistogram h = counted();
    h.resize(2, 3, 2);
    EXPECT_EQ(h.extraBins, 2U);
    for (int v = 0; v < 5; ++v)
        EXPECT_EQ(h.bins[1][v], 0U);
}

TEST(Histograms, AreClearedInTheUsedRangeOnly)
{
    CxImageHistogram h = counted();
    h.clear();
    EXPECT_EQ(h.bins[1][2], 0U);
    EXPECT_EQ(h.bins[1][3], 8U);
    EXPECT_EQ(h.planes, 2);
    CxImageHistogram none;
    none.clear();
    EXPECT_TRUE(isEmpty(none));
}

TEST(Histograms, TakeANegativeNumberOfExtraCountersAsNone)
{
    CxImageHistogram h;
    h.resize(1, 4, -5);
    EXPECT_EQ(h.extraBins, 0U);
    std::uint32_t* const block = h.bins[0];
    h.resize(1, 4, std::numeric_limits<int>::min());
    EXPECT_EQ(h.bins[0], block) << "the same sizes";
}

TEST(Histograms, WithoutPlanesOrLevelsAreEmpty)
{
    const std::pair<int, int> sizes[] = {{0, 4}, {4, 0}, {-1, 4}, {4, -1}, {0, 0}};
    for (const auto& [planes, levels] : sizes) {
        CxImageHistogram h = counted();
        h.resize(planes, levels, 0);
        EXPECT_TRUE(isEmpty(h)) << planes << " x " << levels;
    }
}

TEST(Histograms, AreReleasedAnyNumberOfTimes)
{
    CxImageHistogram h = counted();
    h.release();
    EXPECT_TRUE(isEmpty(h));
    h.release();
    EXPECT_TRUE(isEmpty(h));
    h.resize(1, 1, 0);
    EXPECT_EQ(h.bins[0][0], 0U);
}

TEST(Histograms, CopyDeepAndMoveAll)
{
    CxImageHistogram source = counted();
    CxImageHistogram copy = source;
    source.bins[1][0] = 99;
    EXPECT_EQ(copy.bins[1][0], 5U);
    EXPECT_EQ(copy.bins[1][3], 8U) << "an extra counter";
    const CxImageHistogram moved = std::move(copy);
    EXPECT_TRUE(isEmpty(copy));
    EXPECT_EQ(moved.bins[0][0], 1U);
    CxImageHistogram assigned = counted();
    assigned = source;
    EXPECT_EQ(assigned.bins[1][0], 99U);
    assigned = *&assigned;
    EXPECT_EQ(assigned.bins[1][0], 99U);
    assigned = std::move(source);
    EXPECT_TRUE(isEmpty(source));
    EXPECT_EQ(assigned.levels, 3);
    assigned = CxImageHistogram();
    EXPECT_TRUE(isEmpty(assigned));
    static_assert(std::is_nothrow_move_constructible_v<CxImageHistogram>);
}

TEST(Histograms, SurviveNumbersThatContradictTheirBlocks)
{
    CxImageHistogram h;
    h.planes = 3;
    h.levels = 4;
    h.clear();
    EXPECT_TRUE(isEmpty(CxImageHistogram(h)));
    h.resize(3, 4, 0);
    ASSERT_NE(h.bins, nullptr) << "equal numbers without blocks";
    EXPECT_EQ(h.bins[2][3], 0U);
    delete[] std::exchange(h.bins[1], nullptr);
    h.clear();
    const CxImageHistogram copy = h;
    EXPECT_EQ(copy.bins[1][3], 0U) << "a plane without a block";
    h.levels = -4;
    h.clear();
    EXPECT_TRUE(isEmpty(CxImageHistogram(h)));
    h.levels = 4;
    h.planes = 0;
    EXPECT_TRUE(isEmpty(CxImageHistogram(h)));
    h.planes = 3;
    h.release();
    EXPECT_TRUE(isEmpty(h));
    h.planes = -2;
    h.levels = -3;
    h.extraBins = 7;
    h.clear();
    h.release();
    EXPECT_TRUE(isEmpty(h));
}

TEST(Histograms, AreEmptyWhenMemoryRunsOut)
{
    const CxImageHistogram source = counted();
    for (int successes = 0; successes < 3; ++successes) {
        CxImageHistogram h = counted();
        bool thrown = false;
        {
            const NewFailure failure(successes);
            try {
                h.resize(2, 300, 0);
            } catch (const std::bad_alloc&) {
                thrown = true;
            }
        }
        EXPECT_TRUE(thrown);
        EXPECT_TRUE(isEmpty(h));
        thrown = false;
        h.resize(1, 1, 0);
        {
            const NewFailure failure(successes);
            try {
                h = source;
            } catch (const std::bad_alloc&) {
                thrown = true;
            }
        }
        EXPECT_TRUE(thrown);
        EXPECT_EQ(h.levels, 1) << "a failed assignment changes nothing";
    }
}

TEST(DenseHistograms, StartWithZerosInContiguousRows)
{
    const CxImageHistogram2D h(2, 5);
    EXPECT_EQ(h.planes(), 2);
    EXPECT_EQ(h.levels(), 5);
    for (int p = 0; p < 2; ++p) {
        for (int i = 0; i < 25; ++i)
            EXPECT_EQ(h[p][0][i], 0);
        for (int row = 0; row < 5; ++row)
            EXPECT_EQ(h[p][row], h[p][0] + 5 * row);
    }
}

TEST(DenseHistograms, CountInPlaceByPlaneRowAndColumn)
{
    const CxImageHistogram2D h(2, 3);
    ++h[1][2][0];
    ++h[1][2][0];
    ++h[0][0][2];
    EXPECT_EQ(h[1][2][0], 2);
    EXPECT_EQ(h[0][0][2], 1);
    EXPECT_EQ(h[0][2][0], 0);
}

TEST(DenseHistograms, OfSizesThatAreNotPositiveAreEmpty)
{
    const std::pair<int, int> sizes[] = {{0, 4}, {4, 0}, {-1, 4}, {4, -1}};
    for (const auto& [planes, levels] : sizes) {
        const CxImageHistogram2D h(planes, levels);
        EXPECT_EQ(h.planes(), 0);
        EXPECT_EQ(h.levels(), 0);
    }
}

TEST(DenseHistograms, CopyDeepAndMoveAll)
{
    CxImageHistogram2D source(1, 2);
    source[0][1][1] = 7;
    CxImageHistogram2D copy = source;
    source[0][1][1] = 8;
    EXPECT_EQ(copy[0][1][1], 7);
    CxImageHistogram2D moved = std::move(copy);
    EXPECT_EQ(copy.planes(), 0);
    EXPECT_EQ(copy.levels(), 0);
    EXPECT_EQ(moved[0][1][1], 7);
    moved = source;
    EXPECT_EQ(moved[0][1][1], 8);
    moved = *&moved;
    EXPECT_EQ(moved[0][1][1], 8);
    copy = std::move(source);
    EXPECT_EQ(source.planes(), 0);
    EXPECT_EQ(copy[0][1][1], 8);
    const CxImageHistogram2D none = source;
    EXPECT_EQ(none.planes(), 0);
    static_assert(std::is_nothrow_move_constructible_v<CxImageHistogram2D>);
}

TEST(DenseHistograms, ThrowWhenMemoryRunsOutOrCannotExist)
{
    EXPECT_THROW(CxImageHistogram2D(1, most), std::bad_alloc);
    EXPECT_THROW(CxImageHistogram2D(1, 1 << 20), std::bad_alloc);
    const CxImageHistogram2D source(2, 4);
    for (int successes = 0; successes < 2; ++successes) {
        const AllocationFailure failure(successes);
        EXPECT_THROW(CxImageHistogram2D(2, 4), std::bad_alloc);
        EXPECT_THROW(CxImageHistogram2D{source}, std::bad_alloc);
    }
}

TEST(SparseMatrices, HaveRowsWithoutEntries)
{
    TSparseMatrix<int> matrix(3);
    EXPECT_EQ(matrix.rowCount(), 3);
    for (int row = 0; row < 3; ++row)
        EXPECT_TRUE(matrix.rows()[row].empty());
    EXPECT_EQ(matrix.rows()[1][-77], 0) << "a missing column";
    EXPECT_EQ(TSparseMatrix<int>().rowCount(), 0);
    EXPECT_EQ(TSparseMatrix<int>(-4).rowCount(), 0);
    TSparseMatrix<int> target(1);
    target = std::move(matrix);
    EXPECT_EQ(matrix.rowCount(), 0);
    EXPECT_EQ(target.rowCount(), 3);
}

TEST(SparseHistograms, CountByPlaneRowAndColumn)
{
    CxImageHistogramSparse2D h(2, 3);
    EXPECT_EQ(h.planes(), 2);
    EXPECT_EQ(h.levels(), 3);
    EXPECT_TRUE(h.inc(1, 2, 500));
    EXPECT_TRUE(h.inc(1, 2, 500));
    EXPECT_TRUE(h.inc(1, 2, -1));
    EXPECT_EQ(h[1].rows()[2].size(), 2U);
    EXPECT_EQ(h[1].rows()[2][500], 2);
    EXPECT_EQ(h[1].rows()[2][-1], 1);
    EXPECT_TRUE(h[0].rows()[2].empty());
    EXPECT_EQ(std::as_const(h[0]).rows()[0].count(0), 0U);
}

TEST(SparseHistograms, CountNothingOutside)
{
    CxImageHistogramSparse2D h(2, 3);
    const std::pair<int, int> places[] = {{-1, 0}, {2, 0}, {most, 0}, {0, -1}, {0, 3}, {1, most}};
    for (const auto& [plane, row] : places)
        EXPECT_FALSE(h.inc(plane, row, 0));
    for (int p = 0; p < 2; ++p)
        for (int row = 0; row < 3; ++row)
            EXPECT_TRUE(h[p].rows()[row].empty());
}

TEST(SparseHistograms, WrapTheirCounts)
{
    CxImageHistogramSparse2D h(1, 1);
    h[0].rows()[0][4] = most;
    EXPECT_TRUE(h.inc(0, 0, 4));
    EXPECT_EQ(h[0].rows()[0][4], std::numeric_limits<int>::min());
}

TEST(SparseHistograms, OfSizesThatAreNotPositiveAreEmpty)
{
    const std::pair<int, int> sizes[] = {{0, 4}, {4, 0}, {-1, 4}, {4, -1}};
    for (const auto& [planes, levels] : sizes) {
        CxImageHistogramSparse2D h(planes, levels);
        EXPECT_EQ(h.planes(), 0);
        EXPECT_EQ(h.levels(), 0);
        EXPECT_FALSE(h.inc(0, 0, 0));
    }
}

TEST(SparseHistograms, CopyDeepAndMoveAll)
{
    CxImageHistogramSparse2D source(1, 2);
    source.inc(0, 1, 3);
    CxImageHistogramSparse2D copy = source;
    source.inc(0, 1, 3);
    EXPECT_EQ(copy[0].rows()[1][3], 1);
    CxImageHistogramSparse2D moved = std::move(copy);
    EXPECT_EQ(copy.planes(), 0);
    EXPECT_EQ(copy.levels(), 0);
    EXPECT_EQ(moved[0].rows()[1][3], 1);
    moved = std::move(source);
    EXPECT_EQ(source.planes(), 0);
    EXPECT_EQ(moved[0].rows()[1][3], 2);
    static_assert(std::is_nothrow_move_constructible_v<CxImageHistogramSparse2D>);
}

TEST(SparseHistograms, KeepTheirCountsWhenMemoryRunsOut)
{
    CxImageHistogramSparse2D h(1, 1);
    h.inc(0, 0, 1);
    bool thrown = false;
    {
        const NewFailure failure(0);
        try {
            h.inc(0, 0, 2);
        } catch (const std::bad_alloc&) {
            thrown = true;
        }
    }
    EXPECT_TRUE(thrown);
    EXPECT_TRUE(NewFailure::hasStruck());
    EXPECT_EQ(h[0].rows()[0].size(), 1U);
    EXPECT_EQ(h[0].rows()[0][1], 1);
}

}  // namespace
}  // namespace ko::test
