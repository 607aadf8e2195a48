#include "base/boundary.h"
#include "base/checks.h"
#include "base/dispatch.h"
#include "base/image_view.h"
#include "base/rows.h"
#include "core/bayer_cell.h"
#include "raw/balance_kernels.h"

#include <ko/raw.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace ko {

namespace {

constexpr int highest = std::numeric_limits<std::uint16_t>::max();

bool isBalanceable(const SxImageBuf& image)
{
    return isPresent(image) && hasChannels(image, 1, 3, 4) && isInterleaved(image) &&
           (image.bayerGrid == BayerNone || isBayerGrid(image.bayerGrid));
}

/// Gains and black levels that an image takes; 0 for one that is refused anyway.
int coloursOf(const SxImageInfo& info)
{
    return isMosaic(info) && isBayerGrid(info.bayerGrid) ? 4 : std::clamp(info.channels, 0, 4);
}

template <class Number>
bool areWithin(const Number* numbers, int count)
{
    return std::all_of(numbers, numbers + count, [](Number n) { return n >= 0 && n <= highest; });
}

/// The most light of one byte that a gain in 1/65536 leaves below `top`. With a top of 0 no light matters.
std::uint8_t lastBelow(std::uint16_t top, std::uint32_t gain)
{
    const std::uint64_t lightest = std::uint64_t{std::max<std::uint16_t>(top, 1)} * 65536 - 0x8001;
    return static_cast<std::uint8_t>(gain == 0 ? 255 : std::min<std::uint64_t>(lightest / gain, 255));
}

/// Byte `i` of four in a row.
void addByte(FourBytes& bytes, std::size_t i, std::uint32_t gain, std::uint16_t black, std::uint16_t top)
{
    bytes.black |= std::min<std::uint32_t>(black, 255) << 8 * i;
    bytes.last |= std::uint32_t{lastBelow(top, gain)} << 8 * i;
    FourBytes::Gains& gains = bytes.gains[i % 2];
    gains.upper |= (gain >> 8 & 0xFFFF) << 8 * (i & 2);
    gains.lower |= (gain & 0xFF) << 8 << 8 * (i & 2);
}

/// The pattern of a row whose colours are `period` from `first` on.
BalancePattern patternOf(const double* gains, const int* blackLevels, int first, int period,
                         std::uint16_t top)
{
    // Results of bytes are top from a gain of 256 on, with any light. Their kernel takes gains of 24 bits.
    const double largestGain = top < 256 ? 256 - 1.0 / 65536 : highest;
    BalancePattern pattern{};
    pattern.period = period;
    pattern.top = top;
    for (std::size_t i = 0; i < pattern.black.size(); ++i) {
        const int colour = first + static_cast<int>(i) % period;
        // At most 65535 * 65536: below the end of 32 bits by more than a half.
        const auto gain =
            static_cast<std::uint32_t>(std::floor(std::min(gains[colour], largestGain) * 65536.0 + 0.5));
        pattern.whole[i] = static_cast<std::uint16_t>(gain >> 16);
        pattern.fraction[i] = static_cast<std::uint16_t>(gain & 0xFFFF);
        pattern.black[i] = static_cast<std::uint16_t>(blackLevels == nullptr ? 0 : blackLevels[colour]);
        if (i < 4)
            addByte(pattern.bytes, i, gain, pattern.black[i], top);
    }
    return pattern;
}

}  // namespace

ResultCode WhiteBalance(const SxImageBuf& src, SxImageBuf& dst, const double* gains, const int* blackLevels)
{
    return guarded([&] {
        const int colours = coloursOf(src);
        if (const ResultCode rc = firstFailure({
                {ResultBadArg1, isBalanceable(src)},
                {ResultBadArg2, isPresent(dst) && sameGeometry(dst, src) && hasType(dst, src.dataType)},
                {ResultBadArg3, gains != nullptr && areWithin(gains, colours)},
                {ResultBadArg4, blackLevels == nullptr || areWithin(blackLevels, colours)},
            }))
            return rc;
        return dispatch(ByTypeOf<UInt8, UInt16>{}, src.dataType,
                        {{ResultBadArg1, rowsFit(src)}, {ResultBadArg2, rowsFit(dst)}},
                        [&]<class T>(std::type_identity<T>) {
                            const int period = isMosaic(src) ? 2 : colours;
                            const auto top = saturatedTop<T>(dst.bitsPerSample);
                            BalancePattern patterns[] = {
                                patternOf(gains, blackLevels, 0, period, top),
                                patternOf(gains, blackLevels, colours - period, period, top)};
                            const BalanceKernels& kernels = balanceKernels();
                            if constexpr (sizeof(T) == 1)
                                for (BalancePattern& pattern : patterns)
                                    kernels.prepareBytes(pattern);
                            const BalanceRow row = kernels.rows.of<T>();
                            const std::int64_t samples = std::int64_t{src.width} * src.channels;
                            rowsDynamic(workOn(src, dst).times(2), [&](std::int64_t y) noexcept {
                                row(rowOf(src, y), rowOf(dst, y), samples, patterns[y % 2]);
                            });
                        });
    });
}

}  // namespace ko
