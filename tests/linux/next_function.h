// The system's function behind one that a test defines under the same name.
#pragma once

#include <dlfcn.h>

template <class Function>
Function Next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}
