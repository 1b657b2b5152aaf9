// Loads an effect's binary and finds its two entry points.
#pragma once

#include <filesystem>
#include <memory>

#include "pf_data.h"

namespace platform {
class Module;
}

namespace refhost {

// A loaded plug-in: `.so` on Linux, `.aex` on Windows. It is unloaded when the last copy is destroyed.
class PluginLibrary {
public:
    // Throws std::runtime_error with one line that names the file and what is wrong with it: not found, cut off,
    // not loadable, or without one of the two entry points.
    explicit PluginLibrary(const std::filesystem::path& file);
    // An effect that is linked into the program.
    PluginLibrary(EffectMainType main, PluginDataEntryFunctionType dataEntry)
        : effectMain(main), pluginDataEntryFunction(dataEntry) {}

    EffectMainType effectMain = nullptr;
    PluginDataEntryFunctionType pluginDataEntryFunction = nullptr;

private:
    std::shared_ptr<const platform::Module> module_;
};

}  // namespace refhost
