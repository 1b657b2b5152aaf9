// The functions that libFuzzer calls.
#include <pthread.h>

#include <cstddef>

#include "play.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // A frame starts sixteen threads. For each, the address sanitizer clears as much shadow as the stack needs, so
    // that small stacks save time.
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 256 << 10);
    pthread_setattr_default_np(&attributes);
    pthread_attr_destroy(&attributes);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Play({data, size});
    return 0;
}
