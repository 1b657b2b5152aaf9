#include <dlfcn.h>

#include <stdexcept>
#include <string>
#include <string_view>

#include "console/terminal.h"
#include "picture_module/picture_module.h"

namespace nuvhost {
namespace {

// Some of the libraries start threads while they are loaded, and throw if the system allows no more threads.
// Such an exception must not pass through the loader. `noexcept` ends the process here, and main's terminate
// handler prints one line.
//
// RTLD_LAZY, because the picture library needs more than a hundred others, and nuvhost calls few of their
// functions.
void* Open(const std::string& file) noexcept {
    return ::dlopen(file.c_str(), RTLD_LAZY | RTLD_LOCAL);
}

const char* Reason() {
    return ::dlerror();  // NOLINT(concurrency-mt-unsafe): each thread has its own error text
}

}  // namespace

const PictureModule& LoadPictureModule() {
    const std::string file = ThisProgram().parent_path() / "nuvhost_pictures.so";
    const auto fail = [&](std::string_view why) {
        if (why.starts_with(file + ": ")) why.remove_prefix(file.size() + 2);
        throw std::runtime_error(file + ": the picture commands cannot be loaded: " + std::string(why));
    };
    void* const library = Open(file);
    if (!library) fail(Reason());
    const auto* const module = static_cast<const PictureModule*>(::dlsym(library, kPictureModuleSymbol));
    if (!module) fail(Reason());
    if (module->version != std::string_view(NUVHOST_VERSION))
        fail("the file belongs to another version of nuvhost");
    return *module;
}

}  // namespace nuvhost
