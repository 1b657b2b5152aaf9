// What the effect needs of the host's records.
#pragma once

#include "pf_data.h"

namespace nuv {

// Throws the int PF_Err_BAD_CALLBACK_PARAM if the host left out a record that the command needs. Otherwise the
// effect would crash. Only whole records are checked: a null entry in one of the host's tables of callbacks would
// still crash the effect.
template <class... Pointers>
void Require(Pointers... pointers) {
    if (!(... && pointers)) throw int{PF_Err_BAD_CALLBACK_PARAM};
}

// Returns the host's utility callbacks, which are valid during the command. Throws as Require if there are none.
inline const PF_UtilCallbacks& UtilitiesOf(const PF_InData* inData) {
    Require(inData->utils);
    return *inData->utils;
}

}  // namespace nuv
