#include "engine/conversion_callbacks.h"

#include <algorithm>
#include <array>

#include "host/host_call.h"

namespace nuv {

const FormatConversions* FindConversions(PF_PixelFormat format) {
    static constexpr std::array<FormatConversions, kFormats.size()> kConversions{{
        {kFormatArgb8, 8, CopyArgb8ToRgba8, ConvertRgbaFToArgb8},
        {kFormatBgra8, 8, CopyBgra8ToRgba8, ConvertRgbaFToBgra8},
        {kFormatArgb16, 32, ConvertArgb16ToRgbaF, ConvertRgbaFToArgb16},
        {kFormatArgbFloat, 32, ConvertArgbFToRgbaF, ConvertRgbaFToArgbF},
        {kFormatBgraFloat, 32, ConvertBgraFToRgbaF, ConvertRgbaFToBgraF},
        {kFormatBgraFloatLinear, 32, ConvertBgraFToRgbaF, ConvertRgbaFToBgraF},
    }};
    static_assert(std::ranges::equal(kConversions, kFormats, {}, &FormatConversions::format),
                  "every format has its row, in the order of kFormats");
    static_assert(std::ranges::all_of(kConversions, [](const FormatConversions& entry) {
        return entry.in != nullptr && entry.out != nullptr && (entry.workingBits == 8 || entry.workingBits == 32);
    }));
    const auto found = std::ranges::find(kConversions, format, &FormatConversions::format);
    return found == kConversions.end() ? nullptr : &*found;
}

namespace {

struct TrampolineRefcon {
    PF_InData* inData;
    PF_IterateRowFunc callback;
    ConvertContext* context;
    std::int32_t iterations;
};

// The host calls this function for each pixel of the scratch column. Each pixel stands for one row.
PF_Err IterateRowTrampoline(void* refcon, std::int32_t /*x*/, std::int32_t y, PF_Pixel* /*in*/, PF_Pixel* /*out*/) {
    const auto& rows = *static_cast<const TrampolineRefcon*>(refcon);
    return rows.callback(rows.context, 1, y, rows.iterations);
}

// A column of the host's 8-bit pixels. The destructor gives it back.
class ScratchColumn {
public:
    explicit ScratchColumn(PF_InData* inData) : inData_(inData) {}
    ~ScratchColumn() {
        if (made_) GiveBackToHost(inData_->utils->dispose_world, inData_->effect_ref, &world_);
    }
    ScratchColumn(const ScratchColumn&) = delete;
    ScratchColumn& operator=(const ScratchColumn&) = delete;

    // Call it at most once.
    PF_Err Make(std::int32_t height) {
        const PF_Err error =
            CallHost(inData_->utils->new_world, inData_->effect_ref, 1, height, PF_NewWorldFlag_NONE, &world_);
        made_ = error == PF_Err_NONE;
        return error;
    }

    PF_EffectWorld* world() { return &world_; }

private:
    PF_InData* inData_;
    PF_EffectWorld world_{};
    bool made_ = false;
};

PF_Err IterateOnThisThread(std::int32_t iterations, ConvertContext& context, PF_IterateRowFunc callback) {
    PF_Err result = PF_Err_NONE;
    for (std::int32_t row = 0; row < iterations && result == PF_Err_NONE; ++row) {
        result = callback(&context, 0, row, iterations);
    }
    return result;
}

}  // namespace

PF_Err IterateRowsFallback(std::int32_t iterations, ConvertContext& context, PF_IterateRowFunc callback) {
    const PF_Iterate8Suite1* const suite = context.iterateSuite;
    if (suite == nullptr || suite->iterate == nullptr) return IterateOnThisThread(iterations, context, callback);

    PF_InData* const inData = context.inData;
    ScratchColumn scratch(inData);
    if (const PF_Err error = scratch.Make(iterations)) return error;
    TrampolineRefcon refcon{inData, callback, &context, iterations};
    return CallHost(suite->iterate, inData, 0, iterations, scratch.world(), nullptr, &refcon, IterateRowTrampoline,
                    scratch.world());
}

}  // namespace nuv
