// Live cameras: a module of its own, because the libraries that it needs take longer to load than most commands to
// run, and because a build may do without it.
#pragma once

#include "cli/arguments.h"
#include "commands/demosaicer.h"

#include <QRect>

#include <optional>
#include <string>

namespace ko::tool {

/// What `ko live` can be told.
struct LiveOptions {
    std::string source;         ///< a camera, or a description for GStreamer; empty: the first camera
    std::string output;         ///< a directory or a name with {}; empty: nothing is written
    std::optional<int> frames;  ///< to write; without output to receive
    Method method = Malvar;
    bool isRaw = false;  ///< files get the samples of the sensor
    int queue = 16;      ///< frames that may wait for the disk
    bool drops = false;  ///< a source of GStreamer drops frames rather than waits for the disk, as cameras do
    std::optional<int> quality;
    Verbosity verbosity = Verbosity::Usual;

    std::optional<int> port;  ///< of the page; 0: any that is free
    std::string address;      ///< of the page; empty: this machine alone

    std::optional<double> exposure;  ///< in microseconds
    std::optional<double> gain;      ///< in decibels
    std::optional<double> rate;      ///< in frames per second
    std::string format;              ///< of the pixels, as the camera names it
    QRect region;
};

struct LiveModule {
    int (*listCameras)(bool asJson);
    int (*runLive)(const LiveOptions& options);
};

/// The module, loaded with the first call. Throws where it is missing, and in a build without it.
const LiveModule& liveModule();

}  // namespace ko::tool
