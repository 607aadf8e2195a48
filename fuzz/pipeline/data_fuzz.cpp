// Frames and metadata.
#include "fuzz/pipeline/families.h"
#include "fuzz/support/refusal.h"
#include "fuzz/support/variants.h"

#include <ko/pipeline/data.h>

#include <QMap>

#include <cstring>
#include <memory>
#include <utility>

namespace ko::fuzz {

namespace {

void metadata(ByteReader& in, Outcome&)
{
    CxMetadata metadata;
    QMap<QString, QVariant> model;
    for (int i = in.below(24); i >= 0; --i) {
        const QString name = QString::number(in.below(6));
        switch (in.below(4)) {
        case 0:
        case 1:
            model[name] = anyVariant(in);
            metadata.set(name, model[name]);
            break;
        case 2:
            require(metadata.remove(name) == (model.remove(name) > 0), "another answer to a removal");
            break;
        default: {
            CxMetadata copy = metadata;
            copy.set(name, -1);
            require(metadata.contains(name) == model.contains(name), "a copy has changed its original");
            break;
        }
        }
        require(metadata.names() == model.keys() && metadata.count() == model.size(), "other names");
        require(metadata.isEmpty() == model.isEmpty(), "another emptiness");
        require(metadata.value(name, 99).userType() == model.value(name, 99).userType(), "another value");
    }
}

/// A clone has the pixels, and not the memory, of its original.
void cloneFrame(ByteReader& in, Outcome&)
{
    FuzzImage image(in, anyLayout(in, {everyType, everyChannels}));
    CxImageData frame;
    frame.setImageShallow(image, in.integer(), in.raw<std::uint64_t>(), {});
    frame.metadata().set(QStringLiteral("gain"), 3);
    const std::unique_ptr<IxDataInfo> info(frame.dataInfo());
    require(dynamic_cast<CxImageDataInfo&>(*info).info().width == image->width, "another format");
    const std::unique_ptr<IxDataInfo> infoCopy(info->clone());
    require(dynamic_cast<CxImageDataInfo&>(*infoCopy).info().height == image->height, "another format");
    const Refusal refusal(static_cast<double>(image->width) * image->height * image->channels > 1e5);
    const std::unique_ptr<CxImageData> copy(frame.clone());
    if (copy == nullptr)
        return;
    require(copy->metadata() == frame.metadata() && copy->frameNo() == frame.frameNo() &&
                copy->timestamp() == frame.timestamp(),
            "a clone of something else");
    require(copy->image().data != image->data || image->data == nullptr, "the clone shares the memory");
    if (image.isSound()) {
        const Twin a(image);
        const SxImageBuf& b = copy->image();
        const std::int64_t size = bytesPerSample(b.dataType);
        a.forEachSample([&](int x, int y, int c) {
            const std::int64_t row = b.packing == Planar ? std::int64_t{c} * b.height + y : y;
            const std::int64_t column = b.packing == Planar ? x : std::int64_t{x} * b.channels + c;
            require(std::memcmp(a.sample(x, y, c), b.data + row * b.stride + column * size,
                                static_cast<std::size_t>(size)) == 0,
                    "the clone has other samples");
        });
    }
}

void replaceImage(ByteReader& in, Outcome&)
{
    CxImageData frame;
    for (int i = in.below(4); i >= 0; --i) {
        SxImageBuf image;
        const int width = in.below(9), height = in.below(9);
        (void)AllocBuffer(image, width, height, 1, UInt8, 0, 8, Interleaved, true, CompressionNone);
        frame.setImageShallow(image, i, 0, {});
        if (in.flag())
            frame.setImageShallow(image, i, 1, {});
        if (in.oneIn(4)) {
            SxImageBuf mine = std::exchange(frame.image(), SxImageBuf());
            FreeBuffer(mine);
        }
    }
    const IxData plain;
    require(plain.clone() == nullptr, "a clone of nothing");
    IxData other;
    require(other.dataInfo() == nullptr, "the format of nothing");
    const IxDataInfo nothing;
    require(nothing.clone() == nullptr, "a copy of no format");
}

}  // namespace

Cases dataCases()
{
    return {{"data: metadata", &metadata},
            {"data: cloneFrame", &cloneFrame},
            {"data: replaceImage", &replaceImage}};
}

}  // namespace ko::fuzz
