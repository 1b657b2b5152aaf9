// Where an input reaches into the engine: the choice of kernels, and threads that the system refuses.
#pragma once

#include <cstddef>

namespace fuzz {

// Counts modulo the tables that the processor has; none: as the engine chooses, by the frame's size.
inline constexpr std::size_t kOwnChoice = ~std::size_t{0};
void ChooseKernels(std::size_t table);
bool KernelsAsked();  // whether the engine came for them since ChooseKernels

// Refuses the number-th thread that is started from now on, from 1; 0: none. Does nothing on Windows.
void RefuseThread(int number);
bool ThreadRefused();  // since ForgetRefusal
void ForgetRefusal();

}  // namespace fuzz
