#include "entry/exception_state.h"

#include <windows.h>

#include <cxxabi.h>

namespace nuv {
namespace {

DWORD slot = TLS_OUT_OF_INDEXES;

}  // namespace

ExceptionState::ExceptionState() : outer_(TlsGetValue(slot)) {
    TlsSetValue(slot, &notes_);
}

ExceptionState::~ExceptionState() {
    TlsSetValue(slot, outer_);
}

void AttachExceptionState() {
    slot = TlsAlloc();
}

void DetachExceptionState() {
    TlsFree(slot);
}

}  // namespace nuv

// These two stand before the runtime's own. The structure's layout is part of the C++ binary interface.
namespace __cxxabiv1 {

struct __cxa_eh_globals {
    void* caughtExceptions = nullptr;
    unsigned uncaughtExceptions = 0;
};

__cxa_eh_globals* __cxa_get_globals() noexcept {
    // Outside of a command nothing of ours throws, except to end the process.
    static constinit __cxa_eh_globals outside;
    void* const notes = TlsGetValue(nuv::slot);
    return notes != nullptr ? static_cast<__cxa_eh_globals*>(notes) : &outside;
}

__cxa_eh_globals* __cxa_get_globals_fast() noexcept {
    return __cxa_get_globals();
}

}  // namespace __cxxabiv1
