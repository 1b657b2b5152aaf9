#include "platform/module.h"

#include <windows.h>

#include <stdexcept>
#include <string>

namespace platform {

Module::Module(const std::filesystem::path& file) : handle_(LoadLibraryW(file.c_str())) {
    if (handle_ == nullptr) {
        const DWORD error = GetLastError();
        throw std::runtime_error("cannot be loaded: Windows error " + std::to_string(error) +
                                 (error == ERROR_MOD_NOT_FOUND    ? ", a library that it needs is missing"
                                  : error == ERROR_BAD_EXE_FORMAT ? ", it is no 64-bit Windows library"
                                                                  : ""));
    }
}

Module::~Module() {
    FreeLibrary(static_cast<HMODULE>(handle_));
}

void* Module::Find(const char* symbol) const {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(handle_), symbol));
}

bool Module::IsLoaded(const std::filesystem::path& file) {
    return GetModuleHandleW(file.c_str()) != nullptr;
}

}  // namespace platform
