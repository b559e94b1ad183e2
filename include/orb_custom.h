/* orb_custom: the whole public interface. Compiles as C99 and as C++. */
#ifndef ORB_CUSTOM_H
#define ORB_CUSTOM_H

#include "orb_dfti.h"
#include "orb_vml.h"
#include "orb_df.h"
#include "orb_cblas.h"
#include "orb_lapack.h"

#endif
