#include <gtest/gtest.h>

#include "support/TestEnvironment.h"

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    vorda::testing::installIsolatedEnvironment();
    return RUN_ALL_TESTS();
}
