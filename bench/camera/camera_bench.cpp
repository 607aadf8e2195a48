// Takes frames of 64 x 64 pixels from the fake camera with a consumer that falls behind at times, through kocamera or
// through aravissrc, and prints what became of them and the seconds of the processor. against_aravissrc.py runs both.
//
// usage: ko_camera_bench kocamera|aravissrc ADDRESS FRAMES
#include <ko/camera.h>

#include <gst/gst.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>

#include <sys/resource.h>

namespace {

using namespace std::chrono_literals;

constexpr int size = 64;
constexpr int buffers = 200;  // a frame that waits for lost packets holds up those behind it
constexpr int queue = 4;      // frames that wait for the consumer; the oldest one is dropped for the newest
constexpr int framesPerPause = 100;
constexpr auto pause = 60ms;

struct Counts {
    std::uint64_t numbered = 0;   ///< by the camera
    std::uint64_t complete = 0;   ///< passed on by the source
    std::uint64_t delivered = 0;  ///< to the consumer
    std::uint64_t torn = 0;       ///< of those
};

/// The fake camera's frames show a ramp along the diagonals.
bool isWhole(const std::uint8_t* pixels)
{
    for (int y = 1; y < size; ++y)
        if (!std::equal(pixels + y * size, pixels + (y + 1) * size - 1, pixels + (y - 1) * size + 1))
            return false;
    return true;
}

/// Looks at each frame and falls behind at times.
class Consumer {
public:
    void take(const std::uint8_t* pixels)
    {
        m_torn += isWhole(pixels) ? 0 : 1;
        if (++m_frames % framesPerPause == 0)
            std::this_thread::sleep_for(pause);
    }

    std::uint64_t frames() const { return m_frames; }
    std::uint64_t torn() const { return m_torn; }

private:
    std::atomic<std::uint64_t> m_frames = 0;
    std::atomic<std::uint64_t> m_torn = 0;
};

Counts throughKocamera(const char* address, std::uint64_t frames)
{
    Consumer consumer;
    ko::CxAravisSource source;
    ko::CxFrameSink sink([&](ko::CxImageData& frame) { consumer.take(frame.image().data); });
    sink.setQueue(1, ko::QueueBlocks);
    source.setQueue(queue, ko::QueueDropsOldest);
    source.addSuccessor(&sink);
    source.loadSettings({{"camera", address},
                         {"region", QVariantList{0, 0, size, size}},
                         {"frameRate", 1000},
                         {"buffers", buffers}});
    if (!ko::StartPipe(source)) {
        std::fprintf(stderr, "%s\n", qPrintable(source.errorText()));
        std::exit(1);
    }
    const auto numbered = [&] {
        const ko::SxCameraStatistics counts = source.cameraStatistics();
        return counts.received + counts.lost;
    };
    while (numbered() < frames)
        std::this_thread::sleep_for(10ms);
    source.setState(ko::IxPipeItem::StateStopped);
    ko::DrainPipe(sink);
    ko::StopPipe(sink);
    const ko::SxCameraStatistics counts = source.cameraStatistics();
    return {numbered(), counts.received - counts.incomplete, consumer.frames(), consumer.torn()};
}

/// Numbers the frames that come out of aravissrc, which does not tell the camera's own numbers. The ramp moves by a level
/// with each frame and begins anew after `period` of them; the time stamps tell how often it has done so in a long gap.
class Numbering {
public:
    void take(const std::uint8_t* pixels, GstClockTime stamp)
    {
        const std::lock_guard lock(m_mutex);
        if (m_complete++ > 0) {
            const int steps = (period + pixels[0] - m_level) % period;
            const double frames = static_cast<double>(stamp - m_stamp) / 1e6;  // one in a millisecond
            const double turns = std::max(0.0, std::round((frames - steps) / period));
            m_numbered += static_cast<std::uint64_t>(steps + turns * period);
        }
        m_level = pixels[0];
        m_stamp = stamp;
    }

    std::uint64_t complete() const { return get(m_complete); }
    std::uint64_t numbered() const { return get(m_numbered); }

private:
    static constexpr int period = 255;

    std::uint64_t get(const std::uint64_t& number) const
    {
        const std::lock_guard lock(m_mutex);
        return number;
    }

    mutable std::mutex m_mutex;  ///< guards all below
    std::uint64_t m_complete = 0;
    std::uint64_t m_numbered = 1;
    int m_level = 0;
    GstClockTime m_stamp = 0;
};

/// Calls `take(pixels, stamp)` for each buffer that comes through the pad of an element.
template <class Take>
void watch(GstElement* pipeline, const char* element, const char* pad, Take& take)
{
    GstElement* const found = gst_bin_get_by_name(GST_BIN(pipeline), element);
    GstPad* const place = gst_element_get_static_pad(found, pad);
    gst_pad_add_probe(
        place, GST_PAD_PROBE_TYPE_BUFFER,
        [](GstPad*, GstPadProbeInfo* info, gpointer data) {
            GstBuffer* const buffer = GST_PAD_PROBE_INFO_BUFFER(info);
            GstMapInfo map;
            gst_buffer_map(buffer, &map, GST_MAP_READ);
            (*static_cast<Take*>(data))(map.data, GST_BUFFER_PTS(buffer));
            gst_buffer_unmap(buffer, &map);
            return GST_PAD_PROBE_OK;
        },
        &take, nullptr);
    gst_object_unref(place);
    gst_object_unref(found);
}

Counts throughAravissrc(const char* address, std::uint64_t frames)
{
    gst_init(nullptr, nullptr);
    Consumer consumer;
    Numbering numbering;
    const std::string description =
        std::string("aravissrc name=source camera-name=") + address +
        " num-arv-buffers=" + std::to_string(buffers) +
        " ! video/x-raw,format=GRAY8,width=64,height=64,framerate=1000/1 ! queue leaky=downstream "
        "max-size-bytes=0 max-size-time=0 max-size-buffers=" +
        std::to_string(queue) + " ! fakesink name=sink sync=false";
    GError* error = nullptr;
    GstElement* const pipeline = gst_parse_launch(description.c_str(), &error);
    if (error != nullptr) {
        std::fprintf(stderr, "%s\n", error->message);
        std::exit(1);
    }
    auto number = [&](const std::uint8_t* pixels, GstClockTime stamp) { numbering.take(pixels, stamp); };
    auto consume = [&](const std::uint8_t* pixels, GstClockTime) { consumer.take(pixels); };
    watch(pipeline, "source", "src", number);
    watch(pipeline, "sink", "sink", consume);
    gst_element_set_state(pipeline, GST_STATE_PLAYING);
    while (numbering.numbered() < frames)
        std::this_thread::sleep_for(10ms);
    gst_element_set_state(pipeline, GST_STATE_NULL);
    gst_object_unref(pipeline);
    return {numbering.numbered(), numbering.complete(), consumer.frames(), consumer.torn()};
}

double processorSeconds()
{
    rusage used{};
    getrusage(RUSAGE_SELF, &used);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
    };
    return seconds(used.ru_utime) + seconds(used.ru_stime);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 4) {
        std::fprintf(stderr, "usage: ko_camera_bench kocamera|aravissrc ADDRESS FRAMES\n");
        return 2;
    }
    const std::string way = argv[1];
    const std::uint64_t frames = std::strtoull(argv[3], nullptr, 10);
    const Counts counts =
        way == "kocamera" ? throughKocamera(argv[2], frames) : throughAravissrc(argv[2], frames);
    std::printf("| %s | %lu | %lu | %lu | %lu | %lu | %.2f |\n", way.c_str(), counts.numbered,
                counts.delivered, counts.complete - counts.delivered, counts.numbered - counts.complete,
                counts.torn, processorSeconds());
    return 0;
}
