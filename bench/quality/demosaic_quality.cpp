// How close the methods of demosaicing come to the photograph that a mosaic was made of, and how long they
// take.
//
// usage: OMP_NUM_THREADS=1 ko_demosaic_quality PHOTOGRAPH...
//
// Prints the tables of docs/demosaicing.md: CPSNR in decibels, without a border of 8 pixels.
#include <ko/demosaic.h>

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace {

constexpr int border = 8;

/// A mosaic as the camera would send it.
struct Mosaic {
    cv::Mat samples;
    int bits;
    ko::ExBayerGrid grid;
};

ko::SxImageBuf view(const cv::Mat& mat, int bits)
{
    ko::SxImageBuf image;
    image.width = mat.cols;
    image.height = mat.rows;
    image.stride = static_cast<int>(mat.step);
    image.channels = mat.channels();
    image.bitsPerSample = bits;
    image.dataType = mat.depth() == CV_8U ? ko::UInt8 : ko::UInt16;
    image.data = mat.data;
    return image;
}

using Whole = ko::ResultCode (*)(const ko::SxImageBuf&, ko::SxImageBuf&, void*);

template <Whole Method>
void ours(const Mosaic& mosaic, cv::Mat& picture)
{
    ko::SxImageBuf src = view(mosaic.samples, mosaic.bits), dst = view(picture, mosaic.bits);
    src.bayerGrid = mosaic.grid;
    if (ko::isFailure(Method(src, dst, nullptr)))
        std::exit(1);
}

/// OpenCV names a grid by the second row and column, and blue comes first in its pictures.
template <int Variant>
void theirs(const Mosaic& mosaic, cv::Mat& picture)
{
    constexpr int codes[3][4] = {
        {cv::COLOR_BayerRG2RGB, cv::COLOR_BayerBG2RGB, cv::COLOR_BayerGR2RGB, cv::COLOR_BayerGB2RGB},
        {cv::COLOR_BayerRG2RGB_EA, cv::COLOR_BayerBG2RGB_EA, cv::COLOR_BayerGR2RGB_EA,
         cv::COLOR_BayerGB2RGB_EA},
        {cv::COLOR_BayerRG2RGB_VNG, cv::COLOR_BayerBG2RGB_VNG, cv::COLOR_BayerGR2RGB_VNG,
         cv::COLOR_BayerGB2RGB_VNG}};
    cv::cvtColor(mosaic.samples, picture, codes[Variant][mosaic.grid]);
}

struct Method {
    const char* name;
    void (*run)(const Mosaic&, cv::Mat&);
    bool hasWords;  ///< works on more than 8 bits
};

constexpr Method methods[] = {
    {"`Demosaic`", &ours<&ko::Demosaic>, true},
    {"cv bilinear", &theirs<0>, true},
    {"cv edge-aware", &theirs<1>, true},
    {"cv VNG", &theirs<2>, false},
    {"`DemosaicMalvar`", &ours<&ko::DemosaicMalvar>, true},
    {"`DemosaicMenon`", &ours<&ko::DemosaicMenon>, true},
};
constexpr std::size_t methodCount = std::size(methods);
using PerMethod = std::array<double, methodCount>;

/// The photograph in `bits` bits, red first, of even size.
cv::Mat photograph(const std::string& path, int bits)
{
    cv::Mat picture = cv::imread(path, cv::IMREAD_COLOR);
    if (picture.empty()) {
        std::fprintf(stderr, "%s: not a picture\n", path.c_str());
        std::exit(1);
    }
    picture = picture(cv::Rect(0, 0, picture.cols & ~1, picture.rows & ~1));
    cv::cvtColor(picture, picture, cv::COLOR_BGR2RGB);
    if (bits > 8)
        picture.convertTo(picture, CV_16U, ((1 << bits) - 1) / 255.0);
    return picture;
}

/// Noise of one part in a hundred of the range, the same in every run.
Mosaic mosaicOf(const cv::Mat& picture, int bits, ko::ExBayerGrid grid, bool isNoisy)
{
    static constexpr int channels[4][4] = {{2, 1, 1, 0}, {0, 1, 1, 2}, {1, 2, 0, 1}, {1, 0, 2, 1}};
    const double top = (1 << bits) - 1;
    cv::RNG random(16);
    Mosaic mosaic{cv::Mat(picture.size(), picture.depth()), bits, grid};
    for (int y = 0; y < picture.rows; ++y)
        for (int x = 0; x < picture.cols; ++x) {
            const int channel = channels[grid][2 * (y % 2) + x % 2];
            const bool isBytes = picture.depth() == CV_8U;
            const int taken =
                isBytes ? picture.at<cv::Vec3b>(y, x)[channel] : picture.at<cv::Vec3w>(y, x)[channel];
            double sample = taken;
            if (isNoisy)
                sample = std::clamp(std::round(sample + random.gaussian(0.01 * top)), 0.0, top);
            if (isBytes)
                mosaic.samples.at<std::uint8_t>(y, x) = static_cast<std::uint8_t>(sample);
            else
                mosaic.samples.at<std::uint16_t>(y, x) = static_cast<std::uint16_t>(sample);
        }
    return mosaic;
}

double cpsnr(const cv::Mat& picture, const cv::Mat& truth, int bits)
{
    const cv::Rect inner(border, border, picture.cols - 2 * border, picture.rows - 2 * border);
    const double error = cv::norm(picture(inner), truth(inner), cv::NORM_L2SQR) / (3.0 * inner.area());
    const double top = (1 << bits) - 1;
    return 10 * std::log10(top * top / error);
}

/// The least processor time of a few calls in milliseconds.
double milliseconds(const std::function<void()>& call)
{
    double least = std::numeric_limits<double>::infinity();
    for (int i = 0; i < 15; ++i) {
        const std::clock_t start = std::clock();
        call();
        least = std::min(least, 1e3 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
    }
    return least;
}

PerMethod qualities(const std::string& path, int bits, ko::ExBayerGrid grid, bool isNoisy)
{
    const cv::Mat truth = photograph(path, bits);
    const Mosaic mosaic = mosaicOf(truth, bits, grid, isNoisy);
    PerMethod result{};
    for (std::size_t m = 0; m < methodCount; ++m) {
        if (bits > 8 && !methods[m].hasWords)
            continue;
        cv::Mat picture(truth.size(), truth.type());
        methods[m].run(mosaic, picture);
        result[m] = cpsnr(picture, truth, bits);
    }
    return result;
}

/// Nothing where a method does not work on such samples.
void printCell(double value)
{
    value == 0 ? std::printf(" |") : std::printf(" %.2f |", value);
}

void printHead(const char* first)
{
    std::printf("\n| %s |", first);
    for (const Method& method : methods)
        std::printf(" %s |", method.name);
    std::printf("\n|---|%s\n", "--:|--:|--:|--:|--:|--:|");
}

void printRow(const std::string& name, const PerMethod& values)
{
    std::printf("| %s |", name.c_str());
    for (const double value : values)
        printCell(value);
    std::printf("\n");
}

void printPhotographs(const std::vector<std::string>& paths, bool isNoisy)
{
    printHead(isNoisy ? "photograph, 8 bits, RGGB, noise" : "photograph, 8 bits, RGGB");
    for (const std::string& path : paths)
        printRow(std::filesystem::path(path).filename(), qualities(path, 8, ko::BayerRGGB, isNoisy));
}

PerMethod meanQualities(const std::vector<std::string>& paths, int bits, ko::ExBayerGrid grid, bool isNoisy)
{
    PerMethod mean{};
    for (const std::string& path : paths) {
        const PerMethod one = qualities(path, bits, grid, isNoisy);
        for (std::size_t m = 0; m < methodCount; ++m)
            mean[m] += one[m] / static_cast<double>(paths.size());
    }
    return mean;
}

void printMeans(const std::vector<std::string>& paths)
{
    static constexpr const char* gridNames[] = {"BGGR", "RGGB", "GBRG", "GRBG"};
    printHead("mean of the photographs");
    for (const bool isNoisy : {false, true})
        for (const int bits : {8, 12})
            for (const int grid : {0, 1, 2, 3})
                printRow(std::string(gridNames[grid]) + (bits == 8 ? ", 8 bits" : ", 12 bits") +
                             (isNoisy ? ", noise" : ""),
                         meanQualities(paths, bits, static_cast<ko::ExBayerGrid>(grid), isNoisy));
}

PerMethod times(int bits)
{
    cv::Mat random(2048, 2048, bits == 8 ? CV_8U : CV_16U);
    cv::randu(random, 0, 1 << bits);
    const Mosaic mosaic{random, bits, ko::BayerRGGB};
    cv::Mat picture(random.size(), CV_MAKETYPE(random.depth(), 3));
    PerMethod result{};
    for (std::size_t m = 0; m < methodCount; ++m)
        if (bits == 8 || methods[m].hasWords)
            result[m] = milliseconds([&] { methods[m].run(mosaic, picture); });
    return result;
}

/// What a method brings beside what it costs.
void printSummary(const std::vector<std::string>& paths)
{
    std::printf("\n| method | 8 bits: dB | noise: dB | ms | 12 bits: dB | noise: dB | ms |\n"
                "|---|--:|--:|--:|--:|--:|--:|\n");
    std::vector<PerMethod> columns;
    for (const int bits : {8, 12}) {
        for (const bool isNoisy : {false, true})
            columns.push_back(meanQualities(paths, bits, ko::BayerRGGB, isNoisy));
        columns.push_back(times(bits));
    }
    for (std::size_t m = 0; m < methodCount; ++m) {
        std::printf("| %s |", methods[m].name);
        for (const PerMethod& column : columns)
            printCell(column[m]);
        std::printf("\n");
    }
}

}  // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string> paths(argv + 1, argv + argc);
    if (paths.empty()) {
        std::fprintf(stderr, "usage: ko_demosaic_quality PHOTOGRAPH...\n");
        return 2;
    }
    cv::setNumThreads(1);
    printSummary(paths);
    printPhotographs(paths, false);
    printPhotographs(paths, true);
    printMeans(paths);
}
