/* Tour section: LAPACK auxiliaries. */
#include <stdio.h>

#include "tour.h"

void tour_lapack(void) {
    printf("\n[LAPACK auxiliaries]\n  not built yet\n");
}
