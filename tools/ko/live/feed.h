// Where live frames come from.
#pragma once

#include "live/live_module.h"

#include <ko/pipeline.h>

#include <cstdint>
#include <memory>
#include <string>

namespace ko::tool {

/// A number that the camera can be told while it runs.
struct Control {
    bool isAvailable = false;
    double value = 0;
    double minimum = 0;
    double maximum = 0;
};

/// Frames that never left the source.
struct Losses {
    std::uint64_t dropped = 0;     ///< came whole, when nobody had room for them
    std::uint64_t incomplete = 0;  ///< came with parts missing
    std::uint64_t lost = 0;        ///< never came
};

/// A source of frames: the first item of a pipe and what the command wants to know of it.
class Feed {
public:
    virtual ~Feed() = default;

    virtual IxPipeItem& item() = 0;
    virtual std::string name() const = 0;

    /// There will be no more frames.
    virtual bool hasEnded() const = 0;

    /// Why it did not start, has ended or waits for its camera, in one line; empty where nothing is wrong.
    virtual std::string trouble() const = 0;

    virtual Losses losses() const = 0;

    virtual Control exposure() const { return {}; }  ///< in microseconds
    virtual Control gain() const { return {}; }      ///< in decibels

    /// False where the camera does not take it.
    virtual bool setExposure(double /*microseconds*/) { return false; }
    virtual bool setGain(double /*decibels*/) { return false; }
};

/// The source that the options name. Throws `UsageError` for options that it does not have, and where this build does
/// not know such sources.
std::unique_ptr<Feed> openFeed(const LiveOptions& options);

/// The kinds of sources, as far as they are part of the build.
std::unique_ptr<Feed> openCamera(const LiveOptions& options);
std::unique_ptr<Feed> openGstreamer(const LiveOptions& options);

}  // namespace ko::tool
