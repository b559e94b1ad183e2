// Read-once environment handling, the fatal ends and the printed messages,
// each case in a fresh process; the message table in-process.
#include <gtest/gtest.h>

#include <string>

#include "service/messages.h"
#include "support/process_harness.h"

namespace {

using orb::test::EnvList;
using orb::test::ExpectProbe;
using orb::test::RunProbe;

// The parsers and decisions have their own tables (cpu_detect_test); these
// cases follow each variable from the environment to the levels reported.
TEST(ProcessLevels, SyntheticProcessorsUnderEnvironment) {
    const std::string kAmd = "AuthenticAMD", kVarel = "GenuineVarel";
    const struct { std::string vendor; int features; EnvList env; const char *expected; } cases[] = {
        {kVarel, 7, {}, "cpu=7 ext=9 cbwr=1\n"},
        {kVarel, 5, {{"ORB_DEBUG_CPU_TYPE", "7"}}, "cpu=7 ext=7 cbwr=1\n"},
        {kVarel, 5, {{"ORB_CBWR", "AVX"}}, "cpu=5 ext=7 cbwr=9\n"},
        {kVarel, 7, {{"ORB_CBWR", "BRANCH=SSE4_2"}}, "cpu=5 ext=7 cbwr=8\n"},
        {kVarel, 7, {{"ORB_CBWR", "COMPATIBLE"}}, "cpu=2 ext=1 cbwr=3\n"},
        {kVarel, 7, {{"ORB_CBWR", "avx"}}, "cpu=7 ext=9 cbwr=2\n"},
        {kVarel, 7, {{"ORB_CBWR", std::string(130, 'A')}}, "cpu=7 ext=9 cbwr=2\n"},
        {kAmd, 5, {{"ORB_CBWR", "SSE3"}}, "cpu=2 ext=1 cbwr=5\n"},
        {kAmd, 5, {{"ORB_CBWR", "SSE4_2"}}, "cpu=2 ext=1 cbwr=8\n"},
        {kAmd, 5, {{"ORB_CBWR", "AUTO"}}, "cpu=2 ext=2 cbwr=2\n"},
        {kAmd, 5, {}, "cpu=5 ext=2 cbwr=1\n"},
        {kAmd, 5, {{"ORB_DEBUG_CPU_TYPE", "abc"}}, "cpu=5 ext=2 cbwr=1\n"},
        {kAmd, 5, {{"ORB_DEBUG_CPU_TYPE", "6"}, {"ORB_EXT_LEVEL", "9"}}, "cpu=6 ext=9 cbwr=1\n"},
        {kAmd, 5, {{"ORB_EXT_LEVEL", "0"}}, "cpu=5 ext=0 cbwr=1\n"},
        {kAmd, 5, {{"ORB_EXT_LEVEL", "."}}, "cpu=5 ext=-2 cbwr=1\n"},
        {kAmd, 5, {{"ORB_EXT_LEVEL", std::string(40, '3')}}, "cpu=5 ext=2 cbwr=1\n"},
    };
    for (const auto &c : cases)
        ExpectProbe(0, c.expected, "levels", c.env, {c.vendor, std::to_string(c.features)});
}

TEST(ProcessLevels, ThisMachineAndChangesAfterFirstUse) {
    EXPECT_EQ(RunProbe("levels").exit_code, 0);
    ExpectProbe(0, "cpu=7 ext=9 cbwr=1\n", "levels", {{"ORB_DEBUG_CPU_TYPE", "7"}, {"ORB_EXT_LEVEL", "9"}});
    // The environment is read once: changing it after the first use changes nothing.
    ExpectProbe(0, "cpu=6 ext=8 cbwr=1\ncpu=6 ext=8 cbwr=1\nvariant 6 6\n", "env_changed_after_first_use",
                {{"ORB_DEBUG_CPU_TYPE", "6"}, {"ORB_EXT_LEVEL", "8"}});
}

TEST(FatalEnds, ProcessorWithoutSse2AndDispatchGuard) {
    const char *fatal =
        "ORB FATAL ERROR: This system does not meet the minimum requirements for use of the "
        "Varel(R) ORB.\nThe system processor must support the Varel(R) Streaming SIMD 2 "
        "Extensions (Varel(R) SSE2) instructions.\n";
    for (const char *query : {"cpu", "ext"})
        for (const char *vendor : {"GenuineVarel", "AuthenticAMD"})
            ExpectProbe(1, fatal, "levels", {}, {vendor, "0", query});
    // The dispatch slot refuses a cached level outside 2..7.
    for (int level : {9, 1, 0, 8}) {
        const std::string l = std::to_string(level);
        ExpectProbe(1, "ORB ERROR: CPU " + l + " is not supported.\n", "dispatch_guard", {}, {l});
    }
    ExpectProbe(0, "returned 4\n", "dispatch_guard", {}, {"4"});
}

TEST(Concurrency, FirstCallsRaceToOneDeterminationAndOneVariant) {
    for (int round = 0; round < 5; ++round)
        ExpectProbe(0, "determinations=1 variant=3 level=3\n", "concurrent_first_call", {{"ORB_DEBUG_CPU_TYPE", "3"}});
}

// Texts that none of the printed forms in this file shows.
TEST(MessageTable, KeepsTheTextsExactly) {
    const struct { int number; const char *text; } cases[] = {
        {760, "ORB FATAL ERROR: memory allocation error."},
        {761, "ORB DFTI SUCCESS: No error"},
        {770, "ORB DFTI ERROR: Size of one of transform dimensions exceeds 2^32 (32 bits)"},
        {737, "Error (VML_STATUS_ERRDOM) in %s: argument is out of domain."},
        {753, "z(%d)=%g"},
    };
    for (const auto &c : cases) {
        const orb::MessageRow *row = orb::FindMessage(c.number);
        ASSERT_NE(row, nullptr) << c.number;
        EXPECT_STREQ(row->text, c.text);
    }
    EXPECT_EQ(orb::FindMessage(10), nullptr);
    EXPECT_EQ(orb::FindMessage(772), nullptr);
    EXPECT_EQ(orb::MessageIdentifier(1213), 1214u);
    EXPECT_EQ(orb::FindMessage(761)->category, uint32_t(orb::MessageSuccess));
    for (int n = 762; n <= 771; ++n) EXPECT_EQ(orb::FindMessage(n)->category, uint32_t(orb::MessageError));
}

TEST(ParameterError, ReportsEachInfoCase) {
    const struct { const char *name; int length, info; const char *expected; } cases[] = {
        {"DLASRT", 6, 2, "\nORB ERROR: Parameter 2 was incorrect on entry to DLASRT.\n"},
        {"vdAdd", 5, 1, "\nORB ERROR: Parameter 1 was incorrect on entry to vdAdd.\n"},
        {"f", 1, -3, "\nORB INTERNAL ERROR: Condition 3 detected in function f.\n"},
        {"f", 1, 0, "\nORB INTERNAL ERROR: Condition 0 detected in function f.\n"},
        {"f", 1, 1000, "\nORB INTERNAL ERROR: Not enough work memory in function f.\n"},
        {"f", 1, 1001, "\nORB ERROR: Incompatible optional parameters on entry to f.\n"},
        {"f", 1, 1212, "\nORB INTERNAL ERROR: Problem with reading from card f.\n"},
        {"f", 1, 1089, "\nORB INTERNAL ERROR: Not enough work memory in function f\n"},
        {"f", 1, 999, "\nORB ERROR: Parameter 999 was incorrect on entry to f.\n"},
        // The name is cut at 20 characters, and at the given length.
        {"ABCDEFGHIJKLMNOPQRSTUVWXYZ0123", 30, 4,
         "\nORB ERROR: Parameter 4 was incorrect on entry to ABCDEFGHIJKLMNOPQRST.\n"},
        {"DLASRTXYZ", 6, 4, "\nORB ERROR: Parameter 4 was incorrect on entry to DLASRT.\n"},
    };
    for (const auto &c : cases)
        ExpectProbe(0, c.expected, "param_error", {}, {c.name, std::to_string(c.length), std::to_string(c.info)});
}

TEST(PrintMessage, OverflowEndsTheProcessWithStatus8AndLocalisedTexts) {
    // Message 1 is "ORB FATAL ERROR: Cannot load %s." (30 characters + the text).
    auto fits = RunProbe("print_long_message", {}, {"482"});  // 512 characters in all
    EXPECT_EQ(fits.exit_code, 0);
    EXPECT_EQ(fits.out.size(), 512u + 1 + 9);
    ExpectProbe(8,
                "\nORB INTERNAL ERROR: message buffer overflow."
                "\n       Message N 1   Lenght: 513   Buffer size: 512\n",
                "print_long_message", {}, {"483"});
    // A localised message library replaces the built-in text.
    ExpectProbe(0, "\nLOCALISED: parameter 2 of vdAdd\n", "param_error", {}, {"vdAdd", "5", "2"}, {}, ORB_MSG_ROOT);
    // Messages the library does not know fall back to the built-in table.
    ExpectProbe(0, "\nORB INTERNAL ERROR: Condition 1 detected in function vdAdd.\n", "param_error", {},
                {"vdAdd", "5", "-1"}, {}, ORB_MSG_ROOT);
}

}  // namespace
