// A whole conversation between a host and the effect, made of a fuzzer's input: set-up in any order, sequence data
// of any origin, frames of any shape, faults at any callback.
#pragma once

#include <cstdint>
#include <span>

namespace fuzz {

// Ends the process with a line on standard error when the effect breaks a promise: it writes outside the output's
// pixels, changes the input, keeps something, misuses the host, lets an exception out, returns a wrong code, or
// gives another picture than the model although no callback failed. The same input always gives the same
// conversation, except for the order in which iteration threads take their rows.
void Converse(std::span<const std::uint8_t> input);

}  // namespace fuzz
