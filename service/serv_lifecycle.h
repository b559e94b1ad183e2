// Clean-up hooks run when a thread leaves and when the library is unloaded
// (from the DLL entry point on Windows, from pthread-key destructors and a
// library destructor on POSIX).
#ifndef ORB_SERVICE_SERV_LIFECYCLE_H
#define ORB_SERVICE_SERV_LIFECYCLE_H

#ifdef __cplusplus
extern "C" {
#endif

void ServThreadDetach(void);
void ServProcessDetach(void);

#ifdef __cplusplus
}
#endif

#endif
