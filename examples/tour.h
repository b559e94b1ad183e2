/* Sections of the tour, one per family. */
#ifndef ORB_TOUR_H
#define ORB_TOUR_H
#ifdef __cplusplus
extern "C" {
#endif
void tour_service(void);
void tour_blas1(void);
void tour_lapack(void);
void tour_vml(void);
void tour_dft(void);
void tour_datafit(void);
#ifdef __cplusplus
}
#endif
#endif
