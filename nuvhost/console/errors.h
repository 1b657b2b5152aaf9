// The tool's errors. Every exception that reaches main becomes one line on standard error.
#pragma once

#include "validator/errors.h"

namespace nuvhost {

// The command line is wrong, which gives exit code 2. Any other std::exception means that reading, rendering or
// writing failed, which gives exit code 1.
using validator::UsageError;

// Ends the program with this exit code. The command has already printed everything.
struct ExitWith {
    int code;
};

}  // namespace nuvhost
