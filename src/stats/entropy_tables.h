// Logarithms and powers of counts, kept between calls.
#pragma once

#include <QMutex>

#include <compare>
#include <cstddef>
#include <map>
#include <memory>
#include <vector>

namespace ko {

using EntropyTable = std::shared_ptr<const std::vector<double>>;

/// Has a place for NaN too, which no number is below or above.
struct KeyOrder {
    bool operator()(double a, double b) const noexcept { return std::is_lt(std::strong_order(a, b)); }
};

/// Process-wide cache of tables over the counts 0...n, one table per key. Safe to use from any thread:
/// whoever was given a table keeps it alive, also when a longer one takes its place.
class EntropyTables {
public:
    /// @param fill  writes all entries of the table for a key
    explicit EntropyTables(void (*fill)(double key, std::vector<double>& table)) : m_fill(fill) {}

    /// A table of at least `entries` entries. One that is too short makes room for the new one first.
    /// @throws std::bad_alloc or std::length_error, with no table left for the key
    EntropyTable get(double key, std::size_t entries);

private:
    QMutex m_mutex;
    std::map<double, EntropyTable, KeyOrder> m_tables;
    void (*m_fill)(double key, std::vector<double>& table);
};

/// Entry k is the logarithm of k to the base that is the key; entry 0 is 0.
EntropyTables& logarithmTables();

/// Entry k is k to the power that is the key.
EntropyTables& powerTables();

}  // namespace ko
