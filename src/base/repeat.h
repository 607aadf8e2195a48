// The values of channels in the order of the samples of a row.
#pragma once

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <span>
#include <vector>

namespace ko {

/// Samples after which the values of `count` channels repeat together with whole vectors of any kernel. More
/// channels than a vector has lanes repeat after themselves.
constexpr std::size_t repeatPeriod(std::size_t count) noexcept
{
    constexpr std::size_t lanes = 64;
    return count > lanes ? count : std::lcm(count, lanes);
}

/// Fills a row with the values, which repeat.
template <class T>
void fillRepeating(std::span<T> row, std::span<const T> values) noexcept
{
    for (std::size_t i = 0; i < row.size(); i += values.size())
        std::copy_n(values.begin(), std::min(values.size(), row.size() - i), row.begin() + i);
}

/// A period of the values.
template <class T>
std::vector<T> repeated(std::span<const T> values)
{
    std::vector<T> row(repeatPeriod(values.size()));
    fillRepeating<T>(row, values);
    return row;
}

}  // namespace ko
