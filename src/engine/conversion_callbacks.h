// Runs the row conversions through the host's iteration.
#pragma once

#include "engine/kernels/row_kernels.h"
#include "engine/plain_floats.h"
#include "host/host_call.h"
#include "pf_data.h"

namespace nuv {

// Every row callback gets this. It is read-only while the iteration runs. A world that stands for one of the
// engine's own buffers has only data, rowbytes, width and height.
struct ConvertContext {
    PF_InData* inData = nullptr;
    PF_EffectWorld source{};
    PF_EffectWorld destination{};
    const PF_Iterate8Suite1* iterateSuite = nullptr;  // only for IterateRowsFallback
    float scale = 1.0f;
    const RowKernels* kernels = &kScalarKernels;
};

// A callback for the host's iterate_generic, which calls it on any of its threads. It converts source row `row`
// into destination row `row`. A call with thread index 0 first asks the host whether to abort. It then converts the
// row in any case, and returns the host's answer. Other calls return PF_Err_NONE.
template <RowConversion RowKernels::*kernel>
PF_Err ConvertRowCallback(void* refcon, std::int32_t threadIndex, std::int32_t row, std::int32_t /*iterations*/) {
    const auto& context = *static_cast<const ConvertContext*>(refcon);
    const PF_InData& inData = *context.inData;
    const PF_Err result = threadIndex == 0 ? CallHostUnguarded(inData.inter.abort, inData.effect_ref) : PF_Err_NONE;
    const auto rowOf = [row](const PF_EffectWorld& world) {
        return reinterpret_cast<std::byte*>(world.data) + std::ptrdiff_t{world.rowbytes} * row;
    };
    // A host that asks for a row that does not exist must not make us touch foreign memory.
    if (row >= 0 && row < context.source.height && context.source.width > 0) {
        const PlainFloats floats;
        (context.kernels->*kernel)(rowOf(context.source), rowOf(context.destination), context.source.width,
                                   context.scale);
    }
    return result;
}

inline constexpr PF_IterateRowFunc CopyArgb8ToRgba8 = ConvertRowCallback<&RowKernels::copyArgb8ToRgba8>;
inline constexpr PF_IterateRowFunc CopyBgra8ToRgba8 = ConvertRowCallback<&RowKernels::copyBgra8ToRgba8>;
inline constexpr PF_IterateRowFunc ConvertArgb16ToRgbaF = ConvertRowCallback<&RowKernels::argb16ToRgbaF>;
inline constexpr PF_IterateRowFunc ConvertArgbFToRgbaF = ConvertRowCallback<&RowKernels::argbFToRgbaF>;
inline constexpr PF_IterateRowFunc ConvertBgraFToRgbaF = ConvertRowCallback<&RowKernels::bgraFToRgbaF>;
inline constexpr PF_IterateRowFunc ConvertRgbaFToArgb8 = ConvertRowCallback<&RowKernels::rgbaFToArgb8>;
inline constexpr PF_IterateRowFunc ConvertRgbaFToBgra8 = ConvertRowCallback<&RowKernels::rgbaFToBgra8>;
inline constexpr PF_IterateRowFunc ConvertRgbaFToArgb16 = ConvertRowCallback<&RowKernels::rgbaFToArgb16>;
inline constexpr PF_IterateRowFunc ConvertRgbaFToArgbF = ConvertRowCallback<&RowKernels::rgbaFToArgbF>;
inline constexpr PF_IterateRowFunc ConvertRgbaFToBgraF = ConvertRowCallback<&RowKernels::rgbaFToBgraF>;

// How the engine treats one host pixel format.
struct FormatConversions {
    PF_PixelFormat format;
    std::int32_t workingBits;  // bits per channel of the working copy: 8 or 32
    PF_IterateRowFunc in;      // host world to working copy
    PF_IterateRowFunc out;     // result buffer to host world
};

// Returns null for a format that the engine does not know.
const FormatConversions* FindConversions(PF_PixelFormat format);

// Replaces iterate_generic if the host does not have it. With context.iterateSuite, the host iterates over the
// pixels of a scratch world that is one pixel wide, and each pixel stands for one row. The row callback then gets
// thread index 1, so that it does not ask about an abort: the host's pixel iteration does that itself. Without the
// suite, the rows run in order on the calling thread. Returns the first result that is not zero, or the host's
// code.
PF_Err IterateRowsFallback(std::int32_t iterations, ConvertContext& context, PF_IterateRowFunc callback);

}  // namespace nuv
