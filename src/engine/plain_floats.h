// The floating-point state that the formulas are meant in.
#pragma once

#include <xmmintrin.h>

#include <atomic>

namespace nuv {

// While it lives, this thread rounds to nearest, keeps denormals and traps nothing, so that a picture depends
// neither on what the host has set nor on which of its threads a row runs. Then the thread has its own state back,
// marks of exceptions included. None of the host's code runs meanwhile. For what goes on behind a pointer: numbers
// in variables of the function itself may be computed before or after.
class PlainFloats {
public:
    PlainFloats() : hosts_(_mm_getcsr()) {
        constexpr unsigned kPlain = 0x1F80;
        _mm_setcsr(kPlain);
        std::atomic_signal_fence(std::memory_order_seq_cst);  // nothing moves across
    }
    ~PlainFloats() {
        std::atomic_signal_fence(std::memory_order_seq_cst);
        _mm_setcsr(hosts_);
    }
    PlainFloats(const PlainFloats&) = delete;
    PlainFloats& operator=(const PlainFloats&) = delete;

private:
    unsigned hosts_;
};

}  // namespace nuv
