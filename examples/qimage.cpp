// Removes the noise of a picture with Qt around it: any file that Qt reads, in and out.
//
// usage: qimage [input output]
#include <ko/interop/qimage.h>
#include <ko/koimproc.h>

#include <cstdio>
#include <cstdlib>

namespace {

/// A picture to work on where none is given: a slope of gray with a bad pixel.
QImage slopeWithBadPixel()
{
    QImage picture(320, 240, QImage::Format_RGB888);
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            picture.setPixel(x, y, qRgb(y, y, y));
    picture.setPixel(160, 120, qRgb(255, 0, 0));
    return picture;
}

}  // namespace

int main(int argc, char** argv)
{
    // Most files arrive as Format_RGB32, whose pixels start with blue.
    const QImage noisy =
        argc == 3 ? QImage(argv[1]).convertToFormat(QImage::Format_RGB888) : slopeWithBadPixel();
    QImage clean(noisy.size(), noisy.format());

    const ko::SxImageBuf src = ko::viewOf(noisy);
    ko::SxImageBuf dst = ko::viewOf(clean);
    const ko::ResultCode rc = ko::Median(src, dst, 1, nullptr);
    if (ko::isFailure(rc)) {
        std::fprintf(stderr, "no median: %s\n", ko::toString(rc));
        return EXIT_FAILURE;
    }
    if (argc == 3)
        return clean.save(argv[2]) ? EXIT_SUCCESS : EXIT_FAILURE;
    std::printf("red at the bad pixel: %d before, %d after\n", qRed(noisy.pixel(160, 120)),
                qRed(clean.pixel(160, 120)));
    return EXIT_SUCCESS;
}
