// Everything that a call gave back, to be compared with the same call elsewhere.
#pragma once

#include "fuzz/support/fuzz_image.h"

#include <QPoint>
#include <QVariant>

#include <cmath>
#include <cstdint>
#include <limits>
#include <span>
#include <type_traits>
#include <vector>

namespace ko::fuzz {

class Outcome {
public:
    /// @param isJudged  the case is to compare its results with the naive twins'
    explicit Outcome(bool isJudged) : m_isJudged(isJudged) {}

    bool isJudged() const { return m_isJudged; }

    template <class T>
    requires std::is_arithmetic_v<T> || std::is_enum_v<T>
    void add(T value)
    {
        if constexpr (std::is_floating_point_v<T>) {
            if (std::isnan(value))
                value = std::numeric_limits<T>::quiet_NaN();  // its sign and payload are not promised
        }
        addBytes({reinterpret_cast<const std::uint8_t*>(&value), sizeof(value)});
    }

    void add(const QPoint& point)
    {
        add(point.x());
        add(point.y());
    }

    void add(const QVariant& value)
    {
        add(value.userType());
        switch (value.userType()) {
        case QMetaType::Float:
            return add(value.toFloat());
        case QMetaType::Double:
            return add(value.toDouble());
        case QMetaType::ULongLong:
            return add(value.toULongLong());
        default:
            return add(value.toLongLong());
        }
    }

    void add(const SxImageInfo& info)
    {
        for (const int word : {info.width, info.height, info.stride, info.channels, info.bitsPerSample,
                               int{info.dataType}, int{info.packing}, info.pixelFormat, int{info.bayerGrid}})
            add(word);
    }

    void add(const FuzzImage& image)
    {
        add(static_cast<const SxImageInfo&>(image.buf()));
        addBytes(image.memory());
    }

    /// An image that an operation has made, with all its memory.
    void addMade(const SxImageBuf& image)
    {
        add(static_cast<const SxImageInfo&>(image));
        add(image.data == nullptr);
        if (image.data != nullptr)
            addBytes({image.data, imageByteSize(image)});
    }

    void addBytes(std::span<const std::uint8_t> bytes)
    {
        m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end());
    }

    bool operator==(const Outcome& other) const { return m_bytes == other.m_bytes; }

private:
    bool m_isJudged;
    std::vector<std::uint8_t> m_bytes;
};

/// Adds a call with the promises that nearly all operations make: sources stay as they are, and on failure
/// the destination does too.
template <class... Sources>
void addCall(Outcome& out, ResultCode rc, const FuzzImage& dst, const Sources&... sources)
{
    require((sources.isUntouched() && ...), "a source has changed");
    require(!isFailure(rc) || dst.isUntouched(), "the destination has changed in spite of the failure");
    out.add(rc);
    out.add(dst);
}

}  // namespace ko::fuzz
