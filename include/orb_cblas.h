/* orb_custom public interface: CBLAS level-1 subset.
 * Compiles as C99 and as C++. */
#ifndef ORB_CBLAS_H
#define ORB_CBLAS_H

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif
