#include "fuzz/core/families.h"

#include <ko/image.h>

#include <cstring>
#include <vector>

namespace ko::fuzz {

namespace {

void copyBuffer(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {everyType, everyChannels});
    const FuzzImage src(in, layout);
    const QRect rect = anyRect(in, layout);
    Layout other = in.oneIn(16) ? anyLayout(in, {everyType, everyChannels}) : like(in, layout);
    other.width += in.below(4);
    other.height += in.below(4);
    FuzzImage dst(in, other);
    const QPoint pos = anyPoint(in, {.width = 4, .height = 4});
    const bool flag = in.flag();
    const ResultCode rc = CopyBuffer(src, rect, dst, pos, flag);
    addCall(out, rc, dst, src);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, dst))
        return;
    Twin expected(dst);
    const Twin source(src);
    for (int y = 0; y < rect.height(); ++y)
        for (int x = 0; x < rect.width(); ++x)
            for (int c = 0; c < layout.channels; ++c)
                std::memcpy(expected.sample(pos.x() + x, pos.y() + y, c),
                            source.sample(rect.x() + x, rect.y() + y, c),
                            static_cast<std::size_t>(bytesPerSample(layout.type)));
    expected.requireEqual(dst);
}

void copyChannel(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {everyType, everyChannels});
    const FuzzImage src(in, layout);
    Layout other = like(in, layout, layout.type, in.pick(everyChannels));
    other.packing = in.flag() ? Planar : Interleaved;
    FuzzImage dst(in, other);
    const int from = in.oneIn(8) ? in.integer() : in.below(layout.channels);
    const int to = in.oneIn(8) ? in.integer() : in.below(other.channels);
    const ResultCode rc = CopyChannel(src, from, dst, to);
    addCall(out, rc, dst, src);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, dst))
        return;
    Twin expected(dst);
    const Twin source(src);
    for (int y = 0; y < layout.height; ++y)
        for (int x = 0; x < layout.width; ++x)
            std::memcpy(expected.sample(x, y, to), source.sample(x, y, from),
                        static_cast<std::size_t>(bytesPerSample(layout.type)));
    expected.requireEqual(dst);
}

/// One image as source and destination.
void copyChannelWithin(ByteReader& in, Outcome& out)
{
    FuzzImage image(in, anyLayout(in, {everyType, everyChannels}));
    const int from = in.below(5), to = in.below(5);
    out.add(CopyChannel(image, from, image, to));
    out.add(image);
}

void memCpy(ByteReader& in, Outcome& out)
{
    std::vector<std::uint8_t> memory(static_cast<std::size_t>(in.below(200)) + 1);
    for (std::uint8_t& byte : memory)
        byte = in.byte();
    const auto from = static_cast<std::size_t>(in.below(static_cast<int>(memory.size())));
    const auto to = static_cast<std::size_t>(in.below(static_cast<int>(memory.size())));
    const std::size_t most = memory.size() - std::max(from, to);
    const std::uint64_t tags[] = {in.byte(), in.byte()};
    const bool isLarge = in.oneIn(8);
    const std::uint64_t bytes = isLarge ? ~std::uint64_t{0} - in.byte() : in.byte() % (most + 1);
    std::uint8_t* const dst = in.oneIn(8) ? nullptr : memory.data() + to;
    const std::uint8_t* const src = in.oneIn(8) ? nullptr : memory.data() + from;
    std::vector<std::uint8_t> expected = memory;
    const ResultCode rc = MemCpy(dst, src, bytes, tags[0], tags[1]);
    require((rc == ResultOk) == (bytes == 0 || (!isLarge && dst != nullptr && src != nullptr)),
            "another status than expected");
    if (rc == ResultOk && bytes != 0)
        std::memmove(expected.data() + to, expected.data() + from, bytes);
    require(memory == expected, "other bytes than expected");
    out.add(rc);
}

}  // namespace

Cases copyCases()
{
    return {{"copy: copyBuffer", &copyBuffer},
            {"copy: copyChannel", &copyChannel},
            {"copy: copyChannelWithin", &copyChannelWithin},
            {"copy: memCpy", &memCpy}};
}

}  // namespace ko::fuzz
