// Which implementation of the inner loops a frame uses.
#pragma once

#include <span>

#include "engine/kernels/row_kernels.h"

namespace nuv {

// What this processor can run, the plain formulas first and the widest last. Any thread.
std::span<const RowKernels* const> AvailableKernels();

// For a frame whose result takes so many bytes. A large one is written past the caches, which it would only flush.
const RowKernels& SelectKernels(std::uint64_t resultBytes);

}  // namespace nuv
