// Averages and background corrections.
#include "base/checks.h"
#include "base/dispatch.h"
#include "fuzz/tone/bands.h"
#include "fuzz/tone/families.h"
#include "oracle/background.h"

#include <ko/tone.h>

#include <memory>
#include <vector>

namespace ko::fuzz {

namespace {

constexpr std::initializer_list<ExImageDataType> summedTypes = {UInt8,  UInt16, UInt32, UInt8,
                                                                UInt16, UInt32, Int8,   Float32};

/// Frames of one format; one in eight of another size.
struct Frames {
    std::vector<std::unique_ptr<FuzzImage>> images;
    QVector<SxImageBuf> records;

    Frames(ByteReader& in, const Layout& layout)
    {
        for (int i = in.oneIn(16) ? 0 : in.between(1, 6); i > 0; --i) {
            Layout own = like(in, layout);
            if (in.oneIn(8)) {
                own.width += in.below(3);
                own.height += in.below(3);
            }
            images.push_back(std::make_unique<FuzzImage>(in, own));
            records.append(images.back()->buf());
        }
    }

    bool areSound() const
    {
        for (const auto& image : images)
            if (!image->isSound())
                return false;
        return true;
    }
};

void average(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {summedTypes, everyChannels});
    const Frames frames(in, layout);
    const bool isWhole = in.flag();
    const QRect roi = isWhole && !frames.records.isEmpty()
                          ? QRect(0, 0, frames.images[0]->layout().width, frames.images[0]->layout().height)
                          : anyRect(in, layout);
    Layout target = like(in, layout);
    target.width += in.below(2);
    FuzzImage dst(in, target);
    const ResultCode rc =
        isWhole ? AverageImage(frames.records, dst) : AverageImage(frames.records, roi, dst);
    addCall(out, rc, dst);
    for (const auto& image : frames.images)
        require(image->isUntouched(), "a frame has changed");
    if (rc != ResultOk || !out.isJudged() || !frames.areSound() || !dst.isSound())
        return;
    Twin expected(dst);
    std::vector<std::unique_ptr<Twin>> twins;
    std::vector<const test::TestImage*> pointers;
    for (const auto& image : frames.images) {
        twins.push_back(std::make_unique<Twin>(*image));
        pointers.push_back(twins.back().get());
    }
    (void)dispatch(ByTypeOf<UInt8, UInt16, UInt32>{}, layout.type, {},
                   [&]<class T>(std::type_identity<T>) { oracle::averageImage<T>(pointers, roi, expected); });
    expected.requireEqual(dst);
}

using Unsigned = ByTypeOf<UInt8, UInt16>;
constexpr std::initializer_list<ExImageDataType> correctedTypes = {UInt8, UInt16, UInt8, UInt16, Int16};

void correct(ByteReader& in, Outcome& out)
{
    Layout layout = anyLayout(in, {correctedTypes, {1, 3, 4, 2}});
    layout.packing = in.oneIn(12) ? Planar : Interleaved;
    const FuzzImage src(in, layout), background(in, like(in, layout));
    FuzzImage dst(in, like(in, layout));
    const double reference = in.real(), target = in.real();
    std::vector<double> gains(3);
    for (double& gain : gains)
        gain = in.real();
    double* const given = in.oneIn(4) ? nullptr : new double[3]{gains[0], gains[1], gains[2]};
    const ResultCode rc = CorrectBackground(src, background, dst, reference, target, given);
    if (isFailure(rc) && rc != ResultFailed)
        delete[] given;
    addCall(out, rc, dst, src, background);
    if (rc != ResultOk || !out.isJudged() || !areSound(src, background, dst))
        return;
    if (given == nullptr)
        gains.assign(3, topOf(layout));
    Twin expected(dst);
    const double ratio = reference > 0 && target > 0 ? target / reference : 1.0;
    (void)dispatch(Unsigned{}, layout.type, {}, [&]<class T>(std::type_identity<T>) {
        oracle::correctBackground<T>(Twin(src), Twin(background), expected, ratio, gains);
    });
    expected.requireEqual(dst);
}

/// The destination is the source or the background.
void correctOnto(ByteReader& in, Outcome& out)
{
    Layout layout = anyLayout(in, {correctedTypes, {1, 3, 4}});
    layout.packing = Interleaved;
    FuzzImage image(in, layout);
    const FuzzImage other(in, like(in, layout));
    const double reference = in.real(), target = in.real();
    const bool isSource = in.flag();
    const SxImageBuf& src = isSource ? image.buf() : other.buf();
    const SxImageBuf& background = isSource ? other.buf() : image.buf();
    const ResultCode rc = CorrectBackground(src, background, image, reference, target, nullptr);
    addCall(out, rc, image, other);
    if (rc != ResultOk || !out.isJudged() || !areSound(image, other))
        return;
    Twin expected(image);
    const Twin a(isSource ? image : other), b(isSource ? other : image);
    const double ratio = reference > 0 && target > 0 ? target / reference : 1.0;
    const std::vector<double> gains(3, topOf(layout));
    (void)dispatch(Unsigned{}, layout.type, {}, [&]<class T>(std::type_identity<T>) {
        oracle::correctBackground<T>(a, b, expected, ratio, gains);
    });
    expected.requireEqual(image);
}

void correctInPlace(ByteReader& in, Outcome& out)
{
    const Layout layout = anyLayout(in, {correctedTypes, {1, 3, 4, 2}});
    const FuzzImage background(in, layout);
    FuzzImage image(in, like(in, layout, layout.type, in.oneIn(8) ? 3 : layout.channels, layout.bits));
    const int count = in.oneIn(8) ? in.integer() : in.below(layout.channels + 1);
    std::vector<double> factors(resultsOf(image));
    for (std::size_t i = 0; i < 4; ++i)
        factors[i] = in.real();
    const ResultCode rc =
        BackgroundCorrection(background, image, count, in.oneIn(16) ? nullptr : factors.data());
    addCall(out, rc, image, background);
    if (rc != ResultOk || !out.isJudged() || !areSound(background, image))
        return;
    Twin expected(image);
    (void)dispatch(Unsigned{}, layout.type, {}, [&]<class T>(std::type_identity<T>) {
        oracle::backgroundCorrection<T>(Twin(background), expected, count, factors);
    });
    expected.requireEqual(image);
}

}  // namespace

Cases backgroundCases()
{
    return {{"background: average", &average},
            {"background: correct", &correct},
            {"background: correctInPlace", &correctInPlace},
            {"background: correctOnto", &correctOnto}};
}

}  // namespace ko::fuzz
