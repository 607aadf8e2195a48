// Measures kodemosaic beside bayer2rgb and prints the tables of docs/gstreamer.md.
//
// usage: ko_gstreamer_bench [PHOTOGRAPH...]
#include <ko/gstreamer.h>

#include <gst/check/gstharness.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <ctime>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr int columns = 2592, rows = 1944;

struct Contender {
    const char* name;
    const char* element;
    const char* in;
    const char* out;
};

/// What takes turns, ours first, the peer last.
constexpr Contender contenders[] = {
    {"kodemosaic linear", "kodemosaic method=linear qos=false", "rggb", "BGRx"},
    {"kodemosaic malvar", "kodemosaic method=malvar qos=false", "rggb", "BGRx"},
    {"kodemosaic menon", "kodemosaic method=menon qos=false", "rggb", "BGRx"},
    {"kodemosaic linear, 12 bits", "kodemosaic method=linear qos=false", "rggb12le", "RGBA64_LE"},
    {"kodemosaic malvar, 12 bits", "kodemosaic method=malvar qos=false", "rggb12le", "RGBA64_LE"},
    {"kodemosaic menon, 12 bits", "kodemosaic method=menon qos=false", "rggb12le", "RGBA64_LE"},
    {"bayer2rgb", "bayer2rgb qos=false", "rggb", "BGRx"},
};
constexpr std::size_t count = std::size(contenders);

/// An element that takes one frame after the other.
class Runner {
public:
    Runner(const Contender& contender, int width, int height, const Bytes& mosaic)
        : m_harness(gst_harness_new_parse(contender.element)),
          m_mosaic(gst_buffer_new_allocate(nullptr, mosaic.size(), nullptr))
    {
        const auto caps = [&](const char* type, const char* format) {
            return std::string(type) + ", format=(string)" + format + ", width=(int)" +
                   std::to_string(width) + ", height=(int)" + std::to_string(height) +
                   ", framerate=(fraction)30/1";
        };
        gst_harness_set_sink_caps_str(m_harness, caps("video/x-raw", contender.out).c_str());
        gst_harness_set_src_caps_str(m_harness, caps("video/x-bayer", contender.in).c_str());
        gst_buffer_fill(m_mosaic, 0, mosaic.data(), mosaic.size());
    }
    ~Runner()
    {
        gst_buffer_unref(m_mosaic);
        gst_harness_teardown(m_harness);
    }
    Runner(const Runner&) = delete;
    Runner& operator=(const Runner&) = delete;

    GstBuffer* run() const { return gst_harness_push_and_pull(m_harness, gst_buffer_ref(m_mosaic)); }

    /// Seconds of the processor for a frame.
    double time() const
    {
        gst_buffer_unref(run());
        timespec before{}, after{};
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &before);
        GstBuffer* const picture = run();
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &after);
        gst_buffer_unref(picture);
        return static_cast<double>(after.tv_sec - before.tv_sec) +
               1e-9 * static_cast<double>(after.tv_nsec - before.tv_nsec);
    }

private:
    GstHarness* const m_harness;
    GstBuffer* const m_mosaic;
};

double median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2),
                     values.end());
    return values[values.size() / 2];
}

/// Contenders take turns, in the other order every second round.
void printTimes()
{
    Bytes bytes(static_cast<std::size_t>(columns) * rows), words(2 * bytes.size());
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const auto x = static_cast<double>(i % columns), y = static_cast<double>(i / columns);
        const auto level =
            static_cast<int>(2000 + 1000 * std::sin(x / 50) * std::cos(y / 70)) + std::rand() % 64;
        bytes[i] = static_cast<std::uint8_t>(level >> 4);
        words[2 * i] = static_cast<std::uint8_t>(level);
        words[2 * i + 1] = static_cast<std::uint8_t>(level >> 8);
    }
    std::vector<std::unique_ptr<Runner>> runners;
    for (const Contender& contender : contenders)
        runners.push_back(std::make_unique<Runner>(contender, columns, rows,
                                                   std::string(contender.in) == "rggb" ? bytes : words));
    std::vector<std::vector<double>> times(count);
    for (int round = 0; round < 30; ++round)
        for (std::size_t turn = 0; turn < count; ++turn) {
            const std::size_t i = round % 2 == 0 ? turn : count - 1 - turn;
            times[i].push_back(runners[i]->time());
        }
    std::printf("| element | milliseconds | bayer2rgb / this |\n|---|--:|--:|\n");
    for (std::size_t i = 0; i < count; ++i)
        std::printf("| %s | %.2f | %.2f |\n", contenders[i].name, 1e3 * median(times[i]),
                    median(times.back()) / median(times[i]));
}

/// Red, green and blue of a photograph, cropped to even size.
struct Photograph {
    int width = 0;
    int height = 0;
    Bytes samples;
};

Photograph read(const char* file)
{
    Photograph photograph;
    ko::CxGstSource source(
        QStringLiteral("filesrc location=\"%1\" ! decodebin ! videoconvert ! video/x-raw,format=RGB")
            .arg(file));
    ko::CxFrameSink sink([&](ko::CxImageData& frame) {
        const ko::SxImageBuf& image = frame.image();
        photograph.width = image.width / 4 * 4;
        photograph.height = image.height / 2 * 2;
        photograph.samples.clear();
        for (int y = 0; y < photograph.height; ++y)
            photograph.samples.insert(photograph.samples.end(), image.data + std::ptrdiff_t{y} * image.stride,
                                      image.data + std::ptrdiff_t{y} * image.stride + 3 * photograph.width);
    });
    source.addSuccessor(&sink);
    if (!ko::StartPipe(source) || !source.waitUntilEnded(-1) || !source.errorText().isEmpty())
        std::fprintf(stderr, "%s: %s\n", file, source.errorText().toUtf8().constData());
    ko::DrainPipe(source);
    ko::StopPipe(source);
    return photograph;
}

/// CPSNR in decibels, without a border of 8 pixels.
double quality(const Photograph& photograph, const Contender& contender)
{
    constexpr int border = 8;
    Bytes mosaic(static_cast<std::size_t>(photograph.width) * photograph.height);
    for (int y = 0; y < photograph.height; ++y)
        for (int x = 0; x < photograph.width; ++x) {
            const std::size_t pixel = static_cast<std::size_t>(y) * photograph.width + x;
            mosaic[pixel] = photograph.samples[3 * pixel + x % 2 + y % 2];
        }
    GstBuffer* const picture = Runner(contender, photograph.width, photograph.height, mosaic).run();
    GstMapInfo map;
    gst_buffer_map(picture, &map, GST_MAP_READ);
    double squares = 0;
    for (int y = border; y < photograph.height - border; ++y)
        for (int x = border; x < photograph.width - border; ++x)
            for (int c = 0; c < 3; ++c) {
                const std::size_t pixel = static_cast<std::size_t>(y) * photograph.width + x;
                const double difference = photograph.samples[3 * pixel + c] - map.data[4 * pixel + 2 - c];
                squares += difference * difference;
            }
    gst_buffer_unmap(picture, &map);
    gst_buffer_unref(picture);
    const double samples = 3.0 * (photograph.width - 2 * border) * (photograph.height - 2 * border);
    return 10 * std::log10(255.0 * 255.0 * samples / squares);
}

void printQuality(int files, char** names)
{
    std::printf("\n| photograph | kodemosaic linear | malvar | menon | bayer2rgb |\n|---|--:|--:|--:|--:|\n");
    for (int i = 0; i < files; ++i) {
        const Photograph photograph = read(names[i]);
        if (photograph.samples.empty())
            continue;
        const std::string name = names[i];
        std::printf("| %s ", name.substr(name.rfind('/') + 1).c_str());
        for (const std::size_t contender : {0, 1, 2, 6})
            std::printf("| %.2f ", quality(photograph, contenders[contender]));
        std::printf("|\n");
    }
}

}  // namespace

int main(int argc, char** argv)
{
    gst_init(nullptr, nullptr);
    GstPlugin* const plugin = gst_plugin_load_file(KO_GST_PLUGIN, nullptr);
    GstElementFactory* const peer = gst_element_factory_find("bayer2rgb");
    if (plugin == nullptr || peer == nullptr) {
        std::fprintf(stderr, "The plugin, or bayer2rgb of gstreamer1.0-plugins-bad, is missing.\n");
        return 1;
    }
    gst_object_unref(plugin);
    gst_object_unref(peer);
    printTimes();
    printQuality(argc - 1, argv + 1);
}
