#include "stats/entropy_tables.h"

#include <QMutexLocker>

#include <cmath>

namespace ko {

namespace {

void fillLogarithms(double base, std::vector<double>& table)
{
    const double scale = 1.0 / std::log(base);
    for (std::size_t k = 1; k < table.size(); ++k)
        table[k] = std::log(static_cast<double>(k)) * scale;
}

void fillPowers(double exponent, std::vector<double>& table)
{
    for (std::size_t k = 0; k < table.size(); ++k)
        table[k] = std::pow(static_cast<double>(k), exponent);
}

}  // namespace

EntropyTable EntropyTables::get(double key, std::size_t entries)
{
    const QMutexLocker lock(&m_mutex);
    if (const auto known = m_tables.find(key); known != m_tables.end()) {
        if (known->second->size() >= entries)
            return known->second;
        m_tables.erase(known);
    }
    const auto table = std::make_shared<std::vector<double>>(entries);
    m_fill(key, *table);
    m_tables.emplace(key, table);
    return table;
}

EntropyTables& logarithmTables()
{
    static EntropyTables tables(&fillLogarithms);
    return tables;
}

EntropyTables& powerTables()
{
    static EntropyTables tables(&fillPowers);
    return tables;
}

}  // namespace ko
