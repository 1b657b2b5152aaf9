// The output of a run: lines for people, and files for programs.
#pragma once

#include <filesystem>
#include <span>
#include <string>

#include "validator/run/runner.h"

namespace validator {

// The lines about one result, each with its line end: what failed, and the command that repeats it. With `verbose`
// they also say what was seen of a deviation.
std::string Lines(const Result& result, const std::filesystem::path& plugin, bool verbose = false);
// "24 passed, 0 failed, 6 deviate as listed; seed 1 repeats it", and more where there is more to say.
std::string Summary(const Counts& counts, std::uint64_t seed);

std::string Json(std::span<const Result> results, const std::filesystem::path& plugin);
std::string Junit(std::span<const Result> results, const std::filesystem::path& plugin);

// Throws UsageError if the name is that of a folder, and std::runtime_error with one line if WriteFile would fail.
// Leaves nothing behind.
void RequireWritable(const std::filesystem::path& file);
// The file appears whole or not at all. Throws std::runtime_error with one line.
void WriteFile(const std::filesystem::path& file, const std::string& text);

}  // namespace validator
