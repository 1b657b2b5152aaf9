// Which implementation of the inner loops a frame uses.
#pragma once

#include <span>

#include "engine/kernels/row_kernels.h"

namespace nuv {

// An instruction set that there are kernels for. The streaming table is for large frames: it writes past the
// caches, which such a frame would only flush.
struct Tier {
    const RowKernels* cached;
    const RowKernels* streaming;
    bool (*runsHere)();  // whether the processor has what it needs, and the system keeps the registers
};

// The tiers that run here, the plain formulas first and the widest last. Any thread.
std::span<const Tier> AvailableTiers();

// The table for a frame whose result takes so many bytes.
const RowKernels& SelectKernels(std::uint64_t resultBytes);

}  // namespace nuv
