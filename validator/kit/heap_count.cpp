#include "validator/kit/heap_count.h"

namespace validator {

void RequireHeapCount([[maybe_unused]] Context& context) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(NUV_COVERAGE)
    context.NotApplicable("the heap is not counted in a build with a sanitizer or for coverage");
#endif
}

}  // namespace validator
