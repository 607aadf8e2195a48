#include "giving_back.h"

#include "list.h"

#include <algorithm>
#include <condition_variable>
#include <list>
#include <mutex>
#include <system_error>
#include <thread>

namespace ko {

namespace {

struct Leaving {
    std::mutex mutex;  ///< guards the cameras
    std::condition_variable hasChanged;
    std::list<SxCameraInfo> cameras;
};

/// Lives until the end of the process, whose last threads may be those that use it.
Leaving& leaving()
{
    static Leaving& all = *new Leaving;
    return all;
}

}  // namespace

void giveBack(std::unique_ptr<CameraConnection> camera)
{
    if (!camera || camera->stopAcquisition())
        return;
    Leaving& all = leaving();
    std::unique_lock lock(all.mutex);
    const auto entry = all.cameras.insert(all.cameras.end(), camera->info());
    lock.unlock();
    const auto end = [&all, entry](std::unique_ptr<CameraConnection> ended) {
        ended.reset();
        const std::lock_guard guard(all.mutex);
        all.cameras.erase(entry);
        all.hasChanged.notify_all();
    };
    CameraConnection* const lost = camera.release();
    try {
        std::thread([end, lost] { end(std::unique_ptr<CameraConnection>(lost)); }).detach();
    } catch (const std::system_error&) {
        end(std::unique_ptr<CameraConnection>(lost));
    }
}

bool waitUntilGivenBack(const QString& name, std::chrono::milliseconds time)
{
    Leaving& all = leaving();
    std::unique_lock lock(all.mutex);
    return all.hasChanged.wait_for(lock, time, [&] {
        return std::none_of(all.cameras.begin(), all.cameras.end(), [&](const SxCameraInfo& camera) {
            return name.isEmpty() || isMeant(camera, name);
        });
    });
}

}  // namespace ko
