#include "base/dispatch.h"
#include "base/values.h"
#include "fuzz/pixel/families.h"
#include "fuzz/support/variants.h"
#include "oracle/clamp.h"
#include "oracle/logic.h"

#include <ko/pixel.h>

namespace ko::fuzz {

namespace {

using Operation = ResultCode (*)(const SxImageBuf&, SxImageBuf&, QVariant*);

void compareLogic(oracle::Logic kind, const FuzzImage& src, const FuzzImage& dst, const QVariant* value,
                  ResultCode rc)
{
    const auto judge = [&]<class T>(std::type_identity<T>) {
        Twin expected(dst);
        if (kind != oracle::Logic::Xor)
            oracle::combine<T>(kind, Twin(src), expected, value != nullptr ? plainValue<T>(*value) : T{1});
        else if (value != nullptr)
            oracle::combine<T>(kind, Twin(src), expected, typedValue<T>(*value));
        else
            oracle::passThroughXor<T>(Twin(src), expected);
        expected.requireEqual(dst);
    };
    const ExImageDataType type = src.layout().type;
    const ResultCode twin = kind == oracle::Logic::Xor ? dispatch(ByType{}, type, {}, judge)
                                                       : dispatch(IntegersByType{}, type, {}, judge);
    require(rc == twin, "another status than expected");
}

template <oracle::Logic Kind, Operation Combine>
void logic(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {everyType});
    const FuzzImage src(in, layout);
    FuzzImage dst(in, like(in, layout));
    QVariant given = anyVariant(in);
    QVariant* const value = in.oneIn(4) ? nullptr : &given;
    const ResultCode rc = Combine(src, dst, value);
    addCall(out, rc, dst, src);
    if (out.isJudged() && areSound(src, dst))
        compareLogic(Kind, src, dst, value, rc);
}

/// The image is both source and destination.
template <Operation Combine>
void logicInPlace(ByteReader& in, Outcome& out)
{
    FuzzImage image(in, anyLayout(in, {everyType}));
    QVariant given = anyVariant(in);
    const ResultCode rc = Combine(image, image, in.oneIn(4) ? nullptr : &given);
    addCall(out, rc, image);
}

void clamp(ByteReader& in, Outcome& out)
{
    FuzzImage image(in, anyLayout(in, {{UInt8, UInt16, UInt32, UInt64, Int32}, everyChannels}));
    if (in.flag())
        image->bitsPerSample = in.between(-1, 66);
    const ResultCode rc = ClampToColorDepth(image);
    addCall(out, rc, image);
    if (!out.isJudged() || !image.isSound())
        return;
    Twin expected(image);
    using Unsigned = ByTypeOf<UInt8, UInt16, UInt32, UInt64>;
    const ResultCode twin =
        dispatch(Unsigned{}, image.layout().type, {},
                 [&]<class T>(std::type_identity<T>) { oracle::clampToColorDepth<T>(expected); });
    require(rc == twin, "another status than expected");
    expected.requireEqual(image);
}

}  // namespace

Cases logicCases()
{
    using oracle::Logic;
    return {{"logic: logic And", &logic<Logic::And, &And>},
            {"logic: logic Or", &logic<Logic::Or, &Or>},
            {"logic: logic Xor", &logic<Logic::Xor, &Xor>},
            {"logic: logicInPlace And", &logicInPlace<&And>},
            {"logic: logicInPlace Or", &logicInPlace<&Or>},
            {"logic: logicInPlace Xor", &logicInPlace<&Xor>},
            {"logic: clamp", &clamp}};
}

}  // namespace ko::fuzz
