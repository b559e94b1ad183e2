// Process ends through the platform layer: the exit code reaches the
// parent and buffered output is flushed first.
#include <gtest/gtest.h>

#include "support/process_harness.h"

namespace {

TEST(PlatformTerminate, ExitCodeAndFlushedOutput) {
    for (int code : {1, 3, 8})
        orb::test::ExpectProbe(code, "before the end", "platform_terminate", {}, {std::to_string(code)});
}

}  // namespace
