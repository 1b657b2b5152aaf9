#include "entry/lifecycle.h"
#include "host/host_call.h"
#include "host/host_suite_handler.h"
#include "host/require.h"
#include "resources/identity.h"

namespace nuv {

PF_Err About(PF_InData* inData, PF_OutData* outData) {
    if (inData->appl_id == kAppIdEditor) return PF_Err_NONE;
    Require(outData);
    HostSuiteHandler suites(inData->pica_basicP);
    CallHost(suites.Suite<"PF ANSI Suite", 1>()->sprintf, outData->return_msg, "%s, v%d.%d", NUV_EFFECT_NAME,
             NUV_VERSION_MAJOR, NUV_VERSION_MINOR);
    return PF_Err_NONE;
}

}  // namespace nuv
