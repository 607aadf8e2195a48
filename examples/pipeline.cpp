// A camera's frames become colour pictures while the camera delivers the next ones.
//
// usage: pipeline [frames]
#include <ko/cpp.h>
#include <ko/koimproc.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

/// Stands for a camera: a 640 x 480 mosaic that gets brighter from frame to frame.
ko::SxImageBuf nextMosaic(int number)
{
    ko::Image mosaic(640, 480, 1, ko::UInt8);
    mosaic->bayerGrid = ko::BayerRGGB;
    std::memset(mosaic->data, number % 256, ko::imageByteSize(mosaic));
    return mosaic.release();  // the source takes it over
}

void report(const ko::IxPipeItem& item)
{
    const ko::SxPipeStatistics counts = item.statistics();
    std::printf("%-8s %5llu processed %5llu dropped %5llu failed %8.0f frames per second\n",
                qPrintable(item.title()), static_cast<unsigned long long>(counts.processed),
                static_cast<unsigned long long>(counts.dropped),
                static_cast<unsigned long long>(counts.failed), item.calcFps());
}

}  // namespace

int main(int argc, char** argv)
{
    const int frames = argc > 1 ? std::atoi(argv[1]) : 200;

    double meanGreen = 0;
    ko::CxFrameSource camera;
    ko::CxDemosaicConvertor convertor;
    ko::CxFrameSink display([&](ko::CxImageData& frame) {
        double means[3];
        if (ko::Mean(frame.image(), QRect(0, 0, frame.image().width, frame.image().height), means) ==
            ko::ResultOk)
            meanGreen = means[1];
    });
    camera.setName("camera");
    convertor.setName("colour");
    display.setName("display");
    // A display that falls behind shows the newest frames; everything before it waits for its turn.
    display.setQueue(2, ko::QueueDropsOldest);

    if (!camera.addSuccessor(&convertor) || !convertor.addSuccessor(&display) || !ko::StartPipe(camera))
        return EXIT_FAILURE;
    for (int number = 0; number < frames; ++number)
        camera.push(nextMosaic(number));
    ko::DrainPipe(camera);
    ko::StopPipe(camera);

    report(camera);
    report(convertor);
    report(display);
    std::printf("green of the last frame: %.0f\n", meanGreen);
    const bool isAllThere = convertor.statistics().processed == static_cast<std::uint64_t>(frames);
    return isAllThere ? EXIT_SUCCESS : EXIT_FAILURE;
}
