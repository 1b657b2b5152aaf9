// The dynamic library's own entry on Windows.
#include <windows.h>

#include "entry/exception_state.h"

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID processEnds) {
    if (reason == DLL_PROCESS_ATTACH) {
        // Hosts start and end threads by the thousand, and the effect has nothing to say to any of them. Windows
        // declines where the library has static thread-local storage, as the C++ runtime may bring along: nothing
        // here depends on the notifications, nor on their absence.
        DisableThreadLibraryCalls(module);
        return nuv::AttachExceptionState();
    }
    // At the end of the process the system takes everything back, and the heap may be locked for ever.
    if (reason == DLL_PROCESS_DETACH && processEnds == nullptr) nuv::DetachExceptionState();
    return TRUE;
}
