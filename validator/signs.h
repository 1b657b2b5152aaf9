// What a check and its control must agree on. A control breaks only its own check, so that all other checks still
// hold. It recognises the commands of its check by the signs in this file, such as the size of a frame.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <string_view>

#include "pf_basics.h"

namespace signs {

// ---- Frame sizes ----------------------------------------------------------------------------------------------

struct Size {
    int width = 0, height = 0;

    bool operator==(const Size&) const = default;
};

struct FrameSize {
    std::string_view check;  // its id; "faults.*" is the size that all checks of that family share
    Size size;
};

// No two checks render frames of the same size.
inline constexpr FrameSize kFrameSizes[] = {
    {"prerender.result-in-maximum", {20, 10}},
    {"prerender.result-in-request", {20, 11}},
    {"prerender.maximum-fixed", {20, 12}},
    {"prerender.old-rectangles", {20, 13}},
    {"prerender.far-request", {20, 14}},
    {"prerender.empty-request", {20, 15}},
    {"prerender.empty-layer", {20, 16}},
    {"prerender.repeatable", {20, 17}},
    {"prerender.field", {21, 10}},
    {"prerender.channels", {21, 11}},
    {"prerender.colour-of-clear", {21, 12}},
    {"prerender.one-id", {21, 14}},
    {"prerender.no-pixel", {22, 10}},
    {"prerender.parameters", {22, 11}},
    {"prerender.suites", {22, 12}},
    {"prerender.unlocked", {22, 13}},
    {"prerender.delete-function", {22, 14}},
    {"prerender.no-render", {22, 15}},
    {"prerender.no-message", {22, 16}},
    {"prerender.thrice", {23, 10}},
    {"prerender.order", {23, 11}},
    {"prerender.announced", {23, 12}},
    {"prerender.read-once", {23, 13}},
    {"render.input-unchanged", {24, 5}},
    {"render.records-unchanged", {24, 6}},
    {"render.parameters-unchanged", {24, 7}},
    {"render.sequence-data-unchanged", {24, 8}},
    {"render.float-state", {24, 9}},
    {"render.holds-nothing", {24, 10}},
    {"render.no-message", {24, 11}},
    {"render.repeatable", {25, 11}},
    {"render.new-instance", {25, 12}},
    {"render.instances-apart", {25, 13}},
    {"render.frames-apart", {25, 14}},
    {"render.smart-and-plain", {25, 15}},
    {"render.defaults", {25, 16}},
    {"render.time-zero", {26, 5}},
    {"render.time-negative", {26, 6}},
    {"render.time-latest", {26, 7}},
    {"render.time-earliest", {26, 8}},
    {"render.step-zero", {26, 9}},
    {"render.step-negative", {26, 10}},
    {"render.half-resolution", {27, 5}},
    {"render.unequal-resolution", {27, 6}},
    {"render.wide-pixels", {28, 5}},
    {"render.narrow-pixels", {28, 6}},
    {"render.input-origin", {29, 5}},
    {"render.output-origin", {29, 6}},
    {"render.no-input", {30, 6}},
    {"render.no-output", {30, 5}},
    {"render.empty-input", {30, 7}},
    {"render.empty-output", {30, 8}},
    {"render.no-rows", {30, 0}},
    {"render.no-columns", {0, 30}},
    {"layout.input-padded", {20, 5}},
    {"layout.output-padded", {20, 6}},
    {"layout.input-bottom-up", {20, 7}},
    {"layout.output-bottom-up", {20, 8}},
    {"layout.both-bottom-up", {20, 9}},
    {"layout.input-at-any-pixel", {21, 5}},
    {"layout.output-at-any-pixel", {21, 6}},
    {"layout.input-at-any-channel", {21, 7}},
    {"layout.output-at-any-channel", {21, 8}},
    {"layout.input-odd-stride", {22, 5}},
    {"layout.output-odd-stride", {22, 6}},
    {"layout.padding-untouched", {25, 6}},
    {"layout.padding-unread", {25, 7}},
    {"layout.input-begin", {23, 5}},
    {"layout.input-end", {23, 6}},
    {"layout.output-begin", {23, 7}},
    {"layout.output-end", {23, 8}},
    {"layout.input-cut-out", {36, 6}},
    {"layout.output-cut-out", {36, 7}},
    {"layout.upper-field", {37, 6}},
    {"layout.lower-field", {37, 7}},
    {"layout.input-past-2-gib", {9, 700}},
    {"layout.output-past-2-gib", {9, 701}},
    {"pixels.written-8-bit", {17, 5}},
    {"pixels.written-16-bit", {17, 6}},
    {"pixels.written-float", {17, 7}},
    {"pixels.white-16-bit", {18, 7}},
    {"pixels.finite", {18, 8}},
    {"pixels.depths-agree", {40, 30}},
    {"pixels.below-zero", {19, 5}},
    {"pixels.above-one", {19, 6}},
    {"pixels.infinite", {19, 7}},
    {"pixels.not-a-number", {19, 8}},
    {"pixels.signalling", {19, 9}},
    {"pixels.denormal", {19, 10}},
    {"pixels.one-pixel", {1, 1}},
    {"pixels.one-row", {47, 1}},
    {"pixels.one-column", {1, 47}},
    {"pixels.small-sizes", {34, 5}},
    {"pixels.long-row", {30000, 1}},
    {"pixels.long-column", {1, 30000}},
    {"pixels.larger-input", {16, 10}},
    {"pixels.larger-output", {33, 24}},
    {"pixels.past-2-gib", {30000, 4500}},
    {"threads.several-instances", {33, 9}},
    {"threads.one-instance", {34, 9}},
    {"threads.set-up-meanwhile", {35, 9}},
    {"threads.abort-alone", {36, 9}},
    {"threads.shuffled-rows", {30, 17}},
    {"threads.many-row-threads", {31, 17}},
    {"threads.own-thread", {32, 17}},
    {"threads.any-thread", {43, 9}},
    {"threads.none-left", {42, 9}},
    {"threads.name", {37, 9}},
    {"threads.priority", {38, 9}},
    {"threads.affinity", {39, 9}},
    {"threads.float-state", {40, 9}},
    {"threads.no-lock-in-callbacks", {41, 9}},
    {"threads.come-and-go", {44, 9}},
    {"faults.*", {7, 3}},
    {"misuse.no-input", {19, 11}},
    {"misuse.no-output", {19, 12}},
};

// If the check has no size, a constant expression does not compile, and a call at run time throws.
constexpr Size SizeOf(std::string_view check) {
    for (const FrameSize& frame : kFrameSizes) {
        if (frame.check == check) return frame.size;
    }
    throw std::logic_error("signs.h has no frame size for this check");
}

// Whether each row of a table has a size; `id` is the member that holds the check's id.
template <typename Rows, typename Id>
constexpr bool EachHasSize(const Rows& rows, Id id) {
    for (const auto& row : rows)
        SizeOf(std::invoke(id, row));
    return true;
}

static_assert([] {
    for (std::size_t i = 0; i < std::size(kFrameSizes); ++i) {
        for (std::size_t other = 0; other < i; ++other) {
            if (kFrameSizes[i].size == kFrameSizes[other].size || kFrameSizes[i].check == kFrameSizes[other].check)
                return false;
        }
    }
    return true;
}());

// ---- Other signs ----------------------------------------------------------------------------------------------

// Checks of set-up ask in hosts of two versions. Most of their controls are at fault only in a host of this
// version.
inline constexpr PF_SpecVersion kNewerHost{13, 30};

// exceptions.*: an int that the host's callbacks throw. The effect turns it into its code.
inline constexpr int kThrown = 4711;
inline constexpr int kThrownForeign = 4712;  // foreign-exceptions.*

// loading.time: how often the check loads the effect, and the time that the fastest load must stay below.
inline constexpr int kTimedLoads = 5;
inline constexpr std::chrono::milliseconds kLoadTime{100};

// misuse.unknown-*: every command from here on is unknown.
inline constexpr std::int32_t kUnknownCommands = 64;
// misuse.unknown-host*: the application id of a host that nobody knows.
inline constexpr std::int32_t kStrangeHost = -1;
// misuse.set-up-again: how often the effect is set up.
inline constexpr int kSessions = 3;

// render.frames-apart: the time of the other frame.
inline constexpr std::int32_t kOtherFramesTime = 50;

// sequence.size: the most bytes that the block of a new instance may have, and how many instances the check makes.
inline constexpr std::uint64_t kLargestBlock = std::uint64_t{64} << 20;
inline constexpr int kNewInstances = 3;
// sequence.resetup-foreign: the bytes of the largest block.
inline constexpr std::size_t kForeignBlock = 65536;

// threads.many-row-threads: how many threads iterate over the rows.
inline constexpr int kRowThreads = 8;

}  // namespace signs
