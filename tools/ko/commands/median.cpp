// ko median: noise out, edges kept.
#include "cli/failure.h"
#include "commands/operations.h"
#include "commands/work_buffers.h"
#include "io/levels.h"

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace ko::tool {
namespace {

class MedianFilter {
public:
    explicit MedianFilter(int radius) : m_radius(radius) {}

    Image run(const Image& picture, Frame& frame)
    {
        if (picture->channels != 1 && picture->channels != 3)
            throw std::runtime_error("has " + std::to_string(picture->channels) +
                                     " channels, wanted are 1 or 3");
        if (!hasLevels(*picture))
            throw std::runtime_error("its samples are not unsigned of 8 or 16 bits");
        if (m_radius > (std::min(picture->width, picture->height) - 1) / 2)
            throw std::runtime_error("smaller than the neighbourhood");
        Image result(*picture);
        const auto make = [&] {
            void* buffer = nullptr;
            require(MedianAllocBuffer(*picture, m_radius, &buffer), "MedianAllocBuffer");
            return buffer;
        };
        m_buffers.lend(
            {picture->width, picture->height, picture->channels, picture->dataType, picture->bitsPerSample},
            make, [&](void* buffer) {
                timed(frame, [&] { require(Median(*picture, *result, m_radius, buffer), "Median"); });
            });
        return result;
    }

private:
    int m_radius;
    WorkBuffers m_buffers{MedianFreeBuffer};
};

}  // namespace

const Operation medianOperation{
    "Filters", "median", "Replace every sample by the median of the square around it",
    [](Settings& settings) -> Operation::Prepare {
        auto radius = std::make_shared<int>(1);
        settings.whole("radius", *radius, {0, 32767}, "the square is 2 x radius + 1 wide; 1 if not given");
        return [radius]() -> Filter {
            auto filter = std::make_shared<MedianFilter>(*radius);
            return [filter](const Image& picture, Frame& frame) { return filter->run(picture, frame); };
        };
    },
    true};

}  // namespace ko::tool
