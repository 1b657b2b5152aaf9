#include "reference_host/plugin_library.h"

#include <stdexcept>
#include <string>

#include "platform/module.h"
#include "reference_host/binary_file.h"

namespace refhost {
namespace {

std::string Utf8(const std::filesystem::path& file) {
    const auto text = file.u8string();
    return {text.begin(), text.end()};
}

template <typename Function>
Function Entry(const platform::Module& module, const char* name) {
    void* const found = module.Find(name);
    if (found == nullptr) throw std::runtime_error(std::string("has no entry point ") + name);
    return reinterpret_cast<Function>(found);
}

}  // namespace

PluginLibrary::PluginLibrary(const std::filesystem::path& file) {
    try {
        if (const auto why = WhyNotLoadable(file); !why.empty()) throw std::runtime_error(why);
        // The path is made absolute. The system would search its own folders for a file name without a folder.
        module_ = std::make_shared<const platform::Module>(std::filesystem::absolute(file));
        effectMain = Entry<EffectMainType>(*module_, "EffectMain");
        pluginDataEntryFunction = Entry<PluginDataEntryFunctionType>(*module_, "PluginDataEntryFunction");
    } catch (const std::runtime_error& reason) {
        throw std::runtime_error(Utf8(file) + ": " + reason.what());
    }
}

}  // namespace refhost
