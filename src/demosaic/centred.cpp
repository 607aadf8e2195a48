#include "base/boundary.h"
#include "base/checks.h"
#include "base/dispatch.h"
#include "base/image_view.h"
#include "core/bayer_cell.h"
#include "demosaic/bands.h"
#include "demosaic/malvar_kernels.h"
#include "demosaic/menon_kernels.h"
#include "demosaic/mosaic_lines.h"

#include <ko/demosaic.h>

namespace ko {

namespace {

/// A call whose arguments are good.
struct CentredCall {
    const SxImageBuf& src;
    const QRect& roi;
    SxImageBuf& dst;

    BayerCell cell() const { return cellFrom(src.bayerGrid, roi.left(), roi.top()); }

    template <class T>
    PixelRow pixels(std::int64_t y) const
    {
        return {rowOf(dst, y), dst.channels, saturatedTop<T>(src.bitsPerSample)};
    }
};

template <class T>
void malvarBand(const CentredCall& call, std::int64_t pitch, std::byte* memory, std::int64_t from,
                std::int64_t to) noexcept
{
    const MalvarRowKernels<T>& kernels = malvarKernels().of<T>();
    using E = typename MalvarRowKernels<T>::Element;
    const MosaicLines<E, 5> lines(memory, pitch);
    const auto top = static_cast<typename MalvarRowKernels<T>::Sum>(saturatedTop<T>(call.src.bitsPerSample));
    for (std::int64_t last = from - 2; last < to + 2; ++last) {
        loadLines<T>(call.src, call.roi, last, 1, lines, kernels.split);
        const std::int64_t y = last - 2;
        if (y < from)
            continue;
        const RowKind kind = kindOf(call.cell(), y);
        MalvarLines<E> five;
        for (int i = 0; i < 5; ++i) {
            five.own[i] = lines.own(kind)[y - 2 + i];
            five.between[i] = lines.between(kind)[y - 2 + i];
        }
        kernels.row(five, kind, call.pixels<T>(y), call.dst.width, top);
    }
}

/// The rows of DemosaicMenon in five steps: the lines of a row, two estimates, their mixture, its greens and how the
/// colour depends on them, and the pixels. The last needs a row more on either side, each of the others two.
template <class T>
class MenonBand {
public:
    MenonBand(const CentredCall& call, std::int64_t pitch, std::byte* memory) noexcept
        : m_call(call),
          m_pairs((widthOf(call.roi) + 1) / 2),
          m_mosaic(memory, pitch),
          m_along(memory, pitch),
          m_across(memory, pitch),
          m_alongChanges(memory, pitch),
          m_acrossChanges(memory, pitch),
          m_colours(memory, pitch),
          m_mixed(memory, pitch),
          m_alongPart(memory, pitch),
          m_noise(memory, pitch),
          m_greens(memory, pitch),
          m_slopes(memory, pitch),
          m_offsets(memory, pitch),
          m_products{LineRing<float, 1>(memory, pitch), LineRing<float, 1>(memory, pitch),
                     LineRing<float, 1>(memory, pitch)}
    {
    }

    void make(std::int64_t from, std::int64_t to) noexcept
    {
        for (std::int64_t y = from - 7; y < to + 7; ++y) {
            loadLines<T>(m_call.src, m_call.roi, y, pairMargin, m_mosaic, m_kernels.split);
            if (y >= from - 3)
                estimate(y - 2);
            if (y >= from + 1)
                mix(y - 4);
            if (y >= from + 5)
                fit(y - 6);
            if (y >= from + 7)
                finish(y - 7);
        }
    }

private:
    using E = typename MenonRowKernels<T>::Element;

    RowKind kind(std::int64_t y) const noexcept { return kindOf(m_call.cell(), y); }

    template <class Line, int Count>
    static FiveLines<Line> around(const LineRing<Line, Count>& lines, std::int64_t y) noexcept
    {
        return {lines[y - 2], lines[y - 1], lines[y], lines[y + 1], lines[y + 2]};
    }

    void estimate(std::int64_t y) noexcept
    {
        const RowKind row = kind(y);
        m_kernels.differences(
            around(m_mosaic.own(row), y), m_mosaic.between(row)[y], row.colourFirst, m_tolerance,
            {m_along[y], m_across[y], m_alongChanges[y], m_across[y - 2], m_acrossChanges[y]}, -4,
            m_pairs + 4);
    }
    void mix(std::int64_t y) noexcept
    {
        const typename MenonRowKernels<T>::Estimates estimates{
            m_mosaic.own(kind(y))[y],
            m_along[y],
            m_across[y],
            around(m_alongChanges, y),
            {m_acrossChanges[y], m_acrossChanges[y + 1], m_acrossChanges[y + 2]}};
        m_kernels.mix(estimates, kind(y).colourFirst, static_cast<float>(m_tolerance), mixtureOf(y), -3,
                      m_pairs + 3);
    }
    Mixture mixtureOf(std::int64_t y) const noexcept
    {
        return {m_colours[y], m_mixed[y], m_alongPart[y], m_noise[y]};
    }
    void fit(std::int64_t y) noexcept
    {
        m_kernels.fit({mixtureOf(y - 2), mixtureOf(y), mixtureOf(y + 2)}, static_cast<float>(m_tolerance),
                      {m_products[0][0], m_products[1][0], m_products[2][0]}, fitOf(y), -1, m_pairs + 1);
    }
    Fit fitOf(std::int64_t y) const noexcept { return {m_greens[y], m_slopes[y], m_offsets[y]}; }
    void finish(std::int64_t y) noexcept
    {
        const RowKind row = kind(y);
        m_kernels.make(
            {m_mosaic.own(row)[y], m_mosaic.between(row)[y], {fitOf(y - 1), fitOf(y), fitOf(y + 1)}}, row,
            m_call.pixels<T>(y), m_call.dst.width, m_top);
    }

    const MenonRowKernels<T>& m_kernels = menonKernels().of<T>();
    const CentredCall& m_call;
    const T m_top = saturatedTop<T>(m_call.src.bitsPerSample);
    const E m_tolerance = static_cast<E>(m_top / 64 + 1);
    std::int64_t m_pairs;
    MosaicLines<E, 9> m_mosaic;
    LineRing<E, 3> m_along, m_across;
    LineRing<E, 5> m_alongChanges;
    LineRing<E, 3> m_acrossChanges;
    LineRing<float, 5> m_colours, m_mixed;
    LineRing<float, 3> m_alongPart, m_noise, m_greens, m_slopes, m_offsets;
    std::array<LineRing<float, 1>, 3> m_products;
};

/// The checks and the memory that the centred methods have in common; `band` makes some rows.
template <class Band>
ResultCode demosaicInBands(const SxImageBuf& src, const QRect& roi, SxImageBuf& dst, void* buffer,
                           const Band& band)
{
    if (const ResultCode rc = firstFailure({
            {ResultBadArg1, isPresent(src) && isMono(src) && isInterleaved(src)},
            {ResultBadArg1, isBayerGrid(src.bayerGrid)},
            {ResultBadArg2, isInside(roi, src)},
            {ResultBadArg3, isPresent(dst) && hasChannels(dst, 3, 4) && isInterleaved(dst)},
            {ResultBadArg3, hasType(dst, src.dataType)},
            {ResultBadArg3, hasSize(dst, widthOf(roi), heightOf(roi))},
        }))
        return rc;
    return dispatch(ByTypeOf<UInt8, UInt16>{}, src.dataType,
                    {{ResultBadArg1, rowsFit(src)}, {ResultBadArg3, rowsFit(dst)}}, [&](auto type) {
                        if (!hasPixels(dst))
                            return ResultOk;
                        std::unique_ptr<BandBuffer> own;
                        if (buffer == nullptr)
                            own = makeBandBuffer(widthOf(roi));
                        BandBuffer& used = buffer == nullptr ? *own : *static_cast<BandBuffer*>(buffer);
                        const CentredCall call{src, roi, dst};
                        const bool done = inBands(
                            roi, used, [&](std::byte* memory, std::int64_t from, std::int64_t to) noexcept {
                                band(type, call, used.pitch, memory, from, to);
                            });
                        return done ? ResultOk : ResultFailed;
                    });
}

}  // namespace

ResultCode DemosaicMalvar(const SxImageBuf& src, const QRect& roi, SxImageBuf& dst, void* buffer)
{
    return guarded([&] {
        return demosaicInBands(
            src, roi, dst, buffer,
            []<class T>(std::type_identity<T>, auto... band) noexcept { malvarBand<T>(band...); });
    });
}

ResultCode DemosaicMalvar(const SxImageBuf& src, SxImageBuf& dst, void* buffer)
{
    return DemosaicMalvar(src, wholeOf(src), dst, buffer);
}

ResultCode DemosaicMenon(const SxImageBuf& src, const QRect& roi, SxImageBuf& dst, void* buffer)
{
    return guarded([&] {
        return demosaicInBands(src, roi, dst, buffer,
                               []<class T>(std::type_identity<T>, const CentredCall& call, std::int64_t pitch,
                                           std::byte* memory, std::int64_t from, std::int64_t to) noexcept {
                                   MenonBand<T>(call, pitch, memory).make(from, to);
                               });
    });
}

ResultCode DemosaicMenon(const SxImageBuf& src, SxImageBuf& dst, void* buffer)
{
    return DemosaicMenon(src, wholeOf(src), dst, buffer);
}

void* DemosaicCentredAllocBuffer(int width)
{
    void* buffer = nullptr;
    // What a failure leaves is a null buffer.
    (void)guarded([&] {
        if (width >= 0)
            buffer = makeBandBuffer(width).release();
        return ResultOk;
    });
    return buffer;
}

void DemosaicCentredFreeBuffer(void* buffer)
{
    delete static_cast<BandBuffer*>(buffer);
}

}  // namespace ko
