// ServReportParameterError: the library's report of a bad argument, and the
// hook through which the LAPACK entries route their reports.
#include <atomic>
#include <cstring>

#include "service/serv.h"

extern "C" void ServReportParameterError(const char *name, const int32_t *info,
                                         int32_t name_length) {
    char routine[21];
    int32_t len = name_length < 0 ? 0 : (name_length > 20 ? 20 : name_length);
    int32_t copied = 0;
    while (copied < len && name && name[copied]) {
        routine[copied] = name[copied];
        ++copied;
    }
    routine[copied] = '\0';

    ServPrintMessage(0, 0, 0);
    int32_t v = *info;
    switch (v) {
        case 1000: ServPrintMessage(0, 8, 1, routine); break;
        case 1001: ServPrintMessage(0, 9, 1, routine); break;
        case 1212: ServPrintMessage(0, 1212, 1, routine); break;
        case 1089: ServPrintMessage(0, 1089, 1, routine); break;
        default:
            if (v < 1)
                ServPrintMessage(0, 7, 2, int(-int64_t(v)), routine);
            else
                ServPrintMessage(0, 6, 2, int(v), routine);
    }
}

namespace {
std::atomic<ServParamErrorHook> g_lapack_hook{nullptr};
}

extern "C" void ServInstallLapackReporter(ServParamErrorHook hook) {
    ServParamErrorHook expected = nullptr;
    g_lapack_hook.compare_exchange_strong(expected, hook, std::memory_order_acq_rel);
}

extern "C" ServParamErrorHook ServGetLapackReporter(void) {
    return g_lapack_hook.load(std::memory_order_acquire);
}
