/* Packages and cores from the x2APIC identifiers of the logical processors
 * and the identifier's field widths (CPUID leaf 0xB): the walk that pins the
 * calling thread to each processor in turn and reads its identifier, used
 * where the operating system does not publish its own topology. */
#pragma once

#include <cstdint>

namespace orb {

/* Shift widths of leaf 0xB: identifiers >> smt_shift name a core,
 * identifiers >> core_shift name a package. */
struct ApicShifts {
    int32_t smt_shift = -1;
    int32_t core_shift = -1;
};

/* The widths on the calling processor; both -1 when leaf 0xB is absent. */
ApicShifts ReadApicShifts();

/* The x2APIC identifier of the processor the calling thread runs on. */
uint32_t ReadApicId();

/* Distinct packages and cores among ids[0..n); both 0 when the shifts are
 * unknown, inconsistent or n is 0. */
void CountApicTopology(const uint32_t *ids, int32_t n, ApicShifts shifts,
                       int32_t *packages, int32_t *cores);

/* Pins the calling thread to every processor of the process's affinity in
 * turn (yielding so that it moves there), reads each identifier, then
 * restores the thread's affinity. Fills packages and cores only when the
 * process may run on the whole machine; returns false otherwise or when a
 * step fails. Windows only; false elsewhere. */
bool WalkProcessorTopology(int32_t *packages, int32_t *cores);

}  // namespace orb
