// One frame as a fuzzer's input asks for it, and what must come of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "fuzz_input.h"
#include "support/support.h"

namespace fuzz {

struct FuzzFrame {
    // Reads the worlds, the host's settings and how the frame is asked for; not the parameters.
    explicit FuzzFrame(FuzzInput& input);
    FuzzFrame(const FuzzFrame&) = delete;
    FuzzFrame& operator=(const FuzzFrame&) = delete;

    support::Scene scene;  // what the model gets; the caller fills in the parameters
    refhost::World source, output;
    refhost::RenderSettings settings;
    std::vector<std::byte> sourcePixels;
    std::uint8_t poison = 0;  // fills the output before the render
    bool preRenderOnly = false;

    bool HasNegativeSize() const;
    // What the render command must return if no callback fails.
    PF_Err ExpectedCode() const;
    // The output's pixels after a render that succeeded; nullopt if any pixels are right.
    std::optional<std::vector<std::byte>> ExpectedPixels() const;
    bool OutputUntouched() const;
};

}  // namespace fuzz
