// The exception for wrong input.
#pragma once

#include <stdexcept>

namespace validator {

// A file or an option is wrong, and the user has to correct it. Every other std::exception is a failure of the run.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace validator
