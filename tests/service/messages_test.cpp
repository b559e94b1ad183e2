// The message table, the printer and the parameter-error report, the
// printed forms checked in fresh processes.
#include <gtest/gtest.h>

#include <string>

#include "service/messages.h"
#include "support/process_harness.h"

namespace {

using orb::test::ExpectProbe;
using orb::test::RunProbe;

TEST(MessageTable, KeepsTheTextsExactly) {
    struct Case {
        int number;
        const char *text;
    } cases[] = {
        {6, "ORB ERROR: Parameter %d was incorrect on entry to %s."},
        {8, "ORB INTERNAL ERROR: Not enough work memory in function %s."},
        {1089, "ORB INTERNAL ERROR: Not enough work memory in function %s"},
        {760, "ORB FATAL ERROR: memory allocation error."},
        {761, "ORB DFTI SUCCESS: No error"},
        {770, "ORB DFTI ERROR: Size of one of transform dimensions exceeds 2^32 (32 bits)"},
        {1213, "ORB ERROR: CPU %d is not supported."},
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
    struct Case {
        const char *name;
        int length;
        int info;
        const char *expected;
    } cases[] = {
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

TEST(PrintMessage, OverflowEndsTheProcessWithStatus8) {
    // Message 1 is "ORB FATAL ERROR: Cannot load %s." (30 characters + the text).
    auto fits = RunProbe("print_long_message", {}, {"482"});  // 512 characters in all
    EXPECT_EQ(fits.exit_code, 0);
    EXPECT_EQ(fits.out.size(), 512u + 1 + 9);
    ExpectProbe(8,
                "\nORB INTERNAL ERROR: message buffer overflow."
                "\n       Message N 1   Lenght: 513   Buffer size: 512\n",
                "print_long_message", {}, {"483"});
}

TEST(PrintMessage, LocalisedLibraryReplacesTheBuiltInText) {
    ExpectProbe(0, "\nLOCALISED: parameter 2 of vdAdd\n", "param_error", {}, {"vdAdd", "5", "2"}, {}, ORB_MSG_ROOT);
    // Messages the library does not know fall back to the built-in table.
    ExpectProbe(0, "\nORB INTERNAL ERROR: Condition 1 detected in function vdAdd.\n", "param_error", {},
                {"vdAdd", "5", "-1"}, {}, ORB_MSG_ROOT);
}

}  // namespace
