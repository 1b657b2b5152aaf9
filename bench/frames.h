// What is measured. Each function does its work once.
#pragma once

#include <cstddef>

#include "reference_host/host.h"

namespace bench {

struct Size {
    int width, height;

    double pixels() const { return static_cast<double>(width) * height; }
};
inline constexpr Size kFull{3840, 2160};  // the size in the table
inline constexpr Size kHalf{1920, 1080};
inline constexpr Size kSizes[] = {{480, 270}, {960, 540}, kHalf, kFull, {7680, 4320}};
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

inline constexpr double kAmount = 25;
inline constexpr std::size_t kWorkerThreads = 16;

// An opaque picture of noise, and room for its result. Both are made at the first use and kept.
struct Worlds {
    refhost::World input, output;
};
Worlds& WorldsOf(Size size, const Depth& depth);

// One frame through a plug-in binary, with the centre in the middle. The host iterates with two threads and reuses
// freed blocks. Throws std::runtime_error if the effect fails.
enum class Plugin { shipped, scalar };
void RenderFrame(Plugin plugin, Size size, const Depth& depth, Scaling scaling);

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
PageFaults CountPageFaults();

}  // namespace bench
