// Capture of the reports of the root, power and arc-tangent kernels through
// the call frame's error callback: every report of the calling thread is
// recorded with the values of its error record.
#ifndef ORB_TESTS_VML_MATH_REPORTS_H
#define ORB_TESTS_VML_MATH_REPORTS_H

#include <cstdint>
#include <string>
#include <vector>

struct MathReport {
    int32_t code, index;
    double arg1, arg2, res1;
    std::string name;
};
// Reports from every thread (the team members of a threaded call too).
extern std::vector<MathReport> g_math_reports;

// Installs the recording callback in the calling thread's mode (default
// accuracy, errno and callback actions) and clears the record and status.
void StartReportCapture();
// Turns flush-to-zero/denormals-are-zero of the kernels on or off.
void SetDenormalFlush(bool on);

#endif
