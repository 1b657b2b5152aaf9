// Chooses the kernels for a frame.
#pragma once

#include <span>

#include "engine/kernels/row_kernels.h"

namespace nuv {

// An instruction set, and the two tables of kernels for it. The streaming table is for large frames: its writes
// bypass the caches, because a large frame would only flush them.
struct Tier {
    const RowKernels* cached;
    const RowKernels* streaming;
    bool (*runsHere)();  // whether this processor and this system support the tier
};

// The tiers that run here: the scalar formulas first, the widest tier last. Any thread may call it.
std::span<const Tier> AvailableTiers();

// Returns the table for a frame whose result takes this many bytes.
const RowKernels& SelectKernels(std::uint64_t resultBytes);

}  // namespace nuv
