// How the tool fails: every exception that reaches main becomes one line on standard error.
#pragma once

#include "validator/errors.h"

namespace nuvhost {

// The command line is wrong: exit code 2. Any other std::exception is a failure to read, render or write: 1.
using validator::UsageError;

// The command has said all that there is to say.
struct ExitWith {
    int code;
};

}  // namespace nuvhost
