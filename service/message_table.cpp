// Built-in texts of the numbered message table. Texts are kept byte for byte
// as callers and scripts match them (including the missing full stop of
// 1089).
#include <algorithm>
#include <iterator>

#include "service/messages.h"

namespace orb {
namespace {

constexpr MessageRow kRows[] = {
    {0, "\n", MessageInfo},
    {1, "ORB FATAL ERROR: Cannot load %s.", MessageError},
    {2, "ORB FATAL ERROR: Cannot load %s or %s.", MessageError},
    {3, "ORB FATAL ERROR on loading the function %s.", MessageError},
    {4, "ORB WARNING: ORB_DEBUG_CPU_TYPE=%d not convenient for this processor.", MessageInfo},
    {5, "ORB WARNING: library %s (ORB type %d) not convenient for this processor (ORB type %d).",
     MessageInfo},
    {6, "ORB ERROR: Parameter %d was incorrect on entry to %s.", MessageError},
    {7, "ORB INTERNAL ERROR: Condition %d detected in function %s.", MessageError},
    {8, "ORB INTERNAL ERROR: Not enough work memory in function %s.", MessageError},
    {9, "ORB ERROR: Incompatible optional parameters on entry to %s.", MessageError},
    // Vector mathematics: status texts, then the element value lines.
    {735, "Error (VML_STATUS_BADSIZE) in %s: array size %d is not positive.", MessageError},
    {736, "Error (VML_STATUS_BADMEM) in %s: NULL pointer is passed.", MessageError},
    {737, "Error (VML_STATUS_ERRDOM) in %s: argument is out of domain.", MessageError},
    {738, "Error (VML_STATUS_SING) in %s: argument caused singularity.", MessageError},
    {739, "Error (VML_STATUS_OVERFLOW) in %s: argument caused overflow.", MessageError},
    {740, "Error (VML_STATUS_UNDERFLOW) in %s: argument caused underflow.", MessageError},
    {741, "Unknown error in %s.", MessageError},
    {742, "a(%d)=%g", MessageInfo},
    {743, "r(%d)=%g", MessageInfo},
    {744, "a(%d)=%g", MessageInfo},
    {745, "y(%d)=%g", MessageInfo},
    {746, "z(%d)=%g", MessageInfo},
    {747, "a(%d)=%g", MessageInfo},
    {748, "b(%d)=%g", MessageInfo},
    {749, "y(%d)=%g", MessageInfo},
    {750, "a(%d)=%g", MessageInfo},
    {751, "b(%d)=%g", MessageInfo},
    {752, "y(%d)=%g", MessageInfo},
    {753, "z(%d)=%g", MessageInfo},
    {754, "The CPU is not supported in this ORB version.", MessageError},
    {757, "ORB FATAL ERROR: dynamic library %s is not convenient for this processor.",
     MessageError},
    {760, "ORB FATAL ERROR: memory allocation error.", MessageError},
    // Fourier transforms: message 761 + status.
    {761, "ORB DFTI SUCCESS: No error", MessageSuccess},
    {762, "ORB DFTI ERROR: Not enough memory to allocate", MessageError},
    {763, "ORB DFTI ERROR: Invalid configuration parameters", MessageError},
    {764, "ORB DFTI ERROR: Inconsistent configuration parameters", MessageError},
    {765, "ORB DFTI ERROR: Error in OpenMP", MessageError},
    {766, "ORB DFTI ERROR: Descriptor is bad or corrupted", MessageError},
    {767, "ORB DFTI ERROR: Not implemented", MessageError},
    {768, "ORB DFTI ERROR: Internal error", MessageError},
    {769, "ORB DFTI ERROR: Lack of DFTI_NUMBER_OF_USER_THREADS in descriptor", MessageError},
    {770, "ORB DFTI ERROR: Size of one of transform dimensions exceeds 2^32 (32 bits)",
     MessageError},
    {771, "ORB DFTI ERROR: Incorrect status", MessageError},
    {1089, "ORB INTERNAL ERROR: Not enough work memory in function %s", MessageError},
    {1209, "ORB WARNING: incorrect CBWR mode, ORB_CBWR_AUTO is set", MessageInfo},
    {1210,
     "ORB FATAL ERROR: This system does not meet the minimum requirements for use of the "
     "Varel(R) ORB.",
     MessageError},
    {1211,
     "The system processor must support the Varel(R) Streaming SIMD 2 Extensions (Varel(R) "
     "SSE2) instructions.",
     MessageError},
    {1212, "ORB INTERNAL ERROR: Problem with reading from card %s.", MessageError},
    {1213, "ORB ERROR: CPU %d is not supported.", MessageError},
};

static_assert(std::is_sorted(std::begin(kRows), std::end(kRows),
                             [](const MessageRow &a, const MessageRow &b) {
                                 return a.number < b.number;
                             }),
              "rows are looked up by binary search");

}  // namespace

const MessageRow *FindMessage(int number) {
    auto it = std::lower_bound(std::begin(kRows), std::end(kRows), number,
                               [](const MessageRow &r, int n) { return r.number < n; });
    if (it == std::end(kRows) || it->number != number) return nullptr;
    return it;
}

}  // namespace orb
