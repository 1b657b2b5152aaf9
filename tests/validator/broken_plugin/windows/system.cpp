#include "system.h"

#include <windows.h>

#include <cstdint>
#include <cstdlib>

namespace broken {
namespace {

template <typename To, typename From>
To SystemCode(From function) {
    return reinterpret_cast<To>(reinterpret_cast<void (*)()>(function));
}

}  // namespace

void SetVariable(const char* name, const std::string& value) {
    _putenv_s(name, value.c_str());
}

void StayLoaded() {
    HMODULE self = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                       reinterpret_cast<const wchar_t*>(&StayLoaded), &self);
}

void LeaveHandleOpen() {
    CreateEventW(nullptr, FALSE, FALSE, nullptr);
}

void TakeCrashHandler() {
    SetUnhandledExceptionFilter([](EXCEPTION_POINTERS*) -> LONG { return EXCEPTION_CONTINUE_SEARCH; });
}

void LeaveThread() {
    CloseHandle(CreateThread(nullptr, 0, SystemCode<LPTHREAD_START_ROUTINE>(&Sleep),
                             reinterpret_cast<void*>(std::uintptr_t{INFINITE}), 0, nullptr));
}

void RenameThread() {
    using Set = HRESULT(WINAPI*)(HANDLE, PCWSTR);
    const auto set = SystemCode<Set>(GetProcAddress(GetModuleHandleW(L"kernelbase.dll"), "SetThreadDescription"));
    if (set != nullptr) set(GetCurrentThread(), L"render");
}

void ChangePriority() {
    const bool lower = GetThreadPriority(GetCurrentThread()) == THREAD_PRIORITY_BELOW_NORMAL;
    SetThreadPriority(GetCurrentThread(), lower ? THREAD_PRIORITY_LOWEST : THREAD_PRIORITY_BELOW_NORMAL);
}

void TakeOneProcessor() {
    DWORD_PTR mask = 0, system = 0;
    GetProcessAffinityMask(GetCurrentProcess(), &mask, &system);
    SetThreadAffinityMask(GetCurrentThread(), mask & (~mask + 1));
}

}  // namespace broken
