#include "median/level_kernels.h"

#include <algorithm>

// Newer processors count the bits of bytes.
#define HWY_WANT_AVX3_DL
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "median/level_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "median/level_rows-inl.h"

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

#if HWY_TARGET != HWY_SCALAR

namespace hn = hwy::HWY_NAMESPACE;

using Signed = hn::RebindToSigned<Bytes>;

/// How many samples more a window needs on one side of the threshold, so that its median is there, less one.
/// With less than 256 samples in a window, a signed byte holds that.
class ByteCounts {
public:
    explicit ByteCounts(std::int64_t missing) noexcept
        : m_missing(hn::Set(Bytes(), static_cast<std::uint8_t>(missing)))
    {
    }
    void enter(V sums) noexcept { m_missing = hn::Sub(m_missing, sums); }
    void leave(V sums) noexcept { m_missing = hn::Add(m_missing, sums); }
    /// The sign of a byte is set where the median is on that side.
    V signs() const noexcept { return m_missing; }

private:
    V m_missing;
};

/// The same in words for larger windows. Those of odd columns are kept, and of even ones the sums with 256
/// times the former, so that nothing has to be widened.
class WordCounts {
public:
    explicit WordCounts(std::int64_t missing) noexcept
        : m_odd(hn::Set(Words(), static_cast<std::uint16_t>(missing))),
          m_both(hn::Set(Words(), static_cast<std::uint16_t>(missing * 257)))
    {
    }
    void enter(V sums) noexcept
    {
        const auto both = hn::BitCast(Words(), sums);
        m_odd = hn::Sub(m_odd, hn::ShiftRight<8>(both));
        m_both = hn::Sub(m_both, both);
    }
    void leave(V sums) noexcept
    {
        const auto both = hn::BitCast(Words(), sums);
        m_odd = hn::Add(m_odd, hn::ShiftRight<8>(both));
        m_both = hn::Add(m_both, both);
    }
    V signs() const noexcept
    {
        const auto even = hn::Sub(m_both, hn::ShiftLeft<8>(m_odd));
        return hn::BitCast(Bytes(),
                           hn::IfVecThenElse(hn::Set(Words(), 0xFF00), m_odd, hn::ShiftRight<8>(even)));
    }

private:
    hn::Vec<Words> m_odd;
    hn::Vec<Words> m_both;
};

class Block {
public:
    explicit Block(const MedianLevelBlock& block) noexcept : m_block(block) {}

    void run() noexcept
    {
        const int guess = std::clamp<int>(m_block.guess, 1, m_block.most);
        const Rows all{0, m_block.rows};
        Rows above{0, 0}, below{0, 0};
        const int found = sumRows<true>(m_block, guess, all);
        mark<true>(all, found, guess - 1, above, below);
        for (int t = found + 1; !above.isEmpty() && t <= m_block.most;) {
            const int next = sumRows<true>(m_block, t, above);
            above = marked(above, next);
            t = next + 1;
        }
        for (int t = guess - 1; !below.isEmpty() && t > 0;) {
            t = sumRows<false>(m_block, t, below);
            below = marked(below, t);
        }
    }

private:
    Rows marked(Rows rows, int value) const noexcept
    {
        Rows hits{0, 0}, misses{0, 0};
        mark<false>(rows, value, 0, hits, misses);
        return hits;
    }

    /// Gives `value` to pixels whose median is on the side that was counted. The others get `otherwise` the
    /// first time, and stay what they are later.
    template <bool kFirst>
    void mark(Rows rows, int value, int otherwise, Rows& hits, Rows& misses) const noexcept
    {
        if (m_block.window * m_block.window < 256)
            mark<kFirst, ByteCounts>(rows, value, otherwise, hits, misses);
        else
            mark<kFirst, WordCounts>(rows, value, otherwise, hits, misses);
    }

    template <bool kFirst, class Counts>
    void mark(Rows rows, int value, int otherwise, Rows& hits, Rows& misses) const noexcept
    {
        const V values = hn::Set(Bytes(), static_cast<std::uint8_t>(std::min<int>(value, m_block.most)));
        const V others = hn::Set(Bytes(), static_cast<std::uint8_t>(otherwise));
        for (std::int64_t x = 0; x < medianLevelColumns; x += lanes) {
            const std::uint8_t* leaving = m_block.scratch->sums.data() + rows.first * medianLevelColumns + x;
            const std::uint8_t* entering = leaving;
            std::uint8_t* medians = m_block.medians + rows.first * m_block.medianPitch + x;
            Counts counts(m_block.window * m_block.window / 2);
            for (std::int64_t i = 1; i < m_block.window; ++i, entering += medianLevelColumns)
                counts.enter(hn::Load(Bytes(), entering));
            Rows here{0, 0}, elsewhere{0, 0};
            for (std::int64_t y = rows.first; y < rows.end;) {
                const std::int64_t begin = y, end = std::min(y + groupRows, rows.end);
                V anyHit = hn::Zero(Bytes()), anyMiss = anyHit;
                for (; y < end; ++y, medians += m_block.medianPitch) {
                    counts.enter(hn::Load(Bytes(), entering));
                    const V signs = counts.signs();
                    counts.leave(hn::Load(Bytes(), leaving));
                    entering += medianLevelColumns;
                    leaving += medianLevelColumns;
                    anyHit = hn::Or(anyHit, signs);
                    if constexpr (kFirst)
                        anyMiss = hn::Or(anyMiss, hn::Not(signs));
                    const V before = kFirst ? others : hn::LoadU(Bytes(), medians);
                    hn::StoreU(ifSigned(signs, values, before), Bytes(), medians);
                }
                if (isAnySigned(anyHit))
                    here.add(begin, end);
                if (kFirst && isAnySigned(anyMiss))
                    elsewhere.add(begin, end);
            }
            join(hits, here);
            join(misses, elsewhere);
        }
    }

    static V ifSigned(V signs, V yes, V no) noexcept
    {
        return hn::BitCast(Bytes(),
                           hn::IfNegativeThenElse(hn::BitCast(Signed(), signs), hn::BitCast(Signed(), yes),
                                                  hn::BitCast(Signed(), no)));
    }
    static bool isAnySigned(V signs) noexcept
    {
        return !hn::AllFalse(Signed(), hn::Lt(hn::BitCast(Signed(), signs), hn::Zero(Signed())));
    }
    static void join(Rows& rows, Rows more) noexcept
    {
        if (rows.isEmpty())
            rows = more;
        else if (!more.isEmpty())
            rows = {std::min(rows.first, more.first), std::max(rows.end, more.end)};
    }

    const MedianLevelBlock& m_block;
};

void Find(const MedianLevelBlock& block) noexcept
{
    Block(block).run();
}

constexpr MedianLevelKernels kernels
{
    &Find,
#if HWY_ARCH_X86 && HWY_TARGET <= HWY_AVX3_DL
        largestLevelRadius, 100
#else
        // Around wide windows, many sums of a few samples have to be made.
        31,
        lanes >= 64   ? 70
        : lanes >= 32 ? 60
                      : 50
#endif
};

#else

constexpr MedianLevelKernels kernels{};

#endif

const MedianLevelKernels& Kernels()
{
    return kernels;
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ko {
namespace {
HWY_EXPORT(Kernels);
}

const MedianLevelKernels& medianLevelKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
