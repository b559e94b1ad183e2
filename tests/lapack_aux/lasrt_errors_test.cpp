// Argument errors of dlasrt/slasrt, each in its own process: info, the
// untouched array and the printed report.
#include <gtest/gtest.h>

#include "support/process_harness.h"

using orb::test::ExpectProbe;

namespace {

TEST(LasrtErrors, ReportsAndInfo) {
    const struct {
        const char *routine, *id, *n, *out;
    } cases[] = {
        {"d", "x", "3", "\nORB ERROR: Parameter 1 was incorrect on entry to DLASRT.\ninfo=-1 untouched=1\n"},
        {"d", "I", "-1", "\nORB ERROR: Parameter 2 was incorrect on entry to DLASRT.\ninfo=-2 untouched=1\n"},
        {"s", "D", "-5", "\nORB ERROR: Parameter 2 was incorrect on entry to SLASRT.\ninfo=-2 untouched=1\n"},
        {"s", "", "3", "\nORB ERROR: Parameter 1 was incorrect on entry to SLASRT.\ninfo=-1 untouched=1\n"},
        {"d", "x", "-1", "\nORB ERROR: Parameter 1 was incorrect on entry to DLASRT.\ninfo=-1 untouched=1\n"},
        {"d", "d", "3", "info=0 untouched=0\n"},
        {"s", "i", "0", "info=0 untouched=1\n"},
    };
    for (const auto &c : cases) ExpectProbe(0, c.out, "lasrt_args", {}, {c.routine, c.id, c.n});
}

TEST(LasrtErrors, EarlierReporterStays) {
    ExpectProbe(0, "custom SLASRT 2\ninfo=-2 untouched=1\n", "lasrt_custom_reporter", {}, {"s", "I", "-2"});
}

}  // namespace
