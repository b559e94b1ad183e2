// Freeing a Fourier descriptor or deleting a data-fitting task gives back
// every block it held (commit plans, twiddles, work areas, recommitted
// plans, construction scratch, search grids), counted by the memory manager
// in a fresh process with the buffer cache off (see probe_release.cpp).
#include <gtest/gtest.h>

#include "support/process_harness.h"

TEST(Release, DescriptorsAndTasksGiveBackEveryBlock) {
    const orb::test::ProbeResult r = orb::test::RunProbe("release_all", {{"ORB_DISABLE_FAST_MM", "1"}});
    EXPECT_EQ(r.exit_code, 0) << r.out;
    EXPECT_NE(r.out.find("released: 15 cases\n"), std::string::npos) << r.out;
}
