/* Tour section: CBLAS level 1. */
#include <stdio.h>

#include "tour.h"

void tour_blas1(void) {
    printf("\n[CBLAS level 1]\n  not built yet\n");
}
