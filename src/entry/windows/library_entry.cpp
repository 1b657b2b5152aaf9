// The function that Windows calls when it loads and when it unloads the library.
#include <windows.h>

#include "entry/exception_state.h"

// The runtime's start-up code calls this function, if it is not null. The runtime's own one serves thread_local
// variables, of which the effect has none, and brings static thread-local storage along. Windows does not turn the
// notifications of threads off for a library with such storage.
extern "C" {
extern const PIMAGE_TLS_CALLBACK __dyn_tls_init_callback;
const PIMAGE_TLS_CALLBACK __dyn_tls_init_callback = nullptr;
}

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID processEnds) {
    if (reason == DLL_PROCESS_ATTACH) {
        // Hosts start and end thousands of threads, and the effect has nothing to do for any of them.
        DisableThreadLibraryCalls(module);
        return nuv::AttachExceptionState();
    }
    // When the process ends, the system frees everything itself. The effect must not free memory then, because a
    // thread that the system has already ended may have left the heap locked.
    if (reason == DLL_PROCESS_DETACH && processEnds == nullptr) nuv::DetachExceptionState();
    return TRUE;
}
