#include "live/rates.h"

namespace ko::tool {

double Rate::update(std::uint64_t number)
{
    const auto now = Clock::now();
    m_past.emplace_back(now, number);
    while (m_past.size() > 2 && now - m_past[1].first >= std::chrono::seconds(2))
        m_past.pop_front();
    const std::chrono::duration<double> time = now - m_past.front().first;
    return time.count() > 0 ? static_cast<double>(number - m_past.front().second) / time.count() : 0;
}

}  // namespace ko::tool
