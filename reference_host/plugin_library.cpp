#include "reference_host/plugin_library.h"

#include <stdexcept>
#include <string>

#include "reference_host/binary_file.h"

#ifdef _WIN32
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace refhost {
namespace {

std::string Utf8(const std::filesystem::path& file) {
    const auto text = file.u8string();
    return {text.begin(), text.end()};
}

#ifdef _WIN32

std::shared_ptr<void> Load(const std::filesystem::path& file) {
    HMODULE module = LoadLibraryW(file.c_str());
    if (!module) {
        const DWORD error = GetLastError();
        throw std::runtime_error(Utf8(file) + ": cannot be loaded (Windows error " + std::to_string(error) +
                                 (error == ERROR_BAD_EXE_FORMAT ? ", it is no 64-bit Windows library)" : ")"));
    }
    return {module, [](void* loaded) { FreeLibrary(static_cast<HMODULE>(loaded)); }};
}

void* Find(void* module, const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), name));
}

#else

std::shared_ptr<void> Load(const std::filesystem::path& file) {
    void* module = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module) {
        const char* reason = dlerror();  // NOLINT(concurrency-mt-unsafe): each thread has its own
        throw std::runtime_error(Utf8(file) + ": cannot be loaded: " + (reason ? reason : "no reason given"));
    }
    return {module, [](void* loaded) { dlclose(loaded); }};
}

void* Find(void* module, const char* name) {
    return dlsym(module, name);
}

#endif

template <typename Function>
Function Entry(void* module, const char* name, const std::filesystem::path& file) {
    void* found = Find(module, name);
    if (!found) throw std::runtime_error(Utf8(file) + ": has no entry point " + name);
    return reinterpret_cast<Function>(found);
}

}  // namespace

PluginLibrary::PluginLibrary(const std::filesystem::path& file) {
    if (const auto why = WhyNotLoadable(file); !why.empty()) throw std::runtime_error(Utf8(file) + ": " + why);
    // The path is made absolute. The system would search its own folders for a file name without a folder.
    module_ = Load(std::filesystem::absolute(file));
    effectMain = Entry<EffectMainType>(module_.get(), "EffectMain", file);
    pluginDataEntryFunction = Entry<PluginDataEntryFunctionType>(module_.get(), "PluginDataEntryFunction", file);
}

}  // namespace refhost
