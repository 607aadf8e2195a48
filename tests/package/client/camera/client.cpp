// Asks for a camera that is not there and prints what comes of it.
#include <ko/camera.h>

#include <cstdio>

int main()
{
    ko::CxAravisSource camera;
    const bool isTaken = camera.loadSettings({{"camera", "192.0.2.1"}, {"exposure", 5000}});
    const bool isStarted = ko::StartPipe(camera);
    std::printf("%d %d %d\n", isTaken, isStarted, camera.errorText().isEmpty());
    return 0;
}
