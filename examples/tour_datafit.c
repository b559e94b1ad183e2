/* Tour section: Data fitting. */
#include <stdio.h>

#include "tour.h"

void tour_datafit(void) {
    printf("\n[Data fitting]\n  not built yet\n");
}
