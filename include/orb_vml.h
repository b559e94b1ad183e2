/* orb_custom public interface: Vector mathematics.
 * Compiles as C99 and as C++. */
#ifndef ORB_VML_H
#define ORB_VML_H

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif
