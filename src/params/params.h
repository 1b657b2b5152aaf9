// The effect's parameters. Order, types, ranges, defaults and disk ids are part of the saved-project format.
#pragma once

#include "pf_data.h"

namespace nuv {

// The indices of the parameters in the host. Parameter 0 is the layer to which the effect is applied.
inline constexpr std::int32_t PARAM_INPUT = 0;
inline constexpr std::int32_t PARAM_FRAME_CENTER = 1;
inline constexpr std::int32_t PARAM_MODE = 2;
inline constexpr std::int32_t PARAM_SCALING = 3;
inline constexpr std::int32_t PARAM_AMOUNT = 4;
inline constexpr std::int32_t PARAM_SHOW = 5;
inline constexpr std::int32_t PARAM_COUNT = 6;

// Declares parameters 1 to 5 to the host in order, then writes the count of all parameters. If the host's add_param
// fails, the function returns its error at once: it declares no further parameter and does not write the count.
PF_Err ParamsSetup(PF_InData* inData, PF_OutData* outData);

}  // namespace nuv
