#include <gmock/gmock.h>

#include "common/platform.h"

int main(int argc, char** argv) {
    // A crash must end the test run with a failing code, never with a dialog that nobody sees.
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    ::testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
