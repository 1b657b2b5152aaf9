// What the host knows about each kind of callback and command.
#pragma once

#include <cstddef>
#include <limits>
#include <string>
#include <string_view>

#include "reference_host/host.h"

namespace refhost {

inline constexpr std::size_t kCallKinds = static_cast<std::size_t>(Call::formatString) + 1;

// Two moments at which the host calls into the effect that are no commands.
inline constexpr PF_Cmd kScan = -1001;
inline constexpr PF_Cmd kDeletePreRenderData = -1002;

inline constexpr PF_Cmd kAnyCommand = std::numeric_limits<PF_Cmd>::min();

// Where a callback is allowed.
struct CallRule {
    std::string_view name;
    PF_Cmd onlyIn = kAnyCommand;
    bool onIterationThreads = false;  // else on the command's own thread only
};
const CallRule& RuleOf(Call call);

// "smart pre-render", or "command 29" for one without a name.
std::string CommandName(PF_Cmd cmd);

}  // namespace refhost
