// What a fuzzer's input is played as: a conversation (conversation.cpp) or rows of the kernels (kernels.cpp). Each
// is a library of its own, and both define the same function, so that the programs are the same for both.
#pragma once

#include <cstdint>
#include <span>

namespace fuzz {

// Ends the process with a line on standard error when a promise is broken. The same input always plays the same.
void Play(std::span<const std::uint8_t> input);

}  // namespace fuzz
