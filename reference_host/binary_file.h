// What can be said of an effect's binary before the system loads it.
#pragma once

#include <filesystem>
#include <string>

namespace refhost {

// Why this file cannot be loaded, or "" if nothing speaks against it yet. The system's own loader tells less of a
// file for another system, and of one that is cut off it maps what is missing as well: the process would end by a
// signal.
std::string WhyNotLoadable(const std::filesystem::path& file);

}  // namespace refhost
