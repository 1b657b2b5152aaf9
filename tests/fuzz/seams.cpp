#include "seams.h"

#include <atomic>
#include <cstdint>

#include "engine/kernels/cpu_kernels.h"

#if defined(__linux__)
#include <dlfcn.h>

#include <cerrno>
#include <system_error>
#include <thread>
#endif

namespace fuzz {
namespace {

std::size_t chosen = kOwnChoice;
bool asked = false;
std::atomic<int> untilRefusal{0};
std::atomic<bool> refused{false};

}  // namespace

void ChooseKernels(std::size_t table) {
    chosen = table;
    asked = false;
}

bool KernelsAsked() {
    return asked;
}

void RefuseThread(int number) {
    untilRefusal = number;
}

bool ThreadRefused() {
    return refused;
}

void ForgetRefusal() {
    refused = false;
}

}  // namespace fuzz

// The linker sends all calls of nuv::SelectKernels to Instead. Original is the engine's own function.
const nuv::RowKernels& Instead(std::uint64_t resultBytes) __asm__("__wrap_" NUV_SELECT_KERNELS);
const nuv::RowKernels& Original(std::uint64_t resultBytes) __asm__("__real_" NUV_SELECT_KERNELS);

const nuv::RowKernels& Instead(std::uint64_t resultBytes) {
    fuzz::asked = true;
    if (fuzz::chosen == fuzz::kOwnChoice) return Original(resultBytes);
    const auto tiers = nuv::AvailableTiers();
    const nuv::Tier& tier = tiers[fuzz::chosen / 2 % tiers.size()];
    return fuzz::chosen % 2 == 0 ? *tier.cached : *tier.streaming;
}

#if defined(__linux__)
// Replaces the C++ library's function, through which every std::thread starts.
void std::thread::_M_start_thread(_State_ptr state, void (*depend)()) {
    if (fuzz::untilRefusal > 0 && --fuzz::untilRefusal == 0) {
        fuzz::refused = true;
        throw std::system_error(EAGAIN, std::generic_category());
    }
    using Start = void (*)(std::thread*, _State_ptr, void (*)());
    static const auto start = reinterpret_cast<Start>(
        dlsym(RTLD_NEXT, "_ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE"));
    start(this, std::move(state), depend);
}
#endif
