// Where the host allows each of its callbacks.
#pragma once

#include <limits>
#include <string_view>

#include "pf_basics.h"
#include "reference_host/calls.h"

namespace refhost {

inline constexpr PF_Cmd kAnyCommand = std::numeric_limits<PF_Cmd>::min();

struct CallRule {
    Call call;
    std::string_view name;
    PF_Cmd onlyIn = kAnyCommand;
    bool onIterationThreads = false;  // otherwise on the command's own thread only
};
const CallRule& RuleOf(Call call);

}  // namespace refhost
