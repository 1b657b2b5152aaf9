// The plug-in's file as the system's loader sees it.
#pragma once

#include <filesystem>

namespace platform {

// The constructor loads the library and binds all its symbols. The destructor unloads it.
class Module {
public:
    // Throws std::runtime_error with the loader's reason.
    explicit Module(const std::filesystem::path& file);
    ~Module();
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;

    void* Find(const char* symbol) const;  // null if it is not exported

    // Whether the file is loaded in this process, by this class or by anybody else.
    static bool IsLoaded(const std::filesystem::path& file);

private:
    void* handle_ = nullptr;
};

}  // namespace platform
