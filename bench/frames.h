// What is measured. Each function does its work once.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "reference_host/host.h"

namespace bench {

struct Size {
    int width, height;

    double pixels() const { return static_cast<double>(width) * height; }
    std::string name() const { return std::to_string(width) + "x" + std::to_string(height); }
};
inline constexpr Size kFull{3840, 2160};  // the size in the table
inline constexpr Size kHalf{1920, 1080};
inline constexpr Size kSizes[] = {{480, 270}, {960, 540}, kHalf, kFull, {7680, 4320}};
inline constexpr Size kInFlightSizes[] = {{480, 270}, {960, 540}, kHalf, kFull};
inline constexpr Size kSmall{64, 64};

struct Depth {
    const char* name;
    PF_PixelFormat format;
    int pixelBytes;
    int leastBytes;  // least bytes that a frame moves for a pixel: both buffers are written and read once
};
inline constexpr Depth kDepths[] = {
    {"8", kFormatArgb8, 4, 48},
    {"16", kFormatArgb16, 8, 80},
    {"float", kFormatArgbFloat, 16, 96},
};

enum Scaling { linear, square, cubic };
inline constexpr const char* kScalings[] = {"linear", "square", "cubic"};

inline constexpr double kAmount = 25;  // unless an option or a table says otherwise
inline constexpr std::size_t kWorkerThreads = 16;
inline constexpr int kInFlight[] = {1, 2, 4, 8};  // how many threads of the host render at once
inline constexpr int kFramesInFlight = 16;

// As nuv::AvailableTiers() orders them.
inline constexpr std::string_view kTierNames[] = {"scalar", "sse2", "avx2", "avx512"};

// The kernels that render, and how much they enlarge.
struct Variant {
    std::size_t tier;  // an index of kTierNames
    double amount;

    std::string name() const;  // for example "avx2 25"
};

// An opaque picture of noise, and room for its result. Both are made at the first use and kept. Each thread of the
// host has its own.
struct Worlds {
    refhost::World input, output;
};
Worlds& WorldsOf(Size size, const Depth& depth, int thread = 0);

// One frame through a plug-in binary that has no later tier, with the centre in the middle. The host iterates with
// two threads and reuses freed blocks. Throws std::runtime_error if the effect fails.
void RenderFrame(const Variant& variant, Size size, const Depth& depth, Scaling scaling);

// kFramesInFlight frames of 8 bits, linear, by so many threads of the host at once. The effect lets one of them in
// at a time. With `ownEffects`, each thread has a copy of the effect, and no thread waits for another.
void RenderInFlight(const Variant& variant, Size size, int threads, bool ownEffects);

// Copies as many bytes as a frame's input has from one world to the other, on two threads.
void CopyFrame(Size size, const Depth& depth);
void CopyFramePastCache(Size size, const Depth& depth);

// Starts and joins as many threads as a frame has.
void StartThreads();

// Page faults of one 4K frame of floats in a host that gives fresh memory for every handle, and the least number
// that the frame's two buffers cause.
struct PageFaults {
    long least;
    long taken;
    long byCommandThread;  // how many of `taken`
};
PageFaults CountPageFaults(const Variant& variant);

}  // namespace bench
