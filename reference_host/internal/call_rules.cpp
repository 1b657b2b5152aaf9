#include "reference_host/internal/call_rules.h"

#include <array>

#include "reference_host/table_order.h"

namespace refhost {
namespace {

constexpr std::array<CallRule, kCallKinds> kRules{{
    {Call::acquireSuite, "AcquireSuite"},
    {Call::releaseSuite, "ReleaseSuite"},
    {Call::newHandle, "host_new_handle"},
    {Call::lockHandle, "host_lock_handle"},
    {Call::unlockHandle, "host_unlock_handle"},
    {Call::disposeHandle, "host_dispose_handle"},
    {Call::getHandleSize, "host_get_handle_size"},
    {Call::resizeHandle, "host_resize_handle"},
    {Call::checkoutParam, "checkout_param"},
    {Call::checkinParam, "checkin_param"},
    {Call::addParam, "add_param", PF_Cmd_PARAMS_SETUP},
    {Call::abort, "abort", kAnyCommand, true},
    {Call::checkoutLayer, "checkout_layer", PF_Cmd_SMART_PRE_RENDER},
    {Call::checkoutLayerPixels, "checkout_layer_pixels", PF_Cmd_SMART_RENDER},
    {Call::checkinLayerPixels, "checkin_layer_pixels", PF_Cmd_SMART_RENDER},
    {Call::checkoutOutput, "checkout_output", PF_Cmd_SMART_RENDER},
    {Call::newWorld, "new_world"},
    {Call::disposeWorld, "dispose_world"},
    {Call::getPixelFormat, "GetPixelFormat"},
    {Call::clearPixelFormats, "ClearSupportedPixelFormats", PF_Cmd_GLOBAL_SETUP},
    {Call::addPixelFormat, "AddSupportedPixelFormat", PF_Cmd_GLOBAL_SETUP},
    {Call::iterate, "iterate"},
    {Call::iterateGeneric, "iterate_generic"},
    {Call::row, "row", kAnyCommand, true},
    {Call::copyString, "strcpy", kAnyCommand, true},
    {Call::formatString, "sprintf", kAnyCommand, true},
}};
static_assert(HasRowForEach(kRules, &CallRule::call));

}  // namespace

const CallRule& RuleOf(Call call) {
    return kRules[static_cast<std::size_t>(call)];
}

}  // namespace refhost
