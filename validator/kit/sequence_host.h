// What the checks of sequence data share.
#pragma once

#include "validator/kit/interview.h"

namespace validator::sequence {

using Bytes = std::vector<std::byte>;

// Calls `ask` with a host of each version that has set the effect up.
template <typename Ask>
void InEachHost(Context& context, Ask ask) {
    InEachVersion(context, [&](Interview& host) {
        host.SetUp();
        host.host.account().Reclaim();
        ask(host);
    });
}

// Calls `ask` with an instance's block as well. Ends the check if the effect keeps no data in an instance.
template <typename Ask>
void WithBlock(Context& context, Ask ask) {
    InEachHost(context, [&](Interview& host) {
        PF_Handle block = nullptr;
        host.Send(PF_Cmd_SEQUENCE_SETUP, &block);
        host.RequireBlock(block);
        ask(host, block);
    });
}

inline std::string In(const Interview& host) {
    return "in a " + host.Name() + " ";
}

inline void ExpectCode(Context& context, const Interview& host, PF_Err code) {
    context.Expect(code == PF_Err_NONE, In(host) + "it gives code " + std::to_string(code));
}

inline void ExpectWellUsed(Context& context, Interview& host) {
    context.ExpectNone(host.host.account().Misuse(), "misuse");
}

// The bytes that a host saves, which are the block after the flatten command. This host always sends that command,
// even if the effect has not asked for it.
inline Bytes Saved(Interview& host, PF_Handle& block) {
    host.Send(PF_Cmd_SEQUENCE_FLATTEN, &block);
    return host.Bytes(block);
}

inline void EndInstance(Context& context, Interview& host, PF_Handle block) {
    host.Send(PF_Cmd_SEQUENCE_SETDOWN, &block);
    context.ExpectNone(host.host.account().Outstanding(), In(host) + "set-down leaves");
    context.Expect(block == nullptr, In(host) + "set-down leaves the block");
    ExpectWellUsed(context, host);
}

}  // namespace validator::sequence
