/* The whole public interface compiles as strict C99. */
#include "orb_custom.h"

int orb_headers_compile_as_c99(void) { return 0; }
