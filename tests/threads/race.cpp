// Races on purpose, or does not: what the sanitizer must report in spite of all that it is told to pass over.
//
// usage: race rows | threads | mutex
#include "base/rows.h"

#include <QMutex>

#include <cstdio>
#include <string>
#include <thread>

namespace {

int counter = 0;

/// Has two threads run `step`.
template <class Step>
void runTwice(const Step& step)
{
    std::thread other(step);
    step();
    other.join();
}

}  // namespace

int main(int argc, char** argv)
{
    const std::string how = argc == 2 ? argv[1] : "";
    QMutex mutex;
    if (how == "rows")
        ko::rowsStatic({100'000, ko::leastSharedWork},
                       [](std::int64_t y) noexcept { counter += static_cast<int>(y % 2); });
    else if (how == "threads")
        runTwice([] { ++counter; });
    else if (how == "mutex")
        runTwice([&] {
            const QMutexLocker lock(&mutex);
            ++counter;
        });
    else
        return 2;
    std::printf("%d\n", counter);
}
