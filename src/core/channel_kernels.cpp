#include "core/channel_kernels.h"

#include "base/image_view.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/channel_kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace ko {
namespace HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

#if HWY_TARGET != HWY_SCALAR
template <int Channels, int Channel, class D>
hn::Vec<D> channelOf(D d, const hn::TFromD<D>* pixels)
{
    hn::Vec<D> samples[4];
    if constexpr (Channels == 4)
        hn::LoadInterleaved4(d, pixels, samples[0], samples[1], samples[2], samples[3]);
    else
        hn::LoadInterleaved3(d, pixels, samples[0], samples[1], samples[2]);
    return samples[Channel];
}
#endif

template <class T, int Channels, int Channel>
void PickRow(const std::uint8_t* HWY_RESTRICT src, std::uint8_t* HWY_RESTRICT dst,
             std::int64_t count) noexcept
{
    std::int64_t x = 0;
#if HWY_TARGET != HWY_SCALAR
    const hn::ScalableTag<T> d;
    const auto lanes = static_cast<std::int64_t>(hn::Lanes(d));
    for (; x + lanes <= count; x += lanes) {
        const T* const pixels = reinterpret_cast<const T*>(src) + Channels * x;
        hn::StoreU(channelOf<Channels, Channel>(d, pixels), d, reinterpret_cast<T*>(dst) + x);
    }
#endif
    for (; x < count; ++x)
        storeSample<T>(dst, x, loadSample<T>(src, Channels * x + Channel));
}

template <class T, int Channels>
void PickChannel(const std::uint8_t* src, int channel, std::uint8_t* dst, std::int64_t count) noexcept
{
    switch (channel) {
    case 0:
        return PickRow<T, Channels, 0>(src, dst, count);
    case 1:
        return PickRow<T, Channels, 1>(src, dst, count);
    case 2:
        return PickRow<T, Channels, 2>(src, dst, count);
    default:
        return PickRow<T, Channels, Channels - 1>(src, dst, count);
    }
}

template <class T>
constexpr PickChannelRows rowsOf{&PickChannel<T, 3>, &PickChannel<T, 4>};

const ChannelKernels& Kernels()
{
    static constexpr ChannelKernels kernels{rowsOf<std::uint8_t>, rowsOf<std::uint16_t>,
                                            rowsOf<std::uint32_t>};
    return kernels;
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace ko
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace ko {
namespace {
HWY_EXPORT(Kernels);
}
const ChannelKernels& channelKernels()
{
    return HWY_DYNAMIC_DISPATCH(Kernels)();
}
}  // namespace ko
#endif
