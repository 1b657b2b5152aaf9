// The host's utility callbacks.
#pragma once

#include "pf_data.h"

namespace nuv {

// Returns the host's table, which is valid during the command. Throws the int PF_Err_BAD_CALLBACK_PARAM if the host
// gives no table.
inline const PF_UtilCallbacks& UtilitiesOf(const PF_InData* inData) {
    if (inData->utils == nullptr) throw int{PF_Err_BAD_CALLBACK_PARAM};
    return *inData->utils;
}

}  // namespace nuv
