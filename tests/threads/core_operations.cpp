// Images and their memory, the Bayer helpers, pipes; borders and masks.
#include "threads/call.h"

#include <ko/cpp/image.h>

#include <cstring>
#include <numbers>

namespace ko::test {

namespace {

SxImageBuf copyOf(const SxImageBuf& image)
{
    Image copy = Image::zeros(image);
    orThrow(CopyBuffer(image, QRect(0, 0, image.width, image.height), copy, QPoint(0, 0), false));
    return copy.release();
}

/// Frames through a pipe whose worker threads are the call's own.
void runPipe(Call& call)
{
    CxFrameSource source;
    CxDemosaicConvertor convertor;
    CxFrameSink sink([&](CxImageData& frame) {
        call.value(frame.frameNo());
        call.release(frame.image());
    });
    convertor.setBayerGridSource(CxDemosaicConvertor::GridFromSettings);
    convertor.setBayerGrid(BayerGBRG);
    source.addSuccessor(&convertor);
    convertor.addSuccessor(&sink);
    call.value(StartPipe(source));
    // Until the pipe is drained, the record is the sink's.
    bool pushed = true;
    for (int i = 0; i < 5; ++i)
        pushed = source.push(copyOf(call.mosaic())) && pushed;
    call.value(DrainPipe(source));
    call.value(pushed);
    call.value(StopPipe(source));
    call.value(sink.statistics().processed);
}

}  // namespace

Operations coreOperations()
{
    return {
        {"AllocBuffer",
         [](Call& c) {
             SxImageBuf image;
             c.status(AllocBuffer(image, c.width, c.height, 3, UInt16, 0, 12, Planar, true, CompressionNone));
             c.release(image);
         }},
        {"AllocBuffer of a format",
         [](Call& c) {
             SxImageBuf image;
             c.status(AllocBuffer(c.image().buf(), image, true));
             c.value(imageByteSize(image));
             c.value(bytesPerSample(image.dataType));
             c.release(image);
         }},
        {"CopyBuffer",
         [](Call& c) {
             const TestImage& from = c.image(UInt16, 3);
             c.status(CopyBuffer(from, c.region, c.image(UInt16, 3), QPoint(1, 3), false));
         }},
        {"CopyChannel",
         [](Call& c) {
             const TestImage& from = c.image(UInt16, 3);
             c.status(CopyChannel(from, 2, c.image(UInt16, 4, Planar), 1));
         }},
        {"MemCpy",
         [](Call& c) {
             const std::array<std::uint64_t, 4> from{1, 2, 3, 4};
             std::array<std::uint64_t, 4> to{};
             c.status(MemCpy(to.data(), from.data(), sizeof(from), 0, 0));
             c.value(to);
         }},
        {"ChannelIndexLogicalToPhysical",
         [](Call& c) { c.value(ChannelIndexLogicalToPhysical(2, c.image(UInt8, 3))); }},
        {"L2CacheSize", [](Call& c) { c.value(L2CacheSize()); }},
        {"toString",
         [](Call& c) {
             const auto code = static_cast<ResultCode>(ResultBadArg1 + c.width % 3);
             c.bytes(toString(code), std::strlen(toString(code)));
         }},
        {"ConvertRawToPlanarRaw",
         [](Call& c) {
             c.status(ConvertRawToPlanarRaw(c.mosaic(), c.region, BayerGBRG,
                                            c.image({.width = c.region.width() / 2,
                                                     .height = c.region.height() / 2,
                                                     .channels = 4,
                                                     .packing = Planar})));
         }},
        {"DemosaicSimple",
         [](Call& c) {
             c.status(DemosaicSimple(c.mosaic(UInt16), c.region,
                                     c.image({.width = c.region.width() / 2,
                                              .height = c.region.height() / 2,
                                              .channels = 3,
                                              .type = UInt16}),
                                     BayerGRBG));
         }},
        {"a pipe", &runPipe},
    };
}

Operations frameOperations()
{
    return {
        {"Binarize",
         [](Call& c) {
             const TestImage& from = c.image(UInt16);
             c.status(Binarize(from, c.image(), 7));
         }},
        {"AllocSafeBorderImage",
         [](Call& c) {
             SxImageBuf image;
             c.status(AllocSafeBorderImage(c.image().buf(), image, 1, 2, 3, 4));
             c.release(image);
         }},
        {"InitSafeBorder",
         [](Call& c) {
             SxImageBuf image;
             c.status(InitSafeBorder(c.image(UInt16, 3), image, 1, 2, 3, 4));
             c.release(image);
         }},
        {"CreateImageWithMirroredBorder",
         [](Call& c) {
             const TestImage& from = c.image(UInt8, 3);
             c.status(CreateImageWithMirroredBorder(
                 from, c.image({.width = c.width + 4, .height = c.height + 6, .channels = 3}), 1, 2, 3, 4));
         }},
        {"CreateImageWithMirroredBorder of a region",
         [](Call& c) {
             const TestImage& from = c.image(UInt16);
             const Layout larger{
                 .width = c.region.width() + 4, .height = c.region.height() + 6, .type = UInt16};
             c.status(CreateImageWithMirroredBorder(from, c.region, c.image(larger), 1, 2, 3, 4));
         }},
        {"AllocAndCreateMirroredBorderImage",
         [](Call& c) {
             SxImageBuf image;
             c.status(AllocAndCreateMirroredBorderImage(c.image(UInt8, 4), image, 4, 3, 2, 1));
             c.release(image);
         }},
        {"MaskImage",
         [](Call& c) {
             TestImage& image = c.image(UInt16, 3);
             c.status(MaskImage(image, c.mask()));
         }},
        {"SetValueMasked",
         [](Call& c) {
             TestImage& image = c.image(Float32);
             c.status(SetValueMasked(image, c.stencil(), QPoint(3, 2), 1.5));
         }},
        {"BinaryMask",
         [](Call& c) {
             const TestImage& from = c.image(UInt16, 3, Planar);
             c.status(BinaryMask(from, c.mask(), 77));
         }},
        {"EllipseMaskMono",
         [](Call& c) {
             SxImageBuf image;
             c.status(EllipseMaskMono(image, 9, 4, std::numbers::pi / 3, 1, 200));
             c.release(image);
         }},
        {"EllipseMaskRgb",
         [](Call& c) {
             SxImageBuf image;
             const unsigned char outside[] = {1, 2, 3};
             const unsigned char inside[] = {4, 5, 6};
             c.status(EllipseMaskRgb(image, 7, 5, 1.25, outside, inside));
             c.release(image);
         }},
        {"GetCircleMaskByte",
         [](Call& c) {
             const unsigned char* disc = nullptr;
             c.value(GetCircleMaskByte(9, &disc));
             c.bytes(disc, 81);
         }},
    };
}

}  // namespace ko::test
