#include "platform/module.h"

#include <stdexcept>
#include <string>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace validator {

#if defined(_WIN32)

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

#else

Module::Module(const std::filesystem::path& file) : handle_(::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (handle_ == nullptr) {
        const char* reason = ::dlerror();  // NOLINT(concurrency-mt-unsafe): each thread has its own
        throw std::runtime_error(std::string("cannot be loaded: ") + (reason ? reason : "no reason given"));
    }
}

Module::~Module() {
    ::dlclose(handle_);
}

void* Module::Find(const char* symbol) const {
    return ::dlsym(handle_, symbol);
}

bool Module::IsLoaded(const std::filesystem::path& file) {
    void* const handle = ::dlopen(file.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (handle != nullptr) ::dlclose(handle);
    return handle != nullptr;
}

#endif

}  // namespace validator
