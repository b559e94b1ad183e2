// Freeing a Fourier descriptor or deleting a data-fitting task gives back
// every block it held (commit plans, twiddles, work areas, recommitted
// plans, construction scratch, search grids), counted by the memory
// manager in a fresh process with the buffer cache off.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "support/process_harness.h"

namespace {

TEST(Release, DescriptorsAndTasksGiveBackEveryBlock) {
    const orb::test::ProbeResult r = orb::test::RunProbe("release_all", {{"ORB_DISABLE_FAST_MM", "1"}});
    ASSERT_EQ(r.exit_code, 0) << r.out;
    std::istringstream lines(r.out);
    std::string word;
    size_t cases = 0, seen = 0;
    ASSERT_TRUE(lines >> word >> cases && word == "cases") << r.out;
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line)) {
        std::istringstream f(line);
        std::string name, extra;
        long long alive = -1, left = -1;
        f >> name >> alive >> left >> extra;
        SCOPED_TRACE(line);
        EXPECT_EQ(extra, "") << "a call of the case failed";
        // The object held something (else the count proves nothing) ...
        EXPECT_GT(alive, 0);
        // ... and nothing is left once it is released.
        EXPECT_EQ(left, 0);
        ++seen;
    }
    EXPECT_EQ(seen, cases);
    EXPECT_GT(cases, 0u);
}

}  // namespace
