// What operations use besides images: histograms and work buffers.
#pragma once

#include "rooms.h"

#include <ko/demosaic.h>
#include <ko/histogram_containers.h>
#include <ko/median.h>

#include <pybind11/numpy.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace ko::python {

/// Whether a call is using an object that serves one at a time. Guarded by the GIL.
struct Use {
    bool isBusy = false;
};

/// Throws RuntimeError for an object that another call is using.
void needIdle(const Use& use);

/// Keeps an object for one call.
class Claim {
public:
    explicit Claim(Use& use) : m_use(use)
    {
        needIdle(use);
        m_use.isBusy = true;
    }
    ~Claim() { m_use.isBusy = false; }
    Claim(const Claim&) = delete;
    Claim& operator=(const Claim&) = delete;

private:
    Use& m_use;
};

/// A histogram whose counters are those of an array.
class Counters {
public:
    Counters() = default;
    Counters(const py::object& array, std::int32_t extraBins);
    Counters(std::int32_t planeCount, std::int32_t levelCount, std::int32_t extraCount)
    {
        resize(planeCount, levelCount, extraCount);
    }

    void resize(std::int32_t planeCount, std::int32_t levelCount, std::int32_t extraCount);
    void clear();
    void release() { *this = Counters(); }

    py::object bins() const { return planes > 0 ? py::object(m_bins) : py::none(); }
    std::uint32_t* row(std::int32_t plane) const;

    std::int32_t planes = 0;
    std::int32_t levels = 0;
    std::uint32_t extraBins = 0;

private:
    py::array m_bins;
};

/// The counters of an array as the record that operations take. The record gives back what is not its own.
class CountersInUse {
public:
    explicit CountersInUse(const Counters& counters);
    ~CountersInUse();
    CountersInUse(const CountersInUse&) = delete;
    CountersInUse& operator=(const CountersInUse&) = delete;

    operator CxImageHistogram&() { return m_record; }

private:
    Counters m_counters;  // keeps the array
    std::vector<std::uint32_t*> m_rows;
    CxImageHistogram m_record;
};

/// A sparse histogram. Counting changes more than numbers in place.
struct SparseCounters {
    CxImageHistogramSparse2D counts;
    Use use;
};

/// Owner of a work buffer.
template <void (*Free)(void*)>
class WorkBuffer {
public:
    explicit WorkBuffer(void* buffer) : m_buffer(buffer) {}
    ~WorkBuffer() { Free(m_buffer); }
    WorkBuffer(const WorkBuffer&) = delete;
    WorkBuffer& operator=(const WorkBuffer&) = delete;

    void close()
    {
        needIdle(use);
        Free(std::exchange(m_buffer, nullptr));
    }

    /// What operations take. Throws ValueError when it is closed.
    void* opened() const
    {
        if (m_buffer == nullptr)
            throw py::value_error("the work buffer is closed");
        return m_buffer;
    }

    Use use;

private:
    void* m_buffer;
};

using DemosaicWork = WorkBuffer<DemosaicFreeBuffer>;
using CentredWork = WorkBuffer<DemosaicCentredFreeBuffer>;
using MedianWork = WorkBuffer<MedianFreeBuffer>;

}  // namespace ko::python
