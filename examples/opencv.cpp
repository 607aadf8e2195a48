// A step of koimproc between two of OpenCV, on the same pixels.
#include <ko/cpp.h>
#include <ko/interop/opencv.h>
#include <ko/koimproc.h>

#include <cstdio>
#include <cstdlib>

int main()
{
    // A 12-bit raw frame as a camera delivers it: noise made by OpenCV around one level per colour.
    cv::Mat frame(480, 640, CV_16UC1);
    cv::theRNG().state = 1;
    cv::randn(frame, 1000, 20);
    ko::SxImageBuf raw = ko::viewOf(frame);
    raw.bitsPerSample = 12;
    raw.bayerGrid = ko::BayerRGGB;

    // OpenCV owns the picture, koimproc fills it.
    cv::Mat picture(frame.size(), CV_16UC3);
    ko::SxImageBuf colour = ko::viewOf(picture);
    const ko::ResultCode rc = ko::Demosaic(raw, colour, nullptr);
    if (ko::isFailure(rc)) {
        std::fprintf(stderr, "no picture: %s\n", ko::toString(rc));
        return EXIT_FAILURE;
    }
    // Red comes first here. Before cv::imwrite: cv::cvtColor(picture, picture, cv::COLOR_RGB2BGR).
    const cv::Scalar means = cv::mean(picture);
    std::printf("red %.0f, green %.0f, blue %.0f\n", means[0], means[1], means[2]);

    // And the other way round: OpenCV reads an image of koimproc.
    ko::Image halves = ko::Image::zeros(640, 480, 1, ko::UInt8);
    cv::Mat view = ko::viewAsMat(halves);
    view.colRange(0, 320) = 255;
    std::printf("%d pixels set\n", cv::countNonZero(ko::viewAsMat(halves)));
    return EXIT_SUCCESS;
}
