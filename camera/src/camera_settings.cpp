#include "camera_settings.h"

#include <algorithm>
#include <cmath>

namespace ko {

namespace {

constexpr int fewestBuffers = 2;
constexpr int mostBuffers = 1000;

bool isText(const QVariant& value)
{
    return value.userType() == QMetaType::QString;
}

bool isList(const QVariant& value)
{
    return value.userType() == QMetaType::QVariantList || value.userType() == QMetaType::QStringList;
}

/// A whole number without a fraction that would be cut off.
std::optional<int> wholeNumber(const QVariant& value)
{
    bool isNumber = false;
    const double number = value.toDouble(&isNumber);
    if (!isNumber || value.userType() == QMetaType::Bool || number != std::floor(number) ||
        std::abs(number) > 1e9)
        return std::nullopt;
    return static_cast<int>(number);
}

bool take(const QVariant& value, QString& text)
{
    text = value.toString();
    return value.isNull() || isText(value);
}

bool take(const QVariant& value, bool& flag)
{
    flag = value.toBool();
    return value.userType() == QMetaType::Bool;
}

bool take(const QVariant& value, std::optional<double>& number)
{
    bool isNumber = false;
    number = value.toDouble(&isNumber);
    if (value.isNull())
        number.reset();
    return !number || (isNumber && value.userType() != QMetaType::Bool && std::isfinite(*number));
}

bool take(const QVariant& value, int& buffers)
{
    const std::optional<int> number = wholeNumber(value);
    buffers = number.value_or(0);
    return buffers >= fewestBuffers && buffers <= mostBuffers;
}

bool take(const QVariant& value, std::optional<QRect>& region)
{
    const QVariantList numbers = value.toList();
    region.reset();
    if (value.isNull() || (isList(value) && numbers.isEmpty()))
        return true;
    if (numbers.size() != 4)
        return false;
    int edges[4] = {};
    for (int i = 0; i < 4; ++i) {
        edges[i] = wholeNumber(numbers[i]).value_or(-1);
        if (edges[i] < i / 2)  // sizes are at least 1
            return false;
    }
    region = QRect(edges[0], edges[1], edges[2], edges[3]);
    return true;
}

bool take(const QVariant& value, QStringList& names)
{
    names = value.toStringList();
    const QVariantList items = value.toList();
    return (value.isNull() || isList(value)) && std::all_of(items.begin(), items.end(), &isText) &&
           std::none_of(names.begin(), names.end(), [](const QString& name) {
               return name.isEmpty() || name.contains(QLatin1Char(',')) || name.contains(QLatin1Char(' '));
           });
}

QVariant asVariant(const std::optional<double>& number)
{
    return number ? QVariant(*number) : QVariant();
}

QVariant asVariant(const std::optional<QRect>& region)
{
    return region ? QVariant(QVariantList{region->x(), region->y(), region->width(), region->height()})
                  : QVariant(QVariantList());
}

template <class Value>
QVariant asVariant(const Value& value)
{
    return QVariant(value);
}

/// The one list of names.
template <class Settings, class Visitor>
void visit(Settings& settings, const Visitor& visitor)
{
    visitor("camera", settings.camera);
    visitor("pixelFormat", settings.pixelFormat);
    visitor("trigger", settings.trigger);
    visitor("chunks", settings.chunks);
    visitor("region", settings.region);
    visitor("frameRate", settings.frameRate);
    visitor("exposure", settings.exposure);
    visitor("gain", settings.gain);
    visitor("buffers", settings.buffers);
    visitor("incompleteFrames", settings.incompleteFrames);
    visitor("packetResend", settings.packetResend);
    visitor("reconnect", settings.reconnect);
}

}  // namespace

bool CameraSettings::read(const QVariantMap& map)
{
    bool isGood = true;
    visit(*this, [&](const char* key, auto& place) {
        const auto found = map.find(QLatin1String(key));
        isGood = isGood && (found == map.end() || take(found.value(), place));
    });
    return isGood;
}

void CameraSettings::write(QVariantMap& map) const
{
    visit(*this, [&](const char* key, const auto& value) { map[QLatin1String(key)] = asVariant(value); });
}

}  // namespace ko
