// The names of the commands, and numbers for two moments at which the host calls the effect without a command.
#pragma once

#include <string>

#include "pf_basics.h"

namespace refhost {

inline constexpr PF_Cmd kScan = -1001;
inline constexpr PF_Cmd kDeletePreRenderData = -1002;

// Returns for example "smart pre-render", or "command 29" for a command that has no name here.
std::string CommandName(PF_Cmd cmd);

}  // namespace refhost
