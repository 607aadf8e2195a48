// Calls both libraries and prints what comes out.
#include <ko/koimproc.h>

#include <cstdio>

int main()
{
    std::uint16_t in[] = {0, 300, 1, 0};
    std::uint8_t out[] = {9, 9, 9, 9};

    ko::SxImageBuf src;
    src.width = 4;
    src.height = 1;
    src.stride = 4 * ko::bytesPerSample(ko::UInt16);
    src.channels = 1;
    src.bitsPerSample = 16;
    src.dataType = ko::UInt16;
    src.data = reinterpret_cast<std::uint8_t*>(in);

    ko::SxImageBuf dst = src;
    dst.stride = 4;
    dst.bitsPerSample = 8;
    dst.dataType = ko::UInt8;
    dst.data = out;

    if (ko::isFailure(ko::Binarize(src, dst, 7)))
        return 1;
    std::printf("%d %d %d %d\n", out[0], out[1], out[2], out[3]);
    return 0;
}
