// For checks that compare how much memory is in use before and after.
#pragma once

#include "validator/check.h"

namespace validator {

// Ends the check in a build with a sanitizer, because the C runtime does not count the sanitizer's heap.
void RequireHeapCount(Context& context);

}  // namespace validator
