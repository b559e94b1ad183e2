/* Tour section: Vector mathematics. */
#include <stdio.h>

#include "tour.h"

void tour_vml(void) {
    printf("\n[Vector mathematics]\n  not built yet\n");
}
