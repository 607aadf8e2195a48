#include "camera/fake_camera.h"

#include <gtest/gtest.h>

#include <iostream>

int main(int argc, char** argv)
{
    testing::InitGoogleTest(&argc, argv);
    // Before there are threads.
    if (!ko::test::leaveNetwork())
        std::cerr << "In the network of the system, where other cameras may answer.\n";
    return RUN_ALL_TESTS();
}
