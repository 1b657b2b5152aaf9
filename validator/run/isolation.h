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
    bool died = false;                  // crashed, hung or exited; `failures` says so, too
    std::string printed;                // by the effect; empty if the check ran in this process
    std::int64_t points = 0;
    double seconds = 0;
};

// If the effect ends the process, a line on standard error names the check, and the exit code is 1.
JobOutcome RunInThisProcess(const Job& job);

// Runs the check in a process of its own. A crash, a hang beyond `limit` and an exit are failures. On Linux the
// process is a copy of this one, whose other threads must be idle. On Windows it runs `nuvhost`, the path of
// nuvhost.exe. Throws std::runtime_error if no process can be made.
JobOutcome RunInOwnProcess(const Job& job, std::chrono::milliseconds limit, const std::filesystem::path& nuvhost);

// Runs the check in the process that RunInOwnProcess has made, and reports to standard output.
void RunAsChild(const Job& job);

}  // namespace validator
