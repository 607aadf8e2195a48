#include "list.h"

#include "gobject.h"

#include <algorithm>

namespace ko {

std::mutex& deviceListMutex()
{
    static std::mutex mutex;
    return mutex;
}

bool isMeant(const SxCameraInfo& camera, const QString& name)
{
    return camera.id == name || camera.serial == name || camera.address == name;
}

QVector<SxCameraInfo> knownCameras()
{
    QVector<SxCameraInfo> cameras;
    const unsigned count = arv_get_n_devices();
    for (unsigned i = 0; i < count; ++i)
        cameras.push_back(
            {QString::fromUtf8(arv_get_device_id(i)), QString::fromUtf8(arv_get_device_vendor(i)),
             QString::fromUtf8(arv_get_device_model(i)), QString::fromUtf8(arv_get_device_serial_nbr(i)),
             QString::fromUtf8(arv_get_device_address(i)), QString::fromUtf8(arv_get_device_protocol(i))});
    std::sort(cameras.begin(), cameras.end(), [](const auto& a, const auto& b) { return a.id < b.id; });
    return cameras;
}

QVector<SxCameraInfo> ListCameras()
{
    const std::lock_guard lock(deviceListMutex());
    arv_update_device_list();
    return knownCameras();
}

}  // namespace ko
