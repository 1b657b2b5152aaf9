// The dynamic library's own entry on Windows.
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
    // Hosts start and end threads by the thousand, and the effect has nothing to say to any of them.
    if (reason == DLL_PROCESS_ATTACH) DisableThreadLibraryCalls(module);
    return TRUE;
}
