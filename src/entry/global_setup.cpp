#include "entry/identity_checks.h"
#include "entry/lifecycle.h"
#include "host/host_call.h"
#include "host/require.h"
#include "host/scoped_suite.h"

namespace nuv {

PF_Err GlobalSetup(PF_InData* inData, PF_OutData* outData) {
    Require(outData);
    outData->my_version = kVersion;
    outData->out_flags = static_cast<std::int32_t>(kOutFlags);
    outData->out_flags2 = static_cast<std::int32_t>(kOutFlags2);
    if (inData->appl_id != kAppIdEditor) return PF_Err_NONE;

    outData->out_flags = static_cast<std::int32_t>(kOutFlags & ~PF_OutFlag_DEEP_COLOR_AWARE);
    outData->out_flags2 = static_cast<std::int32_t>(kOutFlags2 & ~PF_OutFlag2_FLOAT_COLOR_AWARE);

    // An editing host without the suite chooses the pixel formats itself, so a missing suite is not an error.
    if (inData->pica_basicP == nullptr) return PF_Err_NONE;
    ScopedSuite<PF_PixelFormatSuite1> formats(inData->pica_basicP, "PF Pixel Format Suite", 1);
    formats.Acquire();
    if (!formats) return PF_Err_NONE;
    CallHost(formats->ClearSupportedPixelFormats, inData->effect_ref);
    CallHost(formats->AddSupportedPixelFormat, inData->effect_ref, kFormatBgra8);
    return PF_Err_NONE;
}

}  // namespace nuv
