// The names of the commands, and numbers for two moments at which the host calls the effect without a command.
#pragma once

#include <string>

#include "pf_basics.h"

namespace refhost {

inline constexpr PF_Cmd kScan = -1001;
inline constexpr PF_Cmd kDeletePreRenderData = -1002;

// "smart pre-render"; "command 29" for a command without a name.
std::string CommandName(PF_Cmd cmd);

}  // namespace refhost
