// Keeps results that are larger than a fuzzer has memory for from being made.
#pragma once

#include "core/memory.h"

namespace ko::fuzz {

/// While it lives, there is no memory for images, provided that the result would be large.
class Refusal {
public:
    explicit Refusal(bool isLarge) : m_isLarge(isLarge)
    {
        if (m_isLarge)
            refuseMemoryAfter(0);
    }
    ~Refusal()
    {
        if (m_isLarge)
            refuseMemoryAfter(-1);
    }
    Refusal(const Refusal&) = delete;
    Refusal& operator=(const Refusal&) = delete;

private:
    const bool m_isLarge;
};

}  // namespace ko::fuzz
