/* Tour section: Fourier transforms. */
#include <stdio.h>

#include "tour.h"

void tour_dft(void) {
    printf("\n[Fourier transforms]\n  not built yet\n");
}
