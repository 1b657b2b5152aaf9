// Runs a check in a process of its own. Each system has its own way.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>

#include "validator/check.h"

namespace validator {

struct ChildEnd {
    std::string output;  // all that the process wrote to standard output and standard error
    std::string how;     // empty for exit code 0, otherwise how it ended, such as "crashed with SIGSEGV"
};

// Runs RunAsChild(job) in a new process. Throws std::runtime_error if no process can be made.
ChildEnd RunChild(const Job& job, std::chrono::milliseconds limit, const std::filesystem::path& nuvhost);

}  // namespace validator
