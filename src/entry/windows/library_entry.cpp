// The function that Windows calls when it loads and when it unloads the library.
#include <windows.h>

#include "entry/exception_state.h"

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID processEnds) {
    if (reason == DLL_PROCESS_ATTACH) {
        // Hosts start and end thousands of threads, and the effect has nothing to do for any of them, so it asks
        // Windows not to notify it. Windows refuses if the library has static thread-local storage, which the C++
        // runtime may contain. The effect therefore works both with and without these notifications.
        DisableThreadLibraryCalls(module);
        return nuv::AttachExceptionState();
    }
    // When the process ends, the system frees everything itself. The effect must not free memory then, because a
    // thread that the system has already ended may have left the heap locked.
    if (reason == DLL_PROCESS_DETACH && processEnds == nullptr) nuv::DetachExceptionState();
    return TRUE;
}
