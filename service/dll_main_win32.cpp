// DLL entry point of the Windows build: a leaving thread gives back its
// record, and unloading releases the memory pools, the thread-local slot
// and the private heap.
// Built into the static archive too, where nothing calls it.
#if defined(_WIN32)
#include <windows.h>

#include "service/memory.h"
#include "service/serv_lifecycle.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID reserved) {
    switch (reason) {
        case DLL_THREAD_DETACH:
            ServThreadDetach();
            break;
        case DLL_PROCESS_DETACH:
            // At process exit (reserved non-null) other threads are already
            // gone and the heap goes with the process: only an explicit
            // FreeLibrary needs the clean-up.
            if (reserved == nullptr) {
                orb::mem::ReleasePools();
                ServProcessDetach();
            }
            break;
        default:
            break;
    }
    return TRUE;
}
#endif
