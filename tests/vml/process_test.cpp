// Fresh-process scenarios: ORB_VML_MODE handling and exact printed texts.
#include <gtest/gtest.h>

#include <cstdio>
#include <limits>
#include <string>

#include "support/process_harness.h"

namespace {

using orb::test::ExpectProbe;

TEST(VmlProcess, InitialModeFromTheEnvironment) {
    struct Case { const char *value; const char *want; };
    const Case cases[] = {{nullptr, "mode=0x1A02\n"}, {"0x1A03", "mode=0x1A03\n"},
                          {"6657", "mode=0x1A01\n"}, {"0x280103", "mode=0x280103\n"},
                          {"fast", "mode=0x1A02\n"}, {"0", "mode=0x1A02\n"}};
    for (const Case &c : cases) {
        orb::test::EnvList env;
        if (c.value) env.push_back({"ORB_VML_MODE", c.value});
        ExpectProbe(0, c.want, "vml_initial_mode", env);
    }
}

TEST(VmlProcess, PrintedSingularityReports) {
    // 0/0 is the processor's default NaN (sign set); whether %g shows the
    // sign is the C runtime's choice.
    char nan_text[16];
    std::snprintf(nan_text, sizeof nan_text, "%g", -std::numeric_limits<double>::quiet_NaN());
    const std::string nan = nan_text;
    ExpectProbe(0,
                "Error (VML_STATUS_SING) in vdDiv: argument caused singularity.\n"
                "a(1)=1\nr(1)=inf\n"  // a zero second argument prints as one-argument
                "Error (VML_STATUS_SING) in vdDiv: argument caused singularity.\n"
                "a(2)=0\ny(2)=" + nan + "\nz(2)=" + nan + "\n"  // NaN unequal to itself: both results
                "status=2\n",
                "vml_print_div");
}

TEST(VmlProcess, PrintedTextsOfEveryCode) {
    ExpectProbe(0,
                "Error (VML_STATUS_BADSIZE) in vdOne: array size 6 is not positive.\n"
                "Error (VML_STATUS_BADMEM) in vdOne: NULL pointer is passed.\n"
                "Error (VML_STATUS_ERRDOM) in vdOne: argument is out of domain.\n"
                "a(6)=2\nr(6)=4\n"
                "Error (VML_STATUS_OVERFLOW) in vdOne: argument caused overflow.\n"
                "a(6)=2\nr(6)=4\n"
                "Error (VML_STATUS_UNDERFLOW) in vdOne: argument caused underflow.\n"
                "a(6)=2\nr(6)=4\n"
                "Unknown error in vdOne.\n"
                "a(6)=2\nr(6)=4\n"
                "Error (VML_STATUS_ERRDOM) in vdTwoRes: argument is out of domain.\n"
                "a(0)=2\ny(0)=4\nz(0)=5\n"
                "Error (VML_STATUS_ERRDOM) in vdFour: argument is out of domain.\n"
                "a(0)=2\nb(0)=3\ny(0)=4\nz(0)=5\n",
                "vml_print_codes");
}

TEST(VmlProcess, ParameterErrorsNameTheirPosition) {
    ExpectProbe(0,
                "\nORB ERROR: Parameter 1 was incorrect on entry to vdAdd.\n"
                "\nORB ERROR: Parameter 3 was incorrect on entry to vdAdd.\n"
                "\nORB ERROR: Parameter 2 was incorrect on entry to vdAdd.\n"
                "\nORB ERROR: Parameter 3 was incorrect on entry to vsSqr.\n"
                "\nORB ERROR: Parameter 4 was incorrect on entry to vdPowx.\n"
                "\nORB ERROR: Parameter 8 was incorrect on entry to vdLinearFrac.\n"
                "status=-2\n",
                "vml_param_errors");
}

}  // namespace
