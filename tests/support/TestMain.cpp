#include "support/RuntimeDirectory.h"

#include <gtest/gtest.h>

// The core's test programs: no application object, only the runtime directory that the
// programs they start (and Qt, if it asks) expect.
int main(int argc, char* argv[])
{
    Kelvane::Testing::RuntimeDirectory runtimeDirectory;
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
