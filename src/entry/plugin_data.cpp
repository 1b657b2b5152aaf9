#include "entry/entry_points.h"
#include "entry/identity_checks.h"
#include "host/host_call.h"

namespace nuv {
namespace {

const std::uint8_t* Bytes(const char* text) {
    return reinterpret_cast<const std::uint8_t*>(text);
}

}  // namespace

PF_Err ReportPluginData(PF_PluginDataPtr inPtr, PF_PluginDataCB callback) {
    return CallHostUnguarded(callback, inPtr, Bytes(NUV_EFFECT_NAME), Bytes(NUV_MATCH_NAME), Bytes(NUV_CATEGORY),
                             Bytes(NUV_ENTRY_POINT), NUV_KIND, NUV_API_VERSION, NUV_API_SUBVERSION,
                             NUV_RESERVED_INFO);
}

}  // namespace nuv
