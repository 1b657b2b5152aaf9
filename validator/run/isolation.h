// Runs one check, in a process of its own or in this one.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "validator/check.h"

namespace validator {

struct JobOutcome {
    std::vector<std::string> failures;  // empty: the check holds, unless it is not applicable
    std::string notApplicable;          // why
    bool died = false;                  // crashed, hung or exited, which is among the failures
    std::string printed;                // by the effect, in a process of its own
    std::int64_t points = 0;
    double seconds = 0;
};

// Where the effect ends the process, a line on standard error names the check and the exit code is 1.
JobOutcome RunInThisProcess(const Job& job);

// In a process of its own: a crash, a hang beyond `limit` and an exit are failures. On Linux a copy of this
// process, whose other threads must be idle; on Windows `nuvhost`, the path of nuvhost.exe, is started anew. Throws
// std::runtime_error when no process can be made.
JobOutcome RunInOwnProcess(const Job& job, std::chrono::milliseconds limit, const std::filesystem::path& nuvhost);

// What the process of one check does on Windows: reports to standard output, as RunInOwnProcess reads it.
void RunAsChild(const Job& job);

}  // namespace validator
