// A team of threads for one long row, each member with scratch of its own.
#ifndef ORB_DFT_ENGINE_TEAM_RUN_H
#define ORB_DFT_ENGINE_TEAM_RUN_H

#include <omp.h>
#include <stdint.h>

#include "dft/engine/engine_memory.h"
#include "dft/engine/stage_plan.h"

namespace orb::dft {

// Runs body(buffer, id, members) once per member of a team of nthreads,
// each with `per` elements of its own. The team's buffers are had before
// the region opens: a member that left early for want of memory would
// hang the others at a barrier. Without them, or with one thread, the
// call runs serially in `own` (the caller's scratch).
template <class T, class Body>
void RunTeam(int nthreads, int64_t per, Cx<T> *own, Body body) {
    Cx<T> *team = nthreads > 1 ? MemArray<Cx<T>>(per * nthreads) : nullptr;
    if (!team) {
        body(own, 0, 1);
        return;
    }
#pragma omp parallel num_threads(nthreads)
    {
        const int id = omp_get_thread_num();
        body(team + id * per, id, omp_get_num_threads());
    }
    MemFree(team);
}

}  // namespace orb::dft

#endif
