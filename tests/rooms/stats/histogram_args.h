// Arguments of histogram operations, and the ways in which tests spoil them.
#pragma once

#include "support/check_table.h"
#include "support/test_image.h"

#include <ko/histogram_containers.h>

#include <QList>
#include <QPoint>
#include <QRect>

#include <cstdint>
#include <limits>
#include <vector>

namespace ko::test {

/// A histogram over memory of the test's own, so that its fields may be made to contradict each other. Behind
/// the levels of each plane lie counters that nobody may touch.
class LooseHistogram {
public:
    LooseHistogram(int planes, int levels) : m_rows(planes, std::vector<std::uint32_t>(levels + guards, 0))
    {
        for (auto& row : m_rows)
            m_pointers.push_back(row.data());
        m_hist.bins = m_pointers.data();
        m_hist.planes = planes;
        m_hist.levels = levels;
        for (auto& row : m_rows)
            std::fill(row.end() - guards, row.end(), guardValue);
    }
    ~LooseHistogram()
    {
        m_hist.bins = nullptr;
        m_hist.planes = 0;
    }
    LooseHistogram(const LooseHistogram&) = delete;
    LooseHistogram& operator=(const LooseHistogram&) = delete;

    operator CxImageHistogram&() { return m_hist; }
    CxImageHistogram* operator->() { return &m_hist; }
    std::uint32_t& at(int plane, int value) { return m_rows[plane][value]; }

    bool holds(std::uint32_t value) const
    {
        for (const auto& row : m_rows) {
            if (std::count(row.begin(), row.end() - guards, value) != std::ptrdiff_t(row.size()) - guards)
                return false;
        }
        return guardsIntact();
    }
    bool guardsIntact() const
    {
        for (const auto& row : m_rows) {
            if (std::count(row.end() - guards, row.end(), guardValue) != guards)
                return false;
        }
        return true;
    }
    void fill(std::uint32_t value)
    {
        for (auto& row : m_rows)
            std::fill(row.begin(), row.end() - guards, value);
    }

private:
    static constexpr int guards = 300;
    static constexpr std::uint32_t guardValue = 0x5A5A5A5A;
    std::vector<std::vector<std::uint32_t>> m_rows;
    std::vector<std::uint32_t*> m_pointers;
    CxImageHistogram m_hist;
};

/// Valid arguments for every form that counts a three-channel image.
struct HistogramArgs {
    TestImage src{Layout{.width = 6, .height = 5, .channels = 3}};
    TestImage mask{Layout{.width = 6, .height = 5}};
    TestImage stencil{Layout{.width = 3, .height = 2}};
    QRect roi{1, 1, 4, 3};
    QPoint pos{2, 1};
    QList<QPoint> offsets{{0, 0}, {1, -1}};
    int channel = 1;
    LooseHistogram hist{3, 256};
    int plane = 2;
    int count = -7;

    HistogramArgs() { hist.fill(9); }
    bool outputsUntouched() const { return hist.holds(9) && count == -7; }
};

namespace spoil {

inline constexpr auto srcAbsent = [](auto& a) { a.src->data = nullptr; };
inline constexpr auto srcNegative = [](auto& a) { a.src->height = -5; };
inline constexpr auto srcMostNegative = [](auto& a) {
    a.src->width = a.src->height = std::numeric_limits<int>::min();
};
inline constexpr auto srcSigned = [](auto& a) { a.src->dataType = Int8; };
inline constexpr auto srcWide = [](auto& a) { a.src->dataType = UInt32; };
inline constexpr auto srcUnknownType = [](auto& a) { a.src->dataType = typeCode(12); };
inline constexpr auto srcDeep = [](auto& a) { a.src->bitsPerSample = 9; };
inline constexpr auto srcDeepWords = [](auto& a) {
    a.src->dataType = UInt16;
    a.src->bitsPerSample = 17;
};
inline constexpr auto srcPacking = [](auto& a) { a.src->packing = static_cast<ExPixelPacking>(2); };
inline constexpr auto srcRows = [](auto& a) { a.src->stride = 5; };
inline constexpr auto maskAbsent = [](auto& a) { a.mask->data = nullptr; };
inline constexpr auto maskChannels = [](auto& a) { a.mask->channels = 2; };
inline constexpr auto maskType = [](auto& a) { a.mask->dataType = Int8; };
inline constexpr auto maskWidth = [](auto& a) { a.mask->width = 5; };
inline constexpr auto maskHeight = [](auto& a) { a.mask->height = 4; };
inline constexpr auto maskRows = [](auto& a) { a.mask->stride = 5; };
inline constexpr auto roiOutside = [](auto& a) { a.roi = QRect(3, 1, 4, 3); };
inline constexpr auto posOutside = [](auto& a) { a.pos = QPoint(2, 5); };
inline constexpr auto posNegative = [](auto& a) { a.pos = QPoint(-1, 1); };
inline constexpr auto stencilAbsent = [](auto& a) { a.stencil->data = nullptr; };
inline constexpr auto stencilChannels = [](auto& a) { a.stencil->channels = 3; };
inline constexpr auto stencilType = [](auto& a) { a.stencil->dataType = UInt16; };
inline constexpr auto stencilWide = [](auto& a) { a.stencil->width = 7; };
inline constexpr auto stencilHigh = [](auto& a) { a.stencil->height = 6; };
inline constexpr auto stencilRows = [](auto& a) { a.stencil->stride = 2; };
inline constexpr auto stencilLeaves = [](auto& a) { a.pos = QPoint(4, 1); };
inline constexpr auto channelBeyond = [](auto& a) { a.channel = 3; };
inline constexpr auto channelNegative = [](auto& a) { a.channel = -1; };
inline constexpr auto noBins = [](auto& a) { a.hist->bins = nullptr; };
inline constexpr auto noPlanes = [](auto& a) { a.hist->planes = 0; };
inline constexpr auto otherPlanes = [](auto& a) { a.hist->planes = 2; };
inline constexpr auto fewLevels = [](auto& a) { a.hist->levels = 255; };
inline constexpr auto planeBeyond = [](auto& a) { a.plane = 3; };
inline constexpr auto planeNegative = [](auto& a) { a.plane = -1; };

}  // namespace spoil
}  // namespace ko::test
