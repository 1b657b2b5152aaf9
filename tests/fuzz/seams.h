// Where the fuzzer reaches into the engine: it chooses the kernels, and lets the start of a thread fail.
#pragma once

#include <cstddef>

namespace fuzz {

// `table` counts this processor's tables of kernels, and starts again after the last. With kOwnChoice, the engine
// chooses by the frame's size.
inline constexpr std::size_t kOwnChoice = ~std::size_t{0};
void ChooseKernels(std::size_t table);
bool KernelsAsked();  // whether the engine has asked for its kernels since ChooseKernels

// Lets the number-th start of a thread from now on fail, counted from 1; 0: none fails. Does nothing on Windows.
void RefuseThread(int number);
bool ThreadRefused();  // since ForgetRefusal
void ForgetRefusal();

}  // namespace fuzz
