// What can be known of a file before it is opened.
#pragma once

#include <filesystem>
#include <string_view>

namespace nuvhost {

// Follows the name of an output for which there is no writer.
inline constexpr auto kNoFormat = ": no picture format has this file name extension";

// Throws std::runtime_error with the file's name, what failed, and the first line of `error`.
[[noreturn]] void Fail(const std::filesystem::path& file, std::string_view what, std::string_view error = "");

// Throws std::runtime_error if there is no file of that name, or no permission to read it.
void CheckReadable(const std::filesystem::path& file);
// UsageError if a folder has that name, or if the name has no extension that could tell the format.
void CheckOutputName(const std::filesystem::path& output);
// std::runtime_error if the folder cannot take the file. A link is followed to the file that it names.
void CheckWritable(const std::filesystem::path& output);

}  // namespace nuvhost
