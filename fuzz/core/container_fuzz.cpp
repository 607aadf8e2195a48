// The containers' operations in any order, against containers that a program could have written itself.
#include "fuzz/core/families.h"

#include <ko/histogram_containers.h>

#include <map>
#include <new>
#include <tuple>
#include <utility>
#include <vector>

namespace ko::fuzz {

namespace {

struct Model {
    int levels = 0;
    std::vector<std::vector<std::uint32_t>> bins;

    bool operator==(const CxImageHistogram& hist) const
    {
        if (hist.planes != static_cast<int>(bins.size()) || hist.levels != levels ||
            (hist.bins == nullptr) != bins.empty())
            return false;
        for (std::size_t p = 0; p < bins.size(); ++p)
            for (std::size_t v = 0; v < bins[p].size(); ++v)
                if (bins[p].size() != static_cast<std::size_t>(levels) + hist.extraBins ||
                    hist.bins[p][v] != bins[p][v])
                    return false;
        return true;
    }
};

void resize(ByteReader& in, CxImageHistogram& hist, Model& model)
{
    const int planes = in.oneIn(8) ? -in.below(3) : in.below(6);
    const int levels = in.oneIn(8) ? -in.below(300) : in.below(300);
    const int extra = in.oneIn(8) ? -in.below(9) : in.below(9);
    hist.resize(planes, levels, extra);
    const bool isEmpty = planes < 1 || levels < 1;
    const auto width = static_cast<std::size_t>(isEmpty ? 0 : levels + (extra > 0 ? extra : 0));
    const bool isSame = !isEmpty && model.levels == levels &&
                        model.bins.size() == static_cast<std::size_t>(planes) &&
                        model.bins[0].size() == width;
    if (isSame) {
        for (auto& plane : model.bins)
            std::fill(plane.begin(), plane.begin() + levels, 0U);
        return;
    }
    model.levels = isEmpty ? 0 : levels;
    model.bins.assign(isEmpty ? 0 : static_cast<std::size_t>(planes), std::vector<std::uint32_t>(width));
}

void change(ByteReader& in, CxImageHistogram& hist, Model& model)
{
    switch (in.below(6)) {
    case 0:
        resize(in, hist, model);
        break;
    case 1:
        hist.clear();
        for (auto& plane : model.bins)
            std::fill(plane.begin(), plane.begin() + model.levels, 0U);
        break;
    case 2:
        hist.release();
        model = {};
        break;
    case 3: {
        CxImageHistogram copy(hist);
        hist = std::move(copy);
        break;
    }
    case 4: {
        CxImageHistogram moved(std::move(hist));
        require(Model{} == hist, "what was moved from is not empty");
        hist = moved;
        break;
    }
    default:
        if (!model.bins.empty()) {
            const auto plane = static_cast<std::size_t>(in.below(hist.planes));
            const auto bin = static_cast<std::size_t>(in.below(static_cast<int>(model.bins[plane].size())));
            model.bins[plane][bin] = hist.bins[plane][bin] = in.raw<std::uint32_t>();
        }
        break;
    }
}

void histogram(ByteReader& in, Outcome& out)
{
    CxImageHistogram hist;
    Model model;
    for (int i = in.below(20); i >= 0; --i) {
        change(in, hist, model);
        require(model == hist, "the histogram holds something else");
    }
    out.add(hist.planes);
}

void dense(ByteReader& in, Outcome& out)
{
    const int planes = in.between(-1, 4), levels = in.between(-1, 40);
    try {
        CxImageHistogram2D hist(planes, levels);
        const bool isEmpty = planes < 1 || levels < 1;
        require(hist.planes() == (isEmpty ? 0 : planes), "another number of planes");
        for (int p = 0; p < hist.planes(); ++p)
            for (int row = 0; row < hist.levels(); ++row)
                for (int column = 0; column < hist.levels(); ++column)
                    require(std::exchange(hist[p][row][column], p + row * column) == 0,
                            "a count to begin with");
        CxImageHistogram2D copy(hist);
        CxImageHistogram2D moved(std::move(hist));
        hist = copy;
        copy = std::move(moved);
        for (int p = 0; p < hist.planes(); ++p)
            for (int row = 0; row < hist.levels(); ++row)
                for (int column = 0; column < hist.levels(); ++column)
                    require(hist[p][row][column] == copy[p][row][column] &&
                                copy[p][row][column] == p + row * column,
                            "a copy holds something else");
        out.add(hist.planes());
    } catch (const std::bad_alloc&) {
        out.add(-1);
    }
}

void sparse(ByteReader& in, Outcome& out)
{
    const int planes = in.between(-1, 4), levels = in.between(-1, 300);
    CxImageHistogramSparse2D hist(planes, levels);
    std::map<std::tuple<int, int, int>, int> model;
    for (int i = in.below(30); i >= 0; --i) {
        const int plane = in.oneIn(8) ? in.integer() : in.below(4);
        const int row = in.oneIn(8) ? in.integer() : in.below(300);
        const int column = in.integer();
        const bool isThere = plane >= 0 && plane < hist.planes() && row >= 0 && row < hist.levels();
        require(hist.inc(plane, row, column) == isThere, "a place is missing or made up");
        if (isThere)
            ++model[{plane, row, column}];
    }
    CxImageHistogramSparse2D copy(hist);
    std::size_t entries = 0;
    for (int p = 0; p < copy.planes(); ++p) {
        for (int row = 0; row < copy[p].rowCount(); ++row) {
            for (const auto& [column, count] : copy[p].rows()[row]) {
                require(model[{p, row, column}] == count, "another count");
                ++entries;
            }
        }
    }
    require(entries == model.size(), "counts are missing");
    out.add(entries);
}

}  // namespace

Cases containerCases()
{
    return {
        {"container: histogram", &histogram}, {"container: dense", &dense}, {"container: sparse", &sparse}};
}

}  // namespace ko::fuzz
