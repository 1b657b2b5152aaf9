// A whole conversation between a host and the effect, made of a fuzzer's input: set-up in any order, sequence data
// of any origin, frames of any shape, faults at any callback.
#pragma once

#include <cstdint>
#include <span>

namespace fuzz {

// Ends the process with a line on standard error when the effect breaks a promise: a byte written that is not the
// output's, the input changed, something kept, misuse that is not this host's own, an exception let out, a wrong
// code, or, where no callback failed, a picture that is not the model's. The same input does the same every time,
// but for the order in which iteration threads take their rows.
void Converse(std::span<const std::uint8_t> input);

}  // namespace fuzz
