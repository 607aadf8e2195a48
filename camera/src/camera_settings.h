// What a program wants of its camera.
#pragma once

#include <QRect>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include <optional>

namespace ko {

/// The settings of a source; what is empty stays as the camera has it.
struct CameraSettings {
    QString camera;
    QString pixelFormat;
    QString trigger;
    QStringList chunks;
    std::optional<QRect> region;
    std::optional<double> frameRate;
    std::optional<double> exposure;
    std::optional<double> gain;
    int buffers = 8;
    bool incompleteFrames = false;
    bool packetResend = true;
    bool reconnect = true;

    /// Takes over what the map has. False when a value is not of its kind; some are changed then.
    bool read(const QVariantMap& map);

    /// Adds all settings to the map.
    void write(QVariantMap& map) const;
};

}  // namespace ko
