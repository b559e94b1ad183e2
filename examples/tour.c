/* A tour of orb_custom: each family at work, called through the shared
 * library exactly as an application calls it. */
#include <stdio.h>

#include "tour.h"

int main(void) {
    printf("orb_custom tour\n===============\n");
    tour_service();
    tour_blas1();
    tour_lapack();
    tour_vml();
    tour_dft();
    tour_datafit();
    return 0;
}
