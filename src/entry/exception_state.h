// What the C++ runtime notes about a thread's exceptions, kept where it needs no clean-up.
#pragma once

namespace nuv {

#if defined(__MINGW32__)

// Of one thread; laid out as the C++ binary interface wants it (__cxa_eh_globals).
struct ExceptionNotes {
    void* caught = nullptr;  // the innermost exception in a handler
    unsigned uncaught = 0;
};

// For the length of one command, on the host's thread: the runtime's notes lie in this object. (Left to itself, the
// runtime allocates them at a thread's first exception, with two handles beside them, and frees them only where
// libraries are told that threads end.) Commands may nest; each begins with no exception on its way.
class ExceptionState {
public:
    ExceptionState();
    ~ExceptionState();
    ExceptionState(const ExceptionState&) = delete;
    ExceptionState& operator=(const ExceptionState&) = delete;

private:
    ExceptionNotes notes_;
    void* outer_;  // the notes of the command around this one; null: none
};

// When the library is loaded, before any command. False if the system has no room; the library is then of no use.
bool AttachExceptionState();
// When the library goes and the process stays; no command runs. Also frees what the runtime set aside for
// exceptions.
void DetachExceptionState();

#else

struct ExceptionState {
    ExceptionState() {}  // not trivial, so that nobody takes its variable for unused
};

inline bool AttachExceptionState() {
    return true;
}
inline void DetachExceptionState() {}

#endif

}  // namespace nuv
