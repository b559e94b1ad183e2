// Reports recorded by the test stand-in of the call frame's handler.
#ifndef ORB_TESTS_VML_MATH_FRAME_STUB_H
#define ORB_TESTS_VML_MATH_FRAME_STUB_H

#include <cstdint>
#include <string>
#include <vector>

struct MathReport {
    int32_t code, index;
    double arg1, arg2, res1;
    std::string name;
};
extern std::vector<MathReport> g_math_reports;
extern uint32_t g_math_mode;

#endif
