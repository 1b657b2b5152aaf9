// The floating-point state that the formulas need.
#pragma once

#include <xmmintrin.h>

#include <atomic>

namespace nuv {

// While this object lives, its thread rounds to nearest, keeps denormals and traps nothing, so that a picture
// depends neither on the host's settings nor on the thread that a row runs on. The destructor restores the thread's
// own state, with its exception flags. None of the host's code may run meanwhile. The object protects only
// computations that read or write memory through a pointer: the compiler may move a computation in local variables
// out of the object's life.
class PlainFloats {
public:
    PlainFloats() : hosts_(_mm_getcsr()) {
        constexpr unsigned kPlain = 0x1F80;
        _mm_setcsr(kPlain);
        std::atomic_signal_fence(std::memory_order_seq_cst);  // the compiler moves no memory access across
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
