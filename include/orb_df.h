/* orb_custom public interface: Data fitting: one-dimensional splines.
 * Compiles as C99 and as C++. */
#ifndef ORB_DF_H
#define ORB_DF_H

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif
