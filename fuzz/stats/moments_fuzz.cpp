#include "base/dispatch.h"
#include "fuzz/stats/families.h"
#include "oracle/moments.h"

#include <ko/stats/moments.h>

#include <algorithm>
#include <vector>

namespace ko::fuzz {

namespace {

void requireMoments(Outcome& out, ResultCode rc, const FuzzImage& src, const FuzzImage* mask,
                    const std::vector<SxMoments>& found)
{
    out.add(rc);
    const bool isWhole = rc == ResultOk && out.isJudged() && src.isSound();
    for (const SxMoments& one : found) {
        require(!isFailure(rc) || one.count + one.sum + one.squares == 0, "a failure has results");
        out.add(one.count);
        out.add(one.sum);
        out.add(one.squares);
    }
    if (!isWhole || (mask != nullptr && !areSound(src, *mask)))
        return;
    const Twin twin(src), selection(mask != nullptr ? *mask : src);
    (void)dispatch(ByTypeOf<UInt8, UInt16>{}, src->dataType, {}, [&]<class T>(std::type_identity<T>) {
        for (int c = 0; c < src->channels; ++c) {
            const SxMoments& one = found[static_cast<std::size_t>(c)];
            const SxMoments expected = oracle::moments<T>(twin, mask != nullptr ? &selection : nullptr, c);
            require(one.count == expected.count && one.sum == expected.sum && one.squares == expected.squares,
                    "other moments");
        }
    });
}

void moments(ByteReader& in, Outcome& out)
{
    const FuzzImage src(in, anyLayout(in, {{UInt8, UInt16, UInt8, UInt16, Int16}, everyChannels}));
    std::vector<SxMoments> found(resultsOf(src));
    const ResultCode rc = Moments(src, in.oneIn(16) ? nullptr : found.data());
    require(src.isUntouched(), "the source has changed");
    requireMoments(out, rc, src, nullptr, found);
}

void momentsMasked(ByteReader& in, Outcome& out)
{
    const FuzzImage src(in, anyLayout(in, {{UInt8, UInt16, UInt8, UInt16, Int16}, everyChannels}));
    const FuzzImage mask(in, like(in, src.layout(), UInt8, 1));
    std::vector<SxMoments> found(resultsOf(src));
    const ResultCode rc = MomentsMasked(src, mask, in.oneIn(16) ? nullptr : found.data());
    require(src.isUntouched() && mask.isUntouched(), "a source has changed");
    requireMoments(out, rc, src, &mask, found);
}

}  // namespace

Cases momentsCases()
{
    return {{"moments: all pixels", &moments}, {"moments: masked", &momentsMasked}};
}

}  // namespace ko::fuzz
