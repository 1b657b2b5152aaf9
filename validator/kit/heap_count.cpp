#include "validator/kit/heap_count.h"

namespace validator {

void RequireHeapCount([[maybe_unused]] Context& context) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(NUV_COVERAGE)
    context.NotApplicable("this program is built with instruments, whose heap is not counted");
#endif
}

}  // namespace validator
