// Text in columns.
#pragma once

#include <string>
#include <vector>

namespace ko::tool {

/// The first column flush left, the others flush right, each as wide as its longest cell wants it.
class Table {
public:
    explicit Table(std::vector<std::string> firstRow) : m_rows{std::move(firstRow)} {}

    /// A row of as many cells as the first one.
    void add(std::vector<std::string> row) { m_rows.push_back(std::move(row)); }

    std::string text() const;

private:
    std::vector<std::vector<std::string>> m_rows;
};

/// A number for people: three decimals, or six digits where these would say too little or too much.
std::string shown(double number);

}  // namespace ko::tool
