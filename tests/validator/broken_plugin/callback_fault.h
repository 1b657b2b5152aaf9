// Faults that show when one of the host's callbacks has failed.
#pragma once

#include "fault_watch.h"

namespace broken {

inline bool IsOfThisFamily(const MainCall& command) {
    return IsOfSize(command, signs::SizeOf("faults.*"));
}

// Whether a command is one in which the fault shows.
using Moment = bool (*)(const MainCall& command);

inline bool InSetUp(const MainCall& command) {
    return command.inData != nullptr && command.cmd <= PF_Cmd_SEQUENCE_SETDOWN;
}

template <PF_Cmd cmd>
bool In(const MainCall& command) {
    return command.cmd == cmd && IsOfThisFamily(command);
}
inline constexpr Moment InPreRender = In<PF_Cmd_SMART_PRE_RENDER>;
inline constexpr Moment InSmartRender = In<PF_Cmd_SMART_RENDER>;
inline constexpr Moment InPlainRender = In<PF_Cmd_RENDER>;

// Keeps a handle if such a call has failed.
template <Moment in, Seen seen>
PF_Err Leaks(MainCall& command) {
    if (!in(command)) return Effect(command);
    const FaultWatch watch(command);
    const PF_Err result = Effect(command);
    if (watch.Saw(seen)) OwnRecords::Host().utils->host_new_handle(24);
    return result;
}

// Reports success even if such a call has failed.
template <Moment in, Seen seen>
PF_Err Swallows(MainCall& command) {
    if (!in(command)) return Effect(command);
    const FaultWatch watch(command);
    const PF_Err result = Effect(command);
    return watch.Saw(seen) ? PF_Err_NONE : result;
}

}  // namespace broken
