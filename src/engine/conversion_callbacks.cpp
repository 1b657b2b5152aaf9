#include "engine/conversion_callbacks.h"

#include <algorithm>
#include <array>

namespace nuv {

const FormatConversions* FindConversions(PF_PixelFormat format) {
    static constexpr std::array kFormats = std::to_array<FormatConversions>({
        {kFormatArgb8, 8, CopyArgb8ToRgba8, ConvertRgbaFToArgb8},
        {kFormatBgra8, 8, CopyBgra8ToRgba8, ConvertRgbaFToBgra8},
        {kFormatArgb16, 32, ConvertArgb16ToRgbaF, ConvertRgbaFToArgb16},
        {kFormatArgbFloat, 32, ConvertArgbFToRgbaF, ConvertRgbaFToArgbF},
        {kFormatBgraFloat, 32, ConvertBgraFToRgbaF, ConvertRgbaFToBgraF},
        {kFormatBgraFloatLinear, 32, ConvertBgraFToRgbaF, ConvertRgbaFToBgraF},
    });
    const auto found = std::find_if(kFormats.begin(), kFormats.end(),
                                    [format](const FormatConversions& entry) { return entry.format == format; });
    return found == kFormats.end() ? nullptr : &*found;
}

namespace {

struct TrampolineRefcon {
    PF_InData* inData;
    PF_IterateRowFunc callback;
    ConvertContext* context;
    std::int32_t iterations;
};

// Each pixel of the scratch column stands for one row.
PF_Err IterateRowTrampoline(void* refcon, std::int32_t /*x*/, std::int32_t y, PF_Pixel* /*in*/, PF_Pixel* /*out*/) {
    const auto& rows = *static_cast<const TrampolineRefcon*>(refcon);
    return rows.callback(rows.context, 1, y, rows.iterations);
}

PF_Err IterateOnThisThread(std::int32_t iterations, ConvertContext& context, PF_IterateRowFunc callback) {
    PF_Err result = PF_Err_NONE;
    for (std::int32_t row = 0; row < iterations && result == PF_Err_NONE; ++row) {
        result = callback(&context, 0, row, iterations);
    }
    return result;
}

}  // namespace

PF_Err IterateRowsFallback(std::int32_t iterations, ConvertContext& context, PF_IterateRowFunc callback) {
    if (context.iterateSuite == nullptr) return IterateOnThisThread(iterations, context, callback);

    PF_InData* const inData = context.inData;
    PF_EffectWorld scratch{};
    const PF_Err error =
        inData->utils->new_world(inData->effect_ref, 1, iterations, PF_NewWorldFlag_NONE, &scratch);
    if (error != PF_Err_NONE) return error;
    TrampolineRefcon refcon{inData, callback, &context, iterations};
    const PF_Err result = context.iterateSuite->iterate(inData, 0, iterations, &scratch, nullptr, &refcon,
                                                        IterateRowTrampoline, &scratch);
    inData->utils->dispose_world(inData->effect_ref, &scratch);
    return result;
}

}  // namespace nuv
