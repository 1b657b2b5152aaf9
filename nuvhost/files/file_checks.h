// Checks files before they are opened.
#pragma once

#include <filesystem>
#include <string_view>

namespace nuvhost {

// The end of the message about an output that no format fits. The message begins with the output's name.
inline constexpr auto kNoFormat = ": no picture format has this file name extension";

// Throws std::runtime_error with the file's name, what failed, and the first line of `error`.
[[noreturn]] void Fail(const std::filesystem::path& file, std::string_view what, std::string_view error = "");

// Throws std::runtime_error if there is no file of that name, or no permission to read it.
void CheckReadable(const std::filesystem::path& file);
// Throws UsageError if a folder has that name, or if the name has no extension that could tell the format.
void CheckOutputName(const std::filesystem::path& output);
// Throws std::runtime_error if the file cannot be written in its folder. Follows links to the file that they name.
void CheckWritable(const std::filesystem::path& output);

}  // namespace nuvhost
