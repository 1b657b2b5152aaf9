// The engine's inner loops: one table for each implementation. They work on memory and numbers, and know neither
// the host nor the platform.
#pragma once

#include "engine/kernels/render_data.h"

namespace nuv {

// Converts `width` pixels of one row; a width below 1 converts nothing. If the source or the destination has
// floats, every channel is multiplied by `scale`. It must not be a not-a-number, because of two of these the
// processor keeps whichever the compiler puts first. Source and destination are rows of different buffers and may
// have any alignment. Nothing outside the pixels is touched.
using RowConversion = void (*)(const std::byte* source, std::byte* destination, std::int32_t width, float scale);

// Writes every pixel of the rows firstRow to endRow - 1 of job.output. Pixels that a reduced resolution leaves out
// become zero. Does nothing if firstRow is not below endRow. The formulas are in scalar_row_worker.cpp.
using RowWorker = void (*)(const RenderData& job, std::int32_t firstRow, std::int32_t endRow);

struct RowKernels {
    const char* name;

    RowConversion copyArgb8ToRgba8;
    RowConversion copyBgra8ToRgba8;
    RowConversion argb16ToRgbaF;
    RowConversion argbFToRgbaF;
    RowConversion bgraFToRgbaF;

    RowWorker renderRows;

    RowConversion rgbaFToArgb8;
    RowConversion rgbaFToBgra8;
    RowConversion rgbaFToArgb16;
    RowConversion rgbaFToArgbF;
    RowConversion rgbaFToBgraF;
};

// Whether the table has every kernel. A static_assert beside each table checks this. If RowKernels gets a new
// member, the structured binding does not compile until it names that member, too.
consteval bool IsComplete(const RowKernels& table) {
    const auto& [name, argb8In, bgra8In, argb16In, argbFIn, bgraFIn, rows, argb8Out, bgra8Out, argb16Out, argbFOut,
                 bgraFOut] = table;
    return name && argb8In && bgra8In && argb16In && argbFIn && bgraFIn && rows && argb8Out && bgra8Out &&
           argb16Out && argbFOut && bgraFOut;
}

// The formulas, computed pixel by pixel. They define the result: all other tables give the same bytes.
extern const RowKernels kScalarKernels;

// For every x86-64 processor, for processors with AVX2, and for those where AVX-512 is fast (cpu_kernels.cpp). The
// writes of the streaming tables bypass the cache.
extern const RowKernels kSse2Kernels;
extern const RowKernels kSse2StreamingKernels;
extern const RowKernels kAvx2Kernels;
extern const RowKernels kAvx2StreamingKernels;
extern const RowKernels kAvx512Kernels;
extern const RowKernels kAvx512StreamingKernels;

void RenderRows(const RenderData& job, std::int32_t firstRow, std::int32_t endRow);

}  // namespace nuv
