/* orb_custom public interface: Fourier transforms (descriptor interface).
 * Compiles as C99 and as C++. */
#ifndef ORB_DFTI_H
#define ORB_DFTI_H

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif
