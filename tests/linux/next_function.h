// Finds the system's function when a test has defined another one of the same name.
#pragma once

#include <dlfcn.h>

template <class Function>
Function Next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}
