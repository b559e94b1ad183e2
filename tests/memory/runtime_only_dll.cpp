// Windows: a DLL linked like orb_custom.dll (static C++, thread and OpenMP
// runtimes) that uses those runtimes and nothing of the library. The unload
// test loads it to learn what the runtimes themselves keep after FreeLibrary
// (the thread runtime's TLS slot), so that what remains is the library's.
#include <mutex>

namespace {
thread_local int t_calls = 0;
std::mutex g_mutex;
}  // namespace

extern "C" __declspec(dllexport) int runtime_only_use(int n) {
    int sum = 0;
#pragma omp parallel for reduction(+ : sum)
    for (int i = 0; i < n; ++i) sum += i;
    std::lock_guard<std::mutex> lock(g_mutex);
    return sum + ++t_calls;
}
