// For checks that compare how much memory is in use before and after.
#pragma once

#include "validator/check.h"

namespace validator {

// Ends the check in a build with a sanitizer or for coverage, because the heap of such a build says nothing about
// the effect's own memory.
void RequireHeapCount(Context& context);

}  // namespace validator
