// Runs a check in a process of its own. Each system has its own way.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>

#include "validator/check.h"

namespace validator {

struct ChildEnd {
    std::string output;  // all that it wrote, standard error as well
    std::string how;     // how it ended: empty for exit code 0, else half a sentence: "crashed with SIGSEGV"
};

// Runs RunAsChild(job) in a new process. Throws std::runtime_error when there is none to be had.
ChildEnd RunChild(const Job& job, std::chrono::milliseconds limit, const std::filesystem::path& nuvhost);

}  // namespace validator
