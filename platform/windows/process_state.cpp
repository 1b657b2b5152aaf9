#include "platform/process_state.h"

#include <windows.h>

#include <cstdint>
#include <filesystem>

namespace platform {

std::string CrashHandlers() {
    const auto filter = SetUnhandledExceptionFilter(nullptr);
    SetUnhandledExceptionFilter(filter);
    return std::to_string(reinterpret_cast<std::uintptr_t>(filter)) + " " + std::to_string(GetErrorMode());
}

// Looks the function up, because systems before Windows 10 do not have it.
std::string ThreadName() {
    using Get = HRESULT(WINAPI*)(HANDLE, PWSTR*);
    const auto get = reinterpret_cast<Get>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernelbase.dll"), "GetThreadDescription")));
    PWSTR name = nullptr;
    if (get == nullptr || FAILED(get(GetCurrentThread(), &name)) || name == nullptr) return "";
    const std::filesystem::path text(name);
    LocalFree(name);
    return text.string();
}

std::string ThreadPriority() {
    return std::to_string(GetThreadPriority(GetCurrentThread()));
}

std::string ThreadAffinity() {
    GROUP_AFFINITY affinity{};
    GetThreadGroupAffinity(GetCurrentThread(), &affinity);
    return std::to_string(affinity.Group) + ":" + std::to_string(affinity.Mask);
}

}  // namespace platform
