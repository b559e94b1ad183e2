/* orb_custom public interface: LAPACK auxiliaries.
 * Compiles as C99 and as C++. */
#ifndef ORB_LAPACK_H
#define ORB_LAPACK_H

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif
