// Arguments from the bytes of an input.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <limits>

namespace ko::fuzz {

/// Reads an input from its front. Behind its end there are zeros, for which every choice below is a harmless
/// one.
class ByteReader {
public:
    ByteReader(const std::uint8_t* data, std::size_t size) : m_next(data), m_end(data + size) {}

    std::uint8_t byte() { return m_next != m_end ? *m_next++ : std::uint8_t{0}; }

    template <class T>
    T raw()
    {
        static_assert(sizeof(T) <= sizeof(std::uint64_t));
        std::uint64_t word = 0;
        for (std::size_t i = 0; i < sizeof(T); ++i)
            word |= std::uint64_t{byte()} << (8 * i);
        T value;
        std::memcpy(&value, &word, sizeof(T));
        return value;
    }

    /// A hash of the bytes to come (FNV-1a). What is chosen by it does not pass to the inputs that a fuzzer makes of
    /// this one.
    std::uint32_t digest() const
    {
        std::uint32_t hash = 2166136261;
        for (const std::uint8_t* at = m_next; at != m_end; ++at)
            hash = (hash ^ *at) * 16777619;
        return hash;
    }

    /// 0...count - 1, for a count of 1...65536.
    int below(int count) { return (count <= 256 ? byte() : raw<std::uint16_t>()) % count; }

    int between(int low, int high) { return low + below(high - low + 1); }

    /// True for one byte in `count`.
    bool oneIn(int count) { return below(count) == count - 1; }

    bool flag() { return oneIn(2); }

    template <class T>
    T pick(std::initializer_list<T> values)
    {
        return values.begin()[below(static_cast<int>(values.size()))];
    }

    /// One of a list of codes, and for one byte in 16 any number.
    template <class Enum>
    Enum code(std::initializer_list<Enum> known)
    {
        return oneIn(16) ? static_cast<Enum>(integer()) : pick(known);
    }

    /// Small numbers mostly, and those at which 32 bits or a container end.
    int integer()
    {
        constexpr int lowest = std::numeric_limits<int>::min(), highest = std::numeric_limits<int>::max();
        switch (below(4)) {
        case 0:
            return between(-3, 40);
        case 1:
            return below(65536);
        case 2:
            return raw<std::int32_t>();
        default:
            return pick(
                {lowest, lowest + 1, -65536, -1, 0, 1, 65535, 65536, 70000, 1 << 30, highest - 1, highest});
        }
    }

    /// Small numbers mostly, and those at which conversions go wrong.
    double real()
    {
        using Limits = std::numeric_limits<double>;
        switch (below(4)) {
        case 0:
            return below(1024) / 64.0;
        case 1:
            return raw<std::int16_t>() / 8.0;
        case 2:
            return raw<double>();
        default:
            return pick({-0.0, 1.0, -1.0, 0.5, 2.0, 255.0, 65535.0, 2147483648.0, 9223372036854775808.0,
                         Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN(), Limits::denorm_min(),
                         Limits::max(), Limits::lowest(), Limits::epsilon()});
        }
    }

private:
    const std::uint8_t* m_next;
    const std::uint8_t* m_end;
};

}  // namespace ko::fuzz
