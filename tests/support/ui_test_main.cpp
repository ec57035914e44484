// Widget tests run on the offscreen platform with one application object for all of them.

#include "app/ui/guarded_application.h"

#include <gtest/gtest.h>

#include <cstdlib>

int main(int argc, char** argv) {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 0);
    CGuardedApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
