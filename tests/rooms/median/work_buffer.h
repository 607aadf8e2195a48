// Threads and work buffers for tests of the median.
#pragma once

#include "median/plan.h"

#include <ko/median.h>

#include <gtest/gtest.h>
#include <omp.h>

namespace ko::test {

/// Most tests are about values and take one thread.
class Threads {
public:
    explicit Threads(int count) { omp_set_num_threads(count); }
    ~Threads() { omp_set_num_threads(m_before); }
    Threads(const Threads&) = delete;
    Threads& operator=(const Threads&) = delete;

private:
    int m_before = omp_get_max_threads();
};

/// A work buffer that is released with its scope.
class WorkBuffer {
public:
    WorkBuffer(const SxImageInfo& info, int radius)
    {
        EXPECT_EQ(MedianAllocBuffer(info, radius, &m_buffer), ResultOk);
    }
    ~WorkBuffer() { MedianFreeBuffer(m_buffer); }
    WorkBuffer(const WorkBuffer&) = delete;
    WorkBuffer& operator=(const WorkBuffer&) = delete;

    operator void*() const { return m_buffer; }
    MedianWork* operator->() const { return static_cast<MedianWork*>(m_buffer); }

private:
    void* m_buffer = nullptr;
};

inline SxImageInfo infoOf(int width, int height, ExImageDataType type = UInt8, int bits = 8, int channels = 1)
{
    SxImageInfo info;
    info.width = width;
    info.height = height;
    info.channels = channels;
    info.bitsPerSample = bits;
    info.dataType = type;
    return info;
}

}  // namespace ko::test
