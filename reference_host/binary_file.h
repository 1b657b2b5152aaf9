// Checks an effect's binary before the system loads it.
#pragma once

#include <filesystem>
#include <string>

namespace refhost {

// The reason why this file cannot be loaded, or "" if none is found here. The system's loader tells less about a
// file for another system. If a file is truncated, the loader maps the missing part, too, and the process ends by a
// signal.
std::string WhyNotLoadable(const std::filesystem::path& file);

}  // namespace refhost
