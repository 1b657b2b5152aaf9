// What the C++ runtime notes about a thread's exceptions, kept where it needs no clean-up.
#pragma once

namespace nuv {

#if defined(_WIN32)

// For the length of one command, on the host's thread: the runtime's notes lie in this object. (Left to itself, the
// runtime allocates them at a thread's first exception, with two handles beside them, and frees them only where
// libraries are told that threads end.) Commands may nest.
class ExceptionState {
public:
    ExceptionState();
    ~ExceptionState();
    ExceptionState(const ExceptionState&) = delete;
    ExceptionState& operator=(const ExceptionState&) = delete;

private:
    struct Notes {
        void* caught = nullptr;
        unsigned uncaught = 0;
    } notes_;
    void* outer_;
};

// With the library's own beginning and end.
void AttachExceptionState();
void DetachExceptionState();

#else

struct ExceptionState {
    ExceptionState() {}  // not trivial, so that nobody takes its variable for unused
};

#endif

}  // namespace nuv
