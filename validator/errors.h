// How the validator says that what it was given is wrong.
#pragma once

#include <stdexcept>

namespace validator {

// A file or an option that its user has to mend. Every other std::exception is a failure of the run.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

}  // namespace validator
