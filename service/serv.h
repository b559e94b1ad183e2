/* Internal service layer of orb_custom: the interface every family uses.
 * Nothing declared here is exported from the shared library. */
#ifndef ORB_SERVICE_SERV_H
#define ORB_SERVICE_SERV_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- processor levels (2..7 for dispatch slots, 1..9 extended) ---- */
int32_t ServGetCpuLevel(void);
int32_t ServGetExtCpuLevel(void);
int ServIsGenuineVarel(void);
int ServHasAvx2Set(void);
int ServHasAvx(void);
int ServHasSse42(void);
int ServHasSse41(void);
int ServHasSsse3(void);
int ServHasSse3(void);
int ServHasSse2(void);

/* ---- the one process-wide spin lock ---- */
void ServLock(void);
void ServUnlock(void);

/* ---- per-thread record ----
 * Six words; the two that hold pointers are pointer-sized so that 64-bit
 * builds work. All zero when created. */
typedef struct ServThreadState {
    uint32_t vml_mode;      /* word 0 */
    int32_t vml_status;     /* word 1 */
    void *vml_callback;     /* word 2 */
    uint32_t word3;         /* word 3 */
    uint32_t word4;         /* word 4 */
    const void *vml_argbase; /* word 5 */
} ServThreadState;

/* The calling thread's record, made on first access. A record that cannot
 * be made prints message 760 and ends the process. */
ServThreadState *ServThreadStateGet(void);

/* ---- memory ---- */
void *ServAlloc(uint32_t size, int32_t alignment);
void ServFree(void *pointer);

/* ---- thread counts: domains 0 all, 1 BLAS, 2 FFT, 3 VML, 4 PARDISO ---- */
enum { ServDomainAll = 0, ServDomainBlas = 1, ServDomainFft = 2,
       ServDomainVml = 3, ServDomainPardiso = 4 };
int32_t ServDomainThreads(int32_t domain);

/* ---- messages and parameter errors ---- */
void ServPrintMessage(int flag, int number, int count, ...);
void ServReportParameterError(const char *name, const int32_t *info,
                              int32_t name_length);

/* LAPACK reporter hook: installed once (first installer wins). */
typedef void (*ServParamErrorHook)(const char *name, const int32_t *info,
                                   int32_t name_length);
void ServInstallLapackReporter(ServParamErrorHook hook);
ServParamErrorHook ServGetLapackReporter(void);

/* ---- reproducibility mode ----
 * query 1: the mode (1 unset, 2 AUTO/unrecognised, 3 COMPATIBLE, 4 SSE2,
 * 5 SSE3, 6 SSSE3, 7 SSE4_1, 8 SSE4_2, 9 AVX, 10 AVX2); query -1: the raw
 * stored word without reading; other queries: -2. The Locked form takes
 * ServLock around the first reading. */
enum CbwrMode { CbwrUnset = 1, CbwrAuto = 2, CbwrCompatible = 3, CbwrSse2 = 4,
                CbwrSse3 = 5, CbwrSsse3 = 6, CbwrSse41 = 7, CbwrSse42 = 8,
                CbwrAvx = 9, CbwrAvx2 = 10 };
int32_t ServGetCbwrMode(int32_t query);
int32_t ServGetCbwrModeLocked(int32_t query);

/* Fatal end: flushes output and ends the process with the given code. */
#if defined(__GNUC__) || defined(__clang__)
__attribute__((noreturn))
#endif
void ServTerminate(int exit_code);

#ifdef __cplusplus
}

#include <atomic>

#include "service/platform.h"

namespace orb {
// Every vector-math call asks for the level: the cached word inline, the
// first reading out of line.
extern std::atomic<int32_t> g_ext_level ORB_HIDDEN;
inline int32_t ExtCpuLevel() {
    const int32_t cached = g_ext_level.load(std::memory_order_acquire);
    return cached != -1 ? cached : ServGetExtCpuLevel();
}
}  // namespace orb
#endif

#endif
