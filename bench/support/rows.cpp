#include "support/rows.h"

namespace ko::bench {

std::string Row::name(int threads) const
{
    return operation + '/' + type + '/' + std::to_string(size) + '/' + std::to_string(threads);
}

Rows::Rows(std::initializer_list<Row> rows)
{
    all().insert(all().end(), rows);
}

std::vector<Row>& Rows::all()
{
    static std::vector<Row> rows;
    return rows;
}

}  // namespace ko::bench
