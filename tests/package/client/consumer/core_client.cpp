// Calls the library of images alone and prints what comes out.
#include <ko/image.h>

#include <cstdio>

int main()
{
    std::printf("%d\n", ko::bytesPerSample(ko::UInt16));
    return 0;
}
