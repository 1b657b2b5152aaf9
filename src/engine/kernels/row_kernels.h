// The engine's inner loops, as one table per implementation. Plain pointers and widths only: no host, no platform.
#pragma once

#include "engine/kernels/render_data.h"

namespace nuv {

// Converts `width` pixels (below 1: none) of one row, multiplying channels by `scale` where they are floats on
// one side. Source and destination are rows of different buffers, at any alignment, and nothing outside the
// pixels is touched.
using RowConversion = void (*)(const std::byte* source, std::byte* destination, std::int32_t width, float scale);

// Writes every pixel of rows firstRow to endRow-1 of job.output, those beyond a reduced resolution with zeros;
// nothing if that is no row. See scalar_row_worker.cpp.
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

// Whether the table has every kernel; each table is held to it where it is defined. The binding does not compile
// until it names a member that is new.
consteval bool IsComplete(const RowKernels& table) {
    const auto& [name, argb8In, bgra8In, argb16In, argbFIn, bgraFIn, rows, argb8Out, bgra8Out, argb16Out, argbFOut,
                 bgraFOut] = table;
    return name && argb8In && bgra8In && argb16In && argbFIn && bgraFIn && rows && argb8Out && bgra8Out &&
           argb16Out && argbFOut && bgraFOut;
}

// The plain formulas, one pixel after the other. They define the result; any other table gives the same bytes.
extern const RowKernels kScalarKernels;

// For every x86-64 processor, for those with AVX2, and for those where AVX-512 pays (cpu_kernels.cpp). The
// streaming ones bypass the cache with what they write.
extern const RowKernels kSse2Kernels;
extern const RowKernels kSse2StreamingKernels;
extern const RowKernels kAvx2Kernels;
extern const RowKernels kAvx2StreamingKernels;
extern const RowKernels kAvx512Kernels;
extern const RowKernels kAvx512StreamingKernels;

void RenderRows(const RenderData& job, std::int32_t firstRow, std::int32_t endRow);

}  // namespace nuv
