// Checks an effect's binary before the system loads it.
#pragma once

#include <filesystem>
#include <string>

namespace refhost {

// Returns the reason why this file cannot be loaded, or "" if it finds none. Two faults must be found before
// the system's loader sees the file. The loader's message about a file for another system is not clear. On Linux it
// maps a truncated file as if it were whole, and then a signal ends the process.
std::string WhyNotLoadable(const std::filesystem::path& file);

}  // namespace refhost
