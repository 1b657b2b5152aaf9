#include "entry/exception_state.h"

#if defined(__MINGW32__)

#include <windows.h>

// Of the runtime, which declares it nowhere: frees the memory that it keeps for throwing when there is none.
namespace __gnu_cxx {
void __freeres();
}

namespace nuv {
namespace {

DWORD slot = TLS_OUT_OF_INDEXES;  // reads as null on every thread

}  // namespace

ExceptionState::ExceptionState() : outer_(TlsGetValue(slot)) {
    TlsSetValue(slot, &notes_);
}

ExceptionState::~ExceptionState() {
    TlsSetValue(slot, outer_);
}

bool AttachExceptionState() {
    slot = TlsAlloc();
    return slot != TLS_OUT_OF_INDEXES;
}

void DetachExceptionState() {
    TlsFree(slot);
    slot = TLS_OUT_OF_INDEXES;  // another library's from now on
    __gnu_cxx::__freeres();
}

}  // namespace nuv

// These two stand before the runtime's own, which are alike but for the place.
extern "C" void* __cxa_get_globals() noexcept {
    // Outside of a command nothing of ours throws, except to end the process.
    static constinit nuv::ExceptionNotes outside;
    void* const notes = TlsGetValue(nuv::slot);
    return notes != nullptr ? notes : &outside;
}

extern "C" void* __cxa_get_globals_fast() noexcept {
    return __cxa_get_globals();
}

#endif
