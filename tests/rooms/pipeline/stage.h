// A stage that does what a test tells it to.
#pragma once

#include <ko/cpp/image.h>
#include <ko/pipeline.h>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

namespace ko::test {

/// Passes frames on, after calling `work` on each where that is set; what it answers decides.
class Stage : public IxDataProcessor {
public:
    explicit Stage(std::function<bool(CxImageData&)> toDo = {}, ExFlags flags = {})
        : IxDataProcessor(flags), work(std::move(toDo))
    {
    }
    ~Stage() override { retire(); }

    std::function<bool(CxImageData&)> work;
    std::function<bool()> onSetupStart;
    std::function<void()> onSetupStop;
    std::function<void()> onStarted;
    std::function<void()> onStopped;

protected:
    bool processData(IxData* input, IxData*& output) override
    {
        if (work && !work(dynamic_cast<CxImageData&>(*input)))
            return false;
        output = input;
        return true;
    }
    bool setupStart() override { return !onSetupStart || onSetupStart(); }
    void setupStop() override
    {
        if (onSetupStop)
            onSetupStop();
    }
    void onPipeStarted() override
    {
        if (onStarted)
            onStarted();
    }
    void onPipeStopped() override
    {
        if (onStopped)
            onStopped();
    }
};

/// A frame with a small image.
inline std::unique_ptr<CxImageData> makeFrame(int number = 0)
{
    auto frame = std::make_unique<CxImageData>();
    frame->setImageShallow(Image::zeros(8, 2, 1, UInt8).release(), number, 0, {});
    return frame;
}

/// Something one thread waits for and another one lets happen.
class Gate {
public:
    void open()
    {
        const std::lock_guard lock(m_mutex);
        m_isOpen = true;
        m_changed.notify_all();
    }
    void wait()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_isOpen; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isOpen = false;
};

}  // namespace ko::test
