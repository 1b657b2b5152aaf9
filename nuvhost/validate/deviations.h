// The promises that an effect is known to break, and why.
#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace nuvhost::validate {

using Deviations = std::map<std::string, std::string, std::less<>>;  // check id -> reason

// <plug-in's folder>/<stem>.deviations.json
std::filesystem::path DeviationsBeside(const std::filesystem::path& plugin);

// One JSON object of strings. Throws std::runtime_error with one line that names the file and what is wrong with
// it, also where an entry names no check or gives no reason.
Deviations ReadDeviations(const std::filesystem::path& file);

}  // namespace nuvhost::validate
