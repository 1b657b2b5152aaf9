#include "entry/exception_state.h"

#if defined(__MINGW32__)

#include <windows.h>

// A function of the C++ runtime that no header declares. It frees the memory that the runtime has set aside for
// exceptions that are thrown when no other memory is left.
namespace __gnu_cxx {
void __freeres();
}

namespace nuv {
namespace {

DWORD slot = TLS_OUT_OF_INDEXES;  // TlsGetValue returns null for this value

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
    slot = TLS_OUT_OF_INDEXES;  // the old index may belong to another library from now on
    __gnu_cxx::__freeres();
}

}  // namespace nuv

// These two functions replace the runtime's own. They do the same, but keep the notes in another place.
extern "C" void* __cxa_get_globals() noexcept {
    // Outside a command this library throws only if the throw ends the process, so all threads can share these
    // notes.
    static constinit nuv::ExceptionNotes outside;
    void* const notes = TlsGetValue(nuv::slot);
    return notes != nullptr ? notes : &outside;
}

extern "C" void* __cxa_get_globals_fast() noexcept {
    return __cxa_get_globals();
}

#endif
