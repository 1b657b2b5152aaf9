#include "platform/module.h"

#include <dlfcn.h>

#include <stdexcept>
#include <string>

namespace platform {

Module::Module(const std::filesystem::path& file) : handle_(::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (handle_ == nullptr) {
        const char* reason = ::dlerror();  // NOLINT(concurrency-mt-unsafe): each thread has its own error text
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

}  // namespace platform
