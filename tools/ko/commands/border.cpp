// ko border: pictures with a margin.
#include "cli/failure.h"
#include "commands/operations.h"
#include "io/bayer.h"
#include "io/geometry.h"

#include <memory>
#include <stdexcept>

namespace ko::tool {
namespace {

enum class Fill { Mirror, Black };

struct Options {
    int left = 0, top = 0, right = 0, bottom = 0;
    QRect region;
    Fill fill = Fill::Mirror;
};

Image mirrored(const Image& picture, const Options& o)
{
    SxImageBuf result;
    if (o.region.isNull()) {
        const ResultCode status =
            AllocAndCreateMirroredBorderImage(*picture, result, o.left, o.top, o.right, o.bottom);
        Image owner = Image::owning(result);  // also of what a failure leaves behind
        require(status, "AllocAndCreateMirroredBorderImage");
        return owner;
    }
    SxImageInfo format = *picture;
    format.width = o.region.width();
    format.height = o.region.height();
    require(AllocSafeBorderImage(format, result, o.left, o.top, o.right, o.bottom), "AllocSafeBorderImage");
    Image owner = Image::owning(result);
    require(CreateImageWithMirroredBorder(*picture, o.region, *owner, o.left, o.top, o.right, o.bottom),
            "CreateImageWithMirroredBorder");
    return owner;
}

Image blackened(const Image& picture, const Options& o)
{
    SxImageBuf result;
    const ResultCode status = InitSafeBorder(*picture, result, o.left, o.top, o.right, o.bottom);
    Image owner = Image::owning(result);
    require(status, "InitSafeBorder");
    return owner;
}

Image addBorder(const Image& picture, Frame& frame, const Options& o)
{
    const QRect region = regionIn(*picture, o.region);
    const bool isMirrored = o.fill == Fill::Mirror;
    if (isMirrored && (o.left > region.width() || o.right > region.width() || o.top > region.height() ||
                       o.bottom > region.height()))
        throw std::runtime_error("smaller than the margin");
    if (isMirrored && picture->channels != 1 && picture->channels != 3 && picture->channels != 4)
        throw std::runtime_error("has " + std::to_string(picture->channels) +
                                 " channels, mirrored are pictures of 1, 3 or 4");
    if (isMirrored && bytesPerSample(picture->dataType) > 2)
        throw std::runtime_error("mirrored are samples of 8 or 16 bits");
    std::optional<Image> result;
    timed(frame, [&] { result = isMirrored ? mirrored(picture, o) : blackened(picture, o); });
    (*result)->bayerGrid = gridAt(picture->bayerGrid, region.x() - o.left, region.y() - o.top);
    return std::move(*result);
}

}  // namespace

const Operation borderOperation{
    "Masks and borders", "border", "Enlarge pictures by a mirrored or black margin",
    [](Settings& settings) -> Operation::Prepare {
        auto options = std::make_shared<Options>();
        const std::pair<const char*, int*> margins[] = {{"left", &options->left},
                                                        {"top", &options->top},
                                                        {"right", &options->right},
                                                        {"bottom", &options->bottom}};
        for (const auto& [name, margin] : margins)
            settings.whole(name, *margin, {0, 1 << 24}, "pixels, 0 if not given");
        settings.choice(
            "fill", options->fill,
            {{"mirror", static_cast<int>(Fill::Mirror)}, {"black", static_cast<int>(Fill::Black)}},
            "mirror if not given");
        settings.region("roi", options->region, "only this part, mirrored at its own edges");
        settings.rule([o = options.get()] { return o->fill == Fill::Mirror || o->region.isNull(); },
                      "the margin of a --roi is mirrored, crop first for a black one");
        return [options]() -> Filter {
            return
                [options](const Image& picture, Frame& frame) { return addBorder(picture, frame, *options); };
        };
    },
    true};

}  // namespace ko::tool
