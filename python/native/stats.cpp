#include "binding.h"

#include <ko/stats.h>

#include <algorithm>

namespace ko::python {

namespace {

/// The first values of an output, as Python numbers; none after a failure.
template <class T>
py::list listOf(ResultCode rc, const std::vector<T>& values, int count)
{
    py::list list;
    for (int i = 0; i < count && !isFailure(rc); ++i) {
        if constexpr (std::is_same_v<T, QVariant>)
            list.append(numberOf(values[static_cast<std::size_t>(i)]));
        else
            list.append(values[static_cast<std::size_t>(i)]);
    }
    return list;
}

/// Runs an operation that writes a minimum and a maximum per result.
template <class Operation>
py::tuple extremes(int results, const Operation& operation)
{
    const auto room = static_cast<std::size_t>(std::max(results, 1));
    std::vector<QVariant> lows(room), highs(room);
    const ResultCode rc = withoutGil([&] { return operation(lows.data(), highs.data()); });
    return py::make_tuple(rc, listOf(rc, lows, results), listOf(rc, highs, results));
}

py::tuple minMax(const ArrayImage& src)
{
    const Source from(src);
    const bool isMosaic = from->channels == 1 && from->bayerGrid != BayerNone;
    return extremes(isMosaic ? 4 : from->channels,
                    [&](QVariant* min, QVariant* max) { return MinMax(from, min, max); });
}

py::tuple minMaxMasked(const ArrayImage& src, const ArrayImage& mask)
{
    const Source from(src), selecting(mask);
    return extremes(from->channels,
                    [&](QVariant* min, QVariant* max) { return MinMaxMasked(from, selecting, min, max); });
}

py::tuple minMaxMosaic(const ArrayImage& src, int cellWidth, int cellHeight)
{
    const Source from(src);
    // The operation refuses cells that are larger than the image.
    const bool isInside =
        cellWidth >= 1 && cellWidth <= from->width && cellHeight >= 1 && cellHeight <= from->height;
    const std::int64_t positions = isInside ? std::int64_t{cellWidth} * cellHeight : 0;
    std::vector<QPoint> places(static_cast<std::size_t>(2 * positions + 1));
    if (positions > INT32_MAX)
        throw py::value_error("cells of too many positions");
    const py::tuple found = extremes(static_cast<int>(positions), [&](QVariant* min, QVariant* max) {
        return MinMaxMosaic(from, cellWidth, cellHeight, min, max, places.data(), places.data() + positions);
    });
    const py::ssize_t count = py::len(found[1]);
    return py::make_tuple(found[0], found[1], found[2], arrayOf(places.data(), count),
                          arrayOf(places.data() + positions, count));
}

/// Runs an operation that writes a mean per channel.
template <class Operation>
py::tuple means(int count, const Operation& operation)
{
    std::vector<double> values(static_cast<std::size_t>(std::max(count, 1)));
    const ResultCode rc = withoutGil([&] { return operation(values.data()); });
    return py::make_tuple(rc, listOf(rc, values, count));
}

py::tuple mean(const ArrayImage& src, const QRect& roi)
{
    if (src.packing == Planar && src.channels > 1)
        needAllBytes(src, "src");
    const Source from(src);
    const bool isColour = from->packing == Interleaved && from->channels > 1 && from->pixelFormat == 1;
    const int count = isColour ? std::min(from->channels, 3) : from->channels;
    return means(count, [&](double* values) { return Mean(from, roi, values); });
}

py::tuple meanMasked(const ArrayImage& src, const ArrayImage& mask)
{
    const Source from(src), selecting(mask);
    return means(from->channels, [&](double* values) { return MeanMasked(from, selecting, values); });
}

/// Runs an operation that writes moments per channel: number, sum and sum of squares of each.
template <class Operation>
py::tuple moments(const SxImageBuf& src, const Operation& operation)
{
    std::vector<SxMoments> found(static_cast<std::size_t>(std::max(src.channels, 1)));
    const ResultCode rc = withoutGil([&] { return operation(found.data()); });
    py::list list;
    for (int c = 0; c < src.channels && !isFailure(rc); ++c) {
        const SxMoments& one = found[static_cast<std::size_t>(c)];
        list.append(py::make_tuple(one.count, one.sum, one.squares));
    }
    return py::make_tuple(rc, list);
}

/// Operations whose last output is a number.
template <class Number, class Operation>
py::tuple number(const Operation& operation)
{
    Number result{};
    const ResultCode rc = withoutGil([&] { return operation(result); });
    return py::make_tuple(rc, result);
}

}  // namespace

void defineStats(py::module_& module)
{
    module.def("MinMax", &minMax, py::arg("src"));
    module.def("MinMaxMasked", &minMaxMasked, py::arg("src"), py::arg("mask"));
    module.def("MinMaxMosaic", &minMaxMosaic, py::arg("src"), py::arg("cellWidth"), py::arg("cellHeight"));
    module.def("Mean", &mean, py::arg("src"), py::arg("roi"));
    module.def("MeanMasked", &meanMasked, py::arg("src"), py::arg("mask"));
    module.def(
        "MeanStdDevMasked",
        [](const ArrayImage& src, const ArrayImage& mask) {
            const Source from(src), selecting(mask);
            double average = 0.0, deviation = 0.0;
            const ResultCode rc =
                withoutGil([&] { return MeanStdDevMasked(from, selecting, &average, &deviation); });
            return py::make_tuple(rc, average, deviation);
        },
        py::arg("src"), py::arg("mask"));
    module.def(
        "EntropyShannon",
        [](const ArrayImage& src, double base) {
            const Source from(src);
            return number<double>([&](double& entropy) { return EntropyShannon(from, entropy, base); });
        },
        py::arg("src"), py::arg("base"));
    module.def(
        "EntropyRenyi",
        [](const ArrayImage& src, double alpha, double base) {
            const Source from(src);
            return number<double>([&](double& entropy) { return EntropyRenyi(from, alpha, entropy, base); });
        },
        py::arg("src"), py::arg("alpha"), py::arg("base"));
    module.def(
        "ComputeOtsuThreshold",
        [](const ArrayImage& src) {
            const Source from(src);
            return number<unsigned>(
                [&](unsigned& threshold) { return ComputeOtsuThreshold(from, threshold); });
        },
        py::arg("src"));
    module.def(
        "ComputeOtsuThresholdMasked",
        [](const ArrayImage& src, const ArrayImage& mask) {
            const Source from(src), selecting(mask);
            return number<unsigned>(
                [&](unsigned& threshold) { return ComputeOtsuThresholdMasked(from, selecting, threshold); });
        },
        py::arg("src"), py::arg("mask"));
    module.def(
        "Moments",
        [](const ArrayImage& src) {
            const Source from(src);
            return moments(from, [&](SxMoments* found) { return Moments(from, found); });
        },
        py::arg("src"));
    module.def(
        "MomentsMasked",
        [](const ArrayImage& src, const ArrayImage& mask) {
            const Source from(src), selecting(mask);
            return moments(from, [&](SxMoments* found) { return MomentsMasked(from, selecting, found); });
        },
        py::arg("src"), py::arg("mask"));
    module.attr("mostMomentPixels") = mostMomentPixels;
}

}  // namespace ko::python
