// Runs the row conversions through the host's iteration.
#pragma once

#include "engine/row_kernels.h"
#include "pf_data.h"

namespace nuv {

// What every row callback gets; read-only while the iteration runs. A world that stands for one of the engine's
// own buffers has only data, rowbytes, width and height.
struct ConvertContext {
    PF_InData* inData = nullptr;
    PF_EffectWorld source{};
    PF_EffectWorld destination{};
    const PF_Iterate8Suite1* iterateSuite = nullptr;  // for IterateRowsFallback alone
    float scale = 1.0f;
    const RowKernels* kernels = &kScalarKernels;
};

// Row callbacks, in the shape that the host's iterate_generic calls, on any of its threads: convert source row
// `row` into destination row `row`. The call with thread index 0 first asks the host whether to abort and
// returns its answer, after converting the row all the same; the others return PF_Err_NONE.
PF_Err CopyArgb8ToRgba8(void* context, std::int32_t threadIndex, std::int32_t row, std::int32_t iterations);
PF_Err CopyBgra8ToRgba8(void* context, std::int32_t threadIndex, std::int32_t row, std::int32_t iterations);
PF_Err ConvertArgb16ToRgbaF(void* context, std::int32_t threadIndex, std::int32_t row, std::int32_t iterations);
PF_Err ConvertArgbFToRgbaF(void* context, std::int32_t threadIndex, std::int32_t row, std::int32_t iterations);
PF_Err ConvertBgraFToRgbaF(void* context, std::int32_t threadIndex, std::int32_t row, std::int32_t iterations);
PF_Err ConvertRgbaFToArgb8(void* context, std::int32_t threadIndex, std::int32_t row, std::int32_t iterations);
PF_Err ConvertRgbaFToBgra8(void* context, std::int32_t threadIndex, std::int32_t row, std::int32_t iterations);
PF_Err ConvertRgbaFToArgb16(void* context, std::int32_t threadIndex, std::int32_t row, std::int32_t iterations);
PF_Err ConvertRgbaFToArgbF(void* context, std::int32_t threadIndex, std::int32_t row, std::int32_t iterations);
PF_Err ConvertRgbaFToBgraF(void* context, std::int32_t threadIndex, std::int32_t row, std::int32_t iterations);

// How the engine treats one host pixel format.
struct FormatConversions {
    PF_PixelFormat format;
    std::int32_t workingBits;  // bits per channel of the working copy: 8 or 32
    PF_IterateRowFunc in;      // host world to working copy
    PF_IterateRowFunc out;     // result buffer to host world
};

// Null for a format that the engine does not know.
const FormatConversions* FindConversions(PF_PixelFormat format);

// Stands in for a host that lacks iterate_generic: with context.iterateSuite, rows run through the host's pixel
// iteration over a scratch world one pixel wide (thread index 1, so that only the host itself polls for abort);
// without it, in order on the calling thread. Returns the first non-zero result, or the host's code.
PF_Err IterateRowsFallback(std::int32_t iterations, ConvertContext& context, PF_IterateRowFunc callback);

}  // namespace nuv
