// What the frames of a camera pass on their way.
#pragma once

#include "commands/demosaicer.h"
#include "live/broadcast.h"

#include <ko/pipeline.h>

#include <atomic>
#include <cstdint>
#include <functional>

namespace ko::tool {

/// Counts frames and shows them to those who look at the page. Frames pass unchanged.
class Tap : public IxDataProcessor {
public:
    /// Null where there is no page.
    explicit Tap(Broadcast* broadcast) : m_broadcast(broadcast) {}
    ~Tap() override { retire(); }

    std::uint64_t frames() const { return m_frames; }

protected:
    bool processData(IxData* input, IxData*& output) override;

private:
    Broadcast* const m_broadcast;
    std::atomic<std::uint64_t> m_frames = 0;
};

/// Makes colour pictures of mosaics; other frames pass unchanged.
class Colouring : public IxDataProcessor {
public:
    /// `fail` is told what was wrong with a frame.
    Colouring(Method method, std::function<void(const std::string& trouble)> fail);
    ~Colouring() override { retire(); }

protected:
    bool processData(IxData* input, IxData*& output) override;

private:
    Demosaicer m_demosaicer;
    const std::function<void(const std::string&)> m_fail;
};

}  // namespace ko::tool
