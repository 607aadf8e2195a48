// ko live: frames of a camera into files and into a browser.
#include "cli/failure.h"
#include "cli/settings.h"
#include "commands/commands.h"
#include "live/live_module.h"

#include <memory>

namespace ko::tool {
namespace {

struct Options {
    LiveOptions live;
    Settings settings;
};

void addSettings(Settings& settings, LiveOptions& live)
{
    settings.whole("frames", live.frames, {1, 1 << 30}, "end after so many");
    settings.choice("method", live.method, methodWords(),
                    "of demosaicing what is written, malvar if not given");
    settings.flag("raw", live.isRaw, "write the mosaics of the sensor as they are");
    settings.whole("queue", live.queue, {1, 10000}, "frames that may wait for the disk, 16 if not given");
    settings.flag(
        "drop", live.drops,
        "a source of GStreamer loses its oldest frames when the disk is slow, as cameras do; otherwise it "
        "waits");
    settings.whole("http", live.port, {0, 65535},
                   "show the picture and its figures in a browser, by this port; 0 takes any that is free");
    settings.number("exposure", live.exposure, positiveNumbers, "of the camera, in microseconds");
    settings.number("gain", live.gain, finiteNumbers, "of the camera, in decibels");
    settings.number("rate", live.rate, positiveNumbers, "of the camera, in frames per second");
    settings.region("roi", live.region, "that the camera sends");
    settings.rule([&live] { return !live.output.empty() || !live.isRaw; }, "--raw needs -o");
    settings.rule([&live] { return live.address.empty() || live.port; }, "--address needs --http");
}

}  // namespace

const Command liveCommand{
    "Live cameras", "live", "Record the frames of a camera and show them in a browser",
    [](CLI::App& command) -> Command::Action {
        auto options = std::make_shared<Options>();
        LiveOptions& live = options->live;
        declareArgument(command, "camera", live.source, Need::Optional,
                        "a camera as ko cameras names it, the first one if not given; or a source of "
                        "GStreamer, 'v4l2src ! videoconvert'");
        declareArgument(command, "-o,--output", live.output, Need::Optional,
                        "directory of the frames (TIFF), or a name with {} in place of their number");
        declareVerbosity(command, live.verbosity);
        declareQuality(command, live.quality);
        declareArgument(
            command, "--address", live.address, Need::Optional,
            "of this machine, under which others reach the page by the secret that is printed; if not "
            "given, this machine alone reaches it",
            "ADDRESS");
        declareArgument(command, "--pixel-format", live.format, Need::Optional,
                        "of the camera, by its name: Mono8, BayerRG12p", "NAME");
        addSettings(options->settings, live);
        options->settings.declare(command);
        return [options] {
            options->settings.verify();
            return liveModule().runLive(options->live);
        };
    }};

}  // namespace ko::tool
