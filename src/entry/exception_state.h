// Keeps the C++ runtime's notes about a thread's exceptions in a place that needs no clean-up when the thread ends.
#pragma once

namespace nuv {

#if defined(__MINGW32__)

// The notes about one thread. Their layout is that of __cxa_eh_globals in the C++ binary interface.
struct ExceptionNotes {
    void* caught = nullptr;  // the innermost exception that a handler has caught
    unsigned uncaught = 0;   // the number of exceptions on their way to a handler
};

// While an object of this class lives, the runtime keeps the notes of the current thread in it. Every command has
// one, on the stack of the host's thread. Without it the runtime would allocate the notes and two handles at a
// thread's first exception, and would free them only if the library were told that the thread ends. The library
// asks not to be told (see library_entry.cpp), so a host that makes many threads would lose memory. Commands may be
// nested. Each of them starts with empty notes.
class ExceptionState {
public:
    ExceptionState();
    ~ExceptionState();
    ExceptionState(const ExceptionState&) = delete;
    ExceptionState& operator=(const ExceptionState&) = delete;

private:
    ExceptionNotes notes_;
    void* outer_;  // the notes of the command that this one is nested in; null if there is none
};

// Call it when the library is loaded, before any command. Returns false if the system has no thread-local slot
// left; the library cannot be used then.
bool AttachExceptionState();
// Call it when the library is unloaded and the process goes on. No command may be running. It also frees the memory
// that the runtime has set aside for exceptions.
void DetachExceptionState();

#else

struct ExceptionState {
    ExceptionState() {}  // not trivial, so that compilers do not warn of an unused variable
};

inline bool AttachExceptionState() {
    return true;
}
inline void DetachExceptionState() {}

#endif

}  // namespace nuv
