// Joint histograms of two images.
#include "fuzz/stats/families.h"
#include "fuzz/stats/histograms.h"

#include <ko/stats/joint_histogram.h>

#include <functional>
#include <new>
#include <optional>
#include <type_traits>

namespace ko::fuzz {

namespace {

using oracle::Selects;

/// Two images of one format and a channel of each.
struct Pair {
    FuzzImage first, second;
    int firstChannel, secondChannel;

    explicit Pair(ByteReader& in)
        : first(in, shallow(in)),
          second(in, like(in, first.layout())),
          firstChannel(anyIndex(in, first->channels)),
          secondChannel(anyIndex(in, second->channels))
    {
    }

    /// The matrices have the square of the levels.
    static Layout shallow(ByteReader& in)
    {
        Layout layout = anyLayout(in, {countableTypes, everyChannels});
        // Some have just as many pixels as take the way of large images.
        if (in.oneIn(64) && layout.channels <= 3 && bytesPerSample(layout.type) <= 2)
            layout.width = layout.height = 182;
        if (layout.type != UInt8 || in.flag())
            layout.bits = in.between(1, 8);
        return layout;
    }

    int levels() const { return std::min(levelsOf(first.buf()), 512); }

    /// @param selects  what is counted of a channel
    void compare(bool isForAll, const std::function<Selects(int channel)>& selects,
                 const oracle::PairCounts& counted, int rows, int columns) const
    {
        oracle::PairCounts counts;
        const Twin a(first), b(second);
        for (int c = 0; isForAll && c < first.layout().channels; ++c)
            oracle::jointHistogram(a, c, b, c, selects(c), c, counts);
        if (!isForAll)
            oracle::jointHistogram(a, firstChannel, b, secondChannel, selects(firstChannel), 0, counts);
        counts = oracle::withColumnsBelow(oracle::withRowsBelow(counts, rows), columns);
        require(counts == counted, "other counts than the naive twin's");
    }
};

int anyPlanes(ByteReader& in, int planes)
{
    return in.oneIn(16) ? in.below(5) : std::clamp(planes, 0, 5);
}

int anyLevels(ByteReader& in, int levels)
{
    return in.oneIn(16) ? in.below(300) : levels;
}

template <class Hist>
void addPairs(Outcome& out, ResultCode rc, Hist& hist, const Pair& pair)
{
    require(pair.first.isUntouched() && pair.second.isUntouched(), "a source has changed");
    out.add(rc);
    const oracle::PairCounts counts = oracle::contents(hist);
    require(!isFailure(rc) || counts.empty(), "a failure has counted something");
    for (const auto& [place, count] : counts) {
        out.add(std::get<0>(place));
        out.add(std::get<1>(place));
        out.add(std::get<2>(place));
        out.add(count);
    }
}

void whole(ByteReader& in, Outcome& out)
{
    const Pair pair(in);
    const bool isForAll = in.flag();
    const int planes = anyPlanes(in, isForAll ? pair.first->channels : 1);
    const int levels = anyLevels(in, pair.levels());
    CxImageHistogramSparse2D hist(planes, levels);
    const ResultCode rc =
        isForAll ? Histogram2D(pair.first, pair.second, hist)
                 : Histogram2D(pair.first, pair.firstChannel, pair.second, pair.secondChannel, hist);
    addPairs(out, rc, hist, pair);
    if (rc == ResultOk && out.isJudged() && areSound(pair.first, pair.second))
        pair.compare(
            isForAll, [](int) { return oracle::everywhere(); }, oracle::contents(hist), levels, 65536);
}

void line(ByteReader& in, Outcome& out)
{
    const Pair pair(in);
    const Layout& layout = pair.first.layout();
    const bool isRow = in.flag();
    const int at = anyIndex(in, isRow ? layout.height : layout.width);
    const int planes = anyPlanes(in, 1), levels = anyLevels(in, pair.levels());
    CxImageHistogramSparse2D hist(planes, levels);
    const auto count = isRow ? &RowHistogram2D : &ColHistogram2D;
    const ResultCode rc = count(pair.first, pair.firstChannel, pair.second, pair.secondChannel, at, hist);
    addPairs(out, rc, hist, pair);
    if (rc != ResultOk || !out.isJudged() || !areSound(pair.first, pair.second))
        return;
    const QRect rect = isRow ? QRect(0, at, layout.width, 1) : QRect(at, 0, 1, layout.height);
    pair.compare(
        false, [&](int) { return oracle::inside(rect); }, oracle::contents(hist), levels, 65536);
}

/// Nothing where memory has run out for the container itself.
template <class Hist>
std::optional<Hist> madeHistogram(int planes, int levels)
{
    try {
        return Hist(planes, levels);
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

template <class Hist>
void masked(ByteReader& in, Outcome& out)
{
    const Pair pair(in);
    const Layout& layout = pair.first.layout();
    const FuzzImage mask(in, like(in, layout, UInt8, 1));
    const bool isForAll = in.flag();
    const int planes = anyPlanes(in, isForAll ? pair.first->channels : 1);
    const int levels = anyLevels(in, pair.levels());
    std::optional<Hist> made = madeHistogram<Hist>(planes, levels);
    if (!made)
        return;
    Hist& hist = *made;
    const ResultCode rc = isForAll ? HistogramMasked2D(pair.first, pair.second, mask, hist)
                                   : HistogramMasked2D(pair.first, pair.firstChannel, pair.second,
                                                       pair.secondChannel, mask, hist);
    addPairs(out, rc, hist, pair);
    require(mask.isUntouched(), "the mask has changed");
    if (rc != ResultOk || !out.isJudged() || !areSound(pair.first, pair.second, mask))
        return;
    const Twin selection(mask);
    const bool isBySample = isForAll && layout.packing == Interleaved;
    const auto selects = [&](int channel) {
        return isBySample ? oracle::bySample(selection, layout.channels, channel)
                          : oracle::whereSet(selection);
    };
    pair.compare(isForAll, selects, oracle::contents(hist), hist.levels(),
                 std::is_same_v<Hist, CxImageHistogram2D> ? hist.levels() : 65536);
}

}  // namespace

Cases jointCases()
{
    return {{"joint: whole", &whole},
            {"joint: line", &line},
            {"joint: masked CxImageHistogramSparse2D", &masked<CxImageHistogramSparse2D>},
            {"joint: masked CxImageHistogram2D", &masked<CxImageHistogram2D>}};
}

}  // namespace ko::fuzz
