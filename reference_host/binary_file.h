// Checks an effect's binary before the system loads it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <iosfwd>
#include <string>
#include <string_view>

namespace refhost {

// Returns the reason why this file cannot be loaded, or "" if it finds none. Two faults must be found before
// the system's loader sees the file. The loader's message about a file for another system is not clear. On Linux it
// maps a truncated file as if it were whole, and then a signal ends the process.
std::string WhyNotLoadable(const std::filesystem::path& file);

// The part of WhyNotLoadable that differs between the systems. `start` holds the first four bytes of the file, or
// all bytes of a shorter file. `size` is the size of the file in bytes.
std::string WhyNotOfThisSystem(std::istream& stream, std::string_view start, std::uintmax_t size);

}  // namespace refhost
