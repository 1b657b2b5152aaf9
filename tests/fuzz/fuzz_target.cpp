// For libFuzzer.
#include <pthread.h>

#include <cstddef>

#include "conversation.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // Sixteen threads a frame: the address sanitizer clears a shadow as large as the stack for each of them.
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 256 << 10);
    pthread_setattr_default_np(&attributes);
    pthread_attr_destroy(&attributes);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Converse({data, size});
    return 0;
}
